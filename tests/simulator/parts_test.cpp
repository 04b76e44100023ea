// Parts of the virtual controller by themselves: cutting requests, the lines to a client that streams targets, the arm that
// follows those, and the memory of Modbus devices.
#include <algorithm>
#include <cmath>
#include <malloc.h>
#include <random>

#include <gtest/gtest.h>

#include "arm/follower.h"
#include "commands/json.h"
#include "devices/modbus.h"
#include "line/framing.h"
#include "line/outbox.h"

using namespace kx::sim;
using Strings = std::vector<std::string>;

namespace {

struct FramingRow {
    const char* name;
    std::string stream;
    Strings requests; ///< compact; "!" stands for a fault
};

const std::string printed = "{\n\t\"command\":\t\"movej\",\n\t\"joint\":\t[1, 2],\n\t\"v\":\t5\n}\r\n";
const std::string movej = R"({"command":"movej","joint":[1,2],"v":5})";

const FramingRow framing_rows[] = {
    {"printed over several lines", printed, {movej}},
    {"several at once", printed + printed, {movej, movej}},
    {"typed, one a line", "{\"a\":1}\n  {\"b\":2}\n\n", {R"({"a":1})", R"({"b":2})"}},
    {"two on one line", "{\"a\":1}{\"b\":2}\r\n", {R"({"a":1})", R"({"b":2})"}},
    {"nested", "{\"pose\":{\"via\":[{}]}}\r\n", {R"({"pose":{"via":[{}]}})"}},
    {"braces and quotes in a string", "{\"a\":\"}\\\"{\\\\\"}\n", {R"({"a":"}\"{\\"})"}},
    {"a word", "hello\n" + printed, {"!", movej}},
    {"JSON, but no object", "[1, {}]\r\n" + printed, {"!", movej}},
    {"not JSON inside matching braces", "{oops}\n" + printed, {"!", movej}},
    {"open brace, then nonsense", "{oops\n" + printed, {"!", movej}},
    {"nonsense after an object", "{\"a\":1} x {\"b\":2}\n" + printed, {R"({"a":1})", "!", movej}},
    {"ended before it is complete", "{\n\t\"a\":\t[1,\r\n" + printed, {"!", movej}},
    {"broken off, then the next one", "{\n\t\"a\":\t[1,\n" + printed, {"!", movej}},
    {"string without end", "{\n\t\"a\":\t\"}\n" + printed, {"!", movej}},
    {"object without end", "{\"a\":[" + std::string(70000, '1') + "\n" + printed, {"!", movej}},
    {"line without end", std::string(70000, 'x') + "\n" + printed, {"!", movej}},
    {"zero bytes", std::string(3, '\0') + "\n" + printed, {"!", movej}},
    {"a faulty first line is known at once", "{oops\n", {"!"}},
    {"an end that comes too early is known at once", "{\n\t\"a\":\t[1,\r\n", {"!"}},
    {"too long is known before the end", "{\"a\":[" + std::string(70000, '1'), {"!"}},
    {"one fault for all its lines", "{\n\t\"a\":\t\"x\n\t\"b\":\t[\n\t]\n}\r\n" + printed, {"!", movej}},
    {"two faulty lines", "hello\nhello\n\n" + printed, {"!", "!", movej}},
    {"still incomplete", "{\n\t\"a\":\t1", {}},
};

Strings cut(const std::string& stream, std::size_t piece)
{
    Framing framing;
    Strings out;
    for (std::size_t i = 0; i < stream.size(); i += piece)
        for (const Request& request : framing.feed(std::string_view(stream).substr(i, piece))) {
            const Json json = Json::parse(request.text, nullptr, false);
            out.push_back(request.fault.empty() && !json.is_discarded() ? json.dump() : "!");
        }
    return out;
}

TEST(Framing, CutsRequestsAndFindsItsWayBack)
{
    for (const FramingRow& row : framing_rows)
        for (std::size_t piece : {std::size_t{1}, std::size_t{7}, row.stream.size()})
            EXPECT_EQ(cut(row.stream, piece), row.requests) << row.name << ", in pieces of " << piece;
}

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
        double time = 0, last = 0, last_velocity = 0, target = 0;
        constexpr double dt = 1e-3;
        for (int i = 0; i < 300; ++i) {
            target = targets(random);
            for (Follower* each : {&follower, &coarse}) {
                if (!each->moving()) each->start(time, {last}, {limits});
                each->aim({target});
                if (stops && i % 3 == 0) each->halt();
            }
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

/** Memory in use by this process, MB. */
std::size_t in_use()
{
    const struct mallinfo2 blocks = mallinfo2();
    return (blocks.uordblks + blocks.hblkhd) >> 20;
}

// A node for every value that was ever written would take 100 times as much as the requests.
TEST(Memory, OfModbusDevicesIsThatOfTheirRegisters)
{
    const World world;
    SimulatedModbus devices(world);
    const std::size_t before = in_use();
    for (const auto function : {ModbusFunction::write_coils, ModbusFunction::write_registers})
        for (int device = 1; device <= 30; ++device)
            for (int address = 0; address < 65536; address += 1024)
                devices.transact({function, 0, device, address, std::vector<int>(1024, 1)}, 1,
                                 [](const auto&, const auto&) {});
    EXPECT_LT(in_use() - before, 60u) << "MB; the devices have 30 * (8 + 128) kB";
    devices.transact({ModbusFunction::read_coils, 0, 30, 65535, {0}}, 1,
                     [](const auto& values, const auto&) { EXPECT_EQ(values.at(0), 1); });
    devices.transact({ModbusFunction::read_coils, 1, 30, 65535, {0}}, 1,
                     [](const auto& values, const auto&) { EXPECT_EQ(values.at(0), 0); });
}

} // namespace
