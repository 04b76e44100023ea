// The virtual controller moves the tool through space. Its joints are read every simulated millisecond and
// judged by Orocos KDL's forward kinematics of the same arm; the last test goes through the library, as an
// application does.
#include "commands/json.h"
#include "commands/virtual_controller.h"
#include "kinematics/kdl_arms.h"
#include "support/controller.h"
#include "support/listener.h"

#include <gtest/gtest.h>
#include <kdl/chainfksolverpos_recursive.hpp>

#include <cmath>
#include <numbers>
#include <optional>

namespace sim = kx::sim;
using KDL::Frame, KDL::Rotation, KDL::Vector;
using sim::Joints, sim::Json;

namespace {

constexpr double pi = std::numbers::pi;

Json array_of(const Joints& joints)
{
    Json array = Json::array();
    for (double joint : joints)
        array.push_back(std::lround(joint * 1000));
    return array;
}

Json array_of(const Frame& pose)
{
    double rx, ry, rz;
    pose.M.GetRPY(rx, ry, rz);
    return {std::lround(pose.p.x() * 1e6), std::lround(pose.p.y() * 1e6), std::lround(pose.p.z() * 1e6),
            std::lround(rx * 1e3),         std::lround(ry * 1e3),         std::lround(rz * 1e3)};
}

Frame frame_of(const Json& pose)
{
    const auto value = [&](int i) { return pose[i].get<double>() / (i < 3 ? 1e6 : 1e3); };
    return {Rotation::RPY(value(3), value(4), value(5)), {value(0), value(1), value(2)}};
}

double angle_between(const Rotation& a, const Rotation& b)
{
    return KDL::diff(a, b).Norm();
}

/** A controller without its network, and the only client. */
struct Robot {
    Robot(int model, const Joints& start)
        : controller(model, [](const std::string&) {}), chain(kdl_arms::arm(model))
    {
        send({{"command", "movej"}, {"joint", array_of(start)}, {"v", 100}});
        EXPECT_TRUE(finished(1000)) << model;
    }

    void send(const Json& request)
    {
        controller.handle(request.dump(), time, listener([this](const std::string& line) {
                              replies.push_back(Json::parse(line));
                          }));
        while (controller.next_event() == time) // there is more to plan
            controller.advance(time);
    }

    /** Runs on; whether a motion ends meanwhile, and well. Looks at the arm each millisecond. */
    bool finished(double seconds, const std::function<void(const Frame&)>& look = {})
    {
        for (const double end = time + seconds; replies.empty() && time < end;) {
            controller.advance(time += 1e-3);
            if (look) look(tool());
        }
        if (replies.empty()) return false;
        const Json reply = std::exchange(replies, {}).front();
        if (reply.contains("error")) std::cerr << reply << "\n";
        return reply.at("command") == "current_trajectory_state" && reply.at("trajectory_state") == true;
    }

    /** Why a request is refused at once. */
    std::optional<std::string> refusal(const Json& request)
    {
        replies.clear();
        send(request);
        if (replies.empty() || replies.front().value("trajectory_state", true)) return {};
        return std::exchange(replies, {}).front().at("error");
    }

    Frame tool(const Joints& joints) const
    {
        KDL::JntArray angles(static_cast<unsigned>(joints.size()));
        for (unsigned i = 0; i < joints.size(); ++i)
            angles(i) = joints[i] * kdl_arms::degree;
        Frame pose;
        KDL::ChainFkSolverPos_recursive(chain).JntToCart(angles, pose);
        return pose;
    }
    Frame tool() { return tool(joints()); }
    const Joints& joints() { return controller.arm().position(); }

    sim::Controller controller;
    KDL::Chain chain;
    double time = 0;
    std::vector<Json> replies;
};

/** Differences of the joints' samples against their limits, as parts of them. */
struct Watch {
    void look(Robot& robot)
    {
        const auto& limits = robot.controller.arm().drives.each();
        Joints now = robot.joints(), velocity(now.size());
        for (std::size_t i = 0; i < now.size() && !last.empty(); ++i) {
            velocity[i] = (now[i] - last[i]) / 1e-3;
            speed = std::max(speed, std::abs(velocity[i]) / limits[i].max_speed);
            if (!last_velocity.empty())
                acceleration = std::max(acceleration, std::abs(velocity[i] - last_velocity[i]) / 1e-3 /
                                                          limits[i].max_acceleration);
        }
        if (!last.empty()) last_velocity = velocity;
        last = now;
    }
    double speed = 0, acceleration = 0;
    Joints last, last_velocity;
};

// Hand down in front of the arm.
Joints ready(int model)
{
    return model == 36   ? Joints{0, 30, 60, 0, 90, 0}
           : model == 46 ? Joints{0, -30, -60, 0, -90, 0}
                         : Joints{0, 30, 0, 60, 0, 90, 0};
}

struct LineRow {
    const char* what;
    int model;
    Joints start;
    Vector way;  // m, in the base
    Vector turn; // rad, in the base
    int percent;
    double seconds; // way/speed + speed/acceleration, or 2 sqrt(way/acceleration) if short; 0: the joints
                    // need longer
};

const LineRow line_rows[] = {
    {"at full speed", 46, ready(46), {0, 0.2, 0}, {}, 100, 0.2 / 0.25 + 0.25},
    {"at half speed, model 36", 36, ready(36), {0.1, 0, 0.1}, {}, 50, std::sqrt(0.02) / 0.125 + 0.25},
    {"model 47", 47, ready(47), {0, -0.2, -0.1}, {}, 100, std::sqrt(0.05) / 0.25 + 0.25},
    {"too short for full speed", 46, ready(46), {0, 0, 0.04}, {}, 100, 2 * std::sqrt(0.04)},
    {"mostly turning", 46, ready(46), {0.05, 0.1, 0}, {0.3, -0.5, -0.4}, 100, std::sqrt(0.5) + 0.2},
    {"turning only", 36, ready(36), {}, {0, 0, 0.8}, 100, 0.8 + 0.2},
    {"through a straight wrist", 46, {20, -30, -60, 30, -4, -30}, {}, {0.1, 0.15, 0}, 100, 0},
    {"close by a straight wrist",
     46,
     {20, -30, -60, 30, -4, -30},
     {0.02, 0.01, 0},
     {0.02, 0.15, 0.01},
     100,
     0},
    {"from the stretched arm", 46, {0, 0, 0, 0, 0, 0}, {0, 0, -0.1}, {}, 100, 0},
    {"beside axis 1", 46, {90, 40, -100, 20, 60, 0}, {0.2, 0, 0}, {}, 100, 0},
};

TEST(Line, IsStraightAndKeepsAllLimits)
{
    for (const LineRow& row : line_rows) {
        SCOPED_TRACE(row.what);
        Robot robot(row.model, row.start);
        const Frame from = robot.tool();
        const double size = row.turn.Norm();
        const Json target = array_of(
            Frame(Rotation::Rot(size > 0 ? row.turn : Vector(0, 0, 1), size) * from.M, from.p + row.way));
        const Frame to = frame_of(target);
        const double way = (to.p - from.p).Norm(), turn = angle_between(from.M, to.M);

        robot.send({{"command", "movel"}, {"pose", target}, {"v", row.percent}, {"r", 0}});
        Watch watch;
        double beside = 0, askew = 0, fastest = 0;
        std::optional<Frame> before;
        const double began = robot.time;
        EXPECT_TRUE(robot.finished(30, [&](const Frame& now) {
            watch.look(robot);
            const double part = way > 0.01 ? dot(now.p - from.p, to.p - from.p) / (way * way)
                                           : angle_between(from.M, now.M) / turn;
            beside = std::max(beside, (now.p - from.p - part * (to.p - from.p)).Norm());
            askew = std::max(askew, angle_between(from.M, now.M) + angle_between(now.M, to.M) - turn);
            if (before) fastest = std::max(fastest, (now.p - before->p).Norm() / 1e-3);
            before = now;
        }));
        EXPECT_LT(beside, 2e-5);
        EXPECT_LT(askew, 1e-3);
        EXPECT_LT(watch.speed, 1.005);
        EXPECT_LT(watch.acceleration, 1.02);
        EXPECT_LT(fastest, 0.25 * row.percent / 100 + 1e-4);
        EXPECT_LT((robot.tool().p - to.p).Norm(), 2e-5);
        EXPECT_LT(angle_between(robot.tool().M, to.M), 1e-4);
        const double took = robot.time - began;
        EXPECT_NEAR(took, row.seconds > 0 ? row.seconds : took, 0.005);
    }
}

struct CircleRow {
    const char* what;
    int model;
    Vector out, along; // of length 1: from the centre to the start, and where the tool goes first
    double radius;     // m
    double via, to;    // rad, from the start
    int loop;
};

const CircleRow circle_rows[] = {
    {"a quarter", 46, {1, 0, 0}, {0, 1, 0}, 0.1, 0.3, pi / 2, 0},
    {"half, upright, model 36", 36, {0, 0, 1}, {0.6, -0.8, 0}, 0.06, 2, pi, 0},
    {"more than half, the other way", 46, {0, 1, 0}, {-0.8, 0, -0.6}, 0.03, 1, 5, 0},
    {"three times, model 47", 47, {1, 0, 0}, {0, 0, 1}, 0.04, 4, 6, 3},
};

TEST(Circle, IsRoundAndRepeatedAndKeepsAllLimits)
{
    for (const CircleRow& row : circle_rows) {
        SCOPED_TRACE(row.what);
        Robot robot(row.model, ready(row.model));
        const Frame from = robot.tool();
        const Vector centre = from.p - row.radius * row.out;
        const auto place = [&](double angle) {
            return centre + row.radius * (std::cos(angle) * row.out + std::sin(angle) * row.along);
        };
        const Frame to(Rotation::RotZ(0.2) * from.M, place(row.to));
        robot.send({{"command", "movec"},
                    {"pose", {{"pose_via", array_of(Frame(place(row.via)))}, {"pose_to", array_of(to)}}},
                    {"v", 100},
                    {"r", 0},
                    {"loop", row.loop}});
        Watch watch;
        double angle = 0, off = 0;
        const double began = robot.time;
        EXPECT_TRUE(robot.finished(30, [&](const Frame& now) {
            watch.look(robot);
            const Vector spoke = now.p - centre;
            const double x = dot(spoke, row.out), y = dot(spoke, row.along);
            angle += std::remainder(std::atan2(y, x) - angle, 2 * pi);
            off = std::max(off, std::hypot(std::hypot(x, y) - row.radius, dot(spoke, row.out * row.along)));
        }));
        const double whole = row.to + 2 * pi * row.loop, speed = std::min(0.25, std::sqrt(row.radius));
        EXPECT_NEAR(angle, whole, 1e-3);
        EXPECT_LT(off, 3e-5);
        EXPECT_LT(watch.speed, 1.005);
        EXPECT_LT(watch.acceleration, 1.02);
        const double least = row.radius * whole / speed + speed, took = robot.time - began;
        EXPECT_GT(took, least - 0.005);
        EXPECT_LT(took, 1.2 * least);
        EXPECT_LT(angle_between(robot.tool().M, to.M), 1e-3);
    }
}

struct RefusalRow {
    Json change; // to the request
    const char* why;
};

TEST(Tool, IsRefusedBeforeTheArmStarts)
{
    // From ready, 338 mm in front of the base.
    const Json movel = {
        {"command", "movel"}, {"pose", {338000, 100000, 318203, 3142, 0, 0}}, {"v", 50}, {"r", 0}};
    const Json via = {338000, 50000, 318203, 3142, 0, 0}, beside = {338000, 50000, 340000, 3142, 0, 0};
    const Json movec = {{"command", "movec"},
                        {"pose", {{"pose_via", beside}, {"pose_to", movel["pose"]}}},
                        {"v", 50},
                        {"r", 0},
                        {"loop", 0}};
    const auto over = [&](const Json& pose_via, const Json& pose_to) -> Json {
        return {{"command", "movec"}, {"pose", {{"pose_via", pose_via}, {"pose_to", pose_to}}}, {"loop", 0}};
    };
    const Json ready_pose = {338000, 0, 318203, 3142, 0, 0}, far = {700000, 0, 318203, 3142, 0, 0};
    const RefusalRow rows[] = {
        {{{"pose", far}}, "reach"},
        {{{"command", "movej_p"}, {"pose", far}}, "reach"},
        {{{"command", "movej_p"}, {"pose", {225200, 0, 372700, 3142, 900, 0}}}, "joint 5"},
        {{{"pose", {-338000, 4000, 318203, 3142, 0, 0}}}, "singularity"}, // 2 mm beside axis 1
        {{{"pose", {225200, 0, 372700, 3142, 900, 0}}}, "joint 5"},
        {over(via, movel["pose"]), "one line"},
        {over(ready_pose, movel["pose"]), "one line"},
        {over(beside, ready_pose), "one line"},
        {over(far, movel["pose"]), "reach"},
        {{{"command", "movec"}, {"pose", {{"pose_to", via}}}, {"loop", 0}}, "pose_via"},
        {{{"command", "movec"}, {"pose", movec["pose"]}, {"loop", 256}}, "255"},
        {{{"command", "movec"}, {"pose", movec["pose"]}, {"loop", -1}}, "255"},
        {{{"command", "movec"}, {"pose", movec["pose"]}}, "loop"},
        {{{"v", 0}}, "100"},
        {{{"v", 101}}, "100"},
        {{{"r", -1}}, "radius"},
        {{{"pose", {1, 2, 3, 4, 5}}}, "six"},
        {{{"pose", {1e300, 0, 0, 0, 0, 0}}}, "reach"},
        {{{"pose", {1, 2, 3, 4, 5, nullptr}}}, "number"},
    };
    Robot robot(46, ready(46));
    const Joints before = robot.joints();
    for (const RefusalRow& row : rows) {
        Json request = movel;
        request.update(row.change);
        const std::string why = robot.refusal(request).value_or("not refused");
        EXPECT_NE(why.find(row.why), std::string::npos) << request << ": " << why;
    }
    EXPECT_TRUE(robot.controller.arm().motions().idle());

    // Both ends of a line may be allowed and its middle not: there the elbow bends more.
    robot.send({{"command", "movej_p"}, {"pose", {338000, -100000, 318203, 3142, 0, 0}}, {"v", 100}});
    EXPECT_TRUE(robot.finished(10));
    const long elbow = std::lround(robot.joints()[2] * 1000);
    robot.send({{"command", "set_joint_min_pos"}, {"joint_min_pos", {3, elbow - 1000}}});
    EXPECT_EQ(robot.refusal(movel).value_or(""), "joint 3 would leave its limits on the way");
    robot.send({{"command", "set_joint_min_pos"}, {"joint_min_pos", {3, -135000}}});
    EXPECT_FALSE(robot.refusal(movel)) << "the same line under wider limits";
    EXPECT_TRUE(robot.finished(10));
}

TEST(Tool, GoesToAPoseInJointSpaceByTheNearestJoints)
{
    for (int model : {36, 46, 47}) {
        Robot robot(model, ready(model));
        Joints target = ready(model);
        for (double& joint : target)
            joint += 12;
        robot.send({{"command", "movej_p"}, {"pose", array_of(robot.tool(target))}, {"v", 100}, {"r", 0}});
        robot.send({{"command", "get_arm_current_trajectory"}});
        ASSERT_EQ(robot.replies.size(), 1u) << model;
        EXPECT_EQ(std::exchange(robot.replies, {})[0].at("type"), "movej");
        EXPECT_TRUE(robot.finished(10));
        EXPECT_LT((robot.tool().p - robot.tool(target).p).Norm(), 1e-5);
        EXPECT_LT(angle_between(robot.tool().M, robot.tool(target).M), 1e-3);
        for (std::size_t i = 0; i < target.size() && model != 47; ++i)
            EXPECT_NEAR(robot.joints()[i], target[i], 0.2) << "joint " << i + 1 << " of model " << model;
    }
}

TEST(Tool, MovesAreCheckedFromWhereTheQueueEnds)
{
    Robot robot(46, Joints(6));
    const Json line = {{"command", "movel"}, {"pose", {338000, 100000, 318203, 3142, 0, 0}}, {"v", 100}};
    const Json too_far = {{"command", "movel"}, {"pose", {338000, -400000, 318203, 3142, 0, 0}}, {"v", 100}};
    EXPECT_TRUE(robot.refusal(line)) << "from the stretched arm";
    robot.send({{"command", "movej"}, {"joint", array_of(ready(46))}, {"v", 100}});
    robot.finished(0.1);
    EXPECT_FALSE(robot.refusal(line));
    EXPECT_TRUE(robot.refusal(too_far));
    EXPECT_TRUE(robot.finished(10)) << "the joint move";
    robot.finished(0.1);
    robot.send({{"command", "get_arm_current_trajectory"}});
    ASSERT_EQ(robot.replies.size(), 1u);
    EXPECT_EQ(robot.replies[0].at("type"), "movel");
    EXPECT_EQ(std::exchange(robot.replies, {})[0].at("data"), line["pose"]);
    EXPECT_TRUE(robot.finished(10)) << "the line";
}

TEST(Tool, PausesOnItsLineAndGoesOn)
{
    Robot robot(46, ready(46));
    const Vector from = robot.tool().p;
    robot.send({{"command", "movel"}, {"pose", {338000, 200000, 318203, 3142, 0, 0}}, {"v", 100}});
    robot.finished(0.4);
    robot.send({{"command", "set_arm_pause"}});
    robot.replies.clear();
    robot.finished(3);
    EXPECT_LT((robot.tool().p - from - Vector(0, 0.25 * (0.4 - 0.125) + 0.25 * 0.125, 0)).Norm(), 3e-4);
    robot.send({{"command", "set_arm_continue"}});
    robot.replies.clear();
    EXPECT_TRUE(robot.finished(10));
    EXPECT_NEAR(robot.tool().p.y(), 0.2, 2e-5);
}

TEST(Tool, MovesForAnApplication)
{
    const ::Controller controller({"--speed", "20", "--model", "46"});
    KX_API_Init(nullptr);
    const int arm = Arm_Socket_Start("127.0.0.1", controller.port(), 46, 0);
    const float start[6] = {0, -30, -60, 0, -90, 0};
    const POSE to = {0.338f, 0.1f, 0.318f, 3.142f, 0, 0}, via = {0.35f, 0.05f, 0.3f, 3.142f, 0, 0};
    const POSE back = {0.338f, 0, 0.318f, 3.142f, 0, 0}, far = {0.7f, 0, 0.3f, 3.142f, 0, 0};
    ASSERT_EQ(Movej_Cmd(arm, start, 100, 0, true), 0);
    EXPECT_EQ(Movel_Cmd(arm, to, 50, 0, true), 0);
    EXPECT_EQ(Movec_Cmd(arm, via, back, 50, 0, 2, true), 0);
    EXPECT_EQ(Movej_P_Cmd(arm, to, 50, 0, true), 0);
    EXPECT_EQ(Movel_Cmd(arm, far, 50, 0, true), 1);
    float joint[7];
    POSE pose = {};
    unsigned short arm_err, sys_err;
    EXPECT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
    EXPECT_NEAR(pose.y, to.y, 2e-5);

    EXPECT_EQ(Movel_Cmd(arm, back, 1, 0, false), 0);
    sleep_cp(100);
    ARM_CTRL_MODES mode = None_Mode;
    EXPECT_EQ(Get_Current_Trajectory(arm, &mode, joint), 0);
    EXPECT_EQ(mode, Line_Mode);
    Arm_Socket_Close(arm);
}

} // namespace
