// Faults: scripts of them, and single ones from the page.
#include "target.h"

#include <sstream>

#include "line/fault_script.h"
#include "line/faults.h"

using namespace kx::sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Controller controller(46, [](const std::string&) {});
    Faults faults({.controller = &controller, .reset_connections = [] {}, .set_speed = [](double) {}});
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    try {
        FaultScript script(in, "script", [&](const auto& fault) { return faults.check(fault); });
        script.connected(0);
        script.requested("movej", 1);
        while (const auto event = script.next_event()) {
            const auto due = script.due(*event);
            require(due && faults.apply(due->fault).empty(), "a script's faults are understood");
            Luck luck(1, 1);
            luck.delay(faults.lines());
            luck.sent_for("{}\n", faults.lines());
        }
        for (const std::string& fault : faults.in_force())
            require(faults.check(fault).empty(), "a fault in force can be asked for again");
    } catch (const std::invalid_argument& wrong) {
        require(std::string_view(wrong.what()).find("script") != std::string_view::npos, "it says where");
    }
    return 0;
}
