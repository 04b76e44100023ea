// Targets that clients stream to the drives. Each is answered by a push with the state of the arm, which the
// client's callback gets; a refused one by a push without a state, which the callback gets as unreadable.
#include "commands/command.h"

namespace kx::sim {

namespace {

Json pushed(Call& call)
{
    return {{"arm_err", call.arm.drives.error()},
            {"pose", pose_of(call.arm.tool_pose())},
            {"joint", thousandths(call.arm.position())}};
}

constexpr Command pass_through_table[] = {
    {.name = "movej_canfd",
     .handle =
         [](Call& call) {
             call.arm.pass_through(call.joints("joint"));
             return pushed(call);
         },
     .recognised_by = "joint_state",
     .streamed = true},
    {.name = "movep_canfd",
     .handle =
         [](Call& call) {
             call.arm.pass_through(pose_from(call["pose"]));
             return pushed(call);
         },
     .recognised_by = "pose_state",
     .streamed = true},
};

} // namespace

std::span<const Command> pass_through_commands()
{
    return pass_through_table;
}

} // namespace kx::sim
