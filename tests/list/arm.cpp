// The list of commands, first half: the arm itself.
#include "list/command.h"

#include <cstddef>

using namespace list;

static const float joint[7] = {10.0005f, -20, 30, -40, 50, -60, 70};
#define JOINT_SENT "[10000,-20000,30000,-40000,50000,-60000" // and perhaps a seventh
static const POSE pose = {0.1234567f, -0.5f, 1, -3.14159f, 0.0005f, 1.5f};
static const POSE to = {0, 0, 0.25f, 0, 0, 0};
#define POSE_SENT "[123456,-500000,1000000,-3141,0,1500]"

// Values of six joints in thousandths.
static Member six(const char* key)
{
    return {key, "[180000,-1,0,2.9,1500,-1500]", as<float>({180, -0.001f, 0, 0.002f, 1.5f, -1.5f})};
}

static Member pose_read(const char* key)
{
    return Member(key, "[123456,-1,0,-3141,1500,2.9]",
                  as<float>({0.123456f, -0.000001f, 0, -3.141f, 1.5f, 0.002f}))
        .fixed_length(12, 12);
}

static const std::vector<Command> joint_parameters = {
    parameter(COMMAND(Set_Joint_Speed, 3, 12.3456f), "set_joint_max_speed", "'joint_max_speed':[3,12345]", 2,
              Entry::guarded_direct),
    parameter(COMMAND(Set_Joint_Acc, 2, 300.25f), "set_joint_max_acc", "'joint_max_acc':[2,300250]", 3,
              Entry::guarded_direct),
    parameter(COMMAND(Set_Joint_Min_Pos, 1, -0.0009f), "set_joint_min_pos", "'joint_min_pos':[1,0]", 4,
              Entry::direct),
    parameter(COMMAND(Set_Joint_Max_Pos, 6, 170.5f), "set_joint_max_pos", "'joint_max_pos':[6,170500]", 5,
              Entry::direct),
    parameter(COMMAND(Set_Joint_EN_State, 2, true), "set_joint_en_state", "'joint_en_state':[2,1]", 6,
              Entry::direct),
    parameter(COMMAND(Set_Joint_Zero_Pos, 4), "set_joint_zero_pos", "'joint_zero_pos':4", 7, Entry::guarded),
    parameter(COMMAND(Set_Joint_Err_Clear, 5), "set_joint_clear_err", "'joint_clear_err':5", 8),
    set(COMMAND(Start_Calibrate), "start_calibrate", 9, "calibrate_state", {.other_type = 8}),
    set(COMMAND(Stop_Calibrate), "stop_calibrate", 10, "calibrate_state", {.other_type = 8}),
    // Errors and state are outputs that nothing is ever written to.
    get(COMMAND(Get_Calibrate_State), "get_calibrate_state", 11,
        {Member("joint_state", "[257,0,1,2,255,-1]", as<float>({1, 0, 1, 2, 255, 255})).faults(9, 10)}),
    get(COMMAND(Get_Joint_Speed), "get_joint_max_speed", 1, {six("joint_speed").faults(10, 10)}),
    get(COMMAND(Get_Joint_Acc), "get_joint_max_acc", 12, {six("joint_acc").faults(10, 10)}),
    get(COMMAND(Get_Joint_Min_Pos), "get_joint_min_pos", 13, {six("min_pos").faults(10, 10)}),
    get(COMMAND(Get_Joint_Max_Pos), "get_joint_max_pos", 14, {six("max_pos").faults(10, 11)}),
    get(COMMAND(Get_Joint_EN_State), "get_joint_en_state", 15,
        {Member("en_state", "[1,0,256,257,-1,1,1]", as<unsigned char>({1, 0, 0, 1, 255, 1, 1}))
             .faults(10, 11)},
        {.model = 47}),
    get(COMMAND(Get_Joint_Err_Flag), "get_joint_err_flag", 16,
        {Member("err_flag", "[0,4096,65537,0,0,1]", as<unsigned short>({0, 4096, 1, 0, 0, 1}))
             .faults(10, 11)},
        {.model = 36}),
    get(COMMAND(Get_Joint_Software_Version), "get_joint_software_version", 17,
        {six("version").faults(10, 11)}),
};

static const std::string sevens = as<float>({1.5f, 0.002f, 0.003f, 0.004f, 0.005f, 0.006f, 0.007f});
static const char sevens_read[] = "[1500,2,3,4,5,6,7]";

static const std::vector<Command> state = {
    get(COMMAND(Get_Current_Arm_State), "get_current_arm_state", 54,
        {pose_read("pose").into(1), six("joint").fixed_length().into(0),
         Member("arm_err", "4097", as<unsigned short>({4097})).into(2),
         Member("sys_err", "65537", as<unsigned short>({1})).into(3)},
        {.inside = "arm_state"}),
    get(COMMAND(Get_Joint_Temperature), "get_current_joint_temperature", 55,
        {six("joint_temperature").fixed_length()}),
    get(COMMAND(Get_Joint_Current), "get_current_joint_current", 56, {six("joint_current").fixed_length()}),
    get(COMMAND(Get_Joint_Voltage), "get_current_joint_voltage", 57, {six("joint_voltage").fixed_length()}),
    get(COMMAND(Get_Joint_Degree), "get_joint_degree", 159, {six("joint").at_most(6)})
        .also("'joint':[1000,2,3,4,5,6,-7500]", 0, // a seventh joint that the arm has not
              {{0, 0, as<float>({1, 0.002f, 0.003f, 0.004f, 0.005f, 0.006f, -7.5f})}}, On::classic),
    // Temperatures are looked at but not written.
    get(COMMAND(Get_Arm_All_State), "get_arm_all_state", 59,
        {Member("temperature", sevens_read).fixed_length(),
         Member("current", sevens_read, sevens).fixed_length().into(0, offsetof(JOINT_STATE, current)),
         Member("voltage", sevens_read, sevens).fixed_length().into(0, offsetof(JOINT_STATE, voltage)),
         Member("err_flag", "[65537,2,3,4,5,6,7]", as<unsigned short>({1, 2, 3, 4, 5, 6, 7}))
             .fixed_length()
             .into(0, offsetof(JOINT_STATE, err_flag)),
         Member("sys_err", "65539", as<unsigned short>({3})).into(0, offsetof(JOINT_STATE, sys_err))},
        {.inside = "all_state", .model = 47}),
    get(COMMAND(Get_Arm_Plan_Num), "get_arm_plan_num", 60, {{"plan_num", "3.9", as<int>({3})}}),
    set(COMMAND(Set_Arm_Init_Pose, joint), "set_init_pose", "'init_pose':" JOINT_SENT "]", 61, {.model = 36}),
    set(COMMAND(Set_Arm_Init_Pose, joint), "set_init_pose", "'init_pose':" JOINT_SENT ",70000]", 61,
        {.model = 47}),
    get(COMMAND(Get_Arm_Init_Pose), "get_init_pose", 62, {six("init_pose").fixed_length()}),
};

// What stands in the caller's array is rescaled in place; what the reply brings is not looked at.
static const std::string fives = as<float>({5, 5, 5, 5, 5, 5, 5, 5});
static const std::string as_joints = as<float>({0.005f, 0.005f, 0.005f, 0.005f, 0.005f, 0.005f});
static const std::string as_pose = as<float>({0.000005f, 0.000005f, 0.000005f, 0.005f, 0.005f, 0.005f});
static Write type(int mode)
{
    return {0, 0, as<int>({mode})};
}

static const std::vector<Command> motion = {
    move(COMMAND(Movej_Cmd, joint, 20, 1.5f), "movej", "'joint':" JOINT_SENT "],'v':20,'r':1500"),
    move(COMMAND(Movej_Cmd, joint, 20, 1.5f), "movej", "'joint':" JOINT_SENT ",70000],'v':20,'r':1500",
         {.model = 47}),
    move(COMMAND(Movel_Cmd, pose, 50, 0), "movel", "'pose':" POSE_SENT ",'v':50,'r':0", {.model = 36}),
    move(COMMAND(Movec_Cmd, pose, to, 20, 0.0019f, 2), "movec",
         "'pose':{'pose_via':" POSE_SENT ",'pose_to':[0,0,250000,0,0,0]},'v':20,'r':1,'loop':2"),
    planned(COMMAND(Movej_P_Cmd, to, 1, -0.001f), "movej_p", "'pose':[0,0,250000,0,0,0],'v':1,'r':-1"),
    get(COMMAND(Get_Current_Trajectory), "get_arm_current_trajectory", 72,
        {Member("data", "[1,2,3,4,5,6]"),
         Member("type", "'none'", as<int>({0})).into(0).and_into(1, as_joints)})
        .starting_with(1, fives)
        .also("'data':[1],'type':'movej'", 0, {type(1), {1, 0, as_joints}})
        .also("'data':[1],'type':'movel'", 0, {type(2), {1, 0, as_pose}})
        .also("'data':[],'type':'movec'", 0, {type(3), {1, 0, as_pose}})
        .also("'data':[1],'type':'MOVEC'", 11)
        .also("'data':[1],'type':'movej_p'", 11),
    get(COMMAND(Get_Current_Trajectory), "get_arm_current_trajectory", 72,
        {Member("data", "[1,2,3,4,5,6]"),
         Member("type", "'movej'", as<int>({1})).into(0).and_into(1, as_joints + as<float>({0.005f}))},
        {.model = 47})
        .starting_with(1, fives),
    set(COMMAND(Move_Pause_Cmd), "set_arm_pause", 68, "arm_pause"),
    set(COMMAND(Move_Continue_Cmd), "set_arm_continue", 69, "arm_continue"),
    set(COMMAND(Clear_Current_Trajectory), "set_delete_current_trajectory", 70, "delete_current_trajectory"),
    set(COMMAND(Clear_All_Trajectory), "set_arm_delete_trajectory", 71, "arm_delete_trajectory"),
    set(COMMAND(Move_Stop_Cmd), "set_arm_stop", 67, "arm_stop"),
};

static const std::vector<Command> pass_through = {
    push(COMMAND(Movej_CANFD, joint), "movej_canfd", "'joint':" JOINT_SENT "]", 65, "joint_state"),
    push(COMMAND(Movej_CANFD, joint), "movej_canfd", "'joint':" JOINT_SENT ",70000]", 65, "joint_state",
         {.model = 47}),
    push(COMMAND(Movep_CANFD, pose), "movep_canfd", "'pose':" POSE_SENT, 66, "pose_state", {.model = 36}),
};

static const auto no_axis = static_cast<POS_TEACH_MODES>(3);
static const auto no_rotation = static_cast<ORT_TEACH_MODES>(3);
static const auto before_all = static_cast<POS_TEACH_MODES>(-1);

static const std::vector<Command> teaching = {
    set(COMMAND(Joint_Teach_Cmd, 3, 0, 20), "set_joint_teach", "'teach_joint':3,'direction':'neg','v':20", 78,
        "joint_teach"),
    set(COMMAND(Teach_Stop_Cmd), "set_stop_teach", 81, "stop_teach"),
    set(COMMAND(Pos_Teach_Cmd, X_Dir, 7, 50), "set_pos_teach", "'teach_type':'x','direction':'pos','v':50",
        79, "pos_teach"),
    set(COMMAND(Pos_Teach_Cmd, Y_Dir, 0, 5), "set_pos_teach", "'teach_type':'y','direction':'neg','v':5", 79,
        "pos_teach"),
    set(COMMAND(Pos_Teach_Cmd, Z_Dir, 1, 1), "set_pos_teach", "'teach_type':'z','direction':'pos','v':1", 79,
        "pos_teach"),
    set(COMMAND(Pos_Teach_Cmd, no_axis, 1, 5), "set_pos_teach", "'direction':'pos','v':5", 79, "pos_teach"),
    set(COMMAND(Ort_Teach_Cmd, RY_Rotate, 0, 100), "set_ort_teach",
        "'teach_type':'ry','direction':'neg','v':100", 80, "ort_teach"),
    set(COMMAND(Ort_Teach_Cmd, RX_Rotate, 1, 1), "set_ort_teach", "'teach_type':'rx','direction':'pos','v':1",
        80, "ort_teach"),
    set(COMMAND(Ort_Teach_Cmd, RZ_Rotate, 1, 1), "set_ort_teach", "'teach_type':'rz','direction':'pos','v':1",
        80, "ort_teach"),
    set(COMMAND(Ort_Teach_Cmd, no_rotation, 1, 5), "set_ort_teach", "'direction':'pos','v':5", 80,
        "ort_teach"),
    planned(COMMAND(Joint_Step_Cmd, 2, 0.0015f, 10), "set_joint_step", "'joint_step':[2,1.5],'v':10"),
    planned(COMMAND(Pos_Step_Cmd, Z_Dir, 0.0000015f, 10), "set_pos_step",
            "'step_type':'z_step','step':1,'v':10"),
    planned(COMMAND(Pos_Step_Cmd, X_Dir, -1, 5), "set_pos_step",
            "'step_type':'x_step','step':-1000000,'v':5"),
    planned(COMMAND(Pos_Step_Cmd, Y_Dir, 1, 5), "set_pos_step", "'step_type':'y_step','step':1000000,'v':5"),
    planned(COMMAND(Pos_Step_Cmd, before_all, 1, 5), "set_pos_step", "'step':1000000,'v':5"),
    planned(COMMAND(Ort_Step_Cmd, RX_Rotate, -0.0199f, 10), "set_ort_step",
            "'step_type':'rx_step','step':-19,'v':10"),
    planned(COMMAND(Ort_Step_Cmd, RY_Rotate, 1, 5), "set_ort_step",
            "'step_type':'ry_step','step':1000,'v':5"),
    planned(COMMAND(Ort_Step_Cmd, RZ_Rotate, 1, 5), "set_ort_step",
            "'step_type':'rz_step','step':1000,'v':5"),
    set(COMMAND(Add_Waypoint, joint), "add_waypoint", "'joint':" JOINT_SENT "]", 73, "waypoint_state",
        {.other_type = 0, .model = 36}),
    set(COMMAND(Add_Waypoint, joint), "add_waypoint", "'joint':" JOINT_SENT ",70000]", 73, "waypoint_state",
        {.other_type = 0, .model = 47}),
    set(COMMAND(Start_Waypoint, 50), "start_waypoint", "'frequency':50", 74, "waypoint_state"),
    // Awaits a kind of reply that no text is taken for.
    set(COMMAND(Stop_Waypoint), "stop_waypoint", 76, ""),
    set(COMMAND(Clear_Waypoint), "clear_waypoint", 75, "waypoint_state"),
    set(COMMAND(Timer, 10), "timer", "'wait_time':10", 77),
};

static const float offset[7] = {1.2345f, -0.0009f, 0, 179.9999f, -90, 36, 7};
static const float parm[14] = {0.0015f, -0.25f, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0.0000625f, 13, -14};

static Member limit(const char* key)
{
    return {key, "250.9", as<float>({0.25f})};
}

static const std::vector<Command> arm_settings = {
    parameter(COMMAND(Set_Arm_Line_Speed, 0.2509f), "set_arm_max_line_speed", "'arm_line_speed':250", 19),
    parameter(COMMAND(Set_Arm_Line_Acc, 1.6f), "set_arm_max_line_acc", "'arm_line_acc':1600", 20),
    // The class's method of this name sets the linear acceleration.
    parameter(FUNCTION(Set_Arm_Angular_Speed, 0.6009f), "set_arm_max_angular_speed",
              "'arm_angular_speed':600", 21),
    parameter(COMMAND(Set_Arm_Angular_Acc, 4), "set_arm_max_angular_acc", "'arm_angular_acc':4000", 22),
    get(COMMAND(Get_Arm_Line_Speed), "get_arm_max_line_speed", 23, {limit("arm_line_speed")}),
    get(COMMAND(Get_Arm_Line_Acc), "get_arm_max_line_acc", 24, {limit("arm_line_acc")}),
    get(COMMAND(Get_Arm_Angular_Speed), "get_arm_max_angular_speed", 25, {limit("arm_angular_speed")}),
    get(COMMAND(Get_Arm_Angular_Acc), "get_arm_max_angular_acc", 26, {limit("arm_angular_acc")}),
    set(COMMAND(Set_Arm_Tip_Init), "set_arm_init", 27, "arm_init"),
    set(COMMAND(Set_Collision_Stage, 3), "set_collision_stage", "'collision_stage':3", 28, "collision_state",
        {.reply = "set_collision_state"}),
    get(COMMAND(Get_Collision_Stage), "get_collision_stage", 29,
        {Member("collision_stage", "-7.9", as<int>({-7})).of_any_type()}),
    set(COMMAND(Set_DH_Data, 0.1234f, -0.19f, 0, 240.5f, 1000), "set_DH_data", "'data':[1,-1,0,2405,10000]",
        30, "set_state"),
    get(COMMAND(Get_DH_Data), "get_DH_data", 31,
        {Member("data", "[1,-1,0,2405,10000]", as<float>({0.1f}))
             .into(0)
             .and_into(1, as<float>({-0.1f}))
             .and_into(2, as<float>({0}))
             .and_into(3, as<float>({240.5f}))
             .and_into(4, as<float>({1000}))
             .fixed_length(11, 0)}),
    set(COMMAND(Set_Joint_Zero_Offset, offset), "set_joint_zero_offset",
        "'offset':[1234,0,0,179999,-90000,36000]", 32, "set_state"),
    set(COMMAND(Set_Joint_Zero_Offset, offset), "set_joint_zero_offset",
        "'offset':[1234,0,0,179999,-90000,36000,7000]", 32, "set_state", {.model = 47}),
    set(COMMAND(Set_Arm_Dynamic_Parm, parm), "set_arm_dynamic_parm",
        "'parm':[1.5,-250,0,1000,2000,3000,4000,5000,6000,7000,8000,0.0625]", 33, "set_state", {.model = 36}),
    set(COMMAND(Set_Arm_Dynamic_Parm, parm), "set_arm_dynamic_parm",
        "'parm':[1.5,-250,0,1000,2000,3000,4000,5000,6000,7000,8000,0.0625,13000,-14000]", 33, "set_state",
        {.model = 47}),
    get(COMMAND(Get_Tool_Software_Version), "get_tool_software_version", 34,
        {Member("version", "110", as<int>({110})).of_any_type()}),
    set(COMMAND(Set_Arm_Servo_State, true), "set_arm_servo", "'arm_servo':1", 35),
    set(COMMAND(Set_System_State_Servo, false), "set_system_state_servo", "'servo_state':0", 36),
    set(COMMAND(Set_Install_Pose, 90, 0.5f), "set_install_pose", "'pose':[90,0.5]", 63, "set_state"),
};

// What is read of a tool's load, behind its name and pose.
static std::vector<Member> tool(std::vector<Member> members, int position_is_no_array)
{
    members.push_back(pose_read("pose").into(0, offsetof(FRAME, pose)));
    members.push_back(Member("payload", "2.9", as<float>({2})).into(0, offsetof(FRAME, payload)));
    members.push_back(Member("position", "[10,0,-123000]", as<float>({0.00001f, 0, -0.123f}))
                          .faults(position_is_no_array, 11)
                          .into(0, offsetof(FRAME, x)));
    return members;
}

// Names are cut to nine letters, and a list of them ends at "NULL".
static std::vector<Member> names(const char* key)
{
    return {Member(key, "['nine char','twelve chars']", as_text("nine char") + as_text("twelve ch"))
                .at_most(100)};
}

static Member cut_name(const char* key)
{
    return {key, "'twelve chars'", as_text("twelve ch")};
}

static const std::vector<Write> first_name = {{0, 0, as_text("nine char")}};

static const std::vector<Command> frames = {
    set(COMMAND(Manual_Set_Tool_Frame, "gripper", pose, 2.25f, -0.0019f, 0.001f, 3), "set_manual_tool_frame",
        "'tool_name':'gripper','tool_pose':" POSE_SENT ",'payload':2.25,'position':[-1,1,3000]", 39,
        "manual_tool_frame"),
    set(COMMAND(Change_Tool_Frame, "gripper"), "set_change_tool_frame", "'tool_name':'gripper'", 40,
        "change_tool_frame"),
    set(COMMAND(Change_Tool_Frame, nullptr), "set_change_tool_frame", 40, "change_tool_frame"),
    get(COMMAND(Get_Current_Tool_Frame), "get_current_tool_frame", 44, tool({cut_name("tool_name")}, 9)),
    get(COMMAND(Get_Given_Tool_Frame, "gripper"), "get_tool_frame", "'tool_name':'gripper'", 45, tool({}, 11),
        {.reply = "given_tool_frame"}),
    get(COMMAND(Get_All_Tool_Frame), "get_total_tool_frame", 46, names("tool_names"))
        .also("'tool_names':['nine char','NULL','unread',3]", 0, first_name)
        .also("'tool_names':['nine char',3,'NULL']", 11),
    // the blocking form goes out without its name
    set(COMMAND(Auto_Set_Tool_Frame, 6), "set_auto_tool_frame", "'point_num':6", 37, "auto_tool_frame",
        {.blocking_command = "", .blocking = "'point_num':6"}),
    set(COMMAND(Generate_Auto_Tool_Frame, "pen", 1.5f, 0.01f, 0, 0.1234f), "generate_auto_tool_frame",
        "'tool_name':'pen','payload':1.5,'position':[10,0,123]", 37, "auto_tool_frame",
        {.reply = "set_auto_tool_frame"}),
    set(COMMAND(Set_Payload, 7, 0.01f, -0.0009f, 1.2345f), "set_payload",
        "'payload':7,'position':[10,0,1234]", 42, "set_state"),
    set(COMMAND(Set_None_Payload), "set_none_payload", 43, "set_state"),
    set(COMMAND(Manual_Set_Work_Frame, "table", pose), "set_manual_work_frame",
        "'frame_name':'table','frame_pose':" POSE_SENT, 48, "manual_work_frame",
        {.reply = "set_maual_work_frame"}),
    set(COMMAND(Change_Work_Frame, "table"), "set_change_work_frame", "'frame_name':'table'", 49,
        "change_work_frame"),
    get(COMMAND(Get_Current_Work_Frame), "get_current_work_frame", 51,
        {cut_name("frame_name"), pose_read("pose").into(0, offsetof(FRAME, pose))}),
    get(COMMAND(Get_Given_Work_Frame, "table"), "get_work_frame", "'frame_name':'table'", 52,
        {pose_read("pose")}, {.reply = "given_work_frame"}),
    get(COMMAND(Get_All_Work_Frame), "get_total_work_frame", 53, names("frame_names"))
        .also("'frame_names':['nine char','NULL','unread']", 0, first_name)
        .also("'frame_names':[]", 0),
    set(COMMAND(Auto_Set_Work_Frame, "taught", 3), "set_auto_work_frame",
        "'frame_name':'taught','point_num':3", 47, "auto_work_frame"),
    // Answered as if the frame had been set.
    set(COMMAND(Delete_Work_Frame, "table"), "set_delete_work_frame", "'frame_name':'table'", 48,
        "manual_work_frame", {.reply = "set_maual_work_frame"}),
    set(COMMAND(Delete_Tool_Frame, "pen"), "set_delete_tool_frame", "'tool_name':'pen'", 41,
        "delete_tool_frame"),
};

static const std::vector<Command> controller = {
    get(COMMAND(Get_Controller_State), "get_controller_state", 85,
        {{"voltage", "24000", as<float>({24})},
         {"current", "1500.9", as<float>({1.5f})},
         {"temperature", "-1", as<float>({-0.001f})},
         {"err_flag", "65537", as<unsigned short>({1})}}),
    tell(COMMAND(Set_WiFi_AP_Data, "cell 7", "secret"), "set_wifi_ap",
         "'wifi_name':'cell 7','password':'secret'"),
    tell(COMMAND(Set_WiFi_AP_Data, "open", nullptr), "set_wifi_ap", "'wifi_name':'open'"),
    tell(COMMAND(Set_WiFI_STA_Data, "", "secret"), "set_wifi_sta", "'router_name':'','password':'secret'"),
    tell(COMMAND(Set_USB_Data, 115200), "set_usb", "'baudrate':115200"),
    tell(COMMAND(Set_RS485, -1), "set_RS485", "'baudrate':-1"),
    tell(COMMAND(Set_Ethernet), "set_ethernet"),
    tell(COMMAND(Arm_Sockrt_State), "get_joint_max_speed", "", {.entry = Entry::guarded}),
};

std::vector<Family> list::arm_families()
{
    return {{"Joint parameters", joint_parameters},
            {"State of the arm", state},
            {"Motion", motion},
            {"Realtime pass-through", pass_through},
            {"Jogging, steps and waypoints", teaching},
            {"Settings of the arm", arm_settings},
            {"Frames and payload", frames},
            {"Controller and network", controller}};
}
