// Jogging, single steps, waypoints, and a wait between planned motions.
#include <algorithm>
#include <array>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr double max_step = 3;         // m, rad: a step turns by less than half a turn
constexpr double max_frequency = 1000; // Hz, of waypoints
constexpr int max_wait = 3600 * 1000;  // ms

bool is_up(const Call& call)
{
    const std::string& direction = text(call["direction"]);
    if (direction != "pos" && direction != "neg") throw Refused("the direction is \"pos\" or \"neg\"");
    return direction == "pos";
}

/** The axis of the work frame that a text names. */
KDL::Vector axis(const Call& call, const char* key, const std::array<std::string_view, 3>& names)
{
    const auto found = std::ranges::find(names, text(call[key]));
    if (found == names.end()) throw Refused("an axis was expected");
    KDL::Vector axis;
    axis(static_cast<int>(found - names.begin())) = 1;
    return axis;
}

KDL::Twist along(const KDL::Vector& way)
{
    return {way, KDL::Vector::Zero()};
}

KDL::Twist about(const KDL::Vector& turn)
{
    return {KDL::Vector::Zero(), turn};
}

void jog_tool(Call& call, const KDL::Twist& axis)
{
    call.arm.jog_tool(is_up(call) ? axis : -axis, call.percent());
}

/** @param unit of the step, in metres or radians */
void step_tool(Call& call, const KDL::Twist& axis, double unit)
{
    const double step = unit * number(call["step"], "the step", -max_step / unit, max_step / unit);
    call.arm.step_tool(axis * step, call.percent(), call.completion());
}

constexpr Command teaching_table[] = {
    {"set_joint_teach", "joint_teach",
     [](Call& call) { call.arm.jog_joint(call.joint(call["teach_joint"]), is_up(call), call.percent()); }},
    {"set_pos_teach", "pos_teach",
     [](Call& call) {
         jog_tool(call, along(axis(call, "teach_type", {"x", "y", "z"})));
     }},
    {"set_ort_teach", "ort_teach",
     [](Call& call) {
         jog_tool(call, about(axis(call, "teach_type", {"rx", "ry", "rz"})));
     }},
    {"set_stop_teach", "stop_teach", [](Call& call) { call.arm.stop_jogging(); }},
    motion("set_joint_step",
           [](Call& call) {
               const auto [joint, degrees] = call.joint_and_value("joint_step");
               call.arm.step_joint(joint, degrees, call.percent(), call.completion());
           }),
    motion("set_pos_step",
           [](Call& call) {
               step_tool(call, along(axis(call, "step_type", {"x_step", "y_step", "z_step"})), 1e-6);
           }),
    motion("set_ort_step",
           [](Call& call) {
               step_tool(call, about(axis(call, "step_type", {"rx_step", "ry_step", "rz_step"})), 1e-3);
           }),

    {"add_waypoint", "waypoint_state", [](Call& call) { call.arm.add_waypoint(call.joints("joint")); }},
    {"clear_waypoint", "waypoint_state", [](Call& call) { call.arm.clear_waypoints(); }},
    {"start_waypoint", "waypoint_state",
     [](Call& call) {
         call.arm.play_waypoints(number(call["frequency"], "the frequency", 1, max_frequency));
     }},
    {"stop_waypoint", "waypoint_state", [](Call& call) { call.arm.stop_waypoints(); }},
    {"timer", "wait_time",
     [](Call& call) { call.arm.wait(integer(call["wait_time"], "the time", 1, max_wait) / 1000.0); }},
};

} // namespace

std::span<const Command> teaching_commands()
{
    return teaching_table;
}

} // namespace kx::sim
