// Teaching by hand and replaying what was taught.
#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr Command commands[] = {
    {"start_drag_teach", "drag_teach",
     [](Call& call) -> Json {
         const bool record = integer(call["trajectory_record"], "the recording", 0, 1) == 1;
         call.peripherals.drag_teach.start(record, Freedom::all);
         return true;
     }},
    {"start_multi_drag_teach", "set_state",
     [](Call& call) -> Json {
         const int mode = integer(call["mode"], "the mode", 0, static_cast<int>(Freedom::orientation));
         call.peripherals.drag_teach.start(true, static_cast<Freedom>(mode));
         return true;
     }},
    {"stop_drag_teach", "drag_teach",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.stop();
         return true;
     }},
    {"drag_trajectory_origin", "trajectory_state",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.go_to_origin(call.completion());
         return answered_later;
     },
     end_of_motion},
    // Answered when it begins. A line at its end would be taken for the end of a planned motion.
    {"run_drag_trajectory", "run_state",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.run();
         return true;
     }},
    {"pause_drag_trajectory", "pause_state",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.pause();
         return true;
     }},
    {"continue_drag_trajectory", "continue_state",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.resume();
         return true;
     }},
    {"stop_drag_trajectory", "stop_state",
     [](Call& call) -> Json {
         call.peripherals.drag_teach.stop_running();
         return true;
     }},
};

} // namespace

std::span<const Command> drag_teach_commands()
{
    return commands;
}

} // namespace kx::sim
