// kx-bridge, seen by ROS 2's messages as another implementation of DDS reads and writes them.
#include "bridge/fast_dds.h"
#include "kx/arm.hpp"
#include "support/controller.h"

#include <cmath>
#include <gtest/gtest.h>
#include <kdl/frames.hpp>
#include <map>

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

TEST(Bridge, DescribesItsArmAndItsFramesToWhoComesLate)
{
    const Controller controller({"--speed", "20", "--payload", "2"});
    const kx::Degrees joints{10, 20, -30, 40, 50, -60};
    move(controller, 46, joints);
    ros::Domain domain;
    const Bridge bridge(domain, {"--arm", at("a_=", controller), "--wrench", "20", "--rename", "tf=frames"});
    ros::Reader<ros::JointState> states(domain, "joint_states");
    ASSERT_TRUE(states.next());
    ros::Reader<ros::Text> descriptions(domain, "a_robot_description", decltype(descriptions)::Kind::late);
    const auto description = descriptions.next();
    ASSERT_TRUE(description);
    EXPECT_NE(description->data.find("<joint name=\"a_joint_6\""), std::string::npos);

    ros::Reader<ros::Transforms> fixed(domain, "tf_static", decltype(fixed)::Kind::late),
        moved(domain, "frames");
    std::map<std::string, ros::Transform> to;
    for (const auto& message : {fixed.next(), moved.next()}) {
        ASSERT_TRUE(message);
        for (const ros::Transform& transform : message->transforms)
            to[transform.child_frame_id] = transform;
    }
    KDL::Frame tool;
    for (std::string frame = "a_tool0"; frame != "a_base_link"; frame = to[frame].header.frame_id) {
        ASSERT_TRUE(to.contains(frame)) << frame;
        const ros::Transform& t = to[frame];
        tool = KDL::Frame(KDL::Rotation::Quaternion(t.qx, t.qy, t.qz, t.qw), {t.x, t.y, t.z}) * tool;
    }
    const kx::Pose expected = *kx::Model(46).pose(joints);
    const KDL::Frame pose(KDL::Rotation::RPY(expected.rx, expected.ry, expected.rz),
                          {expected.x, expected.y, expected.z});
    EXPECT_TRUE(KDL::Equal(tool, pose, 5e-5)) << tool.p.x() << " " << tool.p.y() << " " << tool.p.z();

    ros::Reader<ros::Wrench> wrenches(domain, "a_wrench");
    const auto wrench = wrenches.next();
    ASSERT_TRUE(wrench);
    const auto asked = kx::Arm("127.0.0.1", controller.port(), 46).force.wrench();
    EXPECT_EQ(wrench->header.frame_id, "a_tool0");
    for (const auto& [told, is] : {std::pair(wrench->fx, asked.force_newton[0]),
                                   {wrench->fy, asked.force_newton[1]},
                                   {wrench->fz, asked.force_newton[2]}})
        EXPECT_NEAR(told, static_cast<double>(is), 1);
    EXPECT_GT(std::hypot(wrench->fx, wrench->fy, wrench->fz), 10) << "2 kg weigh something";
}

TEST(Bridge, SaysHowItsArmsAreAndNothingOfThoseThatAreLost)
{
    auto well = std::make_unique<Controller>();
    const Controller ill({"--fault", "joint-error 2"});
    ros::Domain domain;
    ros::Reader<ros::JointState> states(domain, "joint_states");
    ros::Reader<ros::Diagnostics> diagnostics(domain, "diagnostics");
    const Bridge bridge(domain, {"--arm", at("well_=", *well), "--arm", at("ill_=", ill), "--arm",
                                 at("other_=", ill, 47), "--arm", "away_=127.0.0.1:1,46"});
    const auto until = [&](const std::string& name, int level) {
        const auto found = diagnostics.next([&](const ros::Diagnostics& message) {
            return message.status.at(0).name == "kx-bridge: " + name && message.status[0].level == level;
        });
        EXPECT_TRUE(found) << name << " " << level;
        return found ? found->status[0] : ros::Status();
    };
    EXPECT_EQ(until("well_arm", 0).hardware_id, "127.0.0.1:" + std::to_string(well->port()));
    EXPECT_NE(until("ill_arm", 2).value("arm error"), "0");
    EXPECT_EQ(until("away_arm", 2).value("connected"), "no");
    EXPECT_EQ(until("other_arm", 1).value("connected"), "yes");

    const auto is_well = [](const ros::JointState& state) { return state.name[0] == "well_joint_1"; };
    ASSERT_TRUE(states.next(is_well));
    const int port = well->port();
    well->end(SIGKILL);
    EXPECT_EQ(until("well_arm", 2).value("connected"), "no");
    states.drop();
    EXPECT_FALSE(states.next(is_well, 2));
    well = std::make_unique<Controller>(std::vector<std::string>{"--port", std::to_string(port)});
    EXPECT_TRUE(states.next(is_well));
}

// An arm that is commanded.
struct Commanded {
    explicit Commanded(const std::vector<std::string>& options = {})
    {
        bridge.emplace(domain, [&] {
            std::vector<std::string> all = {"--arm", at("", controller), "--command", "--rate", "50"};
            all.insert(all.end(), options.begin(), options.end());
            return all;
        }());
        EXPECT_TRUE(commands.is_heard() && trajectories.is_heard() && states.next());
    }

    // Joint 1 to so many degrees, the others to 0; names in another order than the arm's.
    static ros::JointState to(double degrees)
    {
        ros::JointState message;
        for (int i = 6; i >= 1; --i) {
            message.name.push_back("joint_" + std::to_string(i));
            message.position.push_back(i == 1 ? degrees * M_PI / 180 : 0);
        }
        return message;
    }

    static ros::JointTrajectory along(std::vector<std::pair<double, double>> seconds_and_degrees)
    {
        ros::JointTrajectory message;
        message.joint_names = to(0).name;
        for (const auto& [seconds, degrees] : seconds_and_degrees) {
            const auto whole = static_cast<int>(std::floor(seconds));
            message.points.push_back(
                {to(degrees).position, {}, {}, {}, {whole, static_cast<uint32_t>((seconds - whole) * 1e9)}});
        }
        return message;
    }

    // Where joint 1 is now, degrees.
    double joint_1()
    {
        states.drop();
        const auto state = states.next();
        return state ? state->position[0] * 180 / M_PI : NAN;
    }

    // What diagnostics say once they say this.
    std::optional<ros::Status> until(const std::string& key, const std::string& value)
    {
        const auto found = diagnostics.next(
            [&](const ros::Diagnostics& message) { return message.status.at(0).value(key) == value; });
        return found ? std::optional(found->status[0]) : std::nullopt;
    }

    const Controller controller{{"--spacing", "0"}};
    ros::Domain domain;
    ros::Reader<ros::JointState> states{domain, "joint_states"};
    ros::Reader<ros::Diagnostics> diagnostics{domain, "diagnostics"};
    ros::Writer<ros::JointState> commands{domain, "robot_joint_commands"};
    ros::Writer<ros::JointTrajectory> trajectories{domain, "joint_trajectory"};
    std::optional<Bridge> bridge;
};

TEST(Bridge, RefusesWhatIsNoCommand)
{
    using Told = ros::JointState;
    using Way = ros::JointTrajectory;
    Commanded arm;
    int refused = 0;
    const auto is_refused = [&](const char* what) {
        EXPECT_TRUE(arm.until("refused messages", std::to_string(++refused))) << what;
    };
    const std::vector<std::pair<const char*, std::function<void(Told&)>>> commands = {
        {"unknown name", [](Told& told) { told.name[2] = "elbow\n\033[2J"; }},
        {"a name twice", [](Told& told) { told.name[2] = told.name[3]; }},
        {"a name less", [](Told& told) { told.name.pop_back(), told.position.pop_back(); }},
        {"a position less", [](Told& told) { told.position.pop_back(); }},
        {"a position more", [](Told& told) { told.position.push_back(0); }},
        {"speeds for some", [](Told& told) { told.velocity.resize(5); }},
        {"efforts for some", [](Told& told) { told.effort.resize(7); }},
        {"no number", [](Told& told) { told.position[4] = NAN; }},
        {"beyond the joint's limit", [](Told& told) { told.position[5] = 10; }},
        {"beyond all numbers", [](Told& told) { told.position[4] = 1e300; }},
        {"no time",
         [](Told& told) {
             told.header.stamp = {1, 1000000000};
         }},
        {"nothing", [](Told& told) { told = {}; }}};
    for (const auto& [what, change] : commands) {
        Told told = Commanded::to(30);
        change(told);
        arm.commands.write(told);
        is_refused(what);
    }
    const std::vector<std::pair<const char*, std::function<void(Way&)>>> trajectories = {
        {"unknown name", [](Way& way) { way.joint_names[0] = "joint_7"; }},
        {"a position less", [](Way& way) { way.points[1].positions.pop_back(); }},
        {"accelerations for some", [](Way& way) { way.points[1].accelerations.resize(5); }},
        {"no number", [](Way& way) { way.points[1].positions[0] = INFINITY; }},
        {"times stand", [](Way& way) { way.points[1].time_from_start = way.points[0].time_from_start; }},
        {"times go back",
         [](Way& way) {
             way.points[1].time_from_start = {1, 0};
         }},
        {"before the beginning",
         [](Way& way) {
             way.points[0].time_from_start = {-1, 0};
         }},
        {"begins elsewhere",
         [](Way& way) {
             way.points[0].time_from_start = {0, 0};
         }},
        {"too fast",
         [](Way& way) {
             way.points[1].time_from_start = {2, 1000000};
         }},
        {"beyond the joint's limit", [](Way& way) { way.points[1].positions[5] = 10; }},
        {"for tomorrow",
         [](Way& way) { way.header.stamp.sec = static_cast<int32_t>(time(nullptr)) + 86400; }}};
    for (const auto& [what, change] : trajectories) {
        Way way = Commanded::along({{2, 10}, {4, 30}});
        change(way);
        arm.trajectories.write(way);
        is_refused(what);
    }
    EXPECT_NEAR(arm.joint_1(), 0, 1e-3);
    EXPECT_TRUE(arm.until("last motion", "none"));
}

TEST(Bridge, SurvivesWhatIsNoMessage)
{
    Commanded arm;
    ros::Domain other(arm.domain.number);
    ros::Writer<ros::JointState> commands(other, "robot_joint_commands");
    ros::Writer<ros::JointTrajectory> trajectories(other, "joint_trajectory");
    ASSERT_TRUE(commands.is_heard() && trajectories.is_heard());
    const std::string head("\0\1\0\0", 4), no_time(8, '\0');
    for (const std::string& bytes : {head, head + '\0', head + std::string(64, '\xff'), head + no_time + '\5',
                                     std::string("\0\7\0\0", 4) + no_time,
                                     head + no_time + std::string("\1\0\0\0x\0\0\0\xff\xff\xff\x7f", 12)}) {
        other.bytes.assign(bytes.begin(), bytes.end());
        commands.write({});
        trajectories.write({});
    }
    arm.commands.write(Commanded::to(NAN));
    EXPECT_TRUE(arm.until("refused messages", "1")) << "it takes messages as before";
    EXPECT_NEAR(arm.joint_1(), 0, 1e-3);
}

TEST(Bridge, FollowsCommandsUntilTheyCease)
{
    Commanded arm({"--velocity", "20"});
    ros::Writer<ros::JointState> another(arm.domain, "robot_joint_commands");
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
    const double stands = arm.joint_1();
    EXPECT_GE(stands, 12);
    EXPECT_LT(stands, 80);
    EXPECT_NEAR(arm.joint_1(), stands, 2e-3) << "it has come to rest";
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
    ros::Reader<ros::JointState> states(domain, "joint_states");
    ros::Writer<ros::JointState> commands(domain, "robot_joint_commands");
    ros::Writer<ros::JointTrajectory> trajectories(domain, "joint_trajectory");
    ASSERT_TRUE(states.next());
    EXPECT_FALSE(commands.is_heard(1) || trajectories.is_heard(0));
}

} // namespace
