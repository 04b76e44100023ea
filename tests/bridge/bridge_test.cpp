// kx-bridge, seen by ROS 2's messages as another implementation of DDS reads and writes them.
#include "bridge/fast_dds.h"
#include "kx/arm.hpp"
#include "support/controller.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class Bridge : public Process {
  public:
    Bridge(const ros::Domain& domain, const std::vector<std::string>& options)
        : Process(command(domain, options))
    {
        EXPECT_EQ(line().substr(0, 10), "kx-bridge:");
    }

  private:
    static std::vector<std::string> command(const ros::Domain& domain, std::vector<std::string> options)
    {
        options.insert(options.begin(), {KX_BRIDGE, "--domain", std::to_string(domain.number)});
        return options;
    }
};

std::string at(const std::string& prefix, const Controller& controller, int model = 46)
{
    return prefix + "127.0.0.1:" + std::to_string(controller.port()) + "," + std::to_string(model);
}

void move(const Controller& controller, int model, const kx::Degrees& joints)
{
    kx::Arm("127.0.0.1", controller.port(), model).move_joints(joints, {.speed_percent = 100}).wait();
}

TEST(Bridge, TellsWhereItsArmsAre)
{
    const std::vector<double> six = {10, 20, -30, 40, 50, -60}, seven = {1, -2, 3, 40, 5, -6, 7};
    const Controller left({"--speed", "20"}), right({"--speed", "20", "--model", "47"});
    move(left, 46, {10, 20, -30, 40, 50, -60});
    move(right, 47, {1, -2, 3, 40, 5, -6, 7});
    ros::Domain domain;
    ros::Reader<ros::JointState> states(domain, "joint_states");
    ros::Reader<ros::JointState> unreliable(domain, "joint_states", decltype(states)::Kind::best_effort);
    Bridge bridge(domain, {"--rate", "20", "--arm", at("left_=", left), "--arm", at("right_=", right, 47)});
    for (const auto& [prefix, angles] : {std::pair("left_", six), std::pair("right_", seven)}) {
        const auto state = states.next([&](auto& message) { return message.name.at(0).starts_with(prefix); });
        ASSERT_TRUE(state) << prefix;
        ASSERT_EQ(state->name.size(), angles.size());
        ASSERT_EQ(state->position.size(), angles.size());
        for (size_t i = 0; i < angles.size(); ++i) {
            EXPECT_EQ(state->name[i], prefix + ("joint_" + std::to_string(i + 1)));
            EXPECT_NEAR(state->position[i], angles[i] * M_PI / 180, 2e-5);
        }
        EXPECT_TRUE(state->velocity.empty() && state->effort.empty());
        EXPECT_LT(std::abs(state->header.stamp.seconds() - static_cast<double>(time(nullptr))), 30);
    }
    EXPECT_TRUE(unreliable.next());
    EXPECT_EQ(bridge.end(SIGINT), 0);
}

} // namespace
