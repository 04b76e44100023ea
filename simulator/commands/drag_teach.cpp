// Teaching by hand and replaying what was taught.
#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr Command drag_teach_table[] = {
    {"start_drag_teach", "drag_teach",
     [](Call& call) {
         const bool record = integer(call["trajectory_record"], "the recording", 0, 1) == 1;
         call.peripherals.drag_teach.start(record, Freedom::all);
     }},
    {"start_multi_drag_teach", "set_state",
     [](Call& call) {
         const int mode = integer(call["mode"], "the mode", 0, static_cast<int>(Freedom::orientation));
         call.peripherals.drag_teach.start(true, static_cast<Freedom>(mode));
     }},
    {"stop_drag_teach", "drag_teach", [](Call& call) { call.peripherals.drag_teach.stop(); }},
    motion("drag_trajectory_origin",
           [](Call& call) { call.peripherals.drag_teach.go_to_origin(call.completion()); }),
    // Answered when it begins. A line at its end would be taken for the end of a planned motion.
    {"run_drag_trajectory", "run_state", [](Call& call) { call.peripherals.drag_teach.run(); }},
    {"pause_drag_trajectory", "pause_state", [](Call& call) { call.peripherals.drag_teach.pause(); }},
    {"continue_drag_trajectory", "continue_state", [](Call& call) { call.peripherals.drag_teach.resume(); }},
    {"stop_drag_trajectory", "stop_state", [](Call& call) { call.peripherals.drag_teach.stop_running(); }},
};

} // namespace

std::span<const Command> drag_teach_commands()
{
    return drag_teach_table;
}

} // namespace kx::sim
