// Which reply a text is taken for, where the list of commands does not say it.
#include "kx_base.h"

#include <gtest/gtest.h>

TEST(Recognition, TheFirstNameOfTheTableDecides)
{
    const struct {
        const char* text;
        int code;
    } rows[] = {
        // of two names the one that stands first in the table, not in the text
        {R"({"x":"joint_max_acc","y":"set_joint_max_speed"})", 2},
        {R"({"command":"start_calibrate","calibrate_state":true})", 9},
        {R"({"command":"calibrate_state","joint_state":[0]})", 11},
        {R"({"command":"current_trajectory_state","trajectory_state":true})", 64},
        // names that are part of others
        {"joint_max_acc", 12},
        {"arm_max_line_speed", 23},
        {"DH_data", 31},
        {"joint_voltage", 58},
        {"init_pose", 62},
        {"AO_state", 102},
        {"set_tool_DO_state", 100},
        // kinds that no command awaits
        {"generate_auto_tool_frame", 38},
        {"set_delete_work_frame", 50},
        {"auto_set_Fz", 135},
        {"manual_set_Fz", 136},
        {"set_lift_height", 150},
        // what is unknown
        {"stop_waypoint", 162},
        {"set_pwm", 162},
        {"{}", 162},
        {"", 162},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Get_Json_KeyCode(row.text), row.code) << row.text;
}
