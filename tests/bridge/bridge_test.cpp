// kx-bridge, seen by ROS 2's messages as another implementation of DDS reads and writes them.
#include "bridge/fast_dds.h"
#include "kx/arm.hpp"
#include "support/controller.h"

#include <cmath>
#include <kdl/frames.hpp>

using namespace std::chrono_literals;
using ros::Json;

namespace {

struct Bridge : Process {
    Bridge(const ros::Domain& domain, std::vector<std::string> options)
        : Process((options.insert(options.begin(), {KX_BRIDGE, "--domain", std::to_string(domain.number)}),
                   options))
    {
        EXPECT_EQ(line().substr(0, 10), "kx-bridge:");
    }
};

std::string at(const std::string& prefix, const Controller& controller, int model = 46)
{
    return prefix + "127.0.0.1:" + std::to_string(controller.port()) + "," + std::to_string(model);
}

TEST(Bridge, TellsWhereItsArmsAre)
{
    const Controller left({"--speed", "20"}), right({"--speed", "20", "--model", "47"});
    ros::Domain domain;
    ros::Reader states(domain, ros::joint_state, "joint_states");
    ros::Reader unreliable(domain, ros::joint_state, "joint_states", ros::Reader::best_effort);
    const struct Row {
        const Controller& controller;
        int model;
        const char* prefix;
        kx::Degrees joints;
    } rows[] = {{left, 46, "left_", {10, 20, -30, 40, 50, -60}},
                {right, 47, "right_", {1, -2, 3, 40, 5, -6, 7}}};
    for (const auto& [controller, model, prefix, joints] : rows)
        kx::Arm("127.0.0.1", controller.port(), model).move_joints(joints, {.speed_percent = 100}).wait();
    Bridge bridge(domain, {"--rate", "20", "--arm", at("left_=", left), "--arm", at("right_=", right, 47)});
    for (const auto& [controller, model, prefix, joints] : rows) {
        const Json state = states.next(
            [first = std::string(prefix) + "joint_1"](Json& message) { return message["name"][0] == first; });
        ASSERT_EQ(state["name"].size(), joints.size()) << prefix;
        ASSERT_EQ(state["position"].size(), joints.size());
        for (int i = 0; i < joints.size(); ++i) {
            EXPECT_EQ(state["name"][i], prefix + ("joint_" + std::to_string(i + 1)));
            EXPECT_NEAR(state["position"][i], joints[i] * M_PI / 180, 2e-5);
        }
        EXPECT_TRUE(state["velocity"].empty() && state["effort"].empty());
        EXPECT_LT(std::abs(state["sec"].get<double>() - static_cast<double>(time(nullptr))), 30);
    }
    EXPECT_FALSE(unreliable.next().is_null());
    EXPECT_EQ(bridge.end(SIGINT), 0);
}

TEST(Bridge, DescribesItsArmAndItsFramesToWhoComesLate)
{
    const Controller controller({"--speed", "20", "--payload", "2"});
    const kx::Degrees joints{10, 20, -30, 40, 50, -60};
    const kx::Arm arm("127.0.0.1", controller.port(), 46);
    arm.move_joints(joints, {.speed_percent = 100}).wait();
    ros::Domain domain;
    const Bridge bridge(domain, {"--arm", at("a_=", controller), "--wrench", "20", "--rename", "tf=frames"});
    ros::Reader moved(domain, ros::transforms, "frames"), wrenches(domain, ros::wrench, "a_wrench");
    const Json frames = moved.next(), wrench = wrenches.next();
    ros::Reader descriptions(domain, ros::text, "a_robot_description", ros::Reader::late);
    ros::Reader fixed(domain, ros::transforms, "tf_static", ros::Reader::late);
    EXPECT_NE(descriptions.next()["data"].get<std::string>().find("<joint name=\"a_joint_6\""),
              std::string::npos);

    Json to; // by name
    for (const Json& message : {fixed.next(), frames})
        for (const Json& transform : message["transforms"])
            to[transform["child"].get<std::string>()] = transform;
    KDL::Frame tool;
    for (std::string name = "a_tool0"; name != "a_base_link"; name = to[name]["frame"]) {
        ASSERT_TRUE(to.contains(name)) << name;
        const Json& t = to[name];
        tool = KDL::Frame(KDL::Rotation::Quaternion(t["qx"], t["qy"], t["qz"], t["qw"]),
                          {t["x"], t["y"], t["z"]}) *
               tool;
    }
    const kx::Pose pose = *kx::Model(46).pose(joints);
    EXPECT_TRUE(KDL::Equal(
        tool, KDL::Frame(KDL::Rotation::RPY(pose.rx, pose.ry, pose.rz), {pose.x, pose.y, pose.z}), 5e-5));

    const auto force = arm.force.wrench().force_newton;
    EXPECT_EQ(wrench["frame"], "a_tool0");
    EXPECT_NEAR(wrench["fx"], force[0], 1);
    EXPECT_NEAR(wrench["fy"], force[1], 1);
    EXPECT_NEAR(wrench["fz"], force[2], 1);
    EXPECT_GT(std::hypot(force[0], force[1], force[2]), 10) << "2 kg weigh something";
}

// Whether a status has such a row.
bool tells(const Json& status, const char* key, const std::string& value)
{
    return std::ranges::any_of(status["values"],
                               [&](const Json& row) { return row["key"] == key && row["value"] == value; });
}

TEST(Bridge, SaysHowItsArmsAreAndNothingOfThoseThatAreLost)
{
    auto well = std::make_unique<Controller>();
    const Controller ill({"--fault", "joint-error 2"});
    ros::Domain domain;
    ros::Reader states(domain, ros::joint_state, "joint_states");
    ros::Reader diagnostics(domain, ros::diagnostics, "diagnostics");
    const Bridge bridge(domain, {"--arm", at("well_=", *well), "--arm", at("ill_=", ill), "--arm",
                                 at("other_=", ill, 47), "--arm", "away_=127.0.0.1:1,46"});
    const auto until = [&](const std::string& name, int level) {
        const Json found = diagnostics.next([&](Json& message) {
            return message["status"][0]["name"] == "kx-bridge: " + name &&
                   message["status"][0]["level"] == level;
        });
        EXPECT_FALSE(found.is_null()) << name << " " << level;
        return found.is_null() ? found : found["status"][0];
    };
    EXPECT_EQ(until("well_arm", 0)["hardware"], "127.0.0.1:" + std::to_string(well->port()));
    EXPECT_FALSE(tells(until("ill_arm", 2), "arm error", "0"));
    EXPECT_TRUE(tells(until("away_arm", 2), "connected", "no"));
    EXPECT_TRUE(tells(until("other_arm", 1), "connected", "yes"));

    const auto is_well = [](Json& state) { return state["name"][0] == "well_joint_1"; };
    ASSERT_FALSE(states.next(is_well).is_null());
    const int port = well->port();
    well->end(SIGKILL);
    EXPECT_TRUE(tells(until("well_arm", 2), "connected", "no"));
    states.drop();
    EXPECT_TRUE(states.next(is_well, 2).is_null());
    well = std::make_unique<Controller>(std::vector<std::string>{"--port", std::to_string(port)});
    EXPECT_FALSE(states.next(is_well).is_null());
}

// An arm that is commanded.
struct Commanded {
    explicit Commanded(std::vector<std::string> options = {})
        : bridge(domain, (options.insert(options.end(), {"--arm", at("", controller), "--command"}), options))
    {
        EXPECT_TRUE(commands.is_heard() && trajectories.is_heard() && !states.next().is_null());
    }

    // Joint 1 to so many degrees, the others to 0; names in another order than the arm's.
    static Json to(double degrees)
    {
        return {{"name", {"joint_6", "joint_5", "joint_4", "joint_3", "joint_2", "joint_1"}},
                {"position", {0, 0, 0, 0, 0, degrees * M_PI / 180}}};
    }

    static Json along(const std::vector<std::pair<int, double>>& seconds_and_degrees)
    {
        Json message = {{"joint_names", to(0)["name"]}};
        for (const auto& [seconds, degrees] : seconds_and_degrees)
            message["points"].push_back({{"positions", to(degrees)["position"]}, {"sec", seconds}});
        return message;
    }

    // Where joint 1 is now, degrees.
    double joint_1()
    {
        states.drop();
        const Json state = states.next();
        return state.is_null() ? NAN : state["position"][0].get<double>() * 180 / M_PI;
    }

    // Whether diagnostics come to say this.
    bool until(const char* key, const std::string& value)
    {
        return !diagnostics.next([&](Json& message) { return tells(message["status"][0], key, value); })
                    .is_null();
    }

    const Controller controller{{"--spacing", "0"}};
    ros::Domain domain;
    ros::Reader states{domain, ros::joint_state, "joint_states"};
    ros::Reader diagnostics{domain, ros::diagnostics, "diagnostics"};
    ros::Writer commands{domain, ros::joint_state, "robot_joint_commands"};
    ros::Writer trajectories{domain, ros::trajectory, "joint_trajectory"};
    const Bridge bridge;
};

TEST(Bridge, RefusesWhatIsNoCommand)
{
    struct Row {
        const char* what;
        std::vector<std::pair<const char*, Json>> changes; // where, and to what; null takes it away
    };
    Commanded arm;
    int refused = 0;
    const auto refuses = [&](ros::Writer& writer, const Json& right, const std::vector<Row>& rows) {
        for (const auto& [what, changes] : rows) {
            Json told = right;
            for (const auto& [where, value] : changes) {
                const Json::json_pointer at(where);
                if (value.is_null())
                    told[at.parent_pointer()].erase(std::stoul(at.back()));
                else
                    told[at] = value;
            }
            writer.write(told);
            EXPECT_TRUE(arm.until("refused messages", std::to_string(++refused))) << what;
        }
    };
    const Json five = {1, 2, 3, 4, 5};
    refuses(arm.commands, Commanded::to(30),
            {{"unknown name", {{"/name/2", "elbow\n\033[2J"}}},
             {"a name twice", {{"/name/2", "joint_3"}}},
             {"a name less", {{"/name/5", nullptr}, {"/position/5", nullptr}}},
             {"a position less", {{"/position/5", nullptr}}},
             {"a position more", {{"/position/6", 0}}},
             {"speeds for some", {{"/velocity", five}}},
             {"efforts for more", {{"/effort", {1, 2, 3, 4, 5, 6, 7}}}},
             {"no number", {{"/position/4", NAN}}},
             {"beyond the joint's limit", {{"/position/5", 10}}},
             {"beyond all numbers", {{"/position/4", 1e300}}},
             {"no time", {{"/nanosec", 1000000000}}},
             {"nothing", {{"", Json::object()}}}});
    refuses(arm.trajectories, Commanded::along({{2, 10}, {4, 30}}),
            {{"unknown name", {{"/joint_names/0", "joint_7"}}},
             {"a position less", {{"/points/1/positions/5", nullptr}}},
             {"accelerations for some", {{"/points/1/accelerations", five}}},
             {"no number", {{"/points/1/positions/0", INFINITY}}},
             {"times stand", {{"/points/1/sec", 2}}},
             {"times go back", {{"/points/1/sec", 1}}},
             {"before the beginning", {{"/points/0", Commanded::along({{-1, 0}})["points"][0]}}},
             {"begins elsewhere", {{"/points/0/sec", 0}}},
             {"too fast", {{"/points/1/sec", 2}, {"/points/1/nanosec", 1000000}}},
             {"beyond the joint's limit", {{"/points/1/positions/5", 10}}},
             {"for tomorrow", {{"/sec", time(nullptr) + 86400}}}});
    EXPECT_NEAR(arm.joint_1(), 0, 1e-3);
    EXPECT_TRUE(arm.until("last motion", "none"));
}

TEST(Bridge, FollowsCommandsUntilTheyCease)
{
    Commanded arm({"--velocity", "20"});
    ros::Writer another(arm.domain, ros::joint_state, "robot_joint_commands");
    ASSERT_TRUE(another.is_heard());
    const auto begin = std::chrono::steady_clock::now();
    for (double where = 0; std::abs(where - 10) > 0.01 && std::chrono::steady_clock::now() < begin + 30s;
         where = arm.joint_1())
        arm.commands.write(Commanded::to(10));
    EXPECT_NEAR(arm.joint_1(), 10, 0.02);
    EXPECT_GT(std::chrono::steady_clock::now() - begin, 500ms) << "20 degrees a second";
    EXPECT_TRUE(arm.until("last motion", "no targets came any more"));

    // From then on a far target, for a moment; somebody else has no say.
    for (double where = 10; where < 12; where = arm.joint_1())
        arm.commands.write(Commanded::to(90));
    another.write(Commanded::to(-90));
    EXPECT_TRUE(arm.until("refused messages", "1"));
    EXPECT_TRUE(arm.until("doing", "nothing"));
    double before = 0, stands = arm.joint_1(); // the arm is a little behind what it was sent
    for (; stands < 80 && std::abs(stands - before) > 2e-3; stands = arm.joint_1())
        before = stands;
    EXPECT_GE(stands, 12);
    EXPECT_LT(stands, 80);
}

TEST(Bridge, PlaysTrajectories)
{
    Commanded arm;
    const auto begin = std::chrono::steady_clock::now();
    arm.trajectories.write(Commanded::along({{1, 10}, {2, 20}}));
    EXPECT_TRUE(arm.until("doing", "playing a trajectory"));
    EXPECT_TRUE(arm.until("last motion", "the arm has arrived"));
    EXPECT_GT(std::chrono::steady_clock::now() - begin, 1900ms);
    EXPECT_NEAR(arm.joint_1(), 20, 2e-3);

    arm.trajectories.write(Commanded::along({{0, 20}, {60, 80}}));
    EXPECT_TRUE(arm.until("doing", "playing a trajectory"));
    arm.commands.write(Commanded::to(0));
    EXPECT_TRUE(arm.until("refused messages", "1")) << "one at a time";
    arm.trajectories.write({});
    EXPECT_TRUE(arm.until("last motion", "it was stopped"));
    EXPECT_LT(arm.joint_1(), 50);
}

TEST(Bridge, TakesNoCommandsUnlessTold)
{
    const Controller controller;
    ros::Domain domain;
    const Bridge bridge(domain, {"--arm", at("", controller)});
    ros::Reader states(domain, ros::joint_state, "joint_states");
    ros::Writer commands(domain, ros::joint_state, "robot_joint_commands");
    ros::Writer trajectories(domain, ros::trajectory, "joint_trajectory");
    ASSERT_FALSE(states.next().is_null());
    EXPECT_FALSE(commands.is_heard(1) || trajectories.is_heard(0));
}

} // namespace
