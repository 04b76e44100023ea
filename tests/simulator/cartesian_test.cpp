// The virtual controller moves joints together, and the tool through space. Its joints are read every simulated millisecond
// and judged by Orocos KDL's forward kinematics of the same arm.
#include <cmath>
#include <numbers>

#include "kinematics/kdl_arms.h"
#include "simulator/scenario.h"

namespace sim = kx::sim;
using KDL::Frame, KDL::Rotation, KDL::Vector;
using sim::Joints, sim::Json;

namespace {

constexpr double pi = std::numbers::pi;

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

/** An arm that stands somewhere, and its chain. All along, the joints keep to a share of their limits. */
struct Robot : Scenario {
    Robot(int of_model, const Joints& start) : Scenario(of_model), model(of_model)
    {
        move(start, 100);
        EXPECT_TRUE(finished(1000)) << model;
    }
    ~Robot()
    {
        EXPECT_LT(speed, 1.005);
        EXPECT_LT(acceleration, 1.02);
    }

    void move(Joints to, int percent)
    {
        for (double& angle : to)
            angle *= 1000;
        send({{"command", "movej"}, {"joint", to}, {"v", percent}});
    }

    /** Runs on, at most until so many motions have ended, and looks at the tool each millisecond. */
    void run_until(std::size_t endings, double seconds, const std::function<void(const Frame&)>& look)
    {
        for (const double end = time + seconds; came.size() < endings && time < end;) {
            run(1e-3);
            watch_limits();
            if (look) look(tool());
        }
    }

    /** Whether a motion ends meanwhile, and well. */
    bool finished(double seconds, const std::function<void(const Frame&)>& look = {})
    {
        run_until(1, seconds, look);
        return take().value("trajectory_state", false);
    }

    void watch_limits()
    {
        const auto& limits = controller.arm().drives.each();
        const Joints now = joints();
        Joints velocity(now.size());
        for (std::size_t i = 0; i < now.size() && !last.empty(); ++i) {
            velocity[i] = (now[i] - last[i]) / 1e-3;
            speed = std::max(speed, std::abs(velocity[i]) / limits[i].max_speed / share);
            if (!last_velocity.empty())
                acceleration = std::max(acceleration, std::abs(velocity[i] - last_velocity[i]) / 1e-3 /
                                                          limits[i].max_acceleration / share);
        }
        if (!last.empty()) last_velocity = velocity;
        last = now;
    }

    Frame tool(const Joints& at) const { return kdl_arms::forward(model, at.data()); }
    Frame tool() { return tool(joints()); }

    int model;
    double share = 1, speed = 0, acceleration = 0;
    Joints last, last_velocity;
};

// Hand down in front of the arm.
Joints ready(int model)
{
    return model == 36   ? Joints{0, 30, 60, 0, 90, 0}
           : model == 46 ? Joints{0, -30, -60, 0, -90, 0}
                         : Joints{0, 30, 0, 60, 0, 90, 0};
}

struct MoveRow {
    int model;
    const char* setting; ///< a request before
    Joints target;
    int percent;
    double duration; ///< 1/speed + speed/acceleration along the path, or 2/sqrt(acceleration) if it is short
};

const MoveRow move_rows[] = {
    {46, "", {90, 0, 0, 0, 0, 0}, 100, 0.5 + 0.3},
    {46, "", {90, -45, 30, -20, 10, 5}, 50, 1.0 + 0.3},
    {46, "", {0, 0, 0, 0, 0, 24}, 100, 2 * std::sqrt(24 / 600.0)},
    {36, "set_joint_max_speed joint_max_speed [2,10000] -> ok", {90, 20, 0, 0, 0, 0}, 100, 2 + 45 / 600.0},
    {47, "set_joint_max_acc joint_max_acc [7,100000] -> ok", {0, 0, 0, 0, 0, 0, 350}, 100, 350 / 180.0 + 1.8},
};

TEST(Joints, MoveTogetherWithinTheirLimitsAndTakeNoLongerThanNeeded)
{
    for (const MoveRow& row : move_rows) {
        Robot robot(row.model, Joints(row.target.size()));
        robot.play(row.setting);
        robot.move(row.target, row.percent);
        robot.share = row.percent / 100.0;
        const double began = robot.time;
        EXPECT_TRUE(robot.finished(20, [&](const Frame&) {
            for (std::size_t i = 0; i < row.target.size(); ++i)
                EXPECT_NEAR(robot.joints()[i] * row.target[0], robot.joints()[0] * row.target[i], 1e-6);
        }));
        EXPECT_NEAR(robot.time - began, row.duration, 1e-3);
        EXPECT_EQ(robot.joints(), row.target);
    }
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
    {"close by one", 46, {20, -30, -60, 30, -4, -30}, {0.02, 0.01, 0}, {0.02, 0.15, 0.01}, 100, 0},
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
        double beside = 0, askew = 0, fastest = 0;
        std::optional<Frame> before;
        const double began = robot.time;
        EXPECT_TRUE(robot.finished(30, [&](const Frame& now) {
            const double part = way > 0.01 ? dot(now.p - from.p, to.p - from.p) / (way * way)
                                           : angle_between(from.M, now.M) / turn;
            beside = std::max(beside, (now.p - from.p - part * (to.p - from.p)).Norm());
            askew = std::max(askew, angle_between(from.M, now.M) + angle_between(now.M, to.M) - turn);
            if (before) fastest = std::max(fastest, (now.p - before->p).Norm() / 1e-3);
            before = now;
        }));
        EXPECT_LT(beside, 2e-5);
        EXPECT_LT(askew, 1e-3);
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
        double angle = 0, off = 0;
        const double began = robot.time;
        EXPECT_TRUE(robot.finished(30, [&](const Frame& now) {
            const Vector spoke = now.p - centre;
            const double x = dot(spoke, row.out), y = dot(spoke, row.along);
            angle += std::remainder(std::atan2(y, x) - angle, 2 * pi);
            off = std::max(off, std::hypot(std::hypot(x, y) - row.radius, dot(spoke, row.out * row.along)));
        }));
        const double whole = row.to + 2 * pi * row.loop, speed = std::min(0.25, std::sqrt(row.radius));
        EXPECT_NEAR(angle, whole, 1e-3);
        EXPECT_LT(off, 3e-5);
        const double least = row.radius * whole / speed + speed, took = robot.time - began;
        EXPECT_GT(took, least - 0.005);
        EXPECT_LT(took, 1.2 * least);
        EXPECT_LT(angle_between(robot.tool().M, to.M), 1e-3);
    }
}

// Motions with a radius: the tool leaves for the next one within the radius, and nowhere else.
struct Leg {
    Vector way;         // of a line, m from where the tool is at the start, if there are
    Joints joints = {}; // no joints, degrees from there
};

Json motion(const Robot& robot, const Leg& leg, double radius)
{
    const Frame from = robot.tool(ready(46));
    Json request = {{"command", "movel"}, {"v", 100}, {"r", std::lround(radius * 1e3)}};
    if (leg.joints.empty()) {
        request["pose"] = array_of(Frame(from.M, from.p + leg.way));
    } else {
        request["command"] = "movej";
        for (std::size_t i = 0; i < leg.joints.size(); ++i)
            request["joint"].push_back((leg.joints[i] + ready(46)[i]) * 1000);
    }
    return request;
}

/** The places where two motions meet and end. */
struct Route {
    const char* what;
    Leg first, next;
    double radius, rounded; ///< m: asked for, and had
    bool is_flat = false;   ///< lines, on one height
};

const Route routes[] = {
    {"a right angle", {{0, 0.2, 0}}, {{-0.1, 0.2, 0}}, 0.04, 0.04, true},
    {"an acute one", {{0, 0.2, 0}}, {{-0.05, 0, 0}}, 0.02, 0.02, true},
    {"straight on", {{0, 0.1, 0}}, {{0, 0.2, 0}}, 0.03, 0.03, true},
    {"more than half of the shorter one", {{0, 0.2, 0}}, {{-0.06, 0.2, 0}}, 0.5, 0.03, true},
    {"joints", {{}, {60, 0, 0, 0, 0, 0}}, {{}, {60, 30, -20, 0, 0, 40}}, 0.05, 0.05},
    {"joints that turn the tool only", {{}, {0, 0, 0, 0, 0, 90}}, {{}, {50, 0, 0, 0, 0, 90}}, 0.05, 0.05},
    {"joints, then a line", {{}, {20, 0, 0, 0, 0, 0}}, {{0, 0.15, -0.05}}, 0.02, 0.02},
};

/** The arm on a route, and how it went. */
struct Ride : Robot {
    Ride(const Route& route, double radius) : Robot(46, ready(46)), is_flat(route.is_flat)
    {
        send(motion(*this, route.first, radius));
        corner = tool(controller.arm().motions().end());
        send(motion(*this, route.next, 0));
        target = tool(controller.arm().motions().end());
    }

    /** And has kept the height of its lines. */
    bool has_arrived()
    {
        return (tool().p - target.p).Norm() < 1e-5 && (!is_flat || highest - lowest < 3e-5);
    }

    void go_on(double seconds)
    {
        run_until(2, seconds, [this](const Frame& tool) {
            const double away = (tool.p - corner.p).Norm();
            nearest = std::min(nearest, away);
            lowest = std::min(lowest, tool.p.z()), highest = std::max(highest, tool.p.z());
            if (came.size() == 1 && first_ended_at > 8) first_ended_at = away;
        });
    }

    bool is_flat;
    Frame corner, target;
    double nearest = 9, first_ended_at = 9, lowest = 9, highest = -9;
};

TEST(Corner, IsRoundedWithinTheRadiusAndKeepsAllLimits)
{
    for (const Route& route : routes) {
        SCOPED_TRACE(route.what);
        Ride sharp(route, 0), round(route, route.radius);
        sharp.go_on(20);
        round.go_on(20);
        EXPECT_LT(sharp.nearest, 1e-5);
        EXPECT_LT(round.nearest, route.rounded);
        EXPECT_NEAR(round.first_ended_at, route.rounded, 0.0003)
            << "it has ended when the tool leaves the corner";
        EXPECT_LT(round.time, sharp.time);
        for (const Json& ending : round.came)
            EXPECT_EQ(ending.value("error", ""), "");
        EXPECT_TRUE(round.has_arrived());
    }
}

// At any moment of a route, the corner included.
TEST(Corner, CanBePausedStoppedAndDroppedAnywhere)
{
    for (const Route* route : {&routes[0], &routes[4]})
        for (double moment = 0.01;; moment += 0.03) {
            bool is_over = false;
            for (const char* request : {"pause", "stop", "drop"}) {
                SCOPED_TRACE(std::string(route->what) + ' ' + request + " at " + std::to_string(moment));
                Ride ride(*route, route->radius);
                sim::Arm& arm = ride.controller.arm();
                ride.go_on(moment);
                is_over = ride.came.size() == 2;
                const bool ended = !ride.came.empty(), pauses = *request == 'p', drops = *request == 'd';
                if (is_over) break;
                pauses ? arm.pause() : drops ? arm.drop_current("dropped") : arm.stop("stopped");
                if (pauses) {
                    ride.go_on(1.5);
                    const Joints here = ride.joints();
                    ride.go_on(0.1);
                    EXPECT_EQ(ride.joints(), here) << "it stands";
                    arm.resume();
                }
                ride.go_on(5);
                ASSERT_EQ(ride.came.size(), 2u);
                const bool arrives = pauses || (drops && !ended);
                EXPECT_EQ(ride.came[0].at("trajectory_state"), pauses || ended);
                EXPECT_EQ(ride.came[1].at("trajectory_state"), arrives);
                EXPECT_TRUE(ride.has_arrived() || !arrives);
            }
            if (is_over) break;
        }
}

TEST(Tool, GoesToAPoseInJointSpaceByTheNearestJoints)
{
    for (int model : {36, 46, 47}) {
        Robot robot(model, ready(model));
        Joints target = ready(model);
        for (double& joint : target)
            joint += 12;
        robot.send({{"command", "movej_p"}, {"pose", array_of(robot.tool(target))}, {"v", 100}, {"r", 0}});
        robot.play("get_arm_current_trajectory -> type movej");
        EXPECT_TRUE(robot.finished(10));
        EXPECT_LT((robot.tool().p - robot.tool(target).p).Norm(), 1e-5);
        EXPECT_LT(angle_between(robot.tool().M, robot.tool(target).M), 1e-3);
        for (std::size_t i = 0; i < target.size() && model != 47; ++i)
            EXPECT_NEAR(robot.joints()[i], target[i], 0.2) << "joint " << i + 1 << " of model " << model;
    }
}

// From ready, 338 mm in front of the base.
const ScenarioRow cartesian_rows[] = {
    {"IsRefusedBeforeTheArmStarts", R"(
        0    movej joint [0,-30000,-60000,0,-90000,0] v 100            -> done
             movel pose [700000,0,318203,3142,0,0] v 50                -> no reach
             movej_p pose [700000,0,318203,3142,0,0] v 50              -> no reach
             movej_p pose [225200,0,372700,3142,900,0] v 50            -> no "joint 5"
             movel pose [225200,0,372700,3142,900,0] v 50              -> no "joint 5"
             movel pose [-338000,4000,318203,3142,0,0] v 50            -> no singularity
             movel pose [1,2,3,4,5] v 50                               -> no six
             movel pose [1e300,0,0,0,0,0] v 50                         -> no reach
             movel pose [1,2,3,4,5,null] v 50                          -> no number
             movec pose {"pose_via":[338000,50000,318203,3142,0,0],"pose_to":[338000,100000,318203,3142,0,0]} v 50 loop 0  -> no "one line"
             movec pose {"pose_via":[700000,0,318203,3142,0,0],"pose_to":[338000,100000,318203,3142,0,0]} v 50 loop 0      -> no reach
             movec pose {"pose_to":[338000,50000,318203,3142,0,0]} v 50 loop 0    -> no pose_via
             movec pose {"pose_via":[338000,50000,340000,3142,0,0],"pose_to":[338000,100000,318203,3142,0,0]} v 50         -> no loop
             movec pose {"pose_via":[338000,50000,340000,3142,0,0],"pose_to":[338000,100000,318203,3142,0,0]} v 50 loop 256    -> no 255
             movec pose {"pose_via":[338000,50000,340000,3142,0,0],"pose_to":[338000,100000,318203,3142,0,0]} v 50 loop -1     -> no 255
        4    get_joint_degree                                          -> joint [0,-30000,-60000,0,-90000,0])"},
    // Between two places beside the arm the elbow bends more than at both.
    {"IsRefusedIfOnlyItsMiddleIsNotAllowed", R"(
        0    movej joint [0,-30000,-60000,0,-90000,0] v 100            -> done
             movej_p pose [338000,-100000,318203,3142,0,0] v 100       -> done
             get_joint_degree                                          -> joint [*,*,-53500~1000,*,*,*]
             set_joint_min_pos joint_min_pos [3,-54600]                -> ok
             movel pose [338000,100000,318203,3142,0,0] v 50           -> no "joint 3 would leave its limits on the way"
             set_joint_min_pos joint_min_pos [3,-135000]               -> ok
             movel pose [338000,100000,318203,3142,0,0] v 50           -> done)"},
    {"IsCheckedFromWhereTheQueueEnds", R"(
        0    movel pose [338000,100000,318203,3142,0,0] v 100          -> no
             movej joint [0,-30000,-60000,0,-90000,0] v 100            -> later
        0.1  movel pose [338000,100000,318203,3142,0,0] v 100          -> later
             movel pose [338000,-400000,318203,3142,0,0] v 100         -> later
        1    <- ok
             get_arm_current_trajectory                                -> type movel data [338000,100000,318203,3142,0,0]
        2    <- ok
             <- no reach)"},
};

INSTANTIATE_TEST_SUITE_P(Tool, Scenarios, testing::ValuesIn(cartesian_rows),
                         testing::PrintToStringParamName());

} // namespace
