// Per-joint settings: limits, enable state, zero position, errors, calibration.
#include "commands/command.h"

namespace kx::sim {

namespace {

Json thousandths_of(const Call& call, double Drive::*value)
{
    std::vector<double> values;
    for (const Drive& drive : call.arm.drives.each())
        values.push_back(drive.*value);
    return thousandths(values);
}

template <typename Value>
Json integers_of(const Call& call, Value Drive::*value)
{
    Json array = Json::array();
    for (const Drive& drive : call.arm.drives.each())
        array.push_back(static_cast<int>(drive.*value));
    return array;
}

constexpr Command joint_parameter_table[] = {
    {"set_joint_max_speed", "joint_max_speed",
     [](Call& call) {
         const auto [joint, speed] = call.joint_and_value("joint_max_speed");
         call.arm.drives.set_max_speed(joint, speed);
     }},
    {"set_joint_max_acc", "joint_max_acc",
     [](Call& call) {
         const auto [joint, acceleration] = call.joint_and_value("joint_max_acc");
         call.arm.drives.set_max_acceleration(joint, acceleration);
     }},
    {"set_joint_min_pos", "joint_min_pos",
     [](Call& call) {
         const auto [joint, position] = call.joint_and_value("joint_min_pos");
         call.arm.drives.set_min_position(joint, position);
     }},
    {"set_joint_max_pos", "joint_max_pos",
     [](Call& call) {
         const auto [joint, position] = call.joint_and_value("joint_max_pos");
         call.arm.drives.set_max_position(joint, position);
     }},
    {"set_joint_en_state", "joint_en_state",
     [](Call& call) {
         const Json& pair = call["joint_en_state"];
         if (!pair.is_array() || pair.size() != 2) throw Refused("an array of joint and state was expected");
         const std::size_t joint = call.joint(pair[0]);
         call.arm.drives.set_enabled(joint, integer(pair[1], "the state", 0, 1) == 1);
     }},
    {"set_joint_zero_pos", "joint_zero_pos",
     [](Call& call) { call.arm.set_zero_position(call.joint(call["joint_zero_pos"])); }},
    {"set_joint_clear_err", "joint_clear_err",
     [](Call& call) { call.arm.drives.clear_error(call.joint(call["joint_clear_err"])); }},
    {"start_calibrate", "calibrate_state", [](Call& call) { call.arm.start_calibration(); }},
    {"stop_calibrate", "calibrate_state", [](Call& call) { call.arm.drives.stop_calibration(); }},
    {"get_joint_max_speed", "joint_speed",
     [](Call& call) { return thousandths_of(call, &Drive::max_speed); }},
    {"get_joint_max_acc", "joint_acc",
     [](Call& call) { return thousandths_of(call, &Drive::max_acceleration); }},
    {"get_joint_min_pos", "min_pos", [](Call& call) { return thousandths_of(call, &Drive::min_position); }},
    {"get_joint_max_pos", "max_pos", [](Call& call) { return thousandths_of(call, &Drive::max_position); }},
    {"get_joint_en_state", "en_state", [](Call& call) { return integers_of(call, &Drive::enabled); }},
    {"get_joint_err_flag", "err_flag", [](Call& call) { return integers_of(call, &Drive::error); }},
    {"get_joint_software_version", "version",
     [](Call& call) { return thousandths_of(call, &Drive::version); }},
    {"get_calibrate_state", "joint_state",
     [](Call& call) {
         Json states = Json::array();
         for (std::size_t i = 0; i < call.arm.joint_count(); ++i)
             states.push_back(static_cast<int>(call.arm.drives.calibration(i)));
         return states;
     }},
};

} // namespace

std::span<const Command> joint_parameter_commands()
{
    return joint_parameter_table;
}

} // namespace kx::sim
