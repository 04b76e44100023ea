// What happens on demand: scripts, and single lines from the page and the control port.
#include "target.h"

#include <sstream>

#include "line/faults.h"
#include "line/script.h"

using namespace kx::sim;

void judge(std::string_view input)
{
    Controller controller(46, [](const std::string&) {});
    Faults faults({.controller = &controller,
                   .reset_connections = [] {},
                   .set_speed = [](double) {},
                   .pause = [](bool) {},
                   .step = [](double) {}});
    const auto check = [&](const auto& fault) { return faults.check(fault); };
    std::istringstream in{std::string(input)};
    try {
        Script script(in, "script", check);
        script.connected(0);
        script.requested("movej", 1);
        script.switched(1, true, 1);
        while (const auto event = script.next_event()) {
            const auto due = script.due(*event);
            require(due && faults.apply(due->text).empty(), "a script's faults are understood");
            Luck luck(1, 1);
            luck.delay(faults.lines());
            luck.sent_for("{}\n", faults.lines());
        }
        for (const std::string& fault : faults.in_force())
            require(faults.check(fault).empty(), "a fault in force can be asked for again");
    } catch (const std::invalid_argument& wrong) {
        require(std::string_view(wrong.what()).find("script") != std::string_view::npos, "it says where");
    }
    in.clear();
    in.seekg(0);
    Script control;
    for (std::string line; std::getline(in, line);)
        try {
            if (Script::says_when(line))
                control.add(line, check, 2);
            else
                faults.apply(line);
        } catch (const std::invalid_argument&) { // is answered
        }
}
