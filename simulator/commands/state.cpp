// What the arm is doing now, and its initial pose.
#include "commands/command.h"

namespace kx::sim {

namespace {

int system_error(const Call& call)
{
    return static_cast<int>(call.peripherals.system.fault());
}

constexpr Command state_table[] = {
    {"get_current_arm_state", "arm_state",
     [](Call& call) -> Json {
         return {{"pose", pose_of(call.arm.tool_pose())},
                 {"joint", thousandths(call.arm.position())},
                 {"arm_err", call.arm.drives.error()},
                 {"sys_err", system_error(call)}};
     }},
    {"get_current_joint_temperature", "joint_temperature",
     [](Call& call) { return thousandths(call.arm.drives.temperatures()); }},
    {"get_current_joint_current", "joint_current",
     [](Call& call) { return thousandths(call.arm.currents()); }},
    {"get_current_joint_voltage", "joint_voltage",
     [](Call& call) { return thousandths(voltages(call.arm.currents())); }},
    {"get_joint_degree", "joint", [](Call& call) { return thousandths(call.arm.position()); }},
    {"get_arm_all_state", "all_state",
     [](Call& call) -> Json {
         Json errors = Json::array();
         for (const Drive& drive : call.arm.drives.each())
             errors.push_back(drive.error);
         return {{"temperature", thousandths(call.arm.drives.temperatures())},
                 {"current", thousandths(call.arm.currents())},
                 {"voltage", thousandths(voltages(call.arm.currents()))},
                 {"err_flag", errors},
                 {"sys_err", system_error(call)}};
     }},
    {"get_arm_plan_num", "plan_num", [](Call& call) -> Json { return call.arm.motions().current_number(); }},
    {"set_init_pose", "init_pose", [](Call& call) { call.arm.set_initial_pose(call.joints("init_pose")); }},
    {"get_init_pose", "init_pose", [](Call& call) { return thousandths(call.arm.settings.initial_pose); }},
};

} // namespace

std::span<const Command> state_commands()
{
    return state_table;
}

} // namespace kx::sim
