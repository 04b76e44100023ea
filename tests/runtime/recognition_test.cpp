// Which reply a text is taken for, above all where one name contains another.
#include "kx_base.h"

#include <gtest/gtest.h>

TEST(Recognition, TheFirstNameOfTheTableDecides)
{
    const struct {
        const char* text;
        int code;
    } rows[] = {
        {"set_joint_max_speed", 2},
        {"joint_max_speed", 1},
        {"get_joint_max_speed", 1},
        {R"({"x":"joint_max_acc","y":"set_joint_max_speed"})", 2},
        {"set_joint_max_acc", 3},
        {"joint_max_acc", 12},
        {"set_joint_min_pos", 4},
        {"joint_min_pos", 13},
        {"set_joint_max_pos", 5},
        {"joint_max_pos", 14},
        {"set_joint_en_state", 6},
        {"joint_en_state", 15},
        {"set_joint_zero_pos", 7},
        {"set_joint_zero_offset", 32},
        {R"({"command":"start_calibrate","calibrate_state":true})", 9},
        {R"({"command":"calibrate_state","joint_state":[0]})", 11},
        {"set_arm_max_line_speed", 19},
        {"arm_max_line_speed", 23},
        {"set_arm_max_line_acc", 20},
        {"arm_max_line_acc", 24},
        {"set_arm_max_angular_speed", 21},
        {"arm_max_angular_speed", 25},
        {"set_arm_max_angular_acc", 22},
        {"arm_max_angular_acc", 26},
        {"set_DH_data", 30},
        {"get_DH_data", 31},
        {"set_collision_state", 28},
        {"get_collision_stage", 29},
        {"current_joint_voltage", 57},
        {"joint_voltage", 58},
        {"set_init_pose", 61},
        {"get_init_pose", 62},
        {R"({"command":"current_trajectory_state","trajectory_state":true})", 64},
        {"joint_state", 65},
        {"pose_state", 66},
        {"set_arm_continue", 69},
        {"arm_current_trajectory", 72},
        {"stop_waypoint", 162},
        {"set_DO_state", 97},
        {"get_DO_state", 100},
        {"set_tool_DO_state", 100},
        {"set_AO_state", 98},
        {"AO_state", 102},
        {"set_gripper_route", 111},
        {"set_gripper_pick", 112},
        {"stop_force_positon", 122},
        {"stop_set_force_sensor", 126},
        {"set_force_sensor", 125},
        {"set_lift_speed", 149},
        {"set_lift_height", 150},
        {"set_lift ", 148},
        {"current_joint_temperature", 55},
        {"joint_degree", 159},
        {"Start_Force_Position_Move", 160},
        {"Force_Position_State", 161},
        {"Stop_Force_Position_Move", 162},
        {"set_PWM", 132},
        {"set_pwm", 162},
        {"{}", 162},
        {"", 162},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Get_Json_KeyCode(row.text), row.code) << row.text;
}
