// Force sensors: data, calibration, motion that minds the force, force-position mode.
#include <cmath>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr double max_force = 200; // N or Nm, to be kept to

/** The force comes under a key, in `units` of a newton. */
ForceTarget force_target(const Call& call, const char* direction_key, const char* force_key, double unit)
{
    ForceTarget target{};
    target.sensor = static_cast<Sensor>(integer(call["sensor"], "the sensor", 0, 1));
    target.in_flange_frame = integer(call["mode"], "the mode", 0, 1) == 1;
    target.direction = integer(call[direction_key], "the direction", 0, 5);
    target.force = number(call[force_key], "the force", 0, max_force / unit) * unit;
    return target;
}

/** The pose of a calibration by hand. Its first form has six angles whatever the arm. */
void take_pose(Call& call, std::size_t index)
{
    Joints pose = from_thousandths(call["joint"], 6);
    for (std::size_t i = pose.size(); i < call.arm.joint_count(); ++i)
        pose.push_back(call.arm.position()[i]);
    call.peripherals.force.give_pose(index, pose);
}

/** Two poses. With seven joints the first array brings the seventh angles of both. */
void take_two_poses(Call& call)
{
    const std::size_t joints = call.arm.joint_count(), extra = joints - 6;
    Joints first = from_thousandths(call["pose1"], joints + extra);
    Joints second = from_thousandths(call["pose2"], 6);
    second.insert(second.end(), first.begin() + static_cast<std::ptrdiff_t>(joints), first.end());
    first.resize(joints);
    call.peripherals.force.calibrate(Sensor::single_axis, {first, second});
}

void clear(Call& call, Sensor sensor)
{
    call.peripherals.force.clear(sensor);
}

void calibrate(Call& call, Sensor sensor)
{
    call.peripherals.force.calibrate(sensor);
}

/** Every calibration is answered under this name. */
constexpr const char* calibration = "set_force_sensor";

constexpr Command force_table[] = {
    {"set_force_position", "set_state",
     [](Call& call) { call.peripherals.force.control = force_target(call, "direction", "N", 1); }},
    {"stop_force_positon", "stop_state", [](Call& call) { call.peripherals.force.control.reset(); }},
    {"get_force_data", "force_data",
     [](Call& call) {
         const KDL::Wrench data = call.peripherals.force.data(Sensor::six_axis);
         std::vector<double> values;
         for (int i = 0; i < 6; ++i)
             values.push_back(data(i));
         return thousandths(values);
     }},
    {"clear_force_data", "clear_state", [](Call& call) { clear(call, Sensor::six_axis); }},
    {"set_force_sensor", "set_state", [](Call& call) { calibrate(call, Sensor::six_axis); }},
    {.name = "manual_set_force_pose1",
     .key = "set_state",
     .handle = [](Call& call) { take_pose(call, 0); },
     .recognised_by = calibration},
    {.name = "manual_set_force_pose2",
     .key = "set_state",
     .handle = [](Call& call) { take_pose(call, 1); },
     .recognised_by = calibration},
    {.name = "manual_set_force_pose3",
     .key = "set_state",
     .handle = [](Call& call) { take_pose(call, 2); },
     .recognised_by = calibration},
    {.name = "manual_set_force_pose4",
     .key = "set_state",
     .handle = [](Call& call) { take_pose(call, 3); },
     .recognised_by = calibration},
    {"stop_set_force_sensor", "stop_state", [](Call& call) { call.peripherals.force.stop_calibrating(); }},
    // In whole newtons: clients take this number as it is, without a fraction.
    {"get_Fz", "Fz",
     [](Call& call) -> Json {
         return std::lround(call.peripherals.force.data(Sensor::single_axis).force.z());
     }},
    {"clear_Fz", "set_state", [](Call& call) { clear(call, Sensor::single_axis); }},
    {.name = "auto_set_Fz",
     .key = "set_state",
     .handle = [](Call& call) { calibrate(call, Sensor::single_axis); },
     .recognised_by = calibration},
    {.name = "manual_set_Fz",
     .key = "set_state",
     .handle = [](Call& call) { take_two_poses(call); },
     .recognised_by = calibration},

    {"Start_Force_Position_Move", "set_state", [](Call& call) { call.peripherals.force.start_following(); }},
    {.name = "Force_Position_Move",
     .handle = [](Call& call) -> Json {
         const Joints target = call.request.contains("pose") ? call.arm.joints_near(pose_from(call["pose"]))
                                                             : call.joints("joint");
         call.peripherals.force.follow(target, force_target(call, "dir", "force", 0.1));
         return {{"set_state", true},
                 {"joint", thousandths(call.arm.position())},
                 {"arm_err", call.arm.drives.error()}};
     },
     .recognised_by = "Force_Position_State",
     .streamed = true,
     .refusal_key = "set_state"},
    {"Stop_Force_Position_Move", "set_state", [](Call& call) { call.peripherals.force.stop_following(); }},
};

} // namespace

std::span<const Command> force_commands()
{
    return force_table;
}

} // namespace kx::sim
