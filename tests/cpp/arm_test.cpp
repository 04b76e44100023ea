// kx::Arm: that each of its functions is the command it says, with the arguments where they belong, that no command is out of
// its reach, and what it adds: errors, motions, queues.
#include "kx/arm.hpp"
#include "list/command.h"
#include "support/controller.h"
#include "support/peer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <thread>

using namespace std::chrono_literals;
using kx::Degrees;
using kx::Pose;

namespace {

using Quiet = kx::nothrow::Arm;

// What a call came to, whatever it returns.
int code(kx::Status status)
{
    return status.code();
}
template <class T>
int code(const kx::Result<T>& result)
{
    return result.status.code();
}
int code(const kx::Motion<kx::Returning>& motion)
{
    return motion.wait().code();
}

struct Row {
    const char* command; // as it stands in the list of commands, with the arguments that it has there
    std::function<int(const Quiet& arm)> call;
    int model = 46;
};

#define ROW(command, call, ...)                                                                              \
    {                                                                                                        \
#command, [](const Quiet& arm) { return code(call); } __VA_OPT__(, ) __VA_ARGS__                     \
    }

const Degrees joint{10.0005f, -20, 30, -40, 50, -60};
const Pose pose{0.1234567f, -0.5f, 1, -3.14159f, 0.0005f, 1.5f};
const Pose to{0, 0, 0.25f};
const std::array<float, 6> ready{10.25f, -0.015625f, 0, 179.5f, 0.0078125f, -360};
const float dynamics[12] = {0.0015f, -0.25f, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0.0000625f};
const auto flange = kx::ModbusPort::flange;
const kx::ForceTarget force{2.5, static_cast<kx::ForceAxis>(3), static_cast<kx::ForceFrame>(2),
                            kx::Sensor::one_axis};

const std::vector<Row> rows = {
    ROW(Set_Joint_Speed, arm.drives.set_max_speed(3, 12.3456f)),
    ROW(Set_Joint_Acc, arm.drives.set_max_acceleration(2, 300.25)),
    ROW(Set_Joint_Min_Pos, arm.drives.set_lower_limit(1, -0.0009)),
    ROW(Set_Joint_Max_Pos, arm.drives.set_upper_limit(6, 170.5)),
    ROW(Set_Joint_EN_State, arm.drives.enable(2)),
    ROW(Set_Joint_Zero_Pos, arm.drives.set_zero(4)),
    ROW(Set_Joint_Err_Clear, arm.drives.clear_error(5)),
    ROW(Start_Calibrate, arm.drives.start_calibration()),
    ROW(Stop_Calibrate, arm.drives.stop_calibration()),
    ROW(Get_Calibrate_State, arm.drives.calibration_states()),
    ROW(Get_Joint_Speed, arm.drives.max_speeds_deg_s()),
    ROW(Get_Joint_Acc, arm.drives.max_accelerations_deg_s2()),
    ROW(Get_Joint_Min_Pos, arm.drives.lower_limits()),
    ROW(Get_Joint_Max_Pos, arm.drives.upper_limits()),
    ROW(Get_Joint_EN_State, arm.drives.enabled(), 47),
    ROW(Get_Joint_Err_Flag, arm.drives.errors(), 36),
    ROW(Get_Joint_Software_Version, arm.drives.software_versions()),
    ROW(Get_Current_Arm_State, arm.state()),
    ROW(Get_Joint_Degree, arm.joints()),
    ROW(Get_Arm_Plan_Num, arm.plan_number()),
    ROW(Set_Arm_Init_Pose, arm.set_home(joint), 36),
    ROW(Get_Arm_Init_Pose, arm.home()),
    ROW(Movej_Cmd, arm.move_joints(joint, {20, 1.5f})),
    ROW(Movel_Cmd, arm.move_line(pose, {.speed_percent = 50}), 36),
    ROW(Movec_Cmd, arm.move_circle(pose, to, {20, 0.0019f}, 2)),
    ROW(Movej_P_Cmd, arm.move_to(to, {1, -0.001f})),
    ROW(Get_Current_Trajectory, arm.motion_kind()),
    ROW(Move_Pause_Cmd, arm.pause()),
    ROW(Move_Continue_Cmd, arm.resume()),
    ROW(Clear_Current_Trajectory, arm.drop_motion()),
    ROW(Clear_All_Trajectory, arm.drop_all_motions()),
    ROW(Move_Stop_Cmd, arm.stop()),
    ROW(Movej_CANFD, arm.send_joints(joint)),
    ROW(Movep_CANFD, arm.send_pose(pose), 36),
    ROW(Joint_Teach_Cmd, arm.teaching.jog_joint(3, kx::Direction::negative, 20)),
    ROW(Teach_Stop_Cmd, arm.teaching.stop_jogging()),
    ROW(Pos_Teach_Cmd, arm.teaching.jog_position(kx::Axis::x, kx::Direction::positive, 50)),
    ROW(Ort_Teach_Cmd, arm.teaching.jog_rotation(kx::Axis::y, kx::Direction::negative, 100)),
    ROW(Joint_Step_Cmd, arm.teaching.step_joint(2, 0.0015f, 10)),
    ROW(Pos_Step_Cmd, arm.teaching.step_position(kx::Axis::z, 0.0000015f, 10)),
    ROW(Ort_Step_Cmd, arm.teaching.step_rotation(kx::Axis::x, -0.0199f, 10)),
    ROW(Add_Waypoint, arm.teaching.add_waypoint(joint), 36),
    ROW(Start_Waypoint, arm.teaching.play_waypoints(50)),
    ROW(Stop_Waypoint, arm.teaching.stop_waypoints()),
    ROW(Clear_Waypoint, arm.teaching.clear_waypoints()),
    ROW(Timer, arm.wait_between_motions(10ms)),
    ROW(Set_Arm_Line_Speed, arm.settings.set_line_speed(0.2509f)),
    ROW(Set_Arm_Line_Acc, arm.settings.set_line_acceleration(1.6f)),
    ROW(Set_Arm_Angular_Speed, arm.settings.set_angular_speed(0.6009f)),
    ROW(Set_Arm_Angular_Acc, arm.settings.set_angular_acceleration(4)),
    ROW(Get_Arm_Line_Speed, arm.settings.line_speed_m_s()),
    ROW(Get_Arm_Line_Acc, arm.settings.line_acceleration_m_s2()),
    ROW(Get_Arm_Angular_Speed, arm.settings.angular_speed_rad_s()),
    ROW(Get_Arm_Angular_Acc, arm.settings.angular_acceleration_rad_s2()),
    ROW(Set_Arm_Tip_Init, arm.settings.restore()),
    ROW(Set_Collision_Stage, arm.settings.set_collision_stage(3)),
    ROW(Get_Collision_Stage, arm.settings.collision_stage()),
    ROW(Set_DH_Data, arm.settings.set_link_lengths_mm({0.1234f, -0.19f, 0, 240.5f, 1000})),
    ROW(Get_DH_Data, arm.settings.link_lengths_mm()),
    ROW(Set_Joint_Zero_Offset, arm.settings.set_zero_offsets({1.2345f, -0.0009f, 0, 179.9999f, -90, 36})),
    ROW(Set_Arm_Dynamic_Parm, arm.settings.set_dynamics(dynamics), 36),
    ROW(Get_Tool_Software_Version, arm.settings.tool_software_version()),
    ROW(Set_Arm_Servo_State, arm.settings.set_servos(true)),
    ROW(Set_System_State_Servo, arm.settings.set_system_servos(false)),
    ROW(Set_Install_Pose, arm.settings.set_installation(90, 0.5)),
    ROW(Manual_Set_Tool_Frame, arm.frames.set_tool({"gripper", pose, 2.25f, {-0.0019f, 0.001f, 3}})),
    ROW(Change_Tool_Frame, arm.frames.use_tool("gripper")),
    ROW(Get_Current_Tool_Frame, arm.frames.tool()),
    ROW(Get_Given_Tool_Frame, arm.frames.tool("gripper")),
    ROW(Get_All_Tool_Frame, arm.frames.tools()),
    ROW(Auto_Set_Tool_Frame, arm.frames.teach_tool_point(6)),
    ROW(Generate_Auto_Tool_Frame, arm.frames.set_tool_from_points({"pen", {}, 1.5f, {0.01f, 0, 0.1234f}})),
    ROW(Set_Payload, arm.frames.set_payload(7, {0.01f, -0.0009f, 1.2345f})),
    ROW(Set_None_Payload, arm.frames.clear_payload()),
    ROW(Manual_Set_Work_Frame, arm.frames.set_work({"table", pose})),
    ROW(Change_Work_Frame, arm.frames.use_work("table")),
    ROW(Get_Current_Work_Frame, arm.frames.work()),
    ROW(Get_Given_Work_Frame, arm.frames.work("table")),
    ROW(Get_All_Work_Frame, arm.frames.works()),
    ROW(Auto_Set_Work_Frame, arm.frames.teach_work_point("taught", 3)),
    ROW(Delete_Work_Frame, arm.frames.delete_work("table")),
    ROW(Delete_Tool_Frame, arm.frames.delete_tool("pen")),
    ROW(Get_Controller_State, arm.controller.state()),
    ROW(Set_WiFi_AP_Data, arm.controller.set_access_point("cell 7", "secret")),
    ROW(Set_WiFI_STA_Data, arm.controller.join_wifi("", "secret")),
    ROW(Set_USB_Data, arm.controller.set_usb_baud_rate(115200)),
    ROW(Set_RS485, arm.controller.set_rs485_baud_rate(-1)),
    ROW(Set_Ethernet, arm.controller.use_ethernet()),
    ROW(Set_Arm_Power, arm.system.set_power(true)),
    ROW(Get_Arm_Power_State, arm.system.powered()),
    ROW(Clear_System_Err, arm.system.clear_error()),
    ROW(Get_Arm_Hardware_Version, arm.system.check_hardware_version()),
    ROW(Get_Arm_Software_Version, arm.system.software_versions()),
    ROW(Get_Log_File, arm.system.write_log()),
    ROW(Get_System_Runtime, arm.system.run_time()),
    ROW(Clear_System_Runtime, arm.system.clear_run_time()),
    ROW(Get_Joint_Odom, arm.system.odometers_deg()),
    ROW(Clear_Joint_Odom, arm.system.clear_odometers()),
    ROW(Set_High_Speed_Eth, arm.system.set_high_speed_ethernet(true)),
    ROW(Set_DO_State, arm.io.set_output(2, true)),
    ROW(Set_AO_State, arm.io.set_analog_output(3, 1.2345f)),
    ROW(Get_DO_State, arm.io.output(2)),
    ROW(Get_DI_State, arm.io.input(2)),
    ROW(Get_IO_Input, arm.io.inputs()),
    ROW(Get_IO_Output, arm.io.outputs()),
    ROW(Set_Tool_IO_Mode, arm.io.set_tool_direction(2, true)),
    ROW(Set_Tool_DO_State, arm.io.set_tool_output(2, true)),
    ROW(Get_Tool_IO_State, arm.io.tool_channels()),
    ROW(Set_Tool_Voltage, arm.io.set_tool_voltage(24)),
    ROW(Get_Tool_Voltage, arm.io.tool_voltage_volt()),
    ROW(Set_Gripper_Route, arm.gripper.set_travel(1, 90)),
    ROW(Set_Gripper_Release, arm.gripper.open()),
    ROW(Set_Gripper_Pick, arm.gripper.pick(20)),
    ROW(Set_Gripper_Pick_On, arm.gripper.hold(20.1, 50.1)),
    ROW(Set_Gripper_Position, arm.gripper.move_to(100)),
    ROW(Set_Hand_Posture, arm.hand.take(static_cast<kx::Posture>(40))),
    ROW(Set_Hand_Seq, arm.hand.run_sequence(39)),
    ROW(Set_Hand_Angle, arm.hand.move_fingers({100, 200, 300, 0, INT_MAX, INT_MIN})),
    ROW(Set_Hand_Speed, arm.hand.set_speed(42)),
    ROW(Set_Hand_Force, arm.hand.set_force(43)),
    ROW(Set_PWM, arm.hand.set_pwm(2000, 50)),
    ROW(Start_Drag_Teach, arm.dragging.start()),
    ROW(Stop_Drag_Teach, arm.dragging.stop()),
    ROW(Drag_Trajectory_Origin, arm.dragging.go_to_origin()),
    ROW(Run_Drag_Trajectory, arm.dragging.replay()),
    ROW(Pause_Drag_Trajectory, arm.dragging.pause_replay()),
    ROW(Continue_Drag_Trajectory, arm.dragging.continue_replay()),
    ROW(Stop_Drag_Trajectory, arm.dragging.stop_replay()),
    ROW(Start_Multi_Drag_Teach, arm.dragging.start(kx::DragAxes::position)),
    ROW(Set_Force_Postion, arm.force.hold({.newton = 5, .frame = kx::ForceFrame::base})),
    ROW(Stop_Force_Postion, arm.force.release()),
    ROW(Get_Force_Data, arm.force.wrench()),
    ROW(Clear_Force_Data, arm.force.clear()),
    ROW(Set_Force_Sensor, arm.force.calibrate()),
    ROW(Stop_Set_Force_Sensor, arm.force.stop_calibration()),
    ROW(Manual_Set_Force, arm.force.calibrate_pose(1, ready)),
    ROW(Get_Fz, arm.force.fz_newton()),
    ROW(Clear_Fz, arm.force.clear_fz()),
    ROW(Auto_Set_Fz, arm.force.calibrate_fz()),
    ROW(Manual_Set_Fz, arm.force.calibrate_fz(Degrees(ready), {1, 2, 3, 4, 5, 6})),
    ROW(Set_Modbus_Mode, arm.modbus(flange, 115200, 200ms).opened()),
    ROW(Set_Vehicle, arm.base.drive_vehicle(10, -20)),
    ROW(Set_Lift, arm.lift.send_to(300, 50)),
    ROW(Set_Lift_Speed, arm.lift.drive(-50)),
    ROW(Set_Lift_Height, arm.lift.move_to(300, 50)),
    ROW(Get_Lift_State, arm.lift.state()),
    ROW(Set_Car_Move, arm.base.drive(1, 2)),
    ROW(Set_Car_Station, arm.base.send_to(4, 30)),
    ROW(Set_Car_Navigation_Speed, arm.base.set_navigation_speed(7)),
    ROW(Set_Car_Navigation_Mode, arm.base.set_navigation_mode(2)),
    ROW(Get_Car_State, arm.base.state()),
    ROW(Set_Car_Station_Num, arm.base.set_station(3)),
    ROW(Set_Car_Charge, arm.base.charge(true)),
    ROW(Start_Force_Position_Move, arm.force.start_following()),
    ROW(Force_Position_Move_Joint, arm.force.follow_joints({45.9f, -45.9f, 0.9f, 180, 0, 0}, force), 36),
    ROW(Stop_Force_Postion_Move, arm.force.stop_following()),
};

} // namespace

TEST(Arm, SendsTheCommandsThatItSays)
{
    const std::vector<list::Command> commands = list::all_commands();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.command);
        const list::Command& expected = *std::ranges::find_if(commands, [&](const list::Command& command) {
            return command.name == row.command && command.model == row.model;
        });
        Peer peer;
        const Quiet arm("127.0.0.1", peer.port(), row.model);
        peer.answer(expected.ending == list::Ending::push ? "" : expected.good_reply());
        peer.answer(R"({"command":"close_modbus_mode","set_state":true})");
        EXPECT_EQ(row.call(arm), 0);
        const std::string request = peer.next_request();
        EXPECT_TRUE(request == on_the_wire(expected.request) ||
                    request == on_the_wire(expected.blocking_request))
            << request << " for " << expected.request;
    }
}

TEST(Arm, LeavesNoCommandOutOfReach)
{
    std::set<std::string> reached = {
        // by another name, or by one that tells more
        "Arm_Sockrt_State", "Set_IO_State", "Get_IO_State", "Get_AO_State", "Get_AI_State",
        // seen below
        "Get_Arm_All_State", "Get_Joint_Temperature", "Get_Joint_Current", "Get_Joint_Voltage",
        "Write_Single_Coil", "Write_Coils", "Write_Single_Register", "Write_Registers", "Get_Read_Coils",
        "Get_Read_Input_Status", "Get_Read_Holding_Registers", "Get_Read_Input_Registers",
        "Close_Modbus_Mode", "Force_Position_Move_POSE"};
    for (const Row& row : rows)
        reached.insert(row.command);
    for (const list::Command& command : list::all_commands())
        EXPECT_TRUE(reached.contains(command.name)) << command.name;
}

TEST(Arm, RefusesWhatDoesNotFitBeforeAnythingIsSent)
{
    Peer peer;
    const Quiet arm("127.0.0.1", peer.port(), 46);
    const int codes[] = {code(arm.move_joints({1, 2, 3, 4, 5, 6, 7})),
                         code(arm.move_joints({})),
                         code(arm.move_joints(joint, {.speed_percent = 276})), // 20, cut to a byte
                         code(arm.move_line({NAN})),
                         code(arm.io.set_output(-1, true)),
                         code(arm.io.set_tool_voltage(9)),
                         code(arm.frames.use_tool(std::string("tool\0", 5))),
                         code(arm.frames.tool(std::string("tool\0", 5))),
                         code(arm.frames.work(std::string("work\0", 5))),
                         code(arm.gripper.pick(NAN)),
                         code(arm.gripper.move_to(1e300)),
                         code(arm.force.hold({.newton = 1e10})),
                         code(arm.settings.set_dynamics(std::span(dynamics, 11))),
                         code(arm.wait_between_motions(std::chrono::hours(10000)))};
    EXPECT_EQ(std::ranges::count(codes, KX_NOT_FINITE), 14) << testing::PrintToString(codes);
    EXPECT_EQ(code(arm.states(0)), KX_WRONG_TYPE) << "a queue that waits for ever";
    EXPECT_EQ(code(Quiet("127.0.0.1", 1, 46).connected()), KX_BAD_DESCRIPTOR);
    EXPECT_EQ(code(Quiet("127.0.0.1", 1, 45).stop()), KX_BAD_DESCRIPTOR);
    EXPECT_EQ(code(Quiet(std::string("127.0.0.1\0x", 11), peer.port(), 46).connected()), KX_UNKNOWN_HOST);
    EXPECT_EQ(peer.unread(), 0u);
}

TEST(Arm, TellsWhatWentWrongAndWhatToDo)
{
    Peer peer;
    const kx::Arm arm("127.0.0.1", peer.port(), 46);
    peer.answer(
        R"({"command":"current_trajectory_state","trajectory_state":false,"error":"joint 5 would leave"})");
    try {
        arm.move_joints(joint).wait();
        FAIL();
    } catch (const kx::Refused& refused) {
        EXPECT_STREQ(refused.command(), "Movej_Cmd");
        EXPECT_EQ(refused.status(), kx::Status(KX_REFUSED));
        EXPECT_EQ(refused.reason(), "joint 5 would leave");
        for (const char* part : {"Movej_Cmd", "refused", "5 would", "status 1", refused.status().advice()})
            EXPECT_NE(std::strstr(refused.what(), part), nullptr) << refused.what();
    }
    const kx::CallTimeout timeout(10ms);
    EXPECT_THROW(arm.plan_number(), kx::TimedOut);
    EXPECT_THROW(arm.io.input(1000), kx::BadArgument);
    EXPECT_THROW(kx::Arm("127.0.0.1", 1, 46), kx::Lost);
    EXPECT_THROW(kx::Arm("127.0.0.1", peer.port(), 7), kx::Error);
    peer.hang_up();
    const auto stop_until_lost = [&] {
        for (;;)
            try {
                arm.stop();
            } catch (const kx::TimedOut&) { // it is not noticed yet
            }
    };
    EXPECT_THROW(stop_until_lost(), kx::Lost);
}

TEST(Motion, IsUnderWayUntilItHasEnded)
{
    Peer peer;
    const Quiet arm("127.0.0.1", peer.port(), 46);
    const auto motion = arm.move_joints(joint);
    EXPECT_TRUE(motion.begun());
    EXPECT_FALSE(motion.done().value);
    EXPECT_TRUE(motion.done());
    EXPECT_FALSE(motion.wait_for(10ms).value);
    peer.next_request();
    peer.say(R"({"command":"current_trajectory_state","trajectory_state":true})");
    EXPECT_TRUE(motion.wait_for(10h).value);
    EXPECT_TRUE(motion.wait());
    EXPECT_TRUE(motion.done().value);

    const auto second = arm.move_joints(joint);
    std::jthread canceller([&](const std::stop_token& has_ended) {
        for (; !has_ended.stop_requested(); std::this_thread::sleep_for(1ms))
            arm.cancel();
    });
    EXPECT_EQ(second.wait_for(1h).status.code(), KX_CANCELLED);
    canceller = {};
    EXPECT_FALSE(second.done().value);
}

TEST(Motion, IsStoppedWhenItsBlockIsLeftByAnException)
{
    Peer peer;
    const kx::Arm arm("127.0.0.1", peer.port(), 46);
    peer.answer("");
    peer.answer(R"({"command":"set_arm_stop","arm_stop":true})");
    try {
        const kx::StopOnException guard(arm);
        arm.move_joints(joint);
        throw 1;
    } catch (int) {
    }
    EXPECT_NE(peer.next_request().find("movej"), std::string::npos);
    EXPECT_NE(peer.next_request().find("set_arm_stop"), std::string::npos);
    {
        const kx::StopOnException guard(arm);
    }
    EXPECT_EQ(peer.unread(), 0u);
}

TEST(Pushes, ReachCallbackAndQueuesInTheirUnits)
{
    Peer peer;
    kx::Options options;
    std::atomic<int> called = 0;
    options.on_push = [&](const kx::Push&) { ++called; };
    auto arm = std::make_unique<kx::Arm>("127.0.0.1", peer.port(), 46, options);
    const auto all = arm->pushes(2), newest = arm->pushes();
    arm->send_joints(joint); // so that somebody is there
    peer.next_request();
    for (const char* angle : {"1000", "2000", "-3500"})
        peer.say(R"({"command":"pose_state","joint":[0,)" + std::string(angle) +
                 R"(,0,0,0,0],"pose":[250000,0,0,0,0,1500],"arm_err":0})");
    EXPECT_TRUE(eventually([&] { return newest->size() == 3; }));
    EXPECT_EQ(newest->latest()->joints[1], -3.5f);
    EXPECT_FALSE(newest->latest());
    EXPECT_EQ(all->lost(), 1u);
    const auto push = all->next(1h);
    EXPECT_TRUE(push->type == 2 && push->joints == Degrees({0, 2, 0, 0, 0, 0}));
    EXPECT_EQ(push->pose, Pose::m_rad(0.25, 0, 0, 0, 0, 1.5));
    EXPECT_TRUE(all->next() && !all->next(1ms) && called == 3);
    newest->close();
    newest->put(*push);
    EXPECT_FALSE(newest->next());
    const std::jthread closer([&] { arm->close(); });
    EXPECT_FALSE(all->next(1h));
    EXPECT_FALSE(arm->pushes()->next(1h)); // the arm is closed
}

TEST(Values, KnowTheirUnits)
{
    const kx::Radians radians = Degrees{180, -90, 0, 0, 0, 45};
    EXPECT_FLOAT_EQ(radians[0], static_cast<float>(M_PI));
    EXPECT_FLOAT_EQ(Degrees(radians)[1], -90);
    EXPECT_EQ(Degrees(std::vector<float>(8)).size(), 0);
    Peer peer;
    peer.answer(R"({"command":"get_system_runtime","day":30000,"hour":1,"min":0,"sec":0})");
    EXPECT_EQ(kx::Arm("127.0.0.1", peer.port(), 46).system.run_time(), 30000 * 24h + 1h);
    const Pose there = Pose::mm_deg(100, 200, 300, 0, 0, 90);
    EXPECT_EQ(there, Pose::m_rad(0.1, 0.2, 0.3, 0, 0, M_PI / 2));
    // Along its own axes: its x is the base's y.
    const Pose behind = there * Pose::mm_deg(50, 0, -100), to_it = Pose::mm_deg(100, 250, 200, 0, 0, 90);
    for (const Pose& none : {there.inverse() * there, to_it.inverse() * behind})
        for (const float number : {none.x, none.y, none.z, none.rx, none.ry, none.rz})
            EXPECT_NEAR(number, 0, 1e-6);
}

TEST(Model, IsTheKinematicsOfTheCFunctions)
{
    for (const int number : {36, 46, 47}) {
        kx::Model model(number);
        Degrees bent = model.lower_limits();
        for (int i = 0; i < bent.size(); ++i)
            bent[i] = 10.0f * static_cast<float>(i + 1);
        const Pose tool = *model.pose(bent);
        ASSERT_TRUE(model.inverse(tool, bent));
        for (int i = 0; i < bent.size(); ++i)
            EXPECT_NEAR(model.inverse(tool, bent).joints[i], bent[i], 1e-2);
        EXPECT_FALSE(model.pose({1, 2}));
        EXPECT_EQ(model.inverse(tool, {1, 2}).code, ARM_UNKNOWN);
        EXPECT_EQ(model.inverse(Pose::m_rad(9, 9, 9), bent).code, ARM_OUT_OF_REACH);
        EXPECT_EQ(model.beyond_limits(model.upper_limits()), 0);
        EXPECT_FALSE(model.limit(1, -1000, 0));
        ASSERT_TRUE(model.limit(1, -5, 5));
        EXPECT_EQ(model.beyond_limits(bent), 1);
        const std::vector<kx::Degrees> solutions =
            number == 47 ? model.solutions_at(tool, model.arm_angle_rad(bent)) : model.solutions(tool);
        for (const Degrees& solution : solutions)
            EXPECT_LE(std::abs(solution[0]), 5);
        model.set_tool(Pose::mm_deg(0, 0, 100));
        const std::vector<KinPose> poses = model.poses(std::vector<float>(bent.begin(), bent.end()));
        ASSERT_EQ(poses.size(), 1u);
        const Pose tip = tool * Pose::mm_deg(0, 0, 100);
        EXPECT_LT(std::hypot(poses[0].position.x - tip.x, poses[0].position.z - tip.z), 1e-5);
    }
    EXPECT_FALSE(kx::Model(12).known());
    EXPECT_FALSE(kx::Model(12).pose({}));
}

// What comes back is what was set, in the same unit.
TEST(Arm, ReadsBackWhatItHasSet)
{
    const Controller controller({"--speed", "50"});
    const kx::Arm arm("127.0.0.1", controller.port(), 46);
    arm.drives.set_max_speed(2, 33.5);
    EXPECT_EQ(arm.drives.max_speeds_deg_s()[1], 33.5f);
    arm.drives.enable(3, false);
    EXPECT_EQ(arm.drives.enabled(), kx::PerJoint<bool>({true, true, false, true, true, true}));
    arm.drives.enable(3);
    arm.settings.set_line_speed(0.125);
    EXPECT_EQ(arm.settings.line_speed_m_s(), 0.125f);
    arm.io.set_output(2, true);
    arm.io.set_analog_output(3, 2.5);
    EXPECT_TRUE(arm.io.output(2));
    EXPECT_EQ(arm.io.outputs().digital, std::vector<bool>({false, true, false, false}));
    EXPECT_EQ(arm.io.outputs().volts, std::vector<float>({0, 0, 2.5f, 0}));
    arm.io.set_tool_direction(2, true);
    arm.io.set_tool_output(2, true);
    EXPECT_TRUE(arm.io.tool_channels()[1].is_output && arm.io.tool_channels()[1].is_on);
    const kx::Frame gripper = {"gripper", Pose::mm_deg(0, 0, 120), 2, {0.01f, 0, 0.06f}};
    arm.frames.set_tool(gripper);
    const kx::Frame read = arm.frames.tool("gripper");
    EXPECT_EQ(read.pose, gripper.pose);
    EXPECT_EQ(read.payload_kg, 2);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(read.centre_m[i], gripper.centre_m[i], 1e-6);
    EXPECT_EQ(std::ranges::count(arm.frames.tools(), "gripper"), 1);
    {
        auto bus = arm.modbus(flange);
        bus.write_coils(1, 8, {true, false, true, true});
        bus.write_coil(1, 9, true);
        EXPECT_EQ(bus.read_coils(1, 8, 5), std::vector<bool>({true, true, true, true, false}));
        bus.write_registers(1, 20, std::array<uint8_t, 2>{7, 255});
        bus.write_register(1, 22, 65535);
        EXPECT_EQ(bus.read_register(1, 21) + bus.read_register(1, 22), 255 + 65535);
        EXPECT_EQ(bus.read_inputs(1, 0, 3).size(), 3u);
        EXPECT_NO_THROW(bus.read_input_register(1, 0));
        EXPECT_THROW(bus.read_coils(1, 0, 32), kx::BadArgument);
        bus.close();
        EXPECT_THROW(bus.read_register(1, 21), kx::Lost);
    }
    EXPECT_EQ(Close_Modbus_Mode(arm.handle(), 1, true), KX_REFUSED); // it is closed

    const Degrees there{0, 45, 90, 0, 45, 0};
    arm.move_joints(there, {.speed_percent = 100}).wait();
    EXPECT_EQ(arm.joints(), there);
    EXPECT_TRUE(arm.state().healthy() && arm.state().joints == there);
    const kx::JointHealth health = arm.health();
    EXPECT_TRUE(health.temperature_celsius[5] > 0 && health.voltage_volt[0] > 1);
    EXPECT_EQ(health.error, kx::PerJoint<int>({0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(arm.states(200)->next(std::chrono::milliseconds::max()).value().joints, there);
    arm.force.start_following();
    arm.force.follow_pose(Pose(), {});
    arm.force.stop_following();
    EXPECT_TRUE(arm.system.run_time());
    EXPECT_EQ(arm.system.odometers_deg().size(), 6);
    EXPECT_NO_THROW(arm.set_up([&] { arm.frames.set_payload(1); }));
}
