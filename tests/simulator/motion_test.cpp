// How the simulated arm moves in joint space, and how it is stopped, paused, jogged, taught and streamed to.
#include <dlfcn.h>

#include "simulator/scenario.h"

#include "kx/inverse_kinematics.h"

using namespace kx::sim;

namespace {

// 90 degrees of joint 1 take 0.8 s: after 0.4 s it is half way at 180 degrees/s, from which it stops in 0.3 s
// and 27 degrees.
const ScenarioRow motion_rows[] = {
    {"OneAfterTheOtherAndEachReportedToItsAsker", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
              get_arm_plan_num                     -> plan_num 1
        0.79  <- nothing
        0.81  <- command current_trajectory_state trajectory_state true
              get_arm_plan_num                     -> plan_num 2
        1.59  <- nothing
        1.61  <- ok
              get_arm_plan_num                     -> plan_num 0
              movej joint [0,0,0,0,0,0] v 100      -> ok)"},
    {"OneLongStepOfTimeEndsWhereManyShortOnesDo", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
              movej joint [90000,0,0,0,0,0] v 100  -> later
        1e5   <- ok
              <- ok
              <- ok
              get_joint_degree                     -> joint [90000,0,0,0,0,0])"},
    {"RoundsNoCornerIntoAWaitAndNoEnd", R"(
        0     movej joint [60000,40000,0,0,0,0] v 100 r 100    -> later
              timer wait_time 1000                             -> wait_time true
              movej joint [60000,40000,-40000,0,0,0] v 100 r 100   -> later
        0.8   <- ok
              get_joint_degree                                 -> joint [60000,40000,0,0,0,0]
        1.6   get_joint_degree                                 -> joint [60000,40000,0,0,0,0]
        3     <- ok
              get_joint_degree                                 -> joint [60000,40000,-40000,0,0,0]
              movej joint [0,0,0,0,0,0] v 100                  -> done)"},
    {"PausesOnItsWayAndGoesOn", R"(
        0     set_arm_pause                        -> no nothing
              movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   get_joint_degree                     -> joint [45000,0,0,0,0,0]
              set_arm_pause                        -> arm_pause true
              set_arm_pause                        -> no already
        0.5   get_joint_degree                     -> joint [60000,0,0,0,0,0]
        5     get_joint_degree                     -> joint [72000,0,0,0,0,0]
              get_arm_current_trajectory           -> type movej data [90000,0,0,0,0,0]
              set_arm_continue                     -> arm_continue true
        5.346 <- nothing
        5.347 <- ok
              set_arm_continue                     -> no)"},
    {"GoesOnIfToldSoWhileSlowingDown", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   set_arm_pause                        -> ok
        0.5   set_arm_continue                     -> ok
        1.046 <- nothing
        1.047 <- ok)"},
    {"StopFailsEveryPlannedMotion", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
              movej joint [900000,0,0,0,0,0] v 100 -> later
        0.4   set_arm_stop                         -> arm_stop true
        0.69  <- nothing
        0.71  <- no stopped
              <- no stopped
              <- no limits
              get_joint_degree                     -> joint [72000,0,0,0,0,0]
              movej joint [0,0,0,0,0,0] v 100      -> done)"},
    {"DeletingTheCurrentOneLetsTheNextOneRunAndDeletingAllIsAStop", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
        0.4   set_delete_current_trajectory        -> delete_current_trajectory true
        5     <- no
              <- ok
              movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
        5.4   set_arm_delete_trajectory            -> arm_delete_trajectory true
        5.71  <- no deleted
              <- no deleted
              get_joint_degree                     -> joint [72000,0,0,0,0,0])"},
    {"DeletingTheCurrentOneKeepsThePause", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
              movej joint [0,0,0,0,0,0] v 100      -> later
        0.4   set_arm_pause                        -> ok
              set_delete_current_trajectory        -> ok
        5     <- no
              get_joint_degree                     -> joint [72000,0,0,0,0,0]
              set_arm_continue                     -> ok
        9     <- ok)"},
    {"DeletingTheLastOneEndsThePause", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   set_arm_pause                        -> ok
        1     set_delete_current_trajectory        -> ok
              <- no
              set_arm_continue                     -> no
              movej joint [0,0,0,0,0,0] v 100      -> done)"},
    {"ADisabledJointStopsTheArm", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   set_joint_en_state joint_en_state [3,0]  -> joint_en_state true
        1     <- no disabled
              movej joint [0,0,0,0,0,0] v 100      -> no "joint 3 is disabled"
              get_joint_en_state                   -> en_state [1,1,0,1,1,1]
              set_joint_en_state joint_en_state [3,1]  -> ok
              movej joint [0,0,0,0,0,0] v 100      -> done)"},
    {"NoServosNoMotion", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   set_system_state_servo servo_state 0 -> servo_state true
        1     <- no servos
              movej joint [0,0,0,0,0,0] v 100      -> no servos
              movej_canfd joint [0,0,0,0,0,0]      -> no servos
              set_arm_servo arm_servo 0            -> arm_servo true
              set_system_state_servo servo_state 1 -> ok
              movej joint [0,0,0,0,0,0] v 100      -> no servos
              set_arm_servo arm_servo 1            -> ok
              movej joint [0,0,0,0,0,0] v 100      -> done)"},
    {"NoPowerNoMotion", R"(
        0     movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   set_arm_power arm_power 64           -> arm_power true
        1     <- no power
              get_arm_power_state                  -> power_state 0
              get_current_joint_current            -> joint_current [0,0,0,0,0,0]
              movej joint [0,0,0,0,0,0] v 100      -> no power
              start_drag_teach trajectory_record 1 -> no power
              set_arm_power arm_power 2            -> no
              set_arm_power arm_power 1            -> ok
              movej joint [0,0,0,0,0,0] v 100      -> done)"},
    {"CalibratesOneJointAfterTheOther", R"(
        0     start_calibrate                      -> calibrate_state true
              start_calibrate                      -> no already
        2.5   get_calibrate_state                  -> joint_state [2,2,1,0,0,0]
              movej joint [0,0,0,0,0,0] v 100      -> no calibration
              stop_calibrate                       -> calibrate_state true
        9     get_calibrate_state                  -> joint_state [2,2,0,0,0,0]
              start_calibrate                      -> ok
        15.1  get_calibrate_state                  -> joint_state [2,2,2,2,2,2])"},
    {"WarmsUpAndDrawsCurrent", R"(
        0     get_current_joint_temperature        -> joint_temperature [30000,30000,30000,30000,30000,30000]
              get_current_joint_current            -> joint_current [300~50,*,*,*,*,*]
              movej joint [90000,0,0,0,0,0] v 100  -> later
        0.4   get_current_joint_current            -> joint_current [>1500,*,*,*,*,*]
              get_current_joint_temperature        -> joint_temperature [>30001,30000,*,*,*,*]
              get_controller_state                 -> current >2500 voltage <47900 temperature >35000 err_flag 0
        1     <- ok
              get_current_joint_current            -> joint_current [300~50,*,*,*,*,*]
        9e4   get_current_joint_temperature        -> joint_temperature [30000,30000,*,*,*,*])"},
    {"OdometersCountToAndFro", R"(
        0     movej joint [40000,0,-10000,0,0,0] v 100  -> done
              movej joint [0,0,0,0,0,0] v 100      -> done
              get_joint_odom                       -> odom [80,0,20,0,0,0]
              clear_joint_odom                     -> clear_state true
              get_joint_odom                       -> odom [0,0,0,0,0,0])"},
    {"ZeroPositionIsOfTheStandingArm", R"(
        0     movej joint [90000,10000,0,0,0,0] v 100  -> later
        0.4   set_joint_zero_pos joint_zero_pos 1  -> no moving
        1     <- ok
              set_joint_zero_pos joint_zero_pos 1  -> joint_zero_pos true
              get_joint_degree                     -> joint [0,10000,0,0,0,0]
              set_joint_zero_offset offset [1000,-2000,0,0,0,0]    -> set_state true
              set_joint_zero_offset offset [200000,0,0,0,0,0]      -> no "joint 1"
              get_joint_degree                     -> joint [1000,8000,0,0,0,0])"},
    {"JogsToTheLimitOrUntilStopped", R"(
        0     set_joint_max_pos joint_max_pos [1,20500]    -> ok
              set_joint_teach teach_joint 1 direction pos v 100    -> joint_teach true
              set_joint_teach teach_joint 2 direction pos v 100    -> no jogged
              movej joint [0,0,0,0,0,0] v 100      -> no jogged
        1     get_joint_degree                     -> joint [20500,0,0,0,0,0]
              set_joint_teach teach_joint 1 direction neg v 10     -> ok
        1.53  get_joint_degree                     -> joint [13660~1,0,0,0,0,0]
              set_stop_teach                       -> stop_teach true
              set_joint_teach teach_joint 2 direction neg v 10     -> ok
        2.5   set_stop_teach                       -> ok
        4     get_joint_degree                     -> joint [13390~1,<-5000,0,0,0,0]
              set_joint_teach teach_joint 7 direction pos v 10     -> no 6
              set_joint_teach teach_joint 1 direction up v 10      -> no direction
              set_joint_teach teach_joint 1 direction pos v 0      -> no 100)"},
    {"StepsAndWaits", R"(
        0     set_joint_step joint_step [3,-5500.0] v 100  -> later
        1     <- ok
              set_joint_step joint_step [3,-500000.0] v 100  -> no "joint 3"
              timer wait_time 1000                 -> wait_time true
              set_joint_step joint_step [3,5500.0] v 100   -> later
        2.19  <- nothing
        2.2   <- ok
              get_joint_degree                     -> joint [0,0,0,0,0,0]
              timer wait_time 0                    -> no time)"},
    {"PlaysWaypointsAtTheirFrequency", R"(
        0     start_waypoint frequency 2           -> no "no waypoints"
              add_waypoint joint [10000,0,0,0,0,0] -> waypoint_state true
              add_waypoint joint [20000,0,0,0,0,0] -> ok
              add_waypoint joint [30000,-5000,0,0,0,12000]         -> ok
              add_waypoint joint [0,131000,0,0,0,0]                -> no "joint 2"
              start_waypoint frequency 0           -> no
              start_waypoint frequency 1           -> waypoint_state true
              clear_waypoint                       -> no played
              movej_canfd joint [1000,0,0,0,0,0]   -> no played
        0.9   get_joint_degree                     -> joint [10000,0,0,0,0,0]
        1.9   get_joint_degree                     -> joint [20000,0,0,0,0,0]
        5     get_joint_degree                     -> joint [30000,-5000,0,0,0,12000]
              start_waypoint frequency 1           -> ok
        5.9   stop_waypoint                        -> waypoint_state true
        9     get_joint_degree                     -> joint [10000,0,0,0,0,0]
              clear_waypoint                       -> ok
              start_waypoint frequency 1           -> no "no waypoints")"},
    {"FollowsStreamedTargets", R"(
        0     movej_canfd joint [1000,0,0,0,0,0]   -> command joint_state arm_err 0 joint [0,0,0,0,0,0]
        0.05  movej_canfd joint [2000,0,0,0,0,0]   -> joint [>0,0,0,0,0,0]
        0.1   movej joint [2000,0,0,0,0,0] v 100   -> done
              get_joint_degree                     -> joint [2000,0,0,0,0,0]
              movej_canfd joint [0,131000,0,0,0,0] -> no "joint 2"
              movep_canfd pose [0,0,0,0,0,0]       -> no)"},
    {"StopsAtOnceBeforeItHasMoved", R"(
        0     movej joint [0,-30000,-60000,0,-90000,0] v 100  -> later
              set_delete_current_trajectory        -> ok
        0.001 <- no deleted
              get_arm_plan_num                     -> plan_num 0)"},
    {"WhatIsNotFiniteIsRefused", R"(
        0     movej joint [-2147483648,0,0,0,0,0] v 100    -> no "not finite"
              movel pose [338000,-2147483648,318203,3142,0,0] v 100    -> no "not finite"
              movej joint [0,0,0,0,0,0] v 100 r -2147483648    -> no "not finite"
              movej_canfd joint [0,0,0,0,0,-2147483648]    -> no "not finite"
              set_joint_max_speed joint_max_speed [1,-2147483648]  -> no "not finite"
              set_joint_step joint_step [1,-2147483648] v 50       -> no "not finite"
              get_joint_degree                     -> joint [0,0,0,0,0,0])"},
};

INSTANTIATE_TEST_SUITE_P(Motion, Scenarios, testing::ValuesIn(motion_rows),
                         testing::PrintToStringParamName());
// Of all tables.
TEST_P(Scenarios, Play)
{
    Scenario(GetParam().model, GetParam().world).play(GetParam().script);
}

} // namespace

// Counts what planning is made of, in the way of the library's own.
static int solutions;

int inverse_kinematics(int model, const float* reference, const KINEMATIC* target, float* result,
                       unsigned char flag)
{
    ++solutions;
    static const auto solve =
        reinterpret_cast<decltype(&inverse_kinematics)>(dlsym(RTLD_NEXT, "inverse_kinematics"));
    return solve(model, reference, target, result, flag);
}

namespace {

TEST(Planning, OfLongCirclesLetsOthersHaveTheirTurn)
{
    Scenario arm;
    arm.play(R"(0   movej joint [0,-30000,-60000,0,-90000,0] v 100  -> done)");
    static constexpr int bound = 500; // each takes 3 to 20 us
    const auto counted = [](const auto& action) {
        solutions = 0;
        action();
        EXPECT_LT(solutions, bound);
        return solutions;
    };
    const std::array ends = {Scenario::Json{338000, 100000, 318203, 3142, 0, 0},
                             Scenario::Json{338000, 0, 318203, 3142, 0, 0}};
    const auto ask = [&arm](const Scenario::Json& request) {
        arm.controller.handle(request.dump(), arm.time, arm.client());
    };
    int in_requests = counted([&] {
        for (std::size_t i = 0; i < 4; ++i)
            ask({{"command", "movec"},
                 {"pose", {{"pose_via", {338000, 50000, 340000, 3142, 0, 0}}, {"pose_to", ends[i % 2]}}},
                 {"v", 100},
                 {"loop", 100}});
    });
    int slices = 0;
    for (; arm.controller.next_event() == arm.time; ++slices) {
        counted([&] { arm.controller.advance(arm.time); });
        in_requests += counted([&] { ask({{"command", "get_arm_plan_num"}}); });
    }
    EXPECT_LT(in_requests, bound) << "those who only ask wait for no planning";
    EXPECT_GT(slices, 200) << "but it is done";
    arm.came.clear();
    arm.play(R"(get_arm_current_trajectory    -> type movec data [338000,100000,318203,3142,0,0]
                 set_delete_current_trajectory -> ok
                 +1  <- no deleted
                     <- no "one line")"); // the next one: it begins where it should end
}

} // namespace
