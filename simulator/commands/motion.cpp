// Planned motions and control of the one that runs.
#include "commands/command.h"

namespace kx::sim {

namespace {

/** The speed of a motion, and the radius within which it may pass into the next one. */
Arm::Manner manner(const Call& call)
{
    const auto given = call.request.find("r");
    const double radius = given == call.request.end() ? 0 : from_thousandths(*given);
    if (!(radius >= 0)) throw Refused("negative blend radius");
    return {double(call.percent()), radius};
}

/** What a motion was told to go to: joint angles or, in space, a pose. */
Json target_of(const Motion& motion)
{
    const auto& target = motion.target;
    if (motion.kind == MotionKind::joint) return thousandths(target);
    const auto single = [&target](std::size_t i) { return static_cast<float>(target[i]); };
    return pose_of({single(0), single(1), single(2), single(3), single(4), single(5)});
}

constexpr Command motion_table[] = {
    motion("movej",
           [](Call& call) {
               const Joints target = call.joints("joint");
               call.arm.move_joints(target, manner(call), call.completion());
           }),
    motion("movel",
           [](Call& call) {
               const POSE target = pose_from(call["pose"]);
               call.arm.move_line(target, manner(call), call.completion());
           }),
    motion("movec",
           [](Call& call) {
               const POSE via = pose_from(member(call["pose"], "pose_via"));
               const POSE target = pose_from(member(call["pose"], "pose_to"));
               const int loop = integer(call["loop"], "the number of repetitions", 0, 255);
               call.arm.move_circle(via, target, loop, manner(call), call.completion());
           }),
    motion("movej_p",
           [](Call& call) {
               const POSE target = pose_from(call["pose"]);
               call.arm.move_joints_to(target, manner(call), call.completion());
           }),
    {"set_arm_stop", "arm_stop", [](Call& call) { call.arm.stop("the arm was stopped"); }},
    {"set_arm_pause", "arm_pause", [](Call& call) { call.arm.pause(); }},
    {"set_arm_continue", "arm_continue", [](Call& call) { call.arm.resume(); }},
    {"set_delete_current_trajectory", "delete_current_trajectory",
     [](Call& call) { call.arm.drop_current("the motion was deleted"); }},
    {"set_arm_delete_trajectory", "arm_delete_trajectory",
     [](Call& call) { call.arm.drop_all("all motions were deleted"); }},
    // The target of the motion that runs, or where the arm stands.
    {"get_arm_current_trajectory", "",
     [](Call& call) -> Json {
         const Motion* motion = call.arm.motions().current();
         if (!motion || motion->kind == MotionKind::none)
             return {{"data", thousandths(call.arm.position())}, {"type", name_of(MotionKind::none)}};
         return {{"data", target_of(*motion)}, {"type", name_of(motion->kind)}};
     }},
};

} // namespace

std::span<const Command> motion_commands()
{
    return motion_table;
}

} // namespace kx::sim
