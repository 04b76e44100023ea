// What the virtual controller serves besides the arm: grippers, sensors, drag teaching, Modbus, lift and base.
#include "simulator/scenario.h"
#include "support/own_file.h"

using namespace kx::sim;

namespace {

const World object{.object = {{40, 2.5}}};
const World lead{.operator_way = {{30, 0, 0, 0, 0, 0}, {30, -20, 0, 0, 0, 0}}};
const World table{.table = 0};
const World payload{.payload = 1.5};
const World modbus{.modbus_inputs = {{6, 1}}, .modbus_input_registers = {{7, 1234}}};

const ScenarioRow devices_rows[] = {
    // From 100 mm to the object's 40 mm at 50 mm/s.
    {"TheGripperStopsOnAnObjectAndAnswersWhenItDoes", R"(
        0    clear_force_data                                      -> clear_state true
             set_gripper_pick speed 500 force 200 block 1          -> later
        1.19 <- nothing
        1.21 <- command set_gripper_pick state true
             get_force_data                                        -> force_data [0,0,-24525,0,0,0]
             set_gripper_release speed 1000 block 1                -> done
             get_force_data                                        -> force_data [0,0,0,0,0,0]
             set_gripper_position position 200                     -> state true
        5    set_gripper_pick_on speed 1000 force 200 block 1      -> ok
             set_gripper_route min 600 max 300                     -> no route
             set_gripper_route min 500 max 900                     -> state true
             set_gripper_release speed 1000 block 1                -> done
             set_gripper_pick speed 1000 force 200 block 1         -> fails "nothing is between"
             set_gripper_position position 1000                    -> no route
             set_gripper_pick speed 0 force 200 block 1            -> no speed
             set_gripper_pick speed 500 force 200 block 0          -> ok
             set_tool_voltage voltage_type 0                       -> ok
             set_gripper_position position 600                     -> no "24 V")",
     46, object},
    {"HandAndPwmTakeWhatTheyCan", R"(
        0    set_hand_posture posture_num 0                        -> no posture_num
             set_hand_seq seq_num 40                               -> no seq_num
             set_hand_angle hand_angle [0,0,0,0,0,1001]            -> no 1000
             set_hand_speed hand_speed 0                           -> no hand_speed
             set_hand_force hand_force 300                         -> set_state true
             set_hand_force hand_force -1                          -> no
             set_PWM PWM_Frq 1000 PWM_Dpulse 1000                  -> set_state true
             set_PWM PWM_Frq 1000 PWM_Dpulse 1001                  -> no 1000
             set_tool_voltage voltage_type 0                       -> ok
             set_hand_posture posture_num 1                        -> no "24 V")"},
    // 30 degrees take the operator one second, and half as long again for 20 degrees of the next joint.
    {"DragTeachingRecordsAndReplays", R"(
        0    run_drag_trajectory                                   -> no recorded
             drag_trajectory_origin                                -> no recorded
             stop_drag_teach                                       -> no nobody
             start_drag_teach trajectory_record 1                  -> drag_teach true
             start_drag_teach trajectory_record 1                  -> no already
             movej joint [5000,0,0,0,0,0] v 20                     -> no hand
        0.5  get_joint_degree                                      -> joint [15000~10,0,0,0,0,0]
        5    get_joint_degree                                      -> joint [30000,-20000,0,0,0,0]
             stop_drag_teach                                       -> drag_teach true
             run_drag_trajectory                                   -> no begins
             drag_trajectory_origin                                -> done command current_trajectory_state trajectory_state true
             get_joint_degree                                      -> joint [0,0,0,0,0,0]
             pause_drag_trajectory                                 -> no replayed
             run_drag_trajectory                                   -> run_state true
       +0.5  pause_drag_trajectory                                 -> pause_state true
       11    get_joint_degree                                      -> joint [15000~5000,0,0,0,0,0]
             continue_drag_trajectory                              -> continue_state true
       16    get_joint_degree                                      -> joint [30000,-20000,0,0,0,0]
             drag_trajectory_origin                                -> done
             run_drag_trajectory                                   -> ok
     +0.5    stop_drag_trajectory                                  -> stop_state true
       21    get_joint_degree                                      -> joint [<29000,0,0,0,0,0]
             continue_drag_trajectory                              -> no replayed
             start_multi_drag_teach mode 2                         -> set_state true
       25    get_joint_degree                                      -> joint [<29000,0,0,0,0,0]
             stop_drag_teach                                       -> ok
             start_multi_drag_teach mode 3                         -> no mode)",
     46, lead},
    // 1.5 kg weigh 14.7 N; what was cleared is missing in another pose.
    {"WeightShowsUntilItIsCalibratedAway", R"(
        0    clear_force_data                                      -> clear_state true
             clear_Fz                                              -> set_state true
             get_force_data                                        -> force_data [0,0,0,0,0,0]
             movej joint [0,0,0,0,90000,0] v 100                   -> done
             get_force_data                                        -> force_data [14715~2,0~2,14715~2,*,*,*]
             get_Fz                                                -> Fz 15
             stop_set_force_sensor                                 -> no "no calibration"
             set_force_sensor                                      -> set_state true
             auto_set_Fz                                           -> no running
       20    auto_set_Fz                                           -> command set_force_sensor set_state true
       40    get_joint_degree                                      -> joint [0,0,0,0,90000,0]
             movej joint [0,0,0,0,20000,30000] v 100               -> done
             get_force_data                                        -> force_data [0,0,0,0,0,0]
             get_Fz                                                -> Fz 0
             manual_set_Fz pose1 [0,0,0,0,20000,0] pose2 [0,0,0,0,20000,0]    -> no little
             manual_set_Fz pose1 [0,0,0,0,20000,0] pose2 [0,0,0,0,90000,0]    -> command set_force_sensor set_state true
       60    manual_set_force_pose1 joint [0,0,0,0,90000,0]        -> command set_force_sensor set_state true
             manual_set_force_pose2 joint [0,0,0,0,20000,0]        -> ok
             manual_set_force_pose3 joint [0,0,0,0,90000,0]        -> ok
             manual_set_force_pose4 joint [0,0,0,0,20000,0]        -> ok
       60.2  stop_set_force_sensor                                 -> stop_state true)",
     46, payload},
    {"ForceSensorOfSevenJoints", R"(
        0    clear_force_data                                      -> ok
             movej joint [0,0,0,0,0,90000,0] v 100                 -> done
             get_force_data                                        -> force_data [*,*,14715~2,*,*,*]
             manual_set_Fz pose1 [0,0,0,0,0,90000,0,10000] pose2 [0,0,0,0,0,20000]    -> ok
       20    get_joint_degree                                      -> joint [0,0,0,0,0,90000,0])",
     47, payload},
    // The flange points down some 60 mm above the table; joint 2 lowers it by 6 to 7 mm a degree, and 1 mm presses
    // with 20 N.
    {"AMotionEndsWhereTheSetForceIsReached", R"(
        0    movej joint [0,60000,90000,0,30000,0] v 100           -> done
             clear_force_data                                      -> ok
             set_force_position sensor 1 mode 0 direction 2 N 300  -> no 200
             set_force_position sensor 1 mode 0 direction 2 N 30   -> set_state true
             movej joint [0,80000,90000,0,30000,0] v 3             -> fails force
             get_force_data                                        -> force_data [*,*,<-28000,*,*,*]
             movej joint [0,60000,90000,0,30000,0] v 20            -> done
             get_force_data                                        -> force_data [0~1,0~1,0~1,*,*,*]
             stop_force_positon                                    -> stop_state true)",
     46, table},
    {"StreamedTargetsPressWithTheirForce", R"(
        0    movej joint [0,60000,90000,0,30000,0] v 100           -> done
             clear_force_data                                      -> ok
             Force_Position_Move joint [0,75000,90000,0,30000,0] sensor 1 mode 0 dir 2 force 400    -> no mode
             Start_Force_Position_Move                             -> set_state true
             Start_Force_Position_Move                             -> no already
             Force_Position_Move joint [0,75000,90000,0,30000,0] sensor 1 mode 0 dir 2 force 400    -> command Force_Position_State set_state true arm_err 0
        4    get_joint_degree                                      -> joint [0,69500~4500,90000,0,30000,0]
             get_force_data                                        -> force_data [*,*,-40000~2000,*,*,*]
             Force_Position_Move joint [0,62000,90000,0,30000,0] sensor 1 mode 0 dir 2 force 400    -> ok
        5    get_joint_degree                                      -> joint [0,62000,90000,0,30000,0]
             Force_Position_Move pose [0,0,0,0,0,0] sensor 1 mode 0 dir 2 force 400    -> no
             Stop_Force_Position_Move                              -> set_state true
             Force_Position_Move joint [0,65000,90000,0,30000,0] sensor 1 mode 0 dir 2 force 400    -> no mode)",
     46, table},
    {"ALongToolReachesTheTableFirst", R"(
        0    movej joint [0,60000,90000,0,30000,0] v 100           -> done
             set_manual_tool_frame tool_name pin tool_pose [0,0,55000,0,0,0] payload 0 position [0,0,0]    -> ok
             movej joint [0,66000,90000,0,30000,0] v 10            -> done
             movej joint [0,60000,90000,0,30000,0] v 100           -> done
             set_change_tool_frame tool_name pin                   -> ok
             movej joint [0,66000,90000,0,30000,0] v 10            -> fails error
             get_current_arm_state                                 -> arm_state.sys_err 2)",
     46, table},
    // 2.5 kg, 200 mm from the level flange.
    {"WhatIsHeldHangsAtTheToolsTip", R"(
        0    movej joint [0,0,0,0,90000,0] v 100                   -> done
             set_manual_tool_frame tool_name pin tool_pose [0,0,200000,0,0,0] payload 0 position [0,0,0]    -> ok
             set_change_tool_frame tool_name pin                   -> ok
             clear_force_data                                      -> ok
             set_gripper_pick speed 1000 force 200 block 1         -> done
             get_force_data                                        -> force_data [24525~2,0~2,0~2,0~2,4905~2,0~2])",
     46, object},
    {"ForcePositionTargetsMayBePoses", R"(
        0    movej joint [0,-30000,-60000,0,-90000,0] v 100        -> done
             Start_Force_Position_Move                             -> ok
             Force_Position_Move pose [338000,0,300000,3142,0,0] sensor 1 mode 0 dir 2 force 400    -> ok
        4    get_current_arm_state                                 -> arm_state.pose [338000~2,0~2,300000~2,*,*,*])"},
    {"SimulatedModbusDevicesRemember", R"(
        0    read_coils port 1 device 1 address 0 num 8            -> no open
             set_modbus_mode port 1 baudrate 115200 timeout 5      -> set_state true
             set_modbus_mode port 2 baudrate 115200 timeout 5      -> no port
             set_modbus_mode port 0 baudrate 12345 timeout 5       -> no baud
             write_coils port 1 device 1 address 10 num 9 data [181,1]  -> write_state true
             write_coils port 1 device 1 address 10 num 9 data [181]    -> no match
             write_single_coil port 1 device 1 address 11 data 1   -> write_state true
             write_single_coil port 1 device 1 address 12 data 2   -> no coil
             read_coils port 1 device 1 address 9 num 11           -> command coils_data read_state true data 878
             write_coils port 1 device 1 address 10 num 3 data 2   -> ok
             read_coils port 1 device 1 address 10 num 3           -> data 2
             write_registers port 1 device 1 address 20 num 3 data [7,8,255]    -> write_state true
             write_registers port 1 device 1 address 20 num 0 data []           -> no registers
             write_single_register port 1 device 1 address 21 data 65535        -> write_state true
             write_single_register port 1 device 1 address 21 data 65536        -> no register
             read_holding_registers port 1 device 1 address 21     -> command holding_registers data 65535
             read_holding_registers port 1 device 2 address 21     -> data 0
             read_holding_registers port 1 device 1 address 65536  -> no address
             write_coils port 1 device 1 address 65530 num 8 data 255           -> no last
             read_input_status port 1 device 1 address 4 num 4     -> command input_status data 4
             read_input_registers port 1 device 1 address 7        -> command input_registers data 1234
             close_modbus_mode port 1                              -> set_state true
             close_modbus_mode port 1                              -> no open
             set_modbus_mode port 1 baudrate 9600 timeout 1        -> ok
             read_holding_registers port 1 device 1 address 22     -> data 255)",
     46, modbus},
    // 300 mm at 100 mm/s.
    {"TheLiftMovesInTime", R"(
        0    set_lift_height height 300 speed 100                  -> later
        2.9  get_lift_state                                        -> height 290 current 1300 err_flag 0
        3.01 <- command current_trajectory_state trajectory_state true
             get_lift_state                                        -> height 300 current 300
             set_lift_height height 1001 speed 100                 -> no height
             "set_lift " height 300 speed 0                        -> no speed
             "set_lift " height 900 speed 20                       -> set_state true
        4.01 get_lift_state                                        -> height 320 current 500
             set_lift_speed speed -200                             -> set_state true
        7    get_lift_state                                        -> height 0 current 300)"},
    // Stations are 2 m apart.
    {"TheBaseGoesFromStationToStation", R"(
        0    get_car_state                                         -> battery_volume 90 car_state 0 station_num 1 current >0
             set_car_navigation_mode mode 1                        -> navigation_state true
             set_car_navigation_mode mode 2                        -> no mode
             set_car_navigation_speed speed 1000                   -> navigation_state true
             set_car_navigation_speed speed 0                      -> no speed
             set_car_speed station 11 speed 0                      -> no station
             set_car_speed station 4 speed 0                       -> navigation_state true
             set_car_station_num station_num 2                     -> no driving
        5.9  get_car_state                                         -> car_state 2 station_num 0
        6.1  get_car_state                                         -> car_state 0 station_num 4
             set_car_charge charge_state 1                         -> no station
             set_vehicle speed 200 angular 0                       -> set_state true
             get_car_state                                         -> car_state 1 station_num 0
             set_car_move linear_speed 9999 angular_speed 0        -> no speed
             set_car_move linear_speed 0 angular_speed 0           -> set_state true
             set_car_station_num station_num 1                     -> navigation_state true
             set_car_charge charge_state 1                         -> navigation_state true
             get_car_state                                         -> car_state 3 current <0 station_num 1
             set_vehicle speed 200 angular 0                       -> no charging
     20000   get_car_state                                         -> battery_volume 100)"},
};

INSTANTIATE_TEST_SUITE_P(Device, Scenarios, testing::ValuesIn(devices_rows),
                         testing::PrintToStringParamName());

// --- what clients cannot see

TEST(Devices, TheHandTakesPostureAfterPosture)
{
    Scenario arm;
    const Hand& hand = arm.controller.peripherals().hand;
    const auto expect = [&hand](const Hand::Angles& expected) {
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_NEAR(hand.angles()[i], expected[i], 1e-9) << "finger " << i + 1;
    };
    arm.play(R"(0    set_hand_speed hand_speed 500  -> ok
                      set_hand_angle hand_angle [0,500,1000,1000,1000,1000]  -> ok)");
    arm.run(0.5);
    expect({750, 750, 1000, 1000, 1000, 1000});
    arm.play("set_hand_seq seq_num 3  -> ok"); // open, point, thumb up, open
    for (const auto& [seconds, number] : {std::pair{0.5, 0}, {2.0, 3}, {2.0, 4}, {20.0, 0}}) {
        arm.run(seconds);
        expect(Hand::postures[number]);
    }
}

TEST(Devices, TheGripperFollowsAnObjectThatGivesWayAndLosesOneThatIsTaken)
{
    for (const bool keep_up : {true, false}) {
        Scenario arm(46, object);
        const Gripper& gripper = arm.controller.peripherals().gripper;
        arm.play(std::string("0 set_gripper_pick") + (keep_up ? "_on" : "") +
                 " speed 1000 force 150 block 1  -> later\n 2 <- ok");
        EXPECT_EQ(gripper.force(), 150);
        arm.world().object->width = 30;
        arm.run(2);
        EXPECT_EQ(gripper.opening(), keep_up ? 300 : 400);
        EXPECT_EQ(gripper.force(), keep_up ? 150 : 0);
        arm.world().object.reset();
        EXPECT_EQ(gripper.held_mass(), 0);
    }
}

TEST(Devices, TheBaseDrivesArcsAndFindsItsStation)
{
    Scenario arm;
    const Base& base = arm.controller.peripherals().base;
    const double x = base.x();
    // A quarter of a circle of 0.5 m radius, to the left.
    arm.play("set_car_move linear_speed 500 angular_speed 1000  -> ok");
    arm.run(M_PI / 2);
    EXPECT_NEAR(base.x(), x + 0.5, 1e-9);
    EXPECT_NEAR(base.y(), 0.5, 1e-9);
    EXPECT_NEAR(base.heading(), M_PI / 2, 1e-9);
    arm.play("set_car_speed station 3 speed 1000  -> ok");
    arm.run(std::hypot(6 - base.x(), base.y()) + 1e-6);
    EXPECT_EQ(base.station(), 3);
    EXPECT_EQ(base.x(), 6);
    EXPECT_EQ(base.y(), 0);
}

TEST(Devices, TheLogTellsWhatWasRefused)
{
    const OwnFile log;
    Scenario(46, {.log_file = log.path}).play(R"(
        2.5  movej joint [0,0,0,0,0,0] v 0           -> no speed
             set_wifi_ap wifi_name shop password "s" -> later
             get_log_file                            -> set_state true)");
    const std::string all = log.content(), refused = all.substr(0, all.find('\n')),
                      network = all.substr(refused.size());
    EXPECT_EQ(refused.find("2.5"), 0u);
    EXPECT_NE(refused.find("refused movej: the speed"), refused.npos) << refused;
    EXPECT_NE(network.find("shop with a password"), network.npos) << network;
}

} // namespace
