// Parts of the virtual controller that answer streams of targets: the lines to a client, and the follower.
#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "arm/follower.h"
#include "line/outbox.h"

using namespace kx::sim;

namespace {

/** The library's receiver: registrations, and lines that it finds when it polls. */
struct Client {
    int registrations = 0;
    int lines = 0;

    void poll()
    {
        ASSERT_LE(lines, 2) << "would not fit into its buffer";
        if (lines > 0) registrations /= 2; // every other one is called back, however many lines there are
        lines = 0;
    }
};

TEST(Outbox, AnswersEveryTargetOfAStreamEvenIfTheClientIsLateAtTimes)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
        const int stream = 20 + below(1000), period = 1 + below(30);
        Outbox outbox;
        Client client;
        int next_poll = 0, next_line = 0, most = 0;
        std::vector<int> on_the_way; // targets: when they come in
        for (int t = 0; t < stream + 1000; ++t) {
            if (t < stream && t % period == 0) {
                ++client.registrations;
                on_the_way.push_back(t + below(4));
            }
            for (int& arrival : on_the_way)
                if (arrival == t) outbox.push("joint_state", "line\n");
            if (t >= next_line && !outbox.empty()) {
                client.lines += outbox.take().has_value();
                next_line = t + 30;
            }
            if (t >= next_poll) {
                client.poll();
                next_poll = t + 5 + (below(10) == 0 ? below(54) : 0);
            }
            most = std::max(most, client.registrations);
        }
        EXPECT_EQ(client.registrations, 0) << "seed " << seed;
        EXPECT_LT(most, 300) << "what the client can hold";
        EXPECT_TRUE(outbox.empty()) << "and then it is silent";
    }
}

TEST(Outbox, LetsRepliesAndPushesTakeTurns)
{
    Outbox outbox;
    for (const char* reply : {"r1", "r2"})
        outbox.reply(reply);
    for (const char* push : {"p1", "p2", "p3"})
        outbox.push("joint_state", push);
    outbox.push("pose_state", "q");
    std::string all;
    while (!outbox.empty())
        all += outbox.take().value_or(".") + ' ';
    EXPECT_EQ(all, "p3 r1 . q r2 . p3 ") << "a push keeps away from what was before it";
}

TEST(Follower, ReachesEveryTargetWithinTheLimits)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> targets(-30, 30), intervals(0.002, 1);
    const Follower::Limits limits = {50, 200};
    for (bool stops : {false, true}) {
        Follower follower, coarse;
        double time = 0, last = 0, last_velocity = 0;
        follower.start(0, {0}, {limits});
        coarse.start(0, {0}, {limits});
        constexpr double dt = 1e-3;
        double target = 0;
        for (int i = 0; i < 300; ++i) {
            if (!follower.moving()) {
                follower.start(time, follower.position(), {limits});
                coarse.start(time, coarse.position(), {limits});
            }
            target = targets(random);
            follower.aim({target});
            coarse.aim({target});
            if (stops && i % 3 == 0) follower.halt(), coarse.halt();
            for (const double until = time + intervals(random) + (i == 299 ? 10 : 0); time < until;) {
                follower.advance(time += dt);
                const double position = follower.position()[0], velocity = (position - last) / dt;
                EXPECT_LE(std::abs(velocity), limits.speed + 1e-6);
                EXPECT_LE(std::abs(velocity - last_velocity) / dt, limits.acceleration + 1e-4);
                EXPECT_LE(std::abs(position), 30 + 1e-9) << "between targets in the range";
                last = position;
                last_velocity = velocity;
            }
            coarse.advance(time);
            EXPECT_NEAR(coarse.position()[0], follower.position()[0], 1e-6);
        }
        EXPECT_FALSE(follower.moving());
        EXPECT_EQ(follower.position()[0], target);
    }
}

} // namespace
