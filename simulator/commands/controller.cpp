// The controller's own health, and its communication interfaces.
#include <cmath>
#include <numeric>

#include "commands/command.h"

namespace kx::sim {

namespace {

// The simulated controller has its one interface. What it is told about others is logged, without passwords,
// and never answered: a client does not wait, since a real controller may drop the connection.
Later accept(const Call& call, std::string what)
{
    call.log("network: " + what);
    return answered_later;
}

Later join_wifi(const Call& call, const char* role, const char* name)
{
    const bool has_password = call.request.contains("password") && !text(call["password"]).empty();
    return accept(call, std::string(role) + ' ' + text(call[name]) +
                            (has_password ? " with a password" : " without a password"));
}

Later set_baud_rate(const Call& call, const char* port)
{
    const int rate = integer(call["baudrate"], "the baud rate", 1200, 4000000);
    return accept(call, std::string(port) + " at " + std::to_string(rate) + " baud");
}

constexpr Command controller_table[] = {
    {"get_controller_state", "",
     [](Call& call) -> Json {
         constexpr double own_current = 0.8;   // A
         constexpr double cabinet_warmth = 10; // degrees Celsius above the room that the joints are in
         const Joints currents = call.arm.currents(), temperatures = call.arm.drives.temperatures();
         const double drawn = std::accumulate(currents.begin(), currents.end(), own_current);
         const double joints = std::accumulate(temperatures.begin(), temperatures.end(), 0.0) /
                               static_cast<double>(temperatures.size());
         return {{"voltage", std::lround(1000 * voltages(currents).front())},
                 {"current", std::lround(1000 * drawn)},
                 {"temperature", std::lround(1000 * (joints + cabinet_warmth))},
                 {"err_flag", static_cast<int>(call.peripherals.system.fault())}};
     }},
    {"set_wifi_ap", "", [](Call& call) { return join_wifi(call, "WiFi access point", "wifi_name"); }},
    {"set_wifi_sta", "", [](Call& call) { return join_wifi(call, "WiFi of the router", "router_name"); }},
    {"set_usb", "", [](Call& call) { return set_baud_rate(call, "USB"); }},
    {"set_RS485", "", [](Call& call) { return set_baud_rate(call, "RS485"); }},
    {"set_ethernet", "", [](Call& call) { return accept(call, "Ethernet"); }},
};

} // namespace

std::span<const Command> controller_commands()
{
    return controller_table;
}

} // namespace kx::sim
