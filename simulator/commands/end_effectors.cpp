// Gripper, dexterous hand, PWM output.
#include "commands/command.h"

namespace kx::sim {

namespace {

/** Openings, speeds, forces and the like. */
int whole(const Call& call, const char* key, int low, int high)
{
    return integer(call[key], key, low, high);
}

int gripper_speed(const Call& call)
{
    return whole(call, "speed", 1, Gripper::max_speed);
}

/** Starts a motion; the answer comes at its end when the client wants that ("block" 1), else at once. */
template <typename Start>
MaybeLater gripper_motion(const Call& call, Start start)
{
    const bool wait = whole(call, "block", 0, 1) == 1;
    start(wait ? call.when_done() : Axis::Ended());
    return wait ? MaybeLater() : true;
}

MaybeLater pick(const Call& call, bool keep_up)
{
    const int speed = gripper_speed(call);
    const int force = whole(call, "force", Gripper::min_force, Gripper::max_force);
    return gripper_motion(call, [&](Axis::Ended ended) {
        call.peripherals.gripper.pick(speed, force, keep_up, std::move(ended));
    });
}

constexpr Command end_effector_table[] = {
    {"set_gripper_route", "state",
     [](Call& call) {
         call.peripherals.gripper.set_route(whole(call, "min", 0, Gripper::stroke),
                                            whole(call, "max", 0, Gripper::stroke));
     }},
    {"set_gripper_release", "state",
     [](Call& call) {
         return gripper_motion(call, [&](Axis::Ended ended) {
             call.peripherals.gripper.release(gripper_speed(call), std::move(ended));
         });
     }},
    {"set_gripper_pick", "state", [](Call& call) { return pick(call, false); }},
    {"set_gripper_pick_on", "state", [](Call& call) { return pick(call, true); }},
    {"set_gripper_position", "state",
     [](Call& call) { call.peripherals.gripper.move_to(whole(call, "position", 0, Gripper::stroke)); }},
    {"set_hand_posture", "set_state",
     [](Call& call) {
         const int number = whole(call, "posture_num", 1, std::size(Hand::postures));
         call.peripherals.hand.bend(Hand::postures[number - 1]);
     }},
    {"set_hand_seq", "set_state",
     [](Call& call) {
         const int number = whole(call, "seq_num", 1, std::size(Hand::sequences));
         call.peripherals.hand.run(static_cast<std::size_t>(number - 1));
     }},
    {"set_hand_angle", "set_state",
     [](Call& call) {
         const Json& array = call["hand_angle"];
         Hand::Angles angles{};
         if (!array.is_array() || array.size() != angles.size())
             throw Refused("an array of 6 finger angles was expected");
         for (std::size_t i = 0; i < angles.size(); ++i)
             angles[i] = integer(array[i], "the angle", 0, Hand::range);
         call.peripherals.hand.bend(angles);
     }},
    {"set_hand_speed", "set_state",
     [](Call& call) { call.peripherals.hand.speed = whole(call, "hand_speed", 1, Hand::max_speed); }},
    {"set_hand_force", "set_state",
     [](Call& call) { call.peripherals.hand.force = whole(call, "hand_force", 1, Hand::max_force); }},
    {"set_PWM", "set_state",
     [](Call& call) {
         const int frequency = whole(call, "PWM_Frq", 1, 100000);
         const int period = 1000000 / frequency; // microseconds
         call.peripherals.pwm = {frequency, whole(call, "PWM_Dpulse", 0, period)};
     }},
};

} // namespace

std::span<const Command> end_effector_commands()
{
    return end_effector_table;
}

} // namespace kx::sim
