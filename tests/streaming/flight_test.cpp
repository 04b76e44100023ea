// Streams on simulated time: whatever comes, the limits hold, and a stream ends in the stated way.
#include "streaming/flight.h"
#include "support/own_file.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <random>

using namespace kx::streaming;

namespace {

constexpr float start_of_six[] = {0, -20, -60, 0, -80, 0};
constexpr float start_of_seven[] = {0, -20, 0, -60, 0, -80, 0};

// A stream, an arm that does at once what it is told, and somebody who looks whether the limits hold.
class Simulated {
  public:
    explicit Simulated(int model = 46, KX_STREAM_OPTIONS wanted = defaults()) : options(wanted)
    {
        Arm_Model_Init(&arm, model, 0);
        std::copy_n(arm.joints == 7 ? start_of_seven : start_of_six, arm.joints, at);
        begin();
    }

    static KX_STREAM_OPTIONS defaults()
    {
        KX_STREAM_OPTIONS options;
        KX_Stream_Defaults(&options);
        return options;
    }

    static KX_STREAM_OPTIONS of_tool(float velocity, float acceleration, float jerk)
    {
        KX_STREAM_OPTIONS options = defaults();
        options.tool_velocity = velocity, options.tool_acceleration = acceleration, options.tool_jerk = jerk;
        return options;
    }

    void begin()
    {
        flight = std::make_unique<Flight>(options, arm, at, ring.data(), int(ring.size()));
        for (auto& past : passed)
            for (int i = 0; i < arm.joints; ++i)
                past[i] = double(at[i]);
        trail = std::make_unique<ToolPath::Trail>(tool().standing(passed[0]));
    }

    ToolPath tool() const { return tool_path_of(options, arm); }

    // One cycle. False when the stream has ended.
    bool step(double elapsed = 0)
    {
        time += elapsed > 0 ? elapsed : flight->cycle();
        if (!flight->has_begun()) return true;
        if (!flight->advance(time)) return false;
        flight->sent(time, false);
        look();
        if (answers) flight->told(time, is_refused, error, passed[0]);
        return true;
    }

    void run(double seconds)
    {
        for (const double end = time + seconds; time < end && step();) {
        }
    }
    POSE pose() const
    {
        const auto& [p, q, e] = Arm_Model_Pose(&arm, at);
        return {p.x, p.y, p.z, e.rx, e.ry, e.rz};
    }

    double position(int joint) const { return passed[0][joint]; }
    double speed(int joint) const { return (passed[0][joint] - passed[1][joint]) / flight->cycle(); }

    KX_STREAM_OPTIONS options;
    ARM_MODEL arm;
    float at[7] = {};
    double time = 100;
    bool answers = true, is_refused = false;
    int error = 0;
    std::unique_ptr<Flight> flight;
    std::vector<Knot> ring = std::vector<Knot>(256);
    double passed[4][7] = {};
    double most[3] = {}; // as shares of the limits

  private:
    void look()
    {
        std::copy_n(&passed[0][0], 21, &passed[1][0]);
        const double h = flight->cycle();
        for (int i = 0; i < arm.joints; ++i) {
            const double p = passed[0][i] = flight->set_point().joint[i].position;
            at[i] = float(p);
            const double a = passed[1][i], b = passed[2][i], c = passed[3][i];
            most[0] = std::max(most[0], std::abs(p - a) / h / options.velocity[i]);
            most[1] = std::max(most[1], std::abs(p - 2 * a + b) / (h * h) / options.acceleration[i]);
            most[2] = std::max(most[2], std::abs(p - 3 * a + 3 * b - c) / (h * h * h) / options.jerk[i]);
            ASSERT_TRUE(p > double(arm.lower[i]) - 1e-6 && p < double(arm.upper[i]) + 1e-6) << "joint " << i;
        }
        ASSERT_LE(most[0], 1 + 1e-6) << "velocity";
        ASSERT_LE(most[1], 1 + 1e-6) << "acceleration";
        ASSERT_LE(most[2], 1 + 1e-4) << "jerk"; // third differences of degrees in double precision
        ASSERT_TRUE(tool().extend(*trail, passed[0])) << "the tool";
    }

    std::unique_ptr<ToolPath::Trail> trail;
};

std::mt19937 chance(1);

double between(double least, double most)
{
    return std::uniform_real_distribution(least, most)(chance);
}

// A target that is far or near, sensible or not.
void give_anything(Simulated& sim)
{
    Flight& flight = *sim.flight;
    const double scale = std::pow(10, between(-3, 2));
    const double times[] = {
        0, sim.time, sim.time + between(-1, 1), sim.time - 1e9, sim.time + std::pow(10, between(-3, 1)), NAN};
    const double time = times[std::min<size_t>(chance() % 30, 5)];
    if (chance() % 8 == 0) {
        POSE pose = {float(between(-0.6, 0.6)), float(between(-0.6, 0.6)), float(between(0, 0.8)),
                     float(between(-3, 3)),     float(between(-3, 3)),     float(between(-3, 3))};
        if (chance() % 50) {
            pose = sim.pose();
            pose.x += float(between(-1, 1) * scale * 1e-3);
            pose.rz += float(between(-1, 1) * scale * 1e-2);
        }
        flight.pass(pose, time, sim.time);
        return;
    }
    float joint[7];
    for (int i = 0; i < sim.arm.joints; ++i) {
        joint[i] = sim.at[i] + float(scale * between(-1, 1));
        if (chance() % 5000) joint[i] = std::clamp(joint[i], sim.arm.lower[i], sim.arm.upper[i]);
        if (chance() % 2000 == 0) joint[i] = chance() % 2 ? NAN : INFINITY;
    }
    flight.pass(joint, time, sim.time);
    if (chance() % 10 == 0) flight.pass(joint, time, sim.time);
    if (chance() % 100 == 0) flight.set_speed(chance() % 2 ? 1 : between(0, 1.5), sim.time);
    if (chance() % 100 == 0) flight.pause(chance() % 4 == 0, sim.time);
}

struct Whatever {
    int model;
    float tool_velocity, tool_acceleration, tool_jerk;
    int share; // of the targets
};

// KX_TARGETS=1000000 for all.
TEST(Stream, WhateverComesTheLimitsHold)
{
    const char* many = getenv("KX_TARGETS");
    const long targets = many ? atoi(many) : 100000;
    for (const Whatever& w : {Whatever{36, 0, 0, 0, 3},
                              {46, 0, 0, 0, 3},
                              {47, 0, 0, 0, 3},
                              {46, 0.25f, 2, 20, 30},
                              {47, 0, 3, 0, 30}}) {
        Simulated sim(w.model, Simulated::of_tool(w.tool_velocity, w.tool_acceleration, w.tool_jerk));
        int ends = 0;
        for (long given = 0; given < targets / w.share; ++given) {
            give_anything(sim);
            for (unsigned cycles = chance() % (chance() % 4 ? 3 : 60); cycles > 0; --cycles)
                if (!sim.step(chance() % 500 ? 0 : between(0.005, 0.05))) {
                    ++ends;
                    EXPECT_LT(std::abs(sim.speed(0)), 0.11) << "it ends at rest, come to in this cycle";
                    sim.begin();
                }
            if (testing::Test::HasFatalFailure()) FAIL() << "model " << w.model << ", target " << given;
        }
        EXPECT_GT(ends, 0);
        EXPECT_GT(sim.most[2], 0.9) << "nothing was put to the test";
    }
}

// Targets on a circle through the joints, 30 a second, some of them late by up to what is looked ahead; where it
// leads.
struct Circle {
    double noise = 0, latest = 0, next = 100;
    std::vector<std::pair<double, double>> on_the_way = {}; // arrival, time

    static double place(double time, int joint)
    {
        return double(start_of_six[joint]) + 10 * (std::cos(time - 100 + joint) - std::cos(joint));
    }

    void give(Simulated& sim)
    {
        for (; next <= sim.time; next += 1 / 30.0)
            on_the_way.emplace_back(next + between(0, latest), next);
        for (; !on_the_way.empty() && on_the_way.front().first <= sim.time;
             on_the_way.erase(on_the_way.begin())) {
            const double time = on_the_way.front().second;
            float joint[6];
            for (int i = 0; i < 6; ++i)
                joint[i] = float(place(time, i) + between(-noise, noise));
            EXPECT_EQ(sim.flight->pass(joint, time, sim.time), KX_SUCCESS);
        }
    }
};

// The largest distance from the circle at the time at which it is due.
double distance_from(const Simulated& sim, double late)
{
    double distance = 0;
    for (int i = 0; i < 6; ++i)
        distance = std::max(distance, std::abs(sim.position(i) - Circle::place(sim.time - late, i)));
    return distance;
}

TEST(Stream, FollowsThirtyTargetsASecondSmoothly)
{
    struct Row {
        double noise, latest, distance, jerk; // degrees, s; at most degrees, share of the limit
        double hiccup = 0;                    // s, which is caught up without a jump: that would break limits
    };
    for (const Row& row :
         {Row{0, 0, 0.01, 0.2}, {0, 0.03, 0.02, 0.3}, {0.02, 0.03, 0.03, 0.8}, {0, 0, 0.01, 0.2, 0.06}}) {
        const int settled = row.hiccup > 0 ? 1400 : 400;
        Simulated sim;
        Circle circle = {row.noise, row.latest};
        double distance = 0;
        for (int i = 0; i < 2000; ++i) {
            circle.give(sim);
            ASSERT_TRUE(sim.step(i == 900 ? row.hiccup : 0));
            if (i == settled) std::fill_n(sim.most, 3, 0.0);
            if (i > settled) distance = std::max(distance, distance_from(sim, sim.options.look_ahead));
        }
        EXPECT_LT(distance, row.distance) << row.noise << ", " << row.latest;
        EXPECT_LT(sim.most[2], row.jerk) << row.noise << ", " << row.latest;
    }
}

TEST(Stream, TheDialKeepsToThePath)
{
    Simulated sim;
    Circle circle;
    double paused = 0;
    for (int i = 0; i < 2400; ++i) {
        circle.give(sim);
        if (i == 600) sim.flight->pause(true, sim.time);
        EXPECT_TRUE(i != 1000 || sim.speed(0) == 0);
        if (i == 1000) sim.flight->pause(false, sim.time);
        if (i == 1400) sim.flight->set_speed(0.5, sim.time);
        if (i == 1800) sim.flight->set_speed(1.5, sim.time);
        ASSERT_TRUE(sim.step());
        if (i < 400) continue;
        // How late the arm passes the place of the path to which it is nearest, and how far from it.
        double nearest = 1e9;
        for (double late = 0; late < 4; late += 0.005)
            if (const double distance = distance_from(sim, late); distance < nearest)
                nearest = distance, paused = late;
        ASSERT_LT(nearest, 0.1) << "cycle " << i;
    }
    EXPECT_NEAR(paused, sim.options.look_ahead + 2 + 1 - 1.5,
                0.3); // a pause of 2 s, 2 s at half, 3 s at 1.5 times the speed
}

// A way that asks for all that the limits allow leaves nothing for turning the dial, so the arm may leave it a little;
// but it never comes back on it.
TEST(Stream, TheDialNearlyKeepsToTheFastestWay)
{
    for (int i = 0; i < 40; ++i) {
        float there[6];
        for (int j = 0; j < 6; ++j)
            there[j] = start_of_six[j] + float(between(-60, 60));
        Simulated undisturbed, sim;
        if (undisturbed.flight->pass(there, 0, undisturbed.time)) continue; // out of reach
        undisturbed.flight->finish();
        std::vector<std::array<double, 6>> path;
        do {
            path.emplace_back();
            std::copy_n(undisturbed.passed[0], 6, path.back().begin());
        } while (undisturbed.step());

        sim.flight->pass(there, 0, sim.time);
        sim.flight->finish();
        const double turn = sim.time + between(0, 1) * double(path.size()) * sim.flight->cycle();
        size_t furthest = 0;
        do {
            if (sim.time > turn) sim.flight->set_speed(sim.time < turn + 2 ? 0.25 * (i % 3) : 1, sim.time);
            std::vector<double> distances;
            for (const auto& place : path)
                distances.push_back(std::transform_reduce(
                    place.begin(), place.end(), sim.passed[0], 0.0, [](double a, double b) { return a + b; },
                    [](double a, double b) { return (a - b) * (a - b); }));
            const auto nearest =
                size_t(std::min_element(distances.begin(), distances.end()) - distances.begin());
            furthest = std::max(furthest, nearest);
            ASSERT_LT(std::sqrt(distances[furthest]), 4) << "way " << i;
        } while (sim.step());
        EXPECT_EQ(sim.flight->reason(), KX_STREAM_ARRIVED);
    }
}

TEST(Stream, AsSoonAsPossibleIsTheFastestWay)
{
    const float there[] = {40, -20, -50, 10, -80, 5};
    const double least = fastest({0, 0, 0}, 40, {90, 400, 4000}).duration();
    for (const auto& [speed, least_time, most_time] :
         {std::tuple{1.0, least - 0.006, least + 0.006}, {0.5, 1.5 * least, 1e9}, {1.5, 0.0, 1.2 * least}}) {
        Simulated sim; // beyond 1 the limits allow no more
        sim.flight->set_speed(speed, sim.time);
        sim.flight->pass(there, 0, sim.time);
        EXPECT_EQ(sim.flight->finish(), KX_SUCCESS);
        const double begin = sim.time;
        while (std::abs(sim.position(0) - 40) > 1e-9)
            ASSERT_TRUE(sim.step());
        EXPECT_GE(sim.time - begin, least_time) << speed;
        EXPECT_LE(sim.time - begin, most_time) << speed;
        for (int i = 1; i < 6; ++i)
            EXPECT_NEAR(sim.position(i), double(there[i]), 1e-3) << "all arrive together";
        sim.run(1);
        EXPECT_EQ(sim.flight->reason(), KX_STREAM_ARRIVED) << speed;
    }
}

// Each in the middle of a motion.
TEST(Stream, EndsInTheStatedWay)
{
    struct Row {
        KX_STREAM_END reason;
        bool brakes; // with set-points
        std::function<void(Simulated&)> cause;
    };
    const Row rows[] = {
        {KX_STREAM_STOPPED, true, [](Simulated& sim) { sim.flight->end(KX_STREAM_STOPPED); }},
        {KX_STREAM_STALLED, true,
         [](Simulated& sim) {
             const double last = sim.time;
             while (sim.flight->reason() == KX_STREAM_RUNS)
                 sim.step();
             // The last target came up to a thirtieth earlier.
             EXPECT_LT(sim.time - last, sim.options.watchdog + 0.0101);
             EXPECT_GT(sim.time - last, sim.options.watchdog - 0.034);
         }},
        {KX_STREAM_JOINT_LIMIT, true,
         [](Simulated& sim) {
             const float beyond[] = {0, 0, 0, 0, 200, 0};
             EXPECT_EQ(sim.flight->pass(beyond, sim.time, sim.time), KX_ENDED);
         }},
        {KX_STREAM_UNREACHABLE, true,
         [](Simulated& sim) {
             EXPECT_EQ(sim.flight->pass({2, 0, 0, 0, 0, 0}, sim.time, sim.time), KX_ENDED);
         }},
        {KX_STREAM_LEFT_BEHIND, true,
         [](Simulated& sim) {
             sim.answers = false;
             double stuck[7];
             std::copy_n(sim.passed[0], 7, stuck);
             stuck[2] += 21;
             sim.flight->told(sim.time, false, 0, stuck);
             sim.step();
         }},
        {KX_STREAM_SILENT, true,
         [](Simulated& sim) {
             sim.answers = false;
             for (Circle circle = {0, 0, sim.time}; sim.flight->reason() == KX_STREAM_RUNS; sim.step())
                 circle.give(sim);
         }},
        {KX_STREAM_REFUSED, false, [](Simulated& sim) { sim.is_refused = true, sim.step(); }},
        {KX_STREAM_ARM_ERROR, false, [](Simulated& sim) { sim.error = 4096, sim.step(); }},
        {KX_STREAM_LOST, false, [](Simulated& sim) { sim.flight->end(KX_STREAM_LOST); }},
        {KX_STREAM_HICCUP, false, [](Simulated& sim) { EXPECT_FALSE(sim.step(0.2)); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(KX_Stream_Words(row.reason));
        Simulated sim;
        Circle circle;
        for (int i = 0; i < 400; ++i) {
            circle.give(sim);
            ASSERT_TRUE(sim.step());
        }
        ASSERT_GT(std::abs(sim.speed(1)), 1);
        row.cause(sim);
        EXPECT_EQ(sim.flight->reason(), row.reason);
        int more = 0;
        while (sim.step() && more < 1000)
            ++more;
        EXPECT_EQ(more > 0, row.brakes);
        EXPECT_LT(more, 300);
        EXPECT_TRUE(!row.brakes || sim.speed(1) == 0);
        EXPECT_EQ(sim.flight->pass(sim.at, 0, sim.time), KX_ENDED);
    }
}

// No watchdog, any silence, any distance; but a hiccup, right behind the first set-point, ends it.
TEST(Stream, WhatIsZeroNeverEndsIt)
{
    KX_STREAM_OPTIONS options = Simulated::defaults();
    options.watchdog = options.silence = 0;
    options.following_error = 0;
    Simulated sim(46, options);
    ASSERT_EQ(sim.flight->pass(sim.at, 0, sim.time), KX_SUCCESS);
    sim.answers = false;
    EXPECT_TRUE(sim.step());
    const double elsewhere[7] = {90};
    sim.flight->told(sim.time, false, 0, elsewhere);
    sim.run(3);
    EXPECT_EQ(sim.flight->reason(), KX_STREAM_RUNS);

    sim.begin();
    sim.flight->pass(sim.at, 0, sim.time);
    EXPECT_TRUE(sim.step());
    EXPECT_FALSE(sim.step(0.2));
    EXPECT_EQ(sim.flight->reason(), KX_STREAM_HICCUP);
}

// An arm that is where the set-points were eight cycles ago, to and fro.
TEST(Stream, TellsTheLag)
{
    constexpr int late = 8;
    Simulated sim;
    sim.answers = false;
    Circle circle;
    std::vector<std::vector<double>> way;
    for (int i = 0; i < 2000; ++i) {
        circle.give(sim);
        ASSERT_TRUE(sim.step());
        way.emplace_back(sim.passed[0], sim.passed[0] + 7);
        double measured[7];
        std::ranges::copy(way[way.size() > late ? way.size() - 1 - late : 0], measured);
        sim.flight->told(sim.time, false, 0, measured);
    }
    KX_STREAM_COUNTERS counters = {};
    sim.flight->fill(counters);
    const double lag = 1000 * late * sim.flight->cycle();
    EXPECT_NEAR(counters.lag_median, lag, 0.05 * lag);
    EXPECT_NEAR(counters.lag_p99, lag, 0.05 * lag);
    EXPECT_EQ(counters.cycles, 2000u);
    EXPECT_EQ(counters.pushes, 2000u);
}

TEST(Stream, PosesKeepThePosture)
{
    for (const int model : {36, 46, 47}) {
        Simulated sim(model);
        POSE pose = sim.pose();
        const float& elbow = sim.at[sim.arm.joints == 7 ? 3 : 2];
        const float bent = elbow;
        for (int i = 0; i < 40; ++i) {
            pose.z += 0.001f;
            pose.y -= 0.002f;
            ASSERT_EQ(sim.flight->pass(pose, sim.time, sim.time), KX_SUCCESS) << model << ", " << i;
            sim.run(0.033);
        }
        sim.flight->finish();
        sim.run(1);
        EXPECT_NEAR(sim.pose().y, pose.y, 1e-4) << model;
        EXPECT_NEAR(sim.pose().z, pose.z, 1e-4) << model;
        EXPECT_GT(bent * elbow, 0) << model;
    }
}

// Braking may be gentler for the tool's sake, but the stream does not go on to its target.
TEST(Stream, ItStopsWithinTheLimitsOfTheTool)
{
    Simulated sim(46, Simulated::of_tool(0.25f, 1, 10));
    const float far[] = {120, 10, -60, 0, -80, 0};
    sim.flight->pass(far, 0, sim.time);
    sim.flight->finish();
    sim.run(1);
    const double where = sim.position(0), speed = sim.speed(0);
    EXPECT_GT(speed, 10);
    sim.flight->end(KX_STREAM_STOPPED);
    sim.run(5);
    EXPECT_TRUE(sim.flight->has_ended());
    EXPECT_LT(sim.position(0) - where, speed * 0.6)
        << "a quarter of a second to the tool's acceleration, and the jerk's share";
}

// Poses that the arm reaches, but with its elbow bent the other way only.
TEST(Stream, APoseInAnotherPostureEndsIt)
{
    int found = 0;
    for (int i = 0; i < 2000; ++i) {
        Simulated sim;
        Arm_Model_Limit(&sim.arm, 1, -90, 90);
        Arm_Model_Limit(&sim.arm, 2, -50, 50);
        sim.begin();
        float solutions[8][7];
        for (int j = 0; j < 6; ++j)
            sim.at[j] = float(between(double(sim.arm.lower[j]), double(sim.arm.upper[j])));
        sim.at[2] = std::abs(sim.at[2]);
        const POSE pose = sim.pose();
        const KinPose there = Arm_Model_Pose(&sim.arm, sim.at);
        const int count = Arm_Model_Solutions(&sim.arm, &there, solutions);
        if (!std::all_of(solutions, solutions + count, [](const float* solution) { return solution[2] > 1; }))
            continue;
        ++found;
        EXPECT_EQ(sim.flight->pass(pose, 0, sim.time), KX_ENDED);
        EXPECT_EQ(sim.flight->reason(), KX_STREAM_POSTURE) << i;
    }
    EXPECT_GT(found, 20);
}

TEST(Stream, TrajectoriesAreCheckedBeforehand)
{
    struct Row {
        const char* text;
        KX_TRAJECTORY_VIOLATION violation;
        int line, joint;
    };
    const Row rows[] = {
        {"time,j1,j2,j3,j4,j5,j6\n# of the morning\n0,0,0,0,0,0,0\n\n0.1, 1, 0, 0, 0, 0, -1.5e0\n",
         KX_TRAJECTORY_FINE, 0, 0},
        {"", KX_TRAJECTORY_UNREADABLE, 0, 0},
        {"0,0,0,0,0,0,0\n0.1,0,0,0,0,0\n", KX_TRAJECTORY_NO_ROW, 2, 0},
        {"0,0,0,0,0,0,0,0\n", KX_TRAJECTORY_NO_ROW, 1, 0},
        {"0,0,0,0,nan,0,0\n", KX_TRAJECTORY_NO_ROW, 1, 0},
        {"# a comment\n1,0,0,0,0,0,0\n1,0,0,0,0,0,0\n", KX_TRAJECTORY_TIME, 3, 0},
        {"0,0,0,0,0,0,0\n9,0,0,0,0,129,0\n", KX_TRAJECTORY_JOINT_LIMIT, 2, 5},
        {"0,0,0,0,0,0,0\n1,0,0,91,0,0,0\n", KX_TRAJECTORY_VELOCITY, 2, 3},
        {"0,0,0,0,0,0,0\n0.1,0,0,0,0,0,0\n0.2,0,5,0,0,0,0\n", KX_TRAJECTORY_ACCELERATION, 3, 2},
        {"0,0,0,0,0,0,0\n1,0,60,0,0,0,0\n", KX_TRAJECTORY_TOOL_VELOCITY, 2, 0},
    };
    KX_STREAM_OPTIONS options = Simulated::defaults();
    options.tool_velocity = 0.5f;
    const OwnFile file("trajectory.csv");
    for (const Row& row : rows) {
        file.write(row.text);
        KX_TRAJECTORY_FAULT fault;
        const bool is_fine = row.violation == KX_TRAJECTORY_FINE;
        EXPECT_EQ(KX_Stream_Check(file.path.c_str(), 46, &options, &fault), is_fine ? KX_SUCCESS : KX_REFUSED)
            << row.text;
        EXPECT_TRUE(fault.violation == row.violation && fault.line == row.line && fault.joint == row.joint)
            << row.text;
    }
    EXPECT_EQ(KX_Stream_Check("/nowhere/at/all", 46, &options, nullptr), KX_REFUSED);
}

} // namespace
