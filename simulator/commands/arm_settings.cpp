// Settings of the arm as a whole.
#include <algorithm>
#include <cmath>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr int tool_version = 12;

void set_limit(Call& call, const char* key, double CartesianLimits::*limit)
{
    call.arm.set_cartesian_limit(limit, from_thousandths(call[key]));
}

Json limit(Call& call, double CartesianLimits::*limit)
{
    return std::lround(call.arm.cartesian_limits().*limit * 1000);
}

bool servo(const Call& call, const char* key)
{
    return integer(call[key], "the servo's state", 0, 1) == 1;
}

constexpr Command arm_setting_table[] = {
    {"set_arm_max_line_speed", "arm_line_speed",
     [](Call& call) { set_limit(call, "arm_line_speed", &CartesianLimits::speed); }},
    {"set_arm_max_line_acc", "arm_line_acc",
     [](Call& call) { set_limit(call, "arm_line_acc", &CartesianLimits::acceleration); }},
    {"set_arm_max_angular_speed", "arm_angular_speed",
     [](Call& call) { set_limit(call, "arm_angular_speed", &CartesianLimits::angular_speed); }},
    {"set_arm_max_angular_acc", "arm_angular_acc",
     [](Call& call) { set_limit(call, "arm_angular_acc", &CartesianLimits::angular_acceleration); }},
    {"get_arm_max_line_speed", "arm_line_speed",
     [](Call& call) { return limit(call, &CartesianLimits::speed); }},
    {"get_arm_max_line_acc", "arm_line_acc",
     [](Call& call) { return limit(call, &CartesianLimits::acceleration); }},
    {"get_arm_max_angular_speed", "arm_angular_speed",
     [](Call& call) { return limit(call, &CartesianLimits::angular_speed); }},
    {"get_arm_max_angular_acc", "arm_angular_acc",
     [](Call& call) { return limit(call, &CartesianLimits::angular_acceleration); }},
    {"set_arm_init", "arm_init", [](Call& call) { call.arm.restore_cartesian_limits(); }},
    {.name = "set_collision_stage",
     .key = "collision_state",
     .handle =
         [](Call& call) {
             call.arm.settings.collision_stage = integer(call["collision_stage"], "the stage", 0, 8);
         },
     .recognised_by = "set_collision_state"},
    {"get_collision_stage", "collision_stage",
     [](Call& call) -> Json { return call.arm.settings.collision_stage; }},
    // The five lengths travel in tenths, alone among all lengths.
    {"set_DH_data", "set_state",
     [](Call& call) {
         const std::vector<double> tenths = numbers(call["data"], 5);
         std::ranges::transform(tenths, call.arm.settings.lengths.begin(), [](double t) { return t / 10; });
     }},
    {"get_DH_data", "data",
     [](Call& call) {
         Json tenths = Json::array();
         for (double length : call.arm.settings.lengths)
             tenths.push_back(std::lround(length * 10));
         return tenths;
     }},
    {"set_joint_zero_offset", "set_state",
     [](Call& call) { call.arm.set_zero_offset(call.joints("offset")); }},
    {"set_arm_dynamic_parm", "set_state",
     [](Call& call) {
         call.arm.settings.dynamics = from_thousandths(call["parm"], 2 * call.arm.joint_count());
     }},
    {"get_tool_software_version", "version", [](Call&) -> Json { return tool_version; }},
    {"set_arm_servo", "arm_servo", [](Call& call) { call.arm.drives.set_servo(servo(call, "arm_servo")); }},
    {"set_system_state_servo", "servo_state",
     [](Call& call) { call.arm.drives.set_system_servo(servo(call, "servo_state")); }},
    {"set_install_pose", "set_state",
     [](Call& call) {
         const std::vector<double> angles = numbers(call["pose"], 2);
         call.arm.settings.installation = {angles[0], angles[1]};
     }},
};

} // namespace

std::span<const Command> arm_setting_commands()
{
    return arm_setting_table;
}

} // namespace kx::sim
