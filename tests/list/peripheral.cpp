// The list of commands, second half: the controller itself and what hangs on it.
#include "list/command.h"

using namespace list;

static const float ready[7] = {10.25f, -0.015625f, 0, 179.5f, 0.0078125f, -360, 77}; // exact in binary
#define READY_SENT "[10250,-15.625,0,179500,7.8125,-360000"
static const float turned[7] = {1, 2, 3, 4, 5, 6, -8.0009765625f};

static const std::vector<Command> power = {
    set(COMMAND(Set_Arm_Power, true), "set_arm_power", "'arm_power':1", 86),
    set(COMMAND(Set_Arm_Power, false), "set_arm_power", "'arm_power':64", 86),
    get(COMMAND(Get_Arm_Power_State), "get_arm_power_state", 87,
        {{"power_state", "65600", as<int>({65600})}}),
    set(COMMAND(Clear_System_Err), "clear_system_err", 88, "clear_state"),
    // looked at, but not written
    get(FUNCTION(Get_Arm_Hardware_Version), "get_arm_hardware_version", 89, {{"version", "'1.2'"}}),
    get(COMMAND(Get_Arm_Software_Version), "get_arm_software_version", 90,
        {{"Plan_version", "-2147483648", as_text("-2147483648")}, {"Ctrl_version", "7.9", as_text("7")}}),
    set(COMMAND(Get_Log_File), "get_log_file", 91, "set_state"),
    // Run time and odometers may come as a text in their place; it is never written.
    get(COMMAND(Get_System_Runtime), "get_system_runtime", 92,
        {Member("day", "1", as<int>({1})).into(1), Member("hour", "2", as<int>({2})).into(2),
         Member("min", "3", as<int>({3})).into(3), Member("sec", "4", as<int>({4})).into(4)})
        .also("'sys_state':'','day':1,'hour':2,'min':3,'sec':4", 0)
        .also("'sys_state':true,'day':1,'hour':2,'min':3,'sec':4", 11),
    set(COMMAND(Clear_System_Runtime), "clear_system_runtime", 93, "clear_state"),
    get(COMMAND(Get_Joint_Odom), "get_joint_odom", 94,
        {Member("odom", "[1500,-20.9]", as<float>({1500, -20})).into(1).at_most(6)})
        .also("'sys_state':'ready','odom':[1500]", 0)
        .also("'sys_state':1,'odom':[1500]", 11),
    set(COMMAND(Clear_Joint_Odom), "clear_joint_odom", 95, "clear_state"),
    set(COMMAND(Set_High_Speed_Eth, 1), "set_high_speed_eth", "'mode':1", 96, "set_state"),
};

static const Member digital("IO_state", "257.9", as<unsigned char>({1}));
static const Member analogue("voltage", "2999", as<unsigned char>({2})); // whole volts

static std::vector<Member> every(const char* digital_key, const char* analogue_key)
{
    return {Member(digital_key, "[1,0,257]", as<unsigned char>({1, 0, 1})).at_most(16),
            Member(analogue_key, "[9999,-1]", as<float>({9.999f, -0.001f})).at_most(16)};
}

// Its block flag stands before the voltage.
static int set_AO_state(int handle, unsigned char number, float volts, bool block)
{
    return Set_AO_State(handle, number, block, volts);
}

static const std::vector<Command> io = {
    set(FUNCTION(Set_DO_State, 2, true), "set_DO_state", "'IO_Num':2,'state':1", 97, "state",
        {.entry = Entry::direct}),
    set(called("Set_AO_State", "3, block, 1.2345f", set_AO_state, nullptr, 3, 1.2345f), "set_AO_state",
        "'IO_Num':3,'voltage':1234", 98, "state", {.entry = Entry::direct}),
    set(called("Set_AO_State", "3, block, -0.0019f", set_AO_state, nullptr, 3, -0.0019f), "set_AO_state",
        "'IO_Num':3,'voltage':-1", 98, "state", {.entry = Entry::direct}),
    set(COMMAND(Set_IO_State, 0, 4, false), "set_DO_state", "'IO_Num':4,'state':0", 97, "state"),
    set(COMMAND(Set_IO_State, 1, 3, true), "set_AO_state", "'IO_Num':3,'voltage':1000", 98, "state"),
    get(FUNCTION(Get_DO_State, 2), "get_DO_state", "'IO_Num':2", 100, {digital}, {.entry = Entry::direct}),
    get(FUNCTION(Get_DI_State, 2), "get_DI_state", "'IO_Num':2", 101, {digital}, {.entry = Entry::direct}),
    get(FUNCTION(Get_AO_State, 3), "get_AO_state", "'IO_Num':3", 102, {analogue}, {.entry = Entry::direct}),
    get(FUNCTION(Get_AI_State, 3), "get_AI_state", "'IO_Num':3", 103, {analogue}, {.entry = Entry::direct}),
    get(COMMAND(Get_IO_State, 0, 1), "get_DO_state", "'IO_Num':1", 100, {digital}),
    get(COMMAND(Get_IO_State, 1, 2), "get_DI_state", "'IO_Num':2", 101, {digital}),
    get(COMMAND(Get_IO_State, 2, 3), "get_AO_state", "'IO_Num':3", 102, {analogue}),
    get(COMMAND(Get_IO_State, 3, 4), "get_AI_state", "'IO_Num':4", 103, {analogue}),
    get(COMMAND(Get_IO_Input), "get_IO_input", 104, every("DI", "AI"), {.reply = "IO_input_state"}),
    get(COMMAND(Get_IO_Output), "get_IO_output", 105, every("DO", "AO"), {.reply = "IO_output_state"}),
    set(COMMAND(Set_Tool_IO_Mode, 2, true), "set_tool_IO_mode", "'IO_Num':2,'state':1", 107, "set_state"),
    // Awaits a kind of reply that no text is taken for.
    set(COMMAND(Set_Tool_DO_State, 2, true), "set_tool_DO_state", "'IO_Num':2,'state':1", 106, ""),
    get(COMMAND(Get_Tool_IO_State), "get_tool_IO_state", 108,
        {Member("IO_Mode", "[1,0]", as<float>({1, 0})).at_most(16),
         Member("IO_State", "[0,1,1000]", as<float>({0, 1, 1000})).at_most(16)}),
    set(COMMAND(Set_Tool_Voltage, 3), "set_tool_voltage", "'voltage_type':3", 109, "state"),
    get(COMMAND(Get_Tool_Voltage), "get_tool_voltage", 110, {{"voltage_type", "3", as<unsigned char>({3})}},
        {.reply = "tool_voltage_state"}),
};

static const int fingers[7] = {100, 200, 300, 0, 2147483647, -2147483647 - 1, 7};

static const std::vector<Command> end_effectors = {
    set(COMMAND(Set_Gripper_Route, 10, 900), "set_gripper_route", "'min':10,'max':900", 111, "state"),
    set(COMMAND(Set_Gripper_Release, 500), "set_gripper_release", "'speed':500,'block':0", 112, "state",
        {.blocking_command = "set_gripper_release", .blocking = "'speed':500,'block':1"}),
    set(COMMAND(Set_Gripper_Pick, 500, 200), "set_gripper_pick", "'speed':500,'force':200,'block':0", 112,
        "state", {.blocking_command = "set_gripper_pick", .blocking = "'speed':500,'force':200,'block':1"}),
    set(COMMAND(Set_Gripper_Pick_On, 501, 201), "set_gripper_pick_on", "'speed':501,'force':201,'block':0",
        112, "state",
        {.blocking_command = "set_gripper_pick_on", .blocking = "'speed':501,'force':201,'block':1"}),
    set(COMMAND(Set_Gripper_Position, 1000), "set_gripper_position", "'position':1000", 112, "state"),
    set(COMMAND(Set_Hand_Posture, 40), "set_hand_posture", "'posture_num':40", 127, "set_state"),
    set(COMMAND(Set_Hand_Seq, 39), "set_hand_seq", "'seq_num':39", 128, "set_state"),
    set(COMMAND(Set_Hand_Angle, fingers), "set_hand_angle",
        "'hand_angle':[100,200,300,0,2147483647,-2147483648]", 129, "set_state"),
    set(COMMAND(Set_Hand_Speed, 42), "set_hand_speed", "'hand_speed':42", 130, "set_state"),
    set(COMMAND(Set_Hand_Force, 43), "set_hand_force", "'hand_force':43", 131, "set_state"),
    set(COMMAND(Set_PWM, 2000, 50), "set_PWM", "'PWM_Frq':2000,'PWM_Dpulse':50", 132, "set_state"),
};

static const std::vector<Command> drag_teach = {
    set(COMMAND(Start_Drag_Teach), "start_drag_teach", "'trajectory_record':1", 113, "drag_teach"),
    set(COMMAND(Stop_Drag_Teach), "stop_drag_teach", 114, "drag_teach"),
    planned(COMMAND(Drag_Trajectory_Origin), "drag_trajectory_origin"),
    set(COMMAND(Run_Drag_Trajectory), "run_drag_trajectory", 115, "run_state"),
    set(COMMAND(Pause_Drag_Trajectory), "pause_drag_trajectory", 116, "pause_state"),
    // The class's method of this name never returns.
    set(FUNCTION(Continue_Drag_Trajectory), "continue_drag_trajectory", 117, "continue_state"),
    set(COMMAND(Stop_Drag_Trajectory), "stop_drag_trajectory", 118, "stop_state"),
    set(COMMAND(Start_Multi_Drag_Teach, 1), "start_multi_drag_teach", "'mode':1", 120, "set_state"),
};

static const char ready_sent[] = "'joint':" READY_SENT "]";

// All calibrations have one kind of reply.
static Command calibrate(Called call, const char* command, const char* members, int model = 46)
{
    return set(std::move(call), command, members, 125, "set_state",
               {.reply = "set_force_sensor", .model = model});
}

static const std::vector<Command> force = {
    set(COMMAND(Set_Force_Postion, 1, 0, 2, 5), "set_force_position",
        "'sensor':1,'mode':0,'direction':2,'N':5", 121, "set_state"),
    set(COMMAND(Stop_Force_Postion), "stop_force_positon", 122, "stop_state"),
    // whole units
    get(COMMAND(Get_Force_Data), "get_force_data", 123,
        {Member("force_data", "[1999,-1999,999,-999,2000,-25000]", as<float>({1, -1, 0, 0, 2, -25}))
             .at_most(6)}),
    set(COMMAND(Clear_Force_Data), "clear_force_data", 124, "clear_state"),
    set(COMMAND(Set_Force_Sensor), "set_force_sensor", 125, "set_state"),
    set(COMMAND(Stop_Set_Force_Sensor), "stop_set_force_sensor", 126, "stop_state"),
    calibrate(COMMAND(Manual_Set_Force, 1, ready), "manual_set_force_pose1", ready_sent),
    calibrate(COMMAND(Manual_Set_Force, 2, ready), "manual_set_force_pose2", ready_sent, 36),
    calibrate(COMMAND(Manual_Set_Force, 3, ready), "manual_set_force_pose3", ready_sent, 47),
    calibrate(COMMAND(Manual_Set_Force, 4, ready), "manual_set_force_pose4", ready_sent),
    calibrate(COMMAND(Manual_Set_Force, 5, ready), nullptr, ready_sent),
    calibrate(COMMAND(Manual_Set_Force, 0, ready), nullptr, ready_sent),
    get(COMMAND(Get_Fz), "get_Fz", 133, {Member("Fz", "12.9", as<float>({12})).if_missing(8).of_any_type()})
        .also("'set_state':true,'Fz':-3.9", 0, {{0, 0, as<float>({-3})}})
        .also("'set_state':0,'Fz':2147483647", 0, {{0, 0, as<float>({2147483648.0f})}})
        .also("'set_state':false,'Fz':12", 9)
        .also("'set_state':false", 9)
        .also("'set_state':true", 8),
    set(COMMAND(Clear_Fz), "clear_Fz", 134, "set_state"),
    calibrate(COMMAND(Auto_Set_Fz), "auto_set_Fz", ""),
    calibrate(COMMAND(Manual_Set_Fz, ready, turned), "manual_set_Fz",
              "'pose1':" READY_SENT "],'pose2':[1000,2000,3000,4000,5000,6000]"),
    // The seventh joints of both poses go into the first.
    calibrate(COMMAND(Manual_Set_Fz, ready, turned), "manual_set_Fz",
              "'pose1':" READY_SENT ",77000,-8000.9765625],'pose2':[1000,2000,3000,4000,5000,6000]", 47),
};

static unsigned char data[300] = {255, 1, 128, 0, 7};

static Command read(Called call, const char* command, const char* members, int answer, const char* reply)
{
    return get(std::move(call), command, members, answer,
               {Member("data", "65535", as<int>({65535})).if_missing(1).of_any_type()}, {.reply = reply})
        .also("'read_state':true,'data':-7.9", 0, {{0, 0, as<int>({-7})}})
        .also("'read_state':false,'data':5", 1)
        .also("'read_state':true", 1);
}

static const std::vector<Command> modbus = {
    set(COMMAND(Set_Modbus_Mode, 1, 115200, 2), "set_modbus_mode", "'port':1,'baudrate':115200,'timeout':2",
        137, "set_state"),
    set(COMMAND(Write_Single_Coil, 1, 10, 0, 2), "write_single_coil",
        "'port':1,'address':10,'data':0,'device':2", 143, "write_state"),
    set(COMMAND(Write_Coils, 1, 10, 8, data, 2), "write_coils",
        "'port':1,'address':10,'num':8,'data':255,'device':2", 144, "write_state"),
    set(COMMAND(Write_Coils, 1, 10, 9, data, 2), "write_coils",
        "'port':1,'address':10,'num':9,'data':[255,1],'device':2", 144, "write_state"),
    set(COMMAND(Write_Coils, 1, 10, 16, data, 2), "write_coils",
        "'port':1,'address':10,'num':16,'data':[255,1],'device':2", 144, "write_state"),
    set(COMMAND(Write_Coils, 1, 10, 17, data, 2), "write_coils",
        "'port':1,'address':10,'num':17,'data':[255,1,128],'device':2", 144, "write_state"),
    set(COMMAND(Write_Single_Register, 1, 20, -70000, 2), "write_single_register",
        "'port':1,'address':20,'data':-70000,'device':2", 145, "write_state"),
    set(COMMAND(Write_Registers, 1, 20, 3, data, 2), "write_registers",
        "'port':1,'address':20,'num':3,'data':[255,1,128],'device':2", 146, "write_state"),
    set(COMMAND(Write_Registers, 1, 20, -2, data, 2), "write_registers",
        "'port':1,'address':20,'num':-2,'data':[],'device':2", 146, "write_state"),
    read(COMMAND(Get_Read_Coils, 1, 10, 8, 2), "read_coils", "'port':1,'address':10,'num':8,'device':2", 139,
         "coils_data"),
    read(COMMAND(Get_Read_Input_Status, 1, 10, 8, 2), "read_input_status",
         "'port':1,'address':10,'num':8,'device':2", 140, "input_status"),
    read(COMMAND(Get_Read_Holding_Registers, 1, 20, 2), "read_holding_registers",
         "'port':1,'address':20,'device':2", 141, "holding_registers"),
    read(COMMAND(Get_Read_Input_Registers, 1, 20, 2), "read_input_registers",
         "'port':1,'address':20,'device':2", 142, "input_registers"),
    set(COMMAND(Close_Modbus_Mode, 1), "close_modbus_mode", "'port':1", 138, "set_state"),
};

static const std::vector<Command> lift_and_base = {
    set(COMMAND(Set_Vehicle, 10, -20), "set_vehicle", "'speed':10,'angular':-20", 147, "set_state"),
    // with a blank
    set(COMMAND(Set_Lift, 300, 50), "set_lift ", "'height':300,'speed':50", 148, "set_state"),
    set(COMMAND(Set_Lift_Speed, -50), "set_lift_speed", "'speed':-50", 149, "set_state"),
    planned(COMMAND(Set_Lift_Height, 300, 50), "set_lift_height", "'height':300,'speed':50"),
    get(COMMAND(Get_Lift_State), "get_lift_state", 151,
        {{"height", "300.9", as<int>({300})},
         {"current", "-20", as<int>({-20})},
         {"err_flag", "65536", as<int>({65536})}}),
    set(COMMAND(Set_Car_Move, 1, 2), "set_car_move", "'linear_speed':1,'angular_speed':2", 152, "set_state"),
    // of another name on the wire
    set(COMMAND(Set_Car_Station, 4, 30), "set_car_speed", "'station':4,'speed':30", 153, "navigation_state"),
    set(COMMAND(Set_Car_Navigation_Speed, 7), "set_car_navigation_speed", "'speed':7", 154,
        "navigation_state"),
    set(COMMAND(Set_Car_Navigation_Mode, 2), "set_car_navigation_mode", "'mode':2", 155, "navigation_state"),
    get(COMMAND(Get_Car_State), "get_car_state", 156,
        {{"battery_volume", "80", as<int>({80})},
         {"voltage", "24000", as<int>({24000})},
         {"current", "-5", as<int>({-5})},
         {"car_err", "9", as<int>({9})},
         Member("car_state", "3", as<int>({3})).if_missing(4),
         {"station_num", "4.9", as<int>({4})}}),
    set(COMMAND(Set_Car_Station_Num, 3), "set_car_station_num", "'station_num':3", 158, "navigation_state"),
    set(COMMAND(Set_Car_Charge, 1), "set_car_charge", "'charge_state':1", 157, "navigation_state"),
};

// Cut first, scaled then; what is out of range goes to its end.
static const POSE pose = {0.35f, 1.9f, -1.9f, 3.14f, -0.5f, -3.14f};
static const POSE far = {2147, 2148, -2148, 1e30f, -1e30f, 0};
static const float joint[7] = {45.9f, -45.9f, 0.999f, 180, 0, -0.5f, 7.7f};
static const float far_joint[7] = {0, 0, 0, 0, 3e9f, -2147484, 0};

static const std::vector<Command> force_position = {
    set(COMMAND(Start_Force_Position_Move), "Start_Force_Position_Move", 160, "set_state"),
    push(COMMAND(Force_Position_Move_POSE, pose, 1, 255, -2, 0.125f), "Force_Position_Move",
         "'pose':[0,1000000,-1000000,3000,0,-3000],'sensor':1,'mode':255,'dir':-2,'force':1.25", 161,
         "Force_Position_State"),
    push(COMMAND(Force_Position_Move_POSE, far, 1, 0, 2, -3), "Force_Position_Move",
         "'pose':[2147000000,2147483647,-2147483648,2147483647,-2147483648,0],"
         "'sensor':1,'mode':0,'dir':2,'force':-30",
         161, "Force_Position_State", {.on = On::classic}),
    push(COMMAND(Force_Position_Move_Joint, joint, 0, 2, 3, 2.5f), "Force_Position_Move",
         "'joint':[45000,-45000,0,180000,0,0],"
         "'sensor':0,'mode':2,'dir':3,'force':25",
         161, "Force_Position_State", {.model = 36}),
    push(COMMAND(Force_Position_Move_Joint, joint, 0, 2, 3, 2.5f), "Force_Position_Move",
         "'joint':[45000,-45000,0,180000,0,0,7000],"
         "'sensor':0,'mode':2,'dir':3,'force':25",
         161, "Force_Position_State", {.model = 47}),
    push(COMMAND(Force_Position_Move_Joint, far_joint, 0, 2, 3, 2.5f), "Force_Position_Move",
         "'joint':[0,0,0,0,2147483647,-2147483648],'sensor':0,'mode':2,'dir':3,'force':25", 161,
         "Force_Position_State", {.on = On::classic}),
    set(COMMAND(Stop_Force_Postion_Move), "Stop_Force_Position_Move", 162, "set_state"),
};

std::vector<Family> list::peripheral_families()
{
    return {{"Power, errors and versions", power},
            {"Inputs and outputs", io},
            {"Gripper, hand and PWM", end_effectors},
            {"Drag teaching", drag_teach},
            {"Force sensing", force},
            {"Modbus", modbus},
            {"Lift and mobile base", lift_and_base},
            {"Force-position move", force_position}};
}
