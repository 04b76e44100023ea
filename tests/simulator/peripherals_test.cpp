// Parts of the virtual controller that cannot be seen through the library: the fingers of the hand, a gripped
// object that gives way, the way of the base.
#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "commands/json.h"
#include "commands/request.h"
#include "commands/virtual_controller.h"
#include "support/listener.h"

using namespace kx::sim;

namespace {

struct Bench {
    // The reply, if it comes at once; that of a motion comes at its end, to nobody.
    Json ask(const std::string& request)
    {
        const auto reply = std::make_shared<Json>();
        controller.handle(request, time,
                          listener([reply](const std::string& line) { *reply = Json::parse(line); }));
        return *reply;
    }
    void run(double seconds) { controller.advance(time += seconds); }

    Controller controller{46, [](const std::string&) {}};
    Peripherals& peripherals = controller.peripherals();
    double time = 0;
};

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
