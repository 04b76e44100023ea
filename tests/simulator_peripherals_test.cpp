// Parts of the virtual controller that cannot be seen through the library: by which name each reply is
// recognised, also that of a refusal; the fingers of the hand; the way of the base.
#include <cmath>

#include <gtest/gtest.h>

#include "controller.h"
#include "json.h"
#include "kx/connection.h"
#include "request.h"

using namespace kx::sim;

namespace {

struct Bench {
    Json ask(const std::string& request)
    {
        Json reply;
        controller.handle(request, time, [&](const std::string& line) { reply = Json::parse(line); });
        return reply;
    }
    void run(double seconds) { controller.advance(time += seconds); }

    Controller controller{46, [](const std::string&) {}};
    Peripherals& peripherals = controller.peripherals();
    double time = 0;
};

const std::map<std::string, int> reply_types = {
    {"set_DO_state", 97},
    {"set_AO_state", 98},
    {"get_DO_state", 100},
    {"get_DI_state", 101},
    {"get_AO_state", 102},
    {"get_AI_state", 103},
    {"get_IO_input", 104},
    {"get_IO_output", 105},
    {"set_tool_DO_state", 100},
    {"set_tool_IO_mode", 107},
    {"get_tool_IO_state", 108},
    {"set_tool_voltage", 109},
    {"get_tool_voltage", 110},
    {"set_gripper_route", 111},
    {"set_gripper_release", 112},
    {"set_gripper_pick", 112},
    {"set_gripper_pick_on", 112},
    {"set_gripper_position", 112},
    {"set_hand_posture", 127},
    {"set_hand_seq", 128},
    {"set_hand_angle", 129},
    {"set_hand_speed", 130},
    {"set_hand_force", 131},
    {"set_PWM", 132},
    {"start_drag_teach", 113},
    {"stop_drag_teach", 114},
    {"run_drag_trajectory", 115},
    {"pause_drag_trajectory", 116},
    {"stop_drag_trajectory", 118},
    {"continue_drag_trajectory", 117},
    {"drag_trajectory_origin", 64},
    {"start_multi_drag_teach", 120},
    {"set_force_position", 121},
    {"stop_force_positon", 122},
    {"get_force_data", 123},
    {"clear_force_data", 124},
    {"set_force_sensor", 125},
    {"manual_set_force_pose1", 125},
    {"manual_set_force_pose4", 125},
    {"stop_set_force_sensor", 126},
    {"get_Fz", 133},
    {"clear_Fz", 134},
    {"auto_set_Fz", 125},
    {"manual_set_Fz", 125},
    {"set_modbus_mode", 137},
    {"close_modbus_mode", 138},
    {"read_coils", 139},
    {"read_input_status", 140},
    {"read_holding_registers", 141},
    {"read_input_registers", 142},
    {"write_single_coil", 143},
    {"write_coils", 144},
    {"write_single_register", 145},
    {"write_registers", 146},
    {"set_arm_power", 86},
    {"get_arm_power_state", 87},
    {"clear_system_err", 88},
    {"get_arm_hardware_version", 89},
    {"get_arm_software_version", 90},
    {"get_log_file", 91},
    {"get_system_runtime", 92},
    {"clear_system_runtime", 93},
    {"get_joint_odom", 94},
    {"clear_joint_odom", 95},
    {"set_high_speed_eth", 96},
    {"set_vehicle", 147},
    {"set_lift ", 148},
    {"set_lift_speed", 149},
    {"set_lift_height", 64},
    {"get_lift_state", 151},
    {"set_car_move", 152},
    {"set_car_speed", 153},
    {"set_car_navigation_speed", 154},
    {"set_car_navigation_mode", 155},
    {"get_car_state", 156},
    {"set_car_charge", 157},
    {"set_car_station_num", 158},
    {"Start_Force_Position_Move", 160},
    {"Force_Position_Move", 161},
    {"Stop_Force_Position_Move", 162},
};

TEST(Peripherals, RepliesAreRecognisedRefusalsToo)
{
    Bench bench;
    for (const auto& [command, type] : reply_types) {
        const Json reply =
            bench.ask("{\"command\":\"" + command + "\"}"); // mostly refused: without arguments
        EXPECT_EQ(Get_Json_KeyCode(reply.dump().c_str()), type) << reply;
    }
}

TEST(Peripherals, TheHandTakesPostureAfterPosture)
{
    Bench bench;
    const Hand& hand = bench.peripherals.hand;
    const auto angles = [&] {
        const auto exact = hand.angles();
        return std::vector<double>(exact.begin(), exact.end());
    };
    const auto posture = [](std::size_t i) {
        return std::vector<double>(std::begin(Hand::postures[i]), std::end(Hand::postures[i]));
    };
    bench.ask(R"({"command":"set_hand_speed","hand_speed":500})");
    bench.ask(R"({"command":"set_hand_angle","hand_angle":[0,500,1000,1000,1000,1000]})");
    bench.run(0.5);
    EXPECT_EQ(angles(), (std::vector<double>{750, 750, 1000, 1000, 1000, 1000}));
    bench.ask(R"({"command":"set_hand_seq","seq_num":3})"); // open, point, thumb up, open
    bench.run(0.5);
    EXPECT_EQ(angles(), posture(0));
    bench.run(2);
    EXPECT_EQ(angles(), posture(3));
    bench.run(2);
    EXPECT_EQ(angles(), posture(4));
    bench.run(20);
    EXPECT_EQ(angles(), posture(0));
}

TEST(Peripherals, TheGripperFollowsAnObjectThatGivesWayAndLosesOneThatIsTaken)
{
    Bench bench;
    Gripper& gripper = bench.peripherals.gripper;
    bench.peripherals.world.object = {40, 1};
    for (const bool keep_up : {true, false}) {
        bench.peripherals.world.object = {40, 1};
        gripper.release(1000, {});
        bench.run(2);
        gripper.pick(1000, 150, keep_up, {});
        bench.run(2);
        EXPECT_EQ(gripper.force(), 150);
        bench.peripherals.world.object->width = 30;
        bench.run(0.01);
        bench.run(2);
        EXPECT_EQ(gripper.opening(), keep_up ? 300 : 400);
        EXPECT_EQ(gripper.force(), keep_up ? 150 : 0);
        bench.peripherals.world.object.reset();
        EXPECT_EQ(gripper.held_mass(), 0);
    }
}

TEST(Peripherals, ForcePositionTargetsMayBePoses)
{
    Bench bench;
    bench.ask(R"({"command":"movej","joint":[0,60,90,0,30,0],"v":100,"r":0})");
    bench.run(5);
    POSE pose = bench.controller.arm().tool_pose();
    pose.z -= 0.05f;
    Json target = {
        {"command", "Force_Position_Move"}, {"sensor", 1}, {"mode", 0}, {"dir", 2}, {"force", 100}};
    target["pose"] = pose_of(pose);
    EXPECT_EQ(bench.ask(target.dump()).at("set_state"), false) << "the mode is off";
    bench.ask(R"({"command":"Start_Force_Position_Move"})");
    EXPECT_EQ(bench.ask(target.dump()).at("set_state"), true);
    bench.run(5);
    EXPECT_NEAR(bench.controller.arm().tool_pose().z, pose.z, 1e-5);
}

TEST(Peripherals, TheBaseDrivesArcsAndFindsItsStation)
{
    Bench bench;
    const Base& base = bench.peripherals.base;
    const double x = base.x();
    // A quarter of a circle of 0.5 m radius, to the left.
    bench.ask(R"({"command":"set_car_move","linear_speed":500,"angular_speed":1000})");
    bench.run(M_PI / 4);
    bench.run(M_PI / 4);
    EXPECT_NEAR(base.x(), x + 0.5, 1e-9);
    EXPECT_NEAR(base.y(), 0.5, 1e-9);
    EXPECT_NEAR(base.heading(), M_PI / 2, 1e-9);
    bench.ask(R"({"command":"set_car_speed","station":3,"speed":1000})");
    bench.run(std::hypot(6 - base.x(), base.y()) + 1e-6);
    EXPECT_EQ(base.station(), 3);
    EXPECT_EQ(base.x(), 6);
    EXPECT_EQ(base.y(), 0);
}

} // namespace
