// The C++ class: every method does what its function does.
#include "support/peer.h"

#include "kx/model.h"
#include "kx_service.h"

#include <gtest/gtest.h>

namespace {

// An argument for every parameter, the same each time: numbers by position, buffers with room for any reply.
template <class Parameter>
Parameter argument(int position)
{
    if constexpr (std::is_same_v<Parameter, const char*>)
        return "name";
    else if constexpr (std::is_same_v<Parameter, POSE>)
        return {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f};
    else if constexpr (std::is_pointer_v<Parameter>) {
        static std::remove_const_t<std::remove_pointer_t<Parameter>> buffers[10][300] = {};
        return buffers[position];
    } else if constexpr (std::is_same_v<Parameter, bool>)
        return false;
    else if constexpr (std::is_enum_v<Parameter>)
        return static_cast<Parameter>(1);
    else
        return static_cast<Parameter>(position);
}

struct Service : testing::Test {
    Arm arm;
    KX_Service service;

    // What a call returns and sends. Nothing is answered, so waiting calls end soon.
    template <class Function, class... Parameters, size_t... positions>
    std::pair<int, std::string> effect(Function function, std::tuple<int, Parameters...>*,
                                       std::index_sequence<positions...>)
    {
        const int status = function(arm.sockfd, argument<Parameters>(static_cast<int>(positions) + 1)...);
        return {status, arm.peer.next_request()};
    }

    template <class... Parameters>
    void same(int (KX_Service::*method)(Parameters...), int (*function)(Parameters...))
    {
        std::tuple<Parameters...>* types = nullptr;
        const auto indices = std::make_index_sequence<sizeof...(Parameters) - 1>();
        const auto call_method = [&](Parameters... arguments) { return (service.*method)(arguments...); };
        EXPECT_EQ(effect(call_method, types, indices), effect(function, types, indices));
    }
};

TEST_F(Service, ForwardsToTheFunctionsOfTheSameName)
{
    m_nOutTime = 1;
    same(&KX_Service::Service_Arm_Sockrt_State, Arm_Sockrt_State);
    same(&KX_Service::Service_Set_Joint_Speed, Set_Joint_Speed);
    same(&KX_Service::Service_Set_Joint_Acc, Set_Joint_Acc);
    same(&KX_Service::Service_Set_Joint_Min_Pos, Set_Joint_Min_Pos);
    same(&KX_Service::Service_Set_Joint_Max_Pos, Set_Joint_Max_Pos);
    same(&KX_Service::Service_Set_Joint_EN_State, Set_Joint_EN_State);
    same(&KX_Service::Service_Set_Joint_Zero_Pos, Set_Joint_Zero_Pos);
    same(&KX_Service::Service_Set_Joint_Err_Clear, Set_Joint_Err_Clear);
    same(&KX_Service::Service_Start_Calibrate, Start_Calibrate);
    same(&KX_Service::Service_Stop_Calibrate, Stop_Calibrate);
    same(&KX_Service::Service_Get_Calibrate_State, Get_Calibrate_State);
    same(&KX_Service::Service_Get_Joint_Speed, Get_Joint_Speed);
    same(&KX_Service::Service_Get_Joint_Acc, Get_Joint_Acc);
    same(&KX_Service::Service_Get_Joint_Min_Pos, Get_Joint_Min_Pos);
    same(&KX_Service::Service_Get_Joint_Max_Pos, Get_Joint_Max_Pos);
    same(&KX_Service::Service_Get_Joint_EN_State, Get_Joint_EN_State);
    same(&KX_Service::Service_Get_Joint_Err_Flag, Get_Joint_Err_Flag);
    same(&KX_Service::Service_Get_Joint_Software_Version, Get_Joint_Software_Version);
    same(&KX_Service::Service_Set_Arm_Line_Speed, Set_Arm_Line_Speed);
    same(&KX_Service::Service_Set_Arm_Line_Acc, Set_Arm_Line_Acc);
    same(&KX_Service::Service_Set_Arm_Angular_Acc, Set_Arm_Angular_Acc);
    same(&KX_Service::Service_Get_Arm_Line_Speed, Get_Arm_Line_Speed);
    same(&KX_Service::Service_Get_Arm_Line_Acc, Get_Arm_Line_Acc);
    same(&KX_Service::Service_Get_Arm_Angular_Speed, Get_Arm_Angular_Speed);
    same(&KX_Service::Service_Get_Arm_Angular_Acc, Get_Arm_Angular_Acc);
    same(&KX_Service::Service_Set_Arm_Tip_Init, Set_Arm_Tip_Init);
    same(&KX_Service::Service_Set_Collision_Stage, Set_Collision_Stage);
    same(&KX_Service::Service_Get_Collision_Stage, Get_Collision_Stage);
    same(&KX_Service::Service_Set_DH_Data, Set_DH_Data);
    same(&KX_Service::Service_Get_DH_Data, Get_DH_Data);
    same(&KX_Service::Service_Set_Joint_Zero_Offset, Set_Joint_Zero_Offset);
    same(&KX_Service::Service_Set_Arm_Dynamic_Parm, Set_Arm_Dynamic_Parm);
    same(&KX_Service::Service_Get_Tool_Software_Version, Get_Tool_Software_Version);
    same(&KX_Service::Service_Set_Arm_Servo_State, Set_Arm_Servo_State);
    same(&KX_Service::Service_Set_System_State_Servo, Set_System_State_Servo);
    same(&KX_Service::Service_Auto_Set_Tool_Frame, Auto_Set_Tool_Frame);
    same(&KX_Service::Service_Generate_Auto_Tool_Frame, Generate_Auto_Tool_Frame);
    same(&KX_Service::Service_Manual_Set_Tool_Frame, Manual_Set_Tool_Frame);
    same(&KX_Service::Service_Change_Tool_Frame, Change_Tool_Frame);
    same(&KX_Service::Service_Delete_Tool_Frame, Delete_Tool_Frame);
    same(&KX_Service::Service_Set_Payload, Set_Payload);
    same(&KX_Service::Service_Set_None_Payload, Set_None_Payload);
    same(&KX_Service::Service_Get_Current_Tool_Frame, Get_Current_Tool_Frame);
    same(&KX_Service::Service_Get_Given_Tool_Frame, Get_Given_Tool_Frame);
    same(&KX_Service::Service_Get_All_Tool_Frame, Get_All_Tool_Frame);
    same(&KX_Service::Service_Auto_Set_Work_Frame, Auto_Set_Work_Frame);
    same(&KX_Service::Service_Manual_Set_Work_Frame, Manual_Set_Work_Frame);
    same(&KX_Service::Service_Change_Work_Frame, Change_Work_Frame);
    same(&KX_Service::Service_Delete_Work_Frame, Delete_Work_Frame);
    same(&KX_Service::Service_Get_Current_Work_Frame, Get_Current_Work_Frame);
    same(&KX_Service::Service_Get_Given_Work_Frame, Get_Given_Work_Frame);
    same(&KX_Service::Service_Get_All_Work_Frame, Get_All_Work_Frame);
    same(&KX_Service::Service_Get_Current_Arm_State, Get_Current_Arm_State);
    same(&KX_Service::Service_Get_Joint_Temperature, Get_Joint_Temperature);
    same(&KX_Service::Service_Get_Joint_Current, Get_Joint_Current);
    same(&KX_Service::Service_Get_Joint_Voltage, Get_Joint_Voltage);
    same(&KX_Service::Service_Get_Joint_Degree, Get_Joint_Degree);
    same(&KX_Service::Service_Get_Arm_All_State, Get_Arm_All_State);
    same(&KX_Service::Service_Get_Arm_Plan_Num, Get_Arm_Plan_Num);
    same(&KX_Service::Service_Set_Arm_Init_Pose, Set_Arm_Init_Pose);
    same(&KX_Service::Service_Get_Arm_Init_Pose, Get_Arm_Init_Pose);
    same(&KX_Service::Service_Set_Install_Pose, Set_Install_Pose);
    same(&KX_Service::Service_Movej_Cmd, Movej_Cmd);
    same(&KX_Service::Service_Movel_Cmd, Movel_Cmd);
    same(&KX_Service::Service_Movec_Cmd, Movec_Cmd);
    same(&KX_Service::Service_Movej_CANFD, Movej_CANFD);
    same(&KX_Service::Service_Movep_CANFD, Movep_CANFD);
    same(&KX_Service::Service_Move_Stop_Cmd, Move_Stop_Cmd);
    same(&KX_Service::Service_Move_Pause_Cmd, Move_Pause_Cmd);
    same(&KX_Service::Service_Move_Continue_Cmd, Move_Continue_Cmd);
    same(&KX_Service::Service_Clear_Current_Trajectory, Clear_Current_Trajectory);
    same(&KX_Service::Service_Clear_All_Trajectory, Clear_All_Trajectory);
    same(&KX_Service::Service_Get_Current_Trajectory, Get_Current_Trajectory);
    same(&KX_Service::Service_Add_Waypoint, Add_Waypoint);
    same(&KX_Service::Service_Start_Waypoint, Start_Waypoint);
    same(&KX_Service::Service_Clear_Waypoint, Clear_Waypoint);
    same(&KX_Service::Service_Stop_Waypoint, Stop_Waypoint);
    same(&KX_Service::Service_Movej_P_Cmd, Movej_P_Cmd);
    same(&KX_Service::Service_Timer, Timer);
    same(&KX_Service::Service_Joint_Teach_Cmd, Joint_Teach_Cmd);
    same(&KX_Service::Service_Pos_Teach_Cmd, Pos_Teach_Cmd);
    same(&KX_Service::Service_Ort_Teach_Cmd, Ort_Teach_Cmd);
    same(&KX_Service::Service_Teach_Stop_Cmd, Teach_Stop_Cmd);
    same(&KX_Service::Service_Joint_Step_Cmd, Joint_Step_Cmd);
    same(&KX_Service::Service_Pos_Step_Cmd, Pos_Step_Cmd);
    same(&KX_Service::Service_Ort_Step_Cmd, Ort_Step_Cmd);
    same(&KX_Service::Service_Get_Controller_State, Get_Controller_State);
    same(&KX_Service::Service_Set_WiFi_AP_Data, Set_WiFi_AP_Data);
    same(&KX_Service::Service_Set_WiFI_STA_Data, Set_WiFI_STA_Data);
    same(&KX_Service::Service_Set_USB_Data, Set_USB_Data);
    same(&KX_Service::Service_Set_RS485, Set_RS485);
    same(&KX_Service::Service_Set_Ethernet, Set_Ethernet);
    same(&KX_Service::Service_Set_Arm_Power, Set_Arm_Power);
    same(&KX_Service::Service_Get_Arm_Power_State, Get_Arm_Power_State);
    same(&KX_Service::Service_Clear_System_Err, Clear_System_Err);
    same(&KX_Service::Service_Get_Arm_Software_Version, Get_Arm_Software_Version);
    same(&KX_Service::Service_Get_Log_File, Get_Log_File);
    same(&KX_Service::Service_Get_System_Runtime, Get_System_Runtime);
    same(&KX_Service::Service_Clear_System_Runtime, Clear_System_Runtime);
    same(&KX_Service::Service_Get_Joint_Odom, Get_Joint_Odom);
    same(&KX_Service::Service_Clear_Joint_Odom, Clear_Joint_Odom);
    same(&KX_Service::Service_Set_High_Speed_Eth, Set_High_Speed_Eth);
    same(&KX_Service::Service_Set_IO_State, Set_IO_State);
    same(&KX_Service::Service_Get_IO_State, Get_IO_State);
    same(&KX_Service::Service_Get_IO_Input, Get_IO_Input);
    same(&KX_Service::Service_Get_IO_Output, Get_IO_Output);
    same(&KX_Service::Service_Set_Tool_DO_State, Set_Tool_DO_State);
    same(&KX_Service::Service_Set_Tool_IO_Mode, Set_Tool_IO_Mode);
    same(&KX_Service::Service_Get_Tool_IO_State, Get_Tool_IO_State);
    same(&KX_Service::Service_Set_Tool_Voltage, Set_Tool_Voltage);
    same(&KX_Service::Service_Get_Tool_Voltage, Get_Tool_Voltage);
    same(&KX_Service::Service_Set_Gripper_Route, Set_Gripper_Route);
    same(&KX_Service::Service_Set_Gripper_Release, Set_Gripper_Release);
    same(&KX_Service::Service_Set_Gripper_Pick, Set_Gripper_Pick);
    same(&KX_Service::Service_Set_Gripper_Pick_On, Set_Gripper_Pick_On);
    same(&KX_Service::Service_Set_Gripper_Position, Set_Gripper_Position);
    same(&KX_Service::Service_Start_Drag_Teach, Start_Drag_Teach);
    same(&KX_Service::Service_Stop_Drag_Teach, Stop_Drag_Teach);
    same(&KX_Service::Service_Run_Drag_Trajectory, Run_Drag_Trajectory);
    same(&KX_Service::Service_Pause_Drag_Trajectory, Pause_Drag_Trajectory);
    same(&KX_Service::Service_Stop_Drag_Trajectory, Stop_Drag_Trajectory);
    same(&KX_Service::Service_Drag_Trajectory_Origin, Drag_Trajectory_Origin);
    same(&KX_Service::Service_Start_Multi_Drag_Teach, Start_Multi_Drag_Teach);
    same(&KX_Service::Service_Set_Force_Postion, Set_Force_Postion);
    same(&KX_Service::Service_Stop_Force_Postion, Stop_Force_Postion);
    same(&KX_Service::Service_Get_Force_Data, Get_Force_Data);
    same(&KX_Service::Service_Clear_Force_Data, Clear_Force_Data);
    same(&KX_Service::Service_Set_Force_Sensor, Set_Force_Sensor);
    same(&KX_Service::Service_Manual_Set_Force, Manual_Set_Force);
    same(&KX_Service::Service_Stop_Set_Force_Sensor, Stop_Set_Force_Sensor);
    same(&KX_Service::Service_Set_Hand_Posture, Set_Hand_Posture);
    same(&KX_Service::Service_Set_Hand_Seq, Set_Hand_Seq);
    same(&KX_Service::Service_Set_Hand_Angle, Set_Hand_Angle);
    same(&KX_Service::Service_Set_Hand_Speed, Set_Hand_Speed);
    same(&KX_Service::Service_Set_Hand_Force, Set_Hand_Force);
    same(&KX_Service::Service_Set_PWM, Set_PWM);
    same(&KX_Service::Service_Get_Fz, Get_Fz);
    same(&KX_Service::Service_Clear_Fz, Clear_Fz);
    same(&KX_Service::Service_Auto_Set_Fz, Auto_Set_Fz);
    same(&KX_Service::Service_Manual_Set_Fz, Manual_Set_Fz);
    same(&KX_Service::Service_Set_Modbus_Mode, Set_Modbus_Mode);
    same(&KX_Service::Service_Close_Modbus_Mode, Close_Modbus_Mode);
    same(&KX_Service::Service_Get_Read_Coils, Get_Read_Coils);
    same(&KX_Service::Service_Get_Read_Input_Status, Get_Read_Input_Status);
    same(&KX_Service::Service_Get_Read_Holding_Registers, Get_Read_Holding_Registers);
    same(&KX_Service::Service_Get_Read_Input_Registers, Get_Read_Input_Registers);
    same(&KX_Service::Service_Write_Single_Coil, Write_Single_Coil);
    same(&KX_Service::Service_Write_Coils, Write_Coils);
    same(&KX_Service::Service_Write_Single_Register, Write_Single_Register);
    same(&KX_Service::Service_Write_Registers, Write_Registers);
    same(&KX_Service::Service_Set_Vehicle, Set_Vehicle);
    same(&KX_Service::Service_Set_Lift, Set_Lift);
    same(&KX_Service::Service_Set_Lift_Speed, Set_Lift_Speed);
    same(&KX_Service::Service_Set_Lift_Height, Set_Lift_Height);
    same(&KX_Service::Service_Get_Lift_State, Get_Lift_State);
    same(&KX_Service::Service_Set_Car_Move, Set_Car_Move);
    same(&KX_Service::Service_Set_Car_Station, Set_Car_Station);
    same(&KX_Service::Service_Set_Car_Navigation_Speed, Set_Car_Navigation_Speed);
    same(&KX_Service::Service_Set_Car_Navigation_Mode, Set_Car_Navigation_Mode);
    same(&KX_Service::Service_Get_Car_State, Get_Car_State);
    same(&KX_Service::Service_Set_Car_Charge, Set_Car_Charge);
    same(&KX_Service::Service_Set_Car_Station_Num, Set_Car_Station_Num);
    same(&KX_Service::Service_Start_Force_Position_Move, Start_Force_Position_Move);
    same(&KX_Service::Service_Force_Position_Move_POSE, Force_Position_Move_POSE);
    same(&KX_Service::Service_Force_Position_Move_Joint, Force_Position_Move_Joint);
    same(&KX_Service::Service_Stop_Force_Postion_Move, Stop_Force_Postion_Move);
    EXPECT_EQ(arm.peer.unread(), 0u);
}

TEST_F(Service, SetsTheLinearAccelerationForTheAngularSpeed)
{
    EXPECT_EQ(service.Service_Set_Arm_Angular_Speed(arm.sockfd, 1.5f, false), 0);
    EXPECT_EQ(arm.peer.next_request(),
              on_the_wire(R"({"command":"set_arm_max_line_acc","arm_line_acc":1500})"));
}

TEST(ServiceWithoutLibrary, NamesItsVersionConnectsAndComputes)
{
    KX_Service service;
    EXPECT_STREQ(service.Service_API_Version(), "4.0.0");
    EXPECT_EQ(service.Service_Arm_Socket_Start("127.0.0.1", 1, 12, 0), 2);
    service.Service_Arm_Socket_Close(0);
    EXPECT_EQ(service.Service_KX_API_Init(nullptr), 0);
    EXPECT_EQ(service.Service_KX_API_UnInit(), 0);

    const float joint[7] = {10, 20, 30, 40, 50, 60, 70};
    service.Service_SetAngle(0, 0, 0.5f);
    const KinPose pose = service.Service_Forward_Kinematics(46, joint),
                  expected = Forward_Kinematics(46, joint);
    EXPECT_EQ(memcmp(&pose, &expected, sizeof pose), 0);
    EXPECT_FLOAT_EQ(angleZ, 0.5f);
    float result[7] = {}, direct[7] = {};
    EXPECT_EQ(service.Service_Inverse_Kinematics(46, joint, &pose, result, 1),
              inverse_kinematics(46, joint, &pose, direct, 1));
    EXPECT_EQ(memcmp(result, direct, sizeof result), 0);
    EXPECT_NEAR(result[4], joint[4], 0.01f);
}

} // namespace
