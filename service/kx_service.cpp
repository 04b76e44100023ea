// The C++ interface: every method forwards to the function of its name.
#include "kx_service.h"

// Library lifecycle and connections.

int KX_Service::Service_KX_API_Init(KX_Callback callback)
{
    return KX_API_Init(callback);
}

int KX_Service::Service_KX_API_UnInit()
{
    return KX_API_UnInit();
}

const char* KX_Service::Service_API_Version()
{
    return API_Version();
}

int KX_Service::Service_Arm_Socket_Start(const char* ip, int port, int model, int recv_timeout)
{
    return Arm_Socket_Start(ip, port, model, recv_timeout);
}

void KX_Service::Service_Arm_Socket_Close(int sockfd)
{
    Arm_Socket_Close(sockfd);
}

int KX_Service::Service_Arm_Sockrt_State(int sockfd)
{
    return Arm_Sockrt_State(sockfd);
}

// Joint parameters and calibration.

int KX_Service::Service_Set_Joint_Speed(int sockfd, unsigned char joint, float speed, bool block)
{
    return Set_Joint_Speed(sockfd, joint, speed, block);
}

int KX_Service::Service_Set_Joint_Acc(int sockfd, unsigned char joint, float acc, bool block)
{
    return Set_Joint_Acc(sockfd, joint, acc, block);
}

int KX_Service::Service_Set_Joint_Min_Pos(int sockfd, unsigned char joint, float joint_pos, bool block)
{
    return Set_Joint_Min_Pos(sockfd, joint, joint_pos, block);
}

int KX_Service::Service_Set_Joint_Max_Pos(int sockfd, unsigned char joint, float joint_pos, bool block)
{
    return Set_Joint_Max_Pos(sockfd, joint, joint_pos, block);
}

int KX_Service::Service_Set_Joint_EN_State(int sockfd, unsigned char joint, bool state, bool block)
{
    return Set_Joint_EN_State(sockfd, joint, state, block);
}

int KX_Service::Service_Set_Joint_Zero_Pos(int sockfd, unsigned char joint, bool block)
{
    return Set_Joint_Zero_Pos(sockfd, joint, block);
}

int KX_Service::Service_Set_Joint_Err_Clear(int sockfd, unsigned char joint, bool block)
{
    return Set_Joint_Err_Clear(sockfd, joint, block);
}

int KX_Service::Service_Start_Calibrate(int sockfd, bool block)
{
    return Start_Calibrate(sockfd, block);
}

int KX_Service::Service_Stop_Calibrate(int sockfd, bool block)
{
    return Stop_Calibrate(sockfd, block);
}

int KX_Service::Service_Get_Calibrate_State(int sockfd, float* joint_state, unsigned short* err_flag,
                                            int* calibrate_state)
{
    return Get_Calibrate_State(sockfd, joint_state, err_flag, calibrate_state);
}

int KX_Service::Service_Get_Joint_Speed(int sockfd, float* speed)
{
    return Get_Joint_Speed(sockfd, speed);
}

int KX_Service::Service_Get_Joint_Acc(int sockfd, float* acc)
{
    return Get_Joint_Acc(sockfd, acc);
}

int KX_Service::Service_Get_Joint_Min_Pos(int sockfd, float* min_joint)
{
    return Get_Joint_Min_Pos(sockfd, min_joint);
}

int KX_Service::Service_Get_Joint_Max_Pos(int sockfd, float* max_joint)
{
    return Get_Joint_Max_Pos(sockfd, max_joint);
}

int KX_Service::Service_Get_Joint_EN_State(int sockfd, unsigned char* state)
{
    return Get_Joint_EN_State(sockfd, state);
}

int KX_Service::Service_Get_Joint_Err_Flag(int sockfd, unsigned short* state)
{
    return Get_Joint_Err_Flag(sockfd, state);
}

int KX_Service::Service_Get_Joint_Software_Version(int sockfd, float* version)
{
    return Get_Joint_Software_Version(sockfd, version);
}

// Arm speed and acceleration limits, collision, DH parameters, zero offset, dynamics, tool software version,
// servo.

int KX_Service::Service_Set_Arm_Line_Speed(int sockfd, float speed, bool block)
{
    return Set_Arm_Line_Speed(sockfd, speed, block);
}

int KX_Service::Service_Set_Arm_Line_Acc(int sockfd, float acc, bool block)
{
    return Set_Arm_Line_Acc(sockfd, acc, block);
}

// Sets the linear acceleration, on purpose.
int KX_Service::Service_Set_Arm_Angular_Speed(int sockfd, float speed, bool block)
{
    return Set_Arm_Line_Acc(sockfd, speed, block);
}

int KX_Service::Service_Set_Arm_Angular_Acc(int sockfd, float acc, bool block)
{
    return Set_Arm_Angular_Acc(sockfd, acc, block);
}

int KX_Service::Service_Get_Arm_Line_Speed(int sockfd, float* speed)
{
    return Get_Arm_Line_Speed(sockfd, speed);
}

int KX_Service::Service_Get_Arm_Line_Acc(int sockfd, float* acc)
{
    return Get_Arm_Line_Acc(sockfd, acc);
}

int KX_Service::Service_Get_Arm_Angular_Speed(int sockfd, float* speed)
{
    return Get_Arm_Angular_Speed(sockfd, speed);
}

int KX_Service::Service_Get_Arm_Angular_Acc(int sockfd, float* acc)
{
    return Get_Arm_Angular_Acc(sockfd, acc);
}

int KX_Service::Service_Set_Arm_Tip_Init(int sockfd, bool block)
{
    return Set_Arm_Tip_Init(sockfd, block);
}

int KX_Service::Service_Set_Collision_Stage(int sockfd, int stage, bool block)
{
    return Set_Collision_Stage(sockfd, stage, block);
}

int KX_Service::Service_Get_Collision_Stage(int sockfd, int* stage)
{
    return Get_Collision_Stage(sockfd, stage);
}

int KX_Service::Service_Set_DH_Data(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5,
                                    bool block)
{
    return Set_DH_Data(sockfd, dh1, dh2, dh3, dh4, dh5, block);
}

int KX_Service::Service_Get_DH_Data(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5)
{
    return Get_DH_Data(sockfd, dh1, dh2, dh3, dh4, dh5);
}

int KX_Service::Service_Set_Joint_Zero_Offset(int sockfd, const float* offset, bool block)
{
    return Set_Joint_Zero_Offset(sockfd, offset, block);
}

int KX_Service::Service_Set_Arm_Dynamic_Parm(int sockfd, const float* parm, bool block)
{
    return Set_Arm_Dynamic_Parm(sockfd, parm, block);
}

int KX_Service::Service_Get_Tool_Software_Version(int sockfd, int* version)
{
    return Get_Tool_Software_Version(sockfd, version);
}

int KX_Service::Service_Set_Arm_Servo_State(int sockfd, bool cmd, bool block)
{
    return Set_Arm_Servo_State(sockfd, cmd, block);
}

int KX_Service::Service_Set_System_State_Servo(int sockfd, bool cmd, bool block)
{
    return Set_System_State_Servo(sockfd, cmd, block);
}

// Tool and work frames, payload.

int KX_Service::Service_Auto_Set_Tool_Frame(int sockfd, unsigned char point_num, bool block)
{
    return Auto_Set_Tool_Frame(sockfd, point_num, block);
}

int KX_Service::Service_Generate_Auto_Tool_Frame(int sockfd, const char* name, float payload, float x,
                                                 float y, float z, bool block)
{
    return Generate_Auto_Tool_Frame(sockfd, name, payload, x, y, z, block);
}

int KX_Service::Service_Manual_Set_Tool_Frame(int sockfd, const char* name, POSE pose, float payload, float x,
                                              float y, float z, bool block)
{
    return Manual_Set_Tool_Frame(sockfd, name, pose, payload, x, y, z, block);
}

int KX_Service::Service_Change_Tool_Frame(int sockfd, const char* name, bool block)
{
    return Change_Tool_Frame(sockfd, name, block);
}

int KX_Service::Service_Delete_Tool_Frame(int sockfd, const char* name, bool block)
{
    return Delete_Tool_Frame(sockfd, name, block);
}

int KX_Service::Service_Set_Payload(int sockfd, int payload, float cx, float cy, float cz, bool block)
{
    return Set_Payload(sockfd, payload, cx, cy, cz, block);
}

int KX_Service::Service_Set_None_Payload(int sockfd, bool block)
{
    return Set_None_Payload(sockfd, block);
}

int KX_Service::Service_Get_Current_Tool_Frame(int sockfd, FRAME* frame)
{
    return Get_Current_Tool_Frame(sockfd, frame);
}

int KX_Service::Service_Get_Given_Tool_Frame(int sockfd, const char* name, FRAME* frame)
{
    return Get_Given_Tool_Frame(sockfd, name, frame);
}

int KX_Service::Service_Get_All_Tool_Frame(int sockfd, FRAME_NAME* names)
{
    return Get_All_Tool_Frame(sockfd, names);
}

int KX_Service::Service_Auto_Set_Work_Frame(int sockfd, const char* name, unsigned char point_num, bool block)
{
    return Auto_Set_Work_Frame(sockfd, name, point_num, block);
}

int KX_Service::Service_Manual_Set_Work_Frame(int sockfd, const char* name, POSE pose, bool block)
{
    return Manual_Set_Work_Frame(sockfd, name, pose, block);
}

int KX_Service::Service_Change_Work_Frame(int sockfd, const char* name, bool block)
{
    return Change_Work_Frame(sockfd, name, block);
}

int KX_Service::Service_Delete_Work_Frame(int sockfd, const char* name, bool block)
{
    return Delete_Work_Frame(sockfd, name, block);
}

int KX_Service::Service_Get_Current_Work_Frame(int sockfd, FRAME* frame)
{
    return Get_Current_Work_Frame(sockfd, frame);
}

int KX_Service::Service_Get_Given_Work_Frame(int sockfd, const char* name, POSE* pose)
{
    return Get_Given_Work_Frame(sockfd, name, pose);
}

int KX_Service::Service_Get_All_Work_Frame(int sockfd, FRAME_NAME* names)
{
    return Get_All_Work_Frame(sockfd, names);
}

// State queries, initial and installation pose.

int KX_Service::Service_Get_Current_Arm_State(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                                              unsigned short* sys_err)
{
    return Get_Current_Arm_State(sockfd, joint, pose, arm_err, sys_err);
}

int KX_Service::Service_Get_Joint_Temperature(int sockfd, float* temperature)
{
    return Get_Joint_Temperature(sockfd, temperature);
}

int KX_Service::Service_Get_Joint_Current(int sockfd, float* current)
{
    return Get_Joint_Current(sockfd, current);
}

int KX_Service::Service_Get_Joint_Voltage(int sockfd, float* voltage)
{
    return Get_Joint_Voltage(sockfd, voltage);
}

int KX_Service::Service_Get_Joint_Degree(int sockfd, float* joint)
{
    return Get_Joint_Degree(sockfd, joint);
}

int KX_Service::Service_Get_Arm_All_State(int sockfd, JOINT_STATE* joint_state)
{
    return Get_Arm_All_State(sockfd, joint_state);
}

int KX_Service::Service_Get_Arm_Plan_Num(int sockfd, int* plan)
{
    return Get_Arm_Plan_Num(sockfd, plan);
}

int KX_Service::Service_Set_Arm_Init_Pose(int sockfd, const float* target, bool block)
{
    return Set_Arm_Init_Pose(sockfd, target, block);
}

int KX_Service::Service_Get_Arm_Init_Pose(int sockfd, float* joint)
{
    return Get_Arm_Init_Pose(sockfd, joint);
}

int KX_Service::Service_Set_Install_Pose(int sockfd, float x, float y, bool block)
{
    return Set_Install_Pose(sockfd, x, y, block);
}

// Motion and trajectories.

int KX_Service::Service_Movej_Cmd(int sockfd, const float* joint, unsigned char v, float r, bool block)
{
    return Movej_Cmd(sockfd, joint, v, r, block);
}

int KX_Service::Service_Movel_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block)
{
    return Movel_Cmd(sockfd, pose, v, r, block);
}

int KX_Service::Service_Movec_Cmd(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r,
                                  unsigned char loop, bool block)
{
    return Movec_Cmd(sockfd, pose_via, pose_to, v, r, loop, block);
}

int KX_Service::Service_Movej_CANFD(int sockfd, const float* joint)
{
    return Movej_CANFD(sockfd, joint);
}

int KX_Service::Service_Movep_CANFD(int sockfd, POSE pose)
{
    return Movep_CANFD(sockfd, pose);
}

int KX_Service::Service_Move_Stop_Cmd(int sockfd, bool block)
{
    return Move_Stop_Cmd(sockfd, block);
}

int KX_Service::Service_Move_Pause_Cmd(int sockfd, bool block)
{
    return Move_Pause_Cmd(sockfd, block);
}

int KX_Service::Service_Move_Continue_Cmd(int sockfd, bool block)
{
    return Move_Continue_Cmd(sockfd, block);
}

int KX_Service::Service_Clear_Current_Trajectory(int sockfd, bool block)
{
    return Clear_Current_Trajectory(sockfd, block);
}

int KX_Service::Service_Clear_All_Trajectory(int sockfd, bool block)
{
    return Clear_All_Trajectory(sockfd, block);
}

int KX_Service::Service_Get_Current_Trajectory(int sockfd, ARM_CTRL_MODES* type, float* data)
{
    return Get_Current_Trajectory(sockfd, type, data);
}

// Waypoints.

int KX_Service::Service_Add_Waypoint(int sockfd, const float* joint, bool block)
{
    return Add_Waypoint(sockfd, joint, block);
}

int KX_Service::Service_Start_Waypoint(int sockfd, int frequency, bool block)
{
    return Start_Waypoint(sockfd, frequency, block);
}

int KX_Service::Service_Clear_Waypoint(int sockfd, bool block)
{
    return Clear_Waypoint(sockfd, block);
}

int KX_Service::Service_Stop_Waypoint(int sockfd, bool block)
{
    return Stop_Waypoint(sockfd, block);
}

// Joint-space move to a pose, timer, teach and step jogging.

int KX_Service::Service_Movej_P_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block)
{
    return Movej_P_Cmd(sockfd, pose, v, r, block);
}

int KX_Service::Service_Timer(int sockfd, int wait_time, bool block)
{
    return Timer(sockfd, wait_time, block);
}

int KX_Service::Service_Joint_Teach_Cmd(int sockfd, unsigned char joint, unsigned char direction,
                                        unsigned char v, bool block)
{
    return Joint_Teach_Cmd(sockfd, joint, direction, v, block);
}

int KX_Service::Service_Pos_Teach_Cmd(int sockfd, POS_TEACH_MODES type, unsigned char direction,
                                      unsigned char v, bool block)
{
    return Pos_Teach_Cmd(sockfd, type, direction, v, block);
}

int KX_Service::Service_Ort_Teach_Cmd(int sockfd, ORT_TEACH_MODES type, unsigned char direction,
                                      unsigned char v, bool block)
{
    return Ort_Teach_Cmd(sockfd, type, direction, v, block);
}

int KX_Service::Service_Teach_Stop_Cmd(int sockfd, bool block)
{
    return Teach_Stop_Cmd(sockfd, block);
}

int KX_Service::Service_Joint_Step_Cmd(int sockfd, unsigned char joint, float step, unsigned char v,
                                       bool block)
{
    return Joint_Step_Cmd(sockfd, joint, step, v, block);
}

int KX_Service::Service_Pos_Step_Cmd(int sockfd, POS_TEACH_MODES type, float step, unsigned char v,
                                     bool block)
{
    return Pos_Step_Cmd(sockfd, type, step, v, block);
}

int KX_Service::Service_Ort_Step_Cmd(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v,
                                     bool block)
{
    return Ort_Step_Cmd(sockfd, type, step, v, block);
}

// Controller state and network settings.

int KX_Service::Service_Get_Controller_State(int sockfd, float* voltage, float* current, float* temperature,
                                             unsigned short* sys_err)
{
    return Get_Controller_State(sockfd, voltage, current, temperature, sys_err);
}

int KX_Service::Service_Set_WiFi_AP_Data(int sockfd, const char* wifi_name, const char* password)
{
    return Set_WiFi_AP_Data(sockfd, wifi_name, password);
}

int KX_Service::Service_Set_WiFI_STA_Data(int sockfd, const char* router_name, const char* password)
{
    return Set_WiFI_STA_Data(sockfd, router_name, password);
}

int KX_Service::Service_Set_USB_Data(int sockfd, int baudrate)
{
    return Set_USB_Data(sockfd, baudrate);
}

int KX_Service::Service_Set_RS485(int sockfd, int baudrate)
{
    return Set_RS485(sockfd, baudrate);
}

int KX_Service::Service_Set_Ethernet(int sockfd)
{
    return Set_Ethernet(sockfd);
}

// Power, system errors, versions, log, run time, odometry, high-speed Ethernet.

int KX_Service::Service_Set_Arm_Power(int sockfd, bool on, bool block)
{
    return Set_Arm_Power(sockfd, on, block);
}

int KX_Service::Service_Get_Arm_Power_State(int sockfd, int* power_state)
{
    return Get_Arm_Power_State(sockfd, power_state);
}

int KX_Service::Service_Clear_System_Err(int sockfd, bool block)
{
    return Clear_System_Err(sockfd, block);
}

int KX_Service::Service_Get_Arm_Software_Version(int sockfd, char* plan_version, char* ctrl_version)
{
    return Get_Arm_Software_Version(sockfd, plan_version, ctrl_version);
}

int KX_Service::Service_Get_Log_File(int sockfd, bool block)
{
    return Get_Log_File(sockfd, block);
}

int KX_Service::Service_Get_System_Runtime(int sockfd, char* state, int* day, int* hour, int* min, int* sec)
{
    return Get_System_Runtime(sockfd, state, day, hour, min, sec);
}

int KX_Service::Service_Clear_System_Runtime(int sockfd, bool block)
{
    return Clear_System_Runtime(sockfd, block);
}

int KX_Service::Service_Get_Joint_Odom(int sockfd, char* state, float* odom)
{
    return Get_Joint_Odom(sockfd, state, odom);
}

int KX_Service::Service_Clear_Joint_Odom(int sockfd, bool block)
{
    return Clear_Joint_Odom(sockfd, block);
}

int KX_Service::Service_Set_High_Speed_Eth(int sockfd, unsigned char mode, bool block)
{
    return Set_High_Speed_Eth(sockfd, mode, block);
}

// Controller and tool IO.

int KX_Service::Service_Set_IO_State(int sockfd, int io_type, unsigned char IO_Num, bool state, bool block)
{
    return Set_IO_State(sockfd, io_type, IO_Num, state, block);
}

int KX_Service::Service_Get_IO_State(int sockfd, int io_type, unsigned char IO_Num, unsigned char* state)
{
    return Get_IO_State(sockfd, io_type, IO_Num, state);
}

int KX_Service::Service_Get_IO_Input(int sockfd, unsigned char* DI_state, float* AI_voltage)
{
    return Get_IO_Input(sockfd, DI_state, AI_voltage);
}

int KX_Service::Service_Get_IO_Output(int sockfd, unsigned char* DO_state, float* AO_voltage)
{
    return Get_IO_Output(sockfd, DO_state, AO_voltage);
}

int KX_Service::Service_Set_Tool_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block)
{
    return Set_Tool_DO_State(sockfd, IO_Num, state, block);
}

int KX_Service::Service_Set_Tool_IO_Mode(int sockfd, unsigned char IO_Num, bool state, bool block)
{
    return Set_Tool_IO_Mode(sockfd, IO_Num, state, block);
}

int KX_Service::Service_Get_Tool_IO_State(int sockfd, float* IO_Mode, float* IO_State)
{
    return Get_Tool_IO_State(sockfd, IO_Mode, IO_State);
}

int KX_Service::Service_Set_Tool_Voltage(int sockfd, unsigned char type, bool block)
{
    return Set_Tool_Voltage(sockfd, type, block);
}

int KX_Service::Service_Get_Tool_Voltage(int sockfd, unsigned char* type)
{
    return Get_Tool_Voltage(sockfd, type);
}

// Gripper.

int KX_Service::Service_Set_Gripper_Route(int sockfd, int min, int max, bool block)
{
    return Set_Gripper_Route(sockfd, min, max, block);
}

int KX_Service::Service_Set_Gripper_Release(int sockfd, int speed, bool block)
{
    return Set_Gripper_Release(sockfd, speed, block);
}

int KX_Service::Service_Set_Gripper_Pick(int sockfd, int speed, int force, bool block)
{
    return Set_Gripper_Pick(sockfd, speed, force, block);
}

int KX_Service::Service_Set_Gripper_Pick_On(int sockfd, int speed, int force, bool block)
{
    return Set_Gripper_Pick_On(sockfd, speed, force, block);
}

int KX_Service::Service_Set_Gripper_Position(int sockfd, int position, bool block)
{
    return Set_Gripper_Position(sockfd, position, block);
}

// Drag teach, force sensor.

int KX_Service::Service_Start_Drag_Teach(int sockfd, bool block)
{
    return Start_Drag_Teach(sockfd, block);
}

int KX_Service::Service_Stop_Drag_Teach(int sockfd, bool block)
{
    return Stop_Drag_Teach(sockfd, block);
}

int KX_Service::Service_Run_Drag_Trajectory(int sockfd, bool block)
{
    return Run_Drag_Trajectory(sockfd, block);
}

int KX_Service::Service_Pause_Drag_Trajectory(int sockfd, bool block)
{
    return Pause_Drag_Trajectory(sockfd, block);
}

// Has always called itself instead of its function, and so never returns; here without filling the stack.
int KX_Service::Service_Continue_Drag_Trajectory(int, bool)
{
    for (;;)
        sleep_cp(1000);
}

int KX_Service::Service_Stop_Drag_Trajectory(int sockfd, bool block)
{
    return Stop_Drag_Trajectory(sockfd, block);
}

int KX_Service::Service_Drag_Trajectory_Origin(int sockfd, bool block)
{
    return Drag_Trajectory_Origin(sockfd, block);
}

int KX_Service::Service_Start_Multi_Drag_Teach(int sockfd, int mode, bool block)
{
    return Start_Multi_Drag_Teach(sockfd, mode, block);
}

int KX_Service::Service_Set_Force_Postion(int sockfd, int sensor, int mode, int direction, int N, int block)
{
    return Set_Force_Postion(sockfd, sensor, mode, direction, N, block);
}

int KX_Service::Service_Stop_Force_Postion(int sockfd, bool block)
{
    return Stop_Force_Postion(sockfd, block);
}

int KX_Service::Service_Get_Force_Data(int sockfd, float* force_data)
{
    return Get_Force_Data(sockfd, force_data);
}

int KX_Service::Service_Clear_Force_Data(int sockfd, bool block)
{
    return Clear_Force_Data(sockfd, block);
}

int KX_Service::Service_Set_Force_Sensor(int sockfd, bool block)
{
    return Set_Force_Sensor(sockfd, block);
}

int KX_Service::Service_Manual_Set_Force(int sockfd, int type, const float* joint)
{
    return Manual_Set_Force(sockfd, type, joint);
}

int KX_Service::Service_Stop_Set_Force_Sensor(int sockfd, bool block)
{
    return Stop_Set_Force_Sensor(sockfd, block);
}

// Dexterous hand, PWM, Fz sensor.

int KX_Service::Service_Set_Hand_Posture(int sockfd, int posture_num, bool block)
{
    return Set_Hand_Posture(sockfd, posture_num, block);
}

int KX_Service::Service_Set_Hand_Seq(int sockfd, int seq_num, bool block)
{
    return Set_Hand_Seq(sockfd, seq_num, block);
}

int KX_Service::Service_Set_Hand_Angle(int sockfd, const int* angle, bool block)
{
    return Set_Hand_Angle(sockfd, angle, block);
}

int KX_Service::Service_Set_Hand_Speed(int sockfd, int speed, bool block)
{
    return Set_Hand_Speed(sockfd, speed, block);
}

int KX_Service::Service_Set_Hand_Force(int sockfd, int force, bool block)
{
    return Set_Hand_Force(sockfd, force, block);
}

int KX_Service::Service_Set_PWM(int sockfd, int PWM_Frq, int PWM_Dpulse, bool block)
{
    return Set_PWM(sockfd, PWM_Frq, PWM_Dpulse, block);
}

int KX_Service::Service_Get_Fz(int sockfd, float* Fz)
{
    return Get_Fz(sockfd, Fz);
}

int KX_Service::Service_Clear_Fz(int sockfd, bool block)
{
    return Clear_Fz(sockfd, block);
}

int KX_Service::Service_Auto_Set_Fz(int sockfd, bool block)
{
    return Auto_Set_Fz(sockfd, block);
}

int KX_Service::Service_Manual_Set_Fz(int sockfd, const float* pose1, const float* pose2)
{
    return Manual_Set_Fz(sockfd, pose1, pose2);
}

// Modbus pass-through.

int KX_Service::Service_Set_Modbus_Mode(int sockfd, int port, int baudrate, int timeout, bool block)
{
    return Set_Modbus_Mode(sockfd, port, baudrate, timeout, block);
}

int KX_Service::Service_Close_Modbus_Mode(int sockfd, int port, bool block)
{
    return Close_Modbus_Mode(sockfd, port, block);
}

int KX_Service::Service_Get_Read_Coils(int sockfd, int port, int address, int num, int device,
                                       int* coils_data)
{
    return Get_Read_Coils(sockfd, port, address, num, device, coils_data);
}

int KX_Service::Service_Get_Read_Input_Status(int sockfd, int port, int address, int num, int device,
                                              int* coils_data)
{
    return Get_Read_Input_Status(sockfd, port, address, num, device, coils_data);
}

int KX_Service::Service_Get_Read_Holding_Registers(int sockfd, int port, int address, int device,
                                                   int* coils_data)
{
    return Get_Read_Holding_Registers(sockfd, port, address, device, coils_data);
}

int KX_Service::Service_Get_Read_Input_Registers(int sockfd, int port, int address, int device,
                                                 int* coils_data)
{
    return Get_Read_Input_Registers(sockfd, port, address, device, coils_data);
}

int KX_Service::Service_Write_Single_Coil(int sockfd, int port, int address, int data, int device, bool block)
{
    return Write_Single_Coil(sockfd, port, address, data, device, block);
}

int KX_Service::Service_Write_Coils(int sockfd, int port, int address, int num, unsigned char* coils_data,
                                    int device, bool block)
{
    return Write_Coils(sockfd, port, address, num, coils_data, device, block);
}

int KX_Service::Service_Write_Single_Register(int sockfd, int port, int address, int data, int device,
                                              bool block)
{
    return Write_Single_Register(sockfd, port, address, data, device, block);
}

int KX_Service::Service_Write_Registers(int sockfd, int port, int address, int num,
                                        unsigned char* single_data, int device, bool block)
{
    return Write_Registers(sockfd, port, address, num, single_data, device, block);
}

// Lift and mobile base.

int KX_Service::Service_Set_Vehicle(int sockfd, int speed, int angular, bool block)
{
    return Set_Vehicle(sockfd, speed, angular, block);
}

int KX_Service::Service_Set_Lift(int sockfd, int height, int speed, bool block)
{
    return Set_Lift(sockfd, height, speed, block);
}

int KX_Service::Service_Set_Lift_Speed(int sockfd, int speed, bool block)
{
    return Set_Lift_Speed(sockfd, speed, block);
}

int KX_Service::Service_Set_Lift_Height(int sockfd, int height, int speed, bool block)
{
    return Set_Lift_Height(sockfd, height, speed, block);
}

int KX_Service::Service_Get_Lift_State(int sockfd, int* height, int* current, int* err_flag)
{
    return Get_Lift_State(sockfd, height, current, err_flag);
}

int KX_Service::Service_Set_Car_Move(int sockfd, int linear_speed, int angular_speed, bool block)
{
    return Set_Car_Move(sockfd, linear_speed, angular_speed, block);
}

int KX_Service::Service_Set_Car_Station(int sockfd, int station, int speed, bool block)
{
    return Set_Car_Station(sockfd, station, speed, block);
}

int KX_Service::Service_Set_Car_Navigation_Speed(int sockfd, int speed, bool block)
{
    return Set_Car_Navigation_Speed(sockfd, speed, block);
}

int KX_Service::Service_Set_Car_Navigation_Mode(int sockfd, int mode, bool block)
{
    return Set_Car_Navigation_Mode(sockfd, mode, block);
}

int KX_Service::Service_Get_Car_State(int sockfd, int* battery_volume, int* voltage, int* current,
                                      int* car_err, int* car_state, int* station_num)
{
    return Get_Car_State(sockfd, battery_volume, voltage, current, car_err, car_state, station_num);
}

int KX_Service::Service_Set_Car_Charge(int sockfd, int charge_state, bool block)
{
    return Set_Car_Charge(sockfd, charge_state, block);
}

int KX_Service::Service_Set_Car_Station_Num(int sockfd, int station_num, bool block)
{
    return Set_Car_Station_Num(sockfd, station_num, block);
}

// Force-position move.

int KX_Service::Service_Start_Force_Position_Move(int sockfd, bool block)
{
    return Start_Force_Position_Move(sockfd, block);
}

int KX_Service::Service_Force_Position_Move_POSE(int sockfd, POSE pose, unsigned char sensor,
                                                 unsigned char mode, int dir, float force, bool block)
{
    return Force_Position_Move_POSE(sockfd, pose, sensor, mode, dir, force, block);
}

int KX_Service::Service_Force_Position_Move_Joint(int sockfd, const float* joint, unsigned char sensor,
                                                  unsigned char mode, int dir, float force, bool block)
{
    return Force_Position_Move_Joint(sockfd, joint, sensor, mode, dir, force, block);
}

int KX_Service::Service_Stop_Force_Postion_Move(int sockfd, bool block)
{
    return Stop_Force_Postion_Move(sockfd, block);
}

// Kinematics.

void KX_Service::Service_SetAngle(float U, float V, float Z)
{
    setAngle(U, V, Z);
}

KinPose KX_Service::Service_Forward_Kinematics(int model, const float* joint)
{
    return Forward_Kinematics(model, joint);
}

int KX_Service::Service_Inverse_Kinematics(int model, const float* reference, const KINEMATIC* target,
                                           float* result, unsigned char flag)
{
    return inverse_kinematics(model, reference, target, result, flag);
}