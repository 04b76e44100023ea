/**
 * @file
 * KX Service, C++ interface: the functions of kx_base.h as methods of a class, for applications that prefer
 * an object. A method is named Service_ and its function's name, takes the function's parameters and returns
 * its result; what the function does is said with it, in kx_base.h and the headers that it includes.
 *
 *     KX_Service kx;
 *     kx.Service_KX_API_Init(nullptr);
 *     int arm = kx.Service_Arm_Socket_Start("127.0.0.1", 8080, 46, 0);
 *     int status = kx.Service_Move_Stop_Cmd(arm, true);
 *
 * The class holds no state: all objects drive the same library, which belongs to the process, and what
 * kx_base.h says of threads holds here too. Two methods differ from their functions, as applications have
 * come to rely on it: Service_Set_Arm_Angular_Speed sets the linear acceleration, and
 * Service_Continue_Drag_Trajectory never returns.
 */
#ifndef KX_SERVICE_H
#define KX_SERVICE_H

#include "kx_base.h"

/** The functions of kx_base.h as methods; it holds no state. See kx_service.h. */
class __attribute__((visibility("default"))) KX_Service {
  public:
    /** @name Library lifecycle and connections
     * @{ */
    /** @forwards */
    int Service_KX_API_Init(KX_Callback callback);
    int Service_KX_API_UnInit();
    const char* Service_API_Version();
    int Service_Arm_Socket_Start(const char* ip, int port, int model, int recv_timeout);
    void Service_Arm_Socket_Close(int sockfd);
    int Service_Arm_Sockrt_State(int sockfd);

    /** @} */
    /** @name Joint parameters and calibration
     * @{ */
    /** @forwards */
    int Service_Set_Joint_Speed(int sockfd, unsigned char joint, float speed, bool block);
    int Service_Set_Joint_Acc(int sockfd, unsigned char joint, float acc, bool block);
    int Service_Set_Joint_Min_Pos(int sockfd, unsigned char joint, float joint_pos, bool block);
    int Service_Set_Joint_Max_Pos(int sockfd, unsigned char joint, float joint_pos, bool block);
    int Service_Set_Joint_EN_State(int sockfd, unsigned char joint, bool state, bool block);
    int Service_Set_Joint_Zero_Pos(int sockfd, unsigned char joint, bool block);
    int Service_Set_Joint_Err_Clear(int sockfd, unsigned char joint, bool block);
    int Service_Start_Calibrate(int sockfd, bool block);
    int Service_Stop_Calibrate(int sockfd, bool block);
    int Service_Get_Calibrate_State(int sockfd, float* joint_state, unsigned short* err_flag,
                                    int* calibrate_state);
    int Service_Get_Joint_Speed(int sockfd, float* speed);
    int Service_Get_Joint_Acc(int sockfd, float* acc);
    int Service_Get_Joint_Min_Pos(int sockfd, float* min_joint);
    int Service_Get_Joint_Max_Pos(int sockfd, float* max_joint);
    int Service_Get_Joint_EN_State(int sockfd, unsigned char* state);
    int Service_Get_Joint_Err_Flag(int sockfd, unsigned short* state);
    int Service_Get_Joint_Software_Version(int sockfd, float* version);

    /** @} */
    /** @name Settings of the arm
     * @{ */
    /** @forwards */
    int Service_Set_Arm_Line_Speed(int sockfd, float speed, bool block);
    int Service_Set_Arm_Line_Acc(int sockfd, float acc, bool block);
    /** Calls @ref Set_Arm_Line_Acc, and so sets the linear acceleration. */
    int Service_Set_Arm_Angular_Speed(int sockfd, float speed, bool block);
    int Service_Set_Arm_Angular_Acc(int sockfd, float acc, bool block);
    int Service_Get_Arm_Line_Speed(int sockfd, float* speed);
    int Service_Get_Arm_Line_Acc(int sockfd, float* acc);
    int Service_Get_Arm_Angular_Speed(int sockfd, float* speed);
    int Service_Get_Arm_Angular_Acc(int sockfd, float* acc);
    int Service_Set_Arm_Tip_Init(int sockfd, bool block);
    int Service_Set_Collision_Stage(int sockfd, int stage, bool block);
    int Service_Get_Collision_Stage(int sockfd, int* stage);
    int Service_Set_DH_Data(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5, bool block);
    int Service_Get_DH_Data(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5);
    int Service_Set_Joint_Zero_Offset(int sockfd, const float* offset, bool block);
    int Service_Set_Arm_Dynamic_Parm(int sockfd, const float* parm, bool block);
    int Service_Get_Tool_Software_Version(int sockfd, int* version);
    int Service_Set_Arm_Servo_State(int sockfd, bool cmd, bool block);
    int Service_Set_System_State_Servo(int sockfd, bool cmd, bool block);

    /** @} */
    /** @name Tool and work frames, payload
     * @{ */
    /** @forwards */
    int Service_Auto_Set_Tool_Frame(int sockfd, unsigned char point_num, bool block);
    int Service_Generate_Auto_Tool_Frame(int sockfd, const char* name, float payload, float x, float y,
                                         float z, bool block);
    int Service_Manual_Set_Tool_Frame(int sockfd, const char* name, POSE pose, float payload, float x,
                                      float y, float z, bool block);
    int Service_Change_Tool_Frame(int sockfd, const char* name, bool block);
    int Service_Delete_Tool_Frame(int sockfd, const char* name, bool block);
    int Service_Set_Payload(int sockfd, int payload, float cx, float cy, float cz, bool block);
    int Service_Set_None_Payload(int sockfd, bool block);
    int Service_Get_Current_Tool_Frame(int sockfd, FRAME* frame);
    int Service_Get_Given_Tool_Frame(int sockfd, const char* name, FRAME* frame);
    int Service_Get_All_Tool_Frame(int sockfd, FRAME_NAME* names);
    int Service_Auto_Set_Work_Frame(int sockfd, const char* name, unsigned char point_num, bool block);
    int Service_Manual_Set_Work_Frame(int sockfd, const char* name, POSE pose, bool block);
    int Service_Change_Work_Frame(int sockfd, const char* name, bool block);
    int Service_Delete_Work_Frame(int sockfd, const char* name, bool block);
    int Service_Get_Current_Work_Frame(int sockfd, FRAME* frame);
    int Service_Get_Given_Work_Frame(int sockfd, const char* name, POSE* pose);
    int Service_Get_All_Work_Frame(int sockfd, FRAME_NAME* names);

    /** @} */
    /** @name State queries, initial and installation pose
     * @{ */
    /** @forwards */
    int Service_Get_Current_Arm_State(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                                      unsigned short* sys_err);
    int Service_Get_Joint_Temperature(int sockfd, float* temperature);
    int Service_Get_Joint_Current(int sockfd, float* current);
    int Service_Get_Joint_Voltage(int sockfd, float* voltage);
    int Service_Get_Joint_Degree(int sockfd, float* joint);
    int Service_Get_Arm_All_State(int sockfd, JOINT_STATE* joint_state);
    int Service_Get_Arm_Plan_Num(int sockfd, int* plan);
    int Service_Set_Arm_Init_Pose(int sockfd, const float* target, bool block);
    int Service_Get_Arm_Init_Pose(int sockfd, float* joint);
    int Service_Set_Install_Pose(int sockfd, float x, float y, bool block);

    /** @} */
    /** @name Motion and trajectories
     * @{ */
    /** @forwards */
    int Service_Movej_Cmd(int sockfd, const float* joint, unsigned char v, float r, bool block);
    int Service_Movel_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block);
    int Service_Movec_Cmd(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r,
                          unsigned char loop, bool block);
    int Service_Movej_CANFD(int sockfd, const float* joint);
    int Service_Movep_CANFD(int sockfd, POSE pose);
    int Service_Move_Stop_Cmd(int sockfd, bool block);
    int Service_Move_Pause_Cmd(int sockfd, bool block);
    int Service_Move_Continue_Cmd(int sockfd, bool block);
    int Service_Clear_Current_Trajectory(int sockfd, bool block);
    int Service_Clear_All_Trajectory(int sockfd, bool block);
    int Service_Get_Current_Trajectory(int sockfd, ARM_CTRL_MODES* type, float* data);

    /** @} */
    /** @name Waypoints
     * @{ */
    /** @forwards */
    int Service_Add_Waypoint(int sockfd, const float* joint, bool block);
    int Service_Start_Waypoint(int sockfd, int frequency, bool block);
    int Service_Clear_Waypoint(int sockfd, bool block);
    int Service_Stop_Waypoint(int sockfd, bool block);

    /** @} */
    /** @name Joint-space move to a pose, timer, teach and step jogging
     * @{ */
    /** @forwards */
    int Service_Movej_P_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block);
    int Service_Timer(int sockfd, int wait_time, bool block);
    int Service_Joint_Teach_Cmd(int sockfd, unsigned char joint, unsigned char direction, unsigned char v,
                                bool block);
    int Service_Pos_Teach_Cmd(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v,
                              bool block);
    int Service_Ort_Teach_Cmd(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v,
                              bool block);
    int Service_Teach_Stop_Cmd(int sockfd, bool block);
    int Service_Joint_Step_Cmd(int sockfd, unsigned char joint, float step, unsigned char v, bool block);
    int Service_Pos_Step_Cmd(int sockfd, POS_TEACH_MODES type, float step, unsigned char v, bool block);
    int Service_Ort_Step_Cmd(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v, bool block);

    /** @} */
    /** @name Controller state and network settings
     * @{ */
    /** @forwards */
    int Service_Get_Controller_State(int sockfd, float* voltage, float* current, float* temperature,
                                     unsigned short* sys_err);
    int Service_Set_WiFi_AP_Data(int sockfd, const char* wifi_name, const char* password);
    int Service_Set_WiFI_STA_Data(int sockfd, const char* router_name, const char* password);
    int Service_Set_USB_Data(int sockfd, int baudrate);
    int Service_Set_RS485(int sockfd, int baudrate);
    int Service_Set_Ethernet(int sockfd);

    /** @} */
    /** @name Power, system errors, versions, log, run time, odometry, high-speed Ethernet
     * @{ */
    /** @forwards */
    int Service_Set_Arm_Power(int sockfd, bool on, bool block);
    int Service_Get_Arm_Power_State(int sockfd, int* power_state);
    int Service_Clear_System_Err(int sockfd, bool block);
    int Service_Get_Arm_Software_Version(int sockfd, char* plan_version, char* ctrl_version);
    int Service_Get_Log_File(int sockfd, bool block);
    int Service_Get_System_Runtime(int sockfd, char* state, int* day, int* hour, int* min, int* sec);
    int Service_Clear_System_Runtime(int sockfd, bool block);
    int Service_Get_Joint_Odom(int sockfd, char* state, float* odom);
    int Service_Clear_Joint_Odom(int sockfd, bool block);
    int Service_Set_High_Speed_Eth(int sockfd, unsigned char mode, bool block);

    /** @} */
    /** @name Controller and tool IO
     * @{ */
    /** @forwards */
    int Service_Set_IO_State(int sockfd, int io_type, unsigned char IO_Num, bool state, bool block);
    int Service_Get_IO_State(int sockfd, int io_type, unsigned char IO_Num, unsigned char* state);
    int Service_Get_IO_Input(int sockfd, unsigned char* DI_state, float* AI_voltage);
    int Service_Get_IO_Output(int sockfd, unsigned char* DO_state, float* AO_voltage);
    int Service_Set_Tool_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block);
    int Service_Set_Tool_IO_Mode(int sockfd, unsigned char IO_Num, bool state, bool block);
    int Service_Get_Tool_IO_State(int sockfd, float* IO_Mode, float* IO_State);
    int Service_Set_Tool_Voltage(int sockfd, unsigned char type, bool block);
    int Service_Get_Tool_Voltage(int sockfd, unsigned char* type);

    /** @} */
    /** @name Gripper
     * @{ */
    /** @forwards */
    int Service_Set_Gripper_Route(int sockfd, int min, int max, bool block);
    int Service_Set_Gripper_Release(int sockfd, int speed, bool block);
    int Service_Set_Gripper_Pick(int sockfd, int speed, int force, bool block);
    int Service_Set_Gripper_Pick_On(int sockfd, int speed, int force, bool block);
    int Service_Set_Gripper_Position(int sockfd, int position, bool block);

    /** @} */
    /** @name Drag teach, force sensor
     * @{ */
    /** @forwards */
    int Service_Start_Drag_Teach(int sockfd, bool block);
    int Service_Stop_Drag_Teach(int sockfd, bool block);
    int Service_Run_Drag_Trajectory(int sockfd, bool block);
    int Service_Pause_Drag_Trajectory(int sockfd, bool block);
    /** Never returns. */
    [[noreturn]] int Service_Continue_Drag_Trajectory(int sockfd, bool block);
    int Service_Stop_Drag_Trajectory(int sockfd, bool block);
    int Service_Drag_Trajectory_Origin(int sockfd, bool block);
    int Service_Start_Multi_Drag_Teach(int sockfd, int mode, bool block);
    int Service_Set_Force_Postion(int sockfd, int sensor, int mode, int direction, int N, int block);
    int Service_Stop_Force_Postion(int sockfd, bool block);
    int Service_Get_Force_Data(int sockfd, float* force_data);
    int Service_Clear_Force_Data(int sockfd, bool block);
    int Service_Set_Force_Sensor(int sockfd, bool block);
    int Service_Manual_Set_Force(int sockfd, int type, const float* joint);
    int Service_Stop_Set_Force_Sensor(int sockfd, bool block);

    /** @} */
    /** @name Dexterous hand, PWM, Fz sensor
     * @{ */
    /** @forwards */
    int Service_Set_Hand_Posture(int sockfd, int posture_num, bool block);
    int Service_Set_Hand_Seq(int sockfd, int seq_num, bool block);
    int Service_Set_Hand_Angle(int sockfd, const int* angle, bool block);
    int Service_Set_Hand_Speed(int sockfd, int speed, bool block);
    int Service_Set_Hand_Force(int sockfd, int force, bool block);
    int Service_Set_PWM(int sockfd, int PWM_Frq, int PWM_Dpulse, bool block);
    int Service_Get_Fz(int sockfd, float* Fz);
    int Service_Clear_Fz(int sockfd, bool block);
    int Service_Auto_Set_Fz(int sockfd, bool block);
    int Service_Manual_Set_Fz(int sockfd, const float* pose1, const float* pose2);

    /** @} */
    /** @name Modbus pass-through
     * @{ */
    /** @forwards */
    int Service_Set_Modbus_Mode(int sockfd, int port, int baudrate, int timeout, bool block);
    int Service_Close_Modbus_Mode(int sockfd, int port, bool block);
    int Service_Get_Read_Coils(int sockfd, int port, int address, int num, int device, int* coils_data);
    int Service_Get_Read_Input_Status(int sockfd, int port, int address, int num, int device,
                                      int* coils_data);
    int Service_Get_Read_Holding_Registers(int sockfd, int port, int address, int device, int* coils_data);
    int Service_Get_Read_Input_Registers(int sockfd, int port, int address, int device, int* coils_data);
    int Service_Write_Single_Coil(int sockfd, int port, int address, int data, int device, bool block);
    int Service_Write_Coils(int sockfd, int port, int address, int num, unsigned char* coils_data, int device,
                            bool block);
    int Service_Write_Single_Register(int sockfd, int port, int address, int data, int device, bool block);
    int Service_Write_Registers(int sockfd, int port, int address, int num, unsigned char* single_data,
                                int device, bool block);

    /** @} */
    /** @name Lift and mobile base
     * @{ */
    /** @forwards */
    int Service_Set_Vehicle(int sockfd, int speed, int angular, bool block);
    int Service_Set_Lift(int sockfd, int height, int speed, bool block);
    int Service_Set_Lift_Speed(int sockfd, int speed, bool block);
    int Service_Set_Lift_Height(int sockfd, int height, int speed, bool block);
    int Service_Get_Lift_State(int sockfd, int* height, int* current, int* err_flag);
    int Service_Set_Car_Move(int sockfd, int linear_speed, int angular_speed, bool block);
    int Service_Set_Car_Station(int sockfd, int station, int speed, bool block);
    int Service_Set_Car_Navigation_Speed(int sockfd, int speed, bool block);
    int Service_Set_Car_Navigation_Mode(int sockfd, int mode, bool block);
    int Service_Get_Car_State(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err,
                              int* car_state, int* station_num);
    int Service_Set_Car_Charge(int sockfd, int charge_state, bool block);
    int Service_Set_Car_Station_Num(int sockfd, int station_num, bool block);

    /** @} */
    /** @name Force-position move
     * @{ */
    /** @forwards */
    int Service_Start_Force_Position_Move(int sockfd, bool block);
    int Service_Force_Position_Move_POSE(int sockfd, POSE pose, unsigned char sensor, unsigned char mode,
                                         int dir, float force, bool block);
    int Service_Force_Position_Move_Joint(int sockfd, const float* joint, unsigned char sensor,
                                          unsigned char mode, int dir, float force, bool block);
    int Service_Stop_Force_Postion_Move(int sockfd, bool block);

    /** @} */
    /** @name Kinematics
     * @{ */
    /** @forwards */
    void Service_SetAngle(float U, float V, float Z);
    KinPose Service_Forward_Kinematics(int model, const float* joint);
    int Service_Inverse_Kinematics(int model, const float* reference, const KINEMATIC* target, float* result,
                                   unsigned char flag);
    /** @} */
};

#endif
