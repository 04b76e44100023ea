// Teaching by hand on the wire.
#include "support/command_rows.h"

#include "kx_base.h"

INSTANTIATE_TEST_SUITE_P(
    DragTeach, Setters,
    testing::Values(
        Setter{"Start_Drag_Teach", Start_Drag_Teach,
               R"({"command":"start_drag_teach","trajectory_record":1})", "start_drag_teach", "drag_teach"},
        Setter{"Stop_Drag_Teach", Stop_Drag_Teach, R"({"command":"stop_drag_teach"})", "stop_drag_teach",
               "drag_teach"},
        Setter{"Run_Drag_Trajectory", Run_Drag_Trajectory, R"({"command":"run_drag_trajectory"})",
               "run_drag_trajectory", "run_state"},
        Setter{"Pause_Drag_Trajectory", Pause_Drag_Trajectory, R"({"command":"pause_drag_trajectory"})",
               "pause_drag_trajectory", "pause_state"},
        Setter{"Continue_Drag_Trajectory", Continue_Drag_Trajectory,
               R"({"command":"continue_drag_trajectory"})", "continue_drag_trajectory", "continue_state"},
        Setter{"Stop_Drag_Trajectory", Stop_Drag_Trajectory, R"({"command":"stop_drag_trajectory"})",
               "stop_drag_trajectory", "stop_state"},
        Setter{"Drag_Trajectory_Origin", Drag_Trajectory_Origin, R"({"command":"drag_trajectory_origin"})",
               "current_trajectory_state", "trajectory_state"},
        Setter{"Start_Multi_Drag_Teach", with(Start_Multi_Drag_Teach, -3),
               R"({"command":"start_multi_drag_teach","mode":-3})", "start_multi_drag_teach", "set_state"}),
    RowName());
