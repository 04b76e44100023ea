// Power, errors, versions, log, run time, odometers, high-speed Ethernet.
#include <cmath>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr int power_on = 1, power_off = 64;

constexpr Command system_table[] = {
    {"set_arm_power", "arm_power",
     [](Call& call) {
         const int power = integer(call["arm_power"], "the power", power_on, power_off);
         if (power != power_on && power != power_off) throw Refused("the power is 1 (on) or 64 (off)");
         call.peripherals.set_power(power == power_on);
     }},
    {"get_arm_power_state", "power_state", [](Call& call) -> Json { return int{call.arm.drives.powered()}; }},
    {"clear_system_err", "clear_state", [](Call& call) { call.peripherals.system.clear_fault(); }},
    {"get_arm_hardware_version", "version", [](Call&) -> Json { return System::hardware_version; }},
    {"get_arm_software_version", "",
     [](Call&) -> Json {
         return {{"Plan_version", System::plan_version}, {"Ctrl_version", System::control_version}};
     }},
    {"get_log_file", "set_state", [](Call& call) { call.peripherals.system.write_log(); }},
    {"get_system_runtime", "",
     [](Call& call) -> Json {
         const auto seconds = static_cast<long long>(call.peripherals.system.runtime());
         return {{"day", seconds / 86400},
                 {"hour", seconds / 3600 % 24},
                 {"min", seconds / 60 % 60},
                 {"sec", seconds % 60}};
     }},
    {"clear_system_runtime", "clear_state", [](Call& call) { call.peripherals.system.clear_runtime(); }},
    {.name = "get_joint_odom",
     .key = "odom",
     .handle = // whole degrees, both directions added up
     [](Call& call) -> Json {
         Json degrees = Json::array();
         for (const Drive& drive : call.arm.drives.each())
             degrees.push_back(std::llround(drive.travel));
         return degrees;
     }},
    {"clear_joint_odom", "clear_state", [](Call& call) { call.arm.drives.clear_travel(); }},
    {"set_high_speed_eth", "set_state",
     [](Call& call) {
         call.peripherals.system.high_speed_ethernet = integer(call["mode"], "the mode", 0, 1) == 1;
     }},
};

} // namespace

std::span<const Command> system_commands()
{
    return system_table;
}

} // namespace kx::sim
