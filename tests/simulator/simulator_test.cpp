// The virtual controller: how it cuts requests, how its arm moves, what it answers and refuses, and its
// server.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cmath>

#include <gtest/gtest.h>

#include "commands/json.h"
#include "commands/virtual_controller.h"
#include "kx/connection.h"
#include "line/framing.h"
#include "support/controller.h"
#include "support/listener.h"

using namespace kx::sim;
using Strings = std::vector<std::string>;

namespace {

// --- framing
// -------------------------------------------------------------------------------------------------------

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

// --- the controller without its network
// ----------------------------------------------------------------------------

/** One controller and one client, whose clock stands still unless the test moves it. */
struct Bench {
    explicit Bench(int model = 46) : controller(model, [](const std::string&) {}) {}

    void send(const std::string& request)
    {
        controller.handle(request, time, listener([this](const std::string& line) {
                              EXPECT_LT(line.size(), kx::sim::Controller::reply_buffer);
                              EXPECT_EQ(line.find('\n'), line.size() - 1);
                              lines.push_back(line);
                          }));
    }

    /** The only reply to a request. */
    Json ask(const std::string& request)
    {
        send(request);
        const Strings got = take();
        EXPECT_EQ(got.size(), 1u) << request;
        return got.empty() ? Json() : Json::parse(got.front());
    }

    Json value(const std::string& command, const std::string& key)
    {
        return ask("{\"command\":\"" + command + "\"}").at(key);
    }

    void run(double seconds) { controller.advance(time += seconds); }

    Strings take() { return std::exchange(lines, {}); }

    const Joints& position() { return controller.arm().position(); }

    kx::sim::Controller controller;
    double time = 0;
    Strings lines;
};

const std::string arrived = "{\"command\":\"current_trajectory_state\",\"trajectory_state\":true}\n";
const std::string far_move = R"({"command":"movej","joint":[90000,0,0,0,0,0],"v":100,"r":0})"; // takes 0.8 s
const std::string move_back = R"({"command":"movej","joint":[0,0,0,0,0,0],"v":100,"r":0})";

bool is_failed_motion(const std::string& line)
{
    const Json reply = Json::parse(line);
    return reply.at("command") == "current_trajectory_state" && reply.at("trajectory_state") == false;
}

struct MoveRow {
    int model;
    Strings settings;
    Joints target;
    int percent;
    double duration; ///< 1/speed + speed/acceleration along the path, or 2/sqrt(acceleration) if it is short
};

const MoveRow move_rows[] = {
    {46, {}, {90, 0, 0, 0, 0, 0}, 100, 0.5 + 0.3},
    {46, {}, {90, -45, 30, -20, 10, 5}, 50, 1.0 + 0.3},
    {46, {}, {0, 0, 0, 0, 0, 24}, 100, 2 * std::sqrt(24 / 600.0)},
    {36,
     {R"({"command":"set_joint_max_speed","joint_max_speed":[2,10000]})"},
     {90, 20, 0, 0, 0, 0},
     100,
     2 + 45 / 600.0},
    {47,
     {R"({"command":"set_joint_max_acc","joint_max_acc":[7,100000]})"},
     {0, 0, 0, 0, 0, 0, 400 - 50},
     100,
     350 / 180.0 + 180 / 100.0},
};

TEST(Motion, KeepsEveryJointWithinItsLimitsAndTakesNoLongerThanNeeded)
{
    for (const MoveRow& row : move_rows) {
        Bench bench(row.model);
        for (const std::string& setting : row.settings)
            bench.send(setting);
        const Joints start = bench.position();
        Json request = {{"command", "movej"}, {"joint", Json::array()}, {"v", row.percent}, {"r", 0}};
        for (double angle : row.target)
            request["joint"].push_back(std::lround(angle * 1000));
        bench.take();
        bench.send(request.dump());

        constexpr double dt = 1e-3;
        Joints last = start, last_velocity(start.size());
        while (bench.lines.empty() && bench.time < 20) {
            bench.run(dt);
            for (std::size_t i = 0; i < last.size(); ++i) {
                const Drive& drive = bench.controller.arm().drives.each()[i];
                const double velocity = (bench.position()[i] - last[i]) / dt;
                EXPECT_LE(std::abs(velocity), drive.max_speed * row.percent / 100 + 1e-6);
                EXPECT_LE(std::abs(velocity - last_velocity[i]) / dt,
                          drive.max_acceleration * row.percent / 100 + 1e-6);
                EXPECT_NEAR(bench.position()[i] * row.target[0], bench.position()[0] * row.target[i], 1e-6)
                    << "path";
                last_velocity[i] = velocity;
            }
            last = bench.position();
        }
        EXPECT_EQ(bench.take(), Strings{arrived});
        EXPECT_NEAR(bench.time, row.duration, dt);
        EXPECT_EQ(bench.position(), row.target);
    }
}

TEST(Motion, RunsOneAfterTheOtherAndReportsEachToItsAsker)
{
    Bench bench;
    bench.send(far_move);
    bench.send(move_back);
    EXPECT_EQ(bench.value("get_arm_plan_num", "plan_num"), 1);
    bench.run(0.81);
    EXPECT_EQ(bench.take(), Strings{arrived});
    EXPECT_EQ(bench.value("get_arm_plan_num", "plan_num"), 2);
    bench.run(0.78);
    EXPECT_TRUE(bench.lines.empty());
    bench.run(0.02);
    EXPECT_EQ(bench.take(), Strings{arrived});
    EXPECT_EQ(bench.value("get_arm_plan_num", "plan_num"), 0);
    bench.send(move_back); // no way to go
    EXPECT_EQ(bench.take(), Strings{arrived});
}

TEST(Motion, OneLongStepEndsInTheSamePlaceAsManyShortOnes)
{
    Bench bench;
    bench.send(far_move);
    bench.send(move_back);
    bench.send(far_move);
    bench.run(100);
    EXPECT_EQ(bench.take(), (Strings{arrived, arrived, arrived}));
    EXPECT_EQ(bench.position()[0], 90);
}

TEST(Motion, PausesOnItsWayAndGoesOn)
{
    Bench bench;
    bench.send(far_move);
    bench.run(0.4);
    EXPECT_NEAR(bench.position()[0], 45, 1e-6);
    EXPECT_EQ(bench.value("set_arm_pause", "arm_pause"), true);
    EXPECT_EQ(bench.value("set_arm_pause", "arm_pause"), false) << "twice";
    bench.run(0.1);
    EXPECT_NEAR(bench.position()[0], 45 + 18 - 3, 1e-6) << "slows down with 600 degrees/s^2";
    bench.run(5);
    EXPECT_NEAR(bench.position()[0], 45 + 27, 1e-6) << "180^2 / (2 * 600) further";
    EXPECT_EQ(bench.ask(R"({"command":"get_arm_current_trajectory"})").at("type"), "movej");
    EXPECT_EQ(bench.value("set_arm_continue", "arm_continue"), true);
    bench.run(2 * std::sqrt(18 / 600.0) - 0.001);
    EXPECT_TRUE(bench.lines.empty());
    bench.run(0.002);
    EXPECT_EQ(bench.take(), Strings{arrived});
    EXPECT_EQ(bench.value("set_arm_continue", "arm_continue"), false) << "not paused";
}

TEST(Motion, GoesOnEvenIfItWasToldSoWhileSlowingDown)
{
    Bench bench;
    bench.send(far_move);
    bench.run(0.4);
    bench.value("set_arm_pause", "arm_pause");
    bench.run(0.1);
    bench.value("set_arm_continue", "arm_continue");
    bench.run(0.2 + 2 * std::sqrt(18 / 600.0) + 0.001);
    EXPECT_EQ(bench.take(), Strings{arrived});
}

TEST(Motion, StopSlowsDownAndFailsEveryPlannedMotion)
{
    for (const char* command : {"set_arm_stop", "set_arm_delete_trajectory"}) {
        Bench bench;
        bench.send(far_move);
        bench.send(move_back);
        bench.run(0.4);
        bench.send(std::string("{\"command\":\"") + command + "\"}");
        ASSERT_EQ(bench.lines.size(), 2u) << "the reply, and the failure of the waiting motion";
        EXPECT_EQ(Json::parse(bench.lines[0]).at("command"), command);
        EXPECT_TRUE(is_failed_motion(bench.lines[1]));
        bench.take();
        bench.run(0.29);
        EXPECT_TRUE(bench.lines.empty());
        bench.run(10);
        ASSERT_EQ(bench.lines.size(), 1u);
        EXPECT_TRUE(is_failed_motion(bench.take()[0]));
        EXPECT_NEAR(bench.position()[0], 45 + 27, 1e-6);
        bench.send(move_back);
        bench.run(10);
        EXPECT_EQ(bench.take(), Strings{arrived});
    }
}

TEST(Motion, DeletingTheCurrentOneLetsTheNextOneRunUnlessPaused)
{
    for (bool paused : {false, true}) {
        Bench bench;
        bench.send(far_move);
        bench.send(move_back);
        bench.run(0.4);
        if (paused) bench.value("set_arm_pause", "arm_pause");
        EXPECT_EQ(bench.value("set_delete_current_trajectory", "delete_current_trajectory"), true);
        bench.run(10);
        Strings got = bench.take();
        ASSERT_EQ(got.size(), paused ? 1u : 2u);
        EXPECT_TRUE(is_failed_motion(got[0]));
        if (paused) {
            EXPECT_NEAR(bench.position()[0], 72, 1e-6);
            EXPECT_EQ(bench.value("set_arm_continue", "arm_continue"), true);
            bench.run(10);
            got = bench.take();
        }
        EXPECT_EQ(got.back(), arrived);
        EXPECT_EQ(bench.position()[0], 0);
    }
}

TEST(Motion, DeletingTheLastOneEndsThePause)
{
    Bench bench;
    bench.send(far_move);
    bench.run(0.4);
    bench.value("set_arm_pause", "arm_pause");
    bench.run(1);
    bench.send(R"({"command":"set_delete_current_trajectory"})");
    EXPECT_EQ(bench.take().size(), 2u);
    EXPECT_EQ(bench.value("set_arm_continue", "arm_continue"), false);
    bench.send(move_back);
    bench.run(1);
    EXPECT_EQ(bench.take(), Strings{arrived});
}

TEST(Motion, AJointThatIsDisabledOrFailsStopsTheArmAndKeepsItFromMoving)
{
    for (bool fails : {false, true}) {
        Bench bench;
        bench.send(far_move);
        bench.run(0.4);
        if (fails)
            bench.controller.arm().drives.fail(2, 0x20);
        else
            bench.ask(R"({"command":"set_joint_en_state","joint_en_state":[3,0]})");
        bench.run(1);
        ASSERT_EQ(bench.lines.size(), 1u);
        EXPECT_TRUE(is_failed_motion(bench.take()[0]));
        EXPECT_TRUE(is_failed_motion(bench.ask(move_back).dump()));
        EXPECT_EQ(bench.value("get_current_arm_state", "arm_state").at("arm_err"), fails ? 0x20 : 0);
        EXPECT_EQ(bench.value("get_joint_err_flag", "err_flag"),
                  fails ? Json({0, 0, 32, 0, 0, 0}) : Json({0, 0, 0, 0, 0, 0}));
        bench.ask(fails ? R"({"command":"set_joint_clear_err","joint_clear_err":3})"
                        : R"({"command":"set_joint_en_state","joint_en_state":[3,1]})");
        bench.send(move_back);
        bench.run(10);
        EXPECT_EQ(bench.take(), Strings{arrived});
    }
}

TEST(Arm, CalibratesOneJointAfterTheOtherAndStandsStillMeanwhile)
{
    Bench bench;
    EXPECT_EQ(bench.value("start_calibrate", "calibrate_state"), true);
    EXPECT_EQ(bench.value("start_calibrate", "calibrate_state"), false) << "runs already";
    bench.run(2.5);
    EXPECT_EQ(bench.value("get_calibrate_state", "joint_state"), Json({2, 2, 1, 0, 0, 0}));
    EXPECT_TRUE(is_failed_motion(bench.ask(far_move).dump()));
    EXPECT_EQ(bench.value("stop_calibrate", "calibrate_state"), true);
    bench.run(5);
    EXPECT_EQ(bench.value("get_calibrate_state", "joint_state"), Json({2, 2, 0, 0, 0, 0}));
    bench.value("start_calibrate", "calibrate_state");
    bench.run(6.1);
    EXPECT_EQ(bench.value("get_calibrate_state", "joint_state"), Json({2, 2, 2, 2, 2, 2}));
}

TEST(Arm, WarmsUpAndDrawsCurrentWhenItMoves)
{
    Bench bench;
    const int cool = bench.value("get_current_joint_temperature", "joint_temperature")[0];
    const int resting = bench.value("get_current_joint_current", "joint_current")[0];
    bench.send(far_move);
    bench.run(0.4);
    EXPECT_GT(bench.value("get_current_joint_current", "joint_current")[0], resting);
    EXPECT_GT(bench.value("get_current_joint_temperature", "joint_temperature")[0], cool);
    bench.run(0.5);
    bench.take();
    EXPECT_EQ(bench.value("get_current_joint_current", "joint_current")[0], resting);
    bench.run(36000);
    EXPECT_EQ(bench.value("get_current_joint_temperature", "joint_temperature")[0], cool);
}

// --- every command
// -------------------------------------------------------------------------------------------------

struct CommandRow {
    std::string request;
    int recognised; ///< the reply type by which clients wait for it
    const char* key;
    Json answer; ///< false: refused, with a text, and nothing has changed
};

const Json six_zeros = {0, 0, 0, 0, 0, 0};

const CommandRow command_rows[] = {
    {R"({"command":"set_joint_max_speed","joint_max_speed":[3,12345]})", 2, "joint_max_speed", true},
    {R"({"command":"get_joint_max_speed"})",
     1,
     "joint_speed",
     {180000, 180000, 12345, 180000, 180000, 180000}},
    {R"({"command":"set_joint_max_acc","joint_max_acc":[1,1]})", 3, "joint_max_acc", true},
    {R"({"command":"get_joint_max_acc"})", 12, "joint_acc", {1, 600000, 600000, 600000, 600000, 600000}},
    {R"({"command":"set_joint_min_pos","joint_min_pos":[2,-90500]})", 4, "joint_min_pos", true},
    {R"({"command":"get_joint_min_pos"})",
     13,
     "min_pos",
     {-180000, -90500, -135000, -180000, -128000, -360000}},
    {R"({"command":"set_joint_max_pos","joint_max_pos":[2,90500]})", 5, "joint_max_pos", true},
    {R"({"command":"get_joint_max_pos"})", 14, "max_pos", {180000, 90500, 135000, 180000, 128000, 360000}},
    {R"({"command":"set_joint_en_state","joint_en_state":[6,0]})", 6, "joint_en_state", true},
    {R"({"command":"get_joint_en_state"})", 15, "en_state", {1, 1, 1, 1, 1, 0}},
    {move_back, 64, "trajectory_state", false},
    {R"({"command":"set_joint_en_state","joint_en_state":[6,1]})", 6, "joint_en_state", true},
    {R"({"command":"set_joint_zero_pos","joint_zero_pos":1})", 7, "joint_zero_pos", true},
    {R"({"command":"set_joint_clear_err","joint_clear_err":6})", 8, "joint_clear_err", true},
    {R"({"command":"get_joint_err_flag"})", 16, "err_flag", six_zeros},
    {R"({"command":"get_calibrate_state"})", 11, "joint_state", {2, 2, 2, 2, 2, 2}},
    {R"({"command":"get_joint_degree"})", 159, "joint", six_zeros},
    {R"({"command":"get_arm_current_trajectory"})", 72, "type", "none"},
    {R"({"command":"get_arm_current_trajectory"})", 72, "data", six_zeros},
    {R"({"command":"get_arm_plan_num"})", 60, "plan_num", 0},
    {R"({"command":"set_init_pose","init_pose":[1,2,3,4,5,-6]})", 61, "init_pose", true},
    {R"({"command":"get_init_pose"})", 62, "init_pose", {1, 2, 3, 4, 5, -6}},
    {R"({"command":"set_arm_stop"})", 67, "arm_stop", true},
    {R"({"command":"set_delete_current_trajectory"})", 70, "delete_current_trajectory", true},
    {R"({"command":"set_arm_delete_trajectory"})", 71, "arm_delete_trajectory", true},
    {move_back, 64, "trajectory_state", true},

    {R"({"command":"set_joint_max_speed","joint_max_speed":[0,1000]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[7,1000]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1.5,1000]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1,0]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1,-5]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1,2147483647]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1,"fast"]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":[1,2,3]})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed","joint_max_speed":5})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_speed"})", 2, "joint_max_speed", false},
    {R"({"command":"set_joint_max_acc","joint_max_acc":[1,0]})", 3, "joint_max_acc", false},
    {R"({"command":"set_joint_min_pos","joint_min_pos":[2,90500]})", 4, "joint_min_pos", false},
    {R"({"command":"set_joint_min_pos","joint_min_pos":[2,-130001]})", 4, "joint_min_pos", false},
    {R"({"command":"set_joint_max_pos","joint_max_pos":[2,-90500]})", 5, "joint_max_pos", false},
    {R"({"command":"set_joint_max_pos","joint_max_pos":[2,1e300]})", 5, "joint_max_pos", false},
    {R"({"command":"set_joint_en_state","joint_en_state":[2,2]})", 6, "joint_en_state", false},
    {R"({"command":"set_joint_en_state","joint_en_state":[2,true]})", 6, "joint_en_state", false},
    {R"({"command":"set_joint_zero_pos","joint_zero_pos":[1]})", 7, "joint_zero_pos", false},
    {R"({"command":"set_joint_clear_err","joint_clear_err":-1})", 8, "joint_clear_err", false},
    {R"({"command":"set_init_pose","init_pose":[1,2,3,4,5]})", 61, "init_pose", false},
    {R"({"command":"set_init_pose","init_pose":[0,91000,0,0,0,0]})", 61, "init_pose", false},
    {R"({"command":"movej","joint":[0,90501,0,0,0,0],"v":10,"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[0,0,0,0,0,0,0],"v":10,"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[0,0,0,0,0,null],"v":10,"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[1,0,0,0,0,0],"v":0,"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[1,0,0,0,0,0],"v":101,"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[1,0,0,0,0,0],"r":0})", 64, "trajectory_state", false},
    {R"({"command":"movej","joint":[1,0,0,0,0,0],"v":10,"r":-1})", 64, "trajectory_state", false},
    {R"({"command":"set_arm_pause"})", 68, "arm_pause", false},
    {R"({"command":"set_arm_continue"})", 69, "arm_continue", false},
};

/** All that can be read of the arm. */
std::string everything(Bench& bench)
{
    std::string state;
    for (const char* name :
         {"get_joint_max_speed", "get_joint_max_acc", "get_joint_min_pos", "get_joint_max_pos",
          "get_joint_en_state", "get_calibrate_state", "get_joint_degree", "get_init_pose",
          "get_current_arm_state", "get_arm_all_state", "get_arm_plan_num"})
        state += bench.ask(std::string("{\"command\":\"") + name + "\"}").dump();
    return state;
}

TEST(Commands, AnswerUnderTheirKeyAndARefusalChangesNothing)
{
    Bench bench;
    for (const CommandRow& row : command_rows) {
        const std::string before = everything(bench);
        const Json reply = bench.ask(row.request);
        EXPECT_EQ(Get_Json_KeyCode(reply.dump().c_str()), row.recognised) << reply;
        EXPECT_EQ(reply.value(row.key, Json()), row.answer) << row.request << reply;
        EXPECT_EQ(reply.contains("error"), row.answer == false) << reply;
        if (row.answer == false) {
            EXPECT_EQ(everything(bench), before) << row.request;
        }
    }
}

TEST(Commands, StateQueriesOfSevenJointsFitALine)
{
    Bench bench(47);
    bench.send(
        R"({"command":"movej","joint":[-179999,-129999,-179999,-134999,-179999,-127999,-359999],"v":100,"r":0})");
    bench.run(60);
    bench.take();
    for (std::size_t i = 0; i < 7; ++i)
        bench.controller.arm().drives.fail(i, 65535);
    const Json state = bench.ask(R"({"command":"get_current_arm_state"})");
    EXPECT_EQ(Get_Json_KeyCode(state.dump().c_str()), 54);
    EXPECT_EQ(state.at("arm_state").at("pose").size(), 6u);
    EXPECT_EQ(state.at("arm_state").at("joint").back(), -359999);
    const Json all = bench.ask(R"({"command":"get_arm_all_state"})");
    EXPECT_EQ(Get_Json_KeyCode(all.dump().c_str()), 59);
    for (const char* key : {"temperature", "current", "voltage", "err_flag"})
        EXPECT_EQ(all.at("all_state").at(key).size(), 7u) << key;
}

TEST(Commands, ZeroPositionMakesTheStandingArmReadZero)
{
    Bench bench;
    bench.send(far_move);
    bench.run(0.4);
    EXPECT_EQ(bench.ask(R"({"command":"set_joint_zero_pos","joint_zero_pos":1})").at("joint_zero_pos"),
              false);
    bench.run(1);
    bench.take();
    EXPECT_EQ(bench.ask(R"({"command":"set_joint_zero_pos","joint_zero_pos":1})").at("joint_zero_pos"), true);
    EXPECT_EQ(bench.value("get_joint_degree", "joint"), six_zeros);
}

TEST(Commands, WhatIsNoCommandGetsOneErrorThatFitsALine)
{
    Bench bench;
    for (const std::string& request :
         {std::string("{}"), std::string(R"({"command":5})"), std::string(R"({"command":"fly"})"),
          std::string("{oops}"), "{\"command\":\"" + std::string(5000, 'x') + "\"}",
          "{\"command\":\"" + std::string(500, '\x01') + "\"}",
          "{\"command\":\"" + std::string(39, 'x') + "\xc3\xa4\"}", // would be cut inside a letter
          "{\"a\":" + std::string(20000, '[') + "}"})
        EXPECT_FALSE(bench.ask(request).at("error").get<std::string>().empty()) << request.substr(0, 50);
}

// --- the process
// ---------------------------------------------------------------------------------------------------

class Connection {
  public:
    explicit Connection(int port) : socket_(socket(AF_INET, SOCK_STREAM, 0)), in_(fdopen(socket_, "r"))
    {
        const timeval patience = {10, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~Connection() { fclose(in_); }

    void send(const std::string& text)
    {
        EXPECT_EQ(::send(socket_, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }
    void end() { shutdown(socket_, SHUT_WR); }

    /** The next line, empty at the end of the stream. */
    std::string line()
    {
        char text[400];
        return fgets(text, sizeof text, in_) ? text : "";
    }

  private:
    int socket_;
    FILE* in_;
};

TEST(Server, LeavesAGapBetweenTwoLinesSoThatPollingClientsLoseNone)
{
    ::Controller controller;
    Connection client(controller.port());
    const auto start = std::chrono::steady_clock::now();
    std::string requests;
    for (int i = 0; i < 6; ++i)
        requests += "{\"command\":\"get_joint_degree\"}\r\n";
    client.send(requests);
    client.end();
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(Json::parse(client.line()).at("joint"), six_zeros);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5 * 20));
    EXPECT_EQ(client.line(), "") << "all is said, and the client has ended: so does the connection";
}

TEST(Server, ManyClientsShareOneArmAndTheAskerIsToldOfTheEnd)
{
    ::Controller controller({"--model", "36", "--speed", "20"});
    Connection asker(controller.port()), leaver(controller.port()), other(controller.port());
    leaver.send(far_move + "\n" + far_move + "\n" + far_move);
    asker.send(R"({"command":"get_arm_plan_num"})"
               "\nnonsense\n");
    EXPECT_NE(asker.line().find("plan_num"), std::string::npos);
    EXPECT_NE(asker.line().find("error"), std::string::npos);
    asker.send(move_back + "\r\n");
    EXPECT_EQ(asker.line(), arrived);
    other.send("{\"command\":\"set_joint_max_speed\",\"joint_max_speed\":[1,9000]}\r\n");
    EXPECT_EQ(Json::parse(other.line()).at("joint_max_speed"), true) << "the first line this client gets";
    asker.send("{\"command\":\"get_joint_max_speed\"}\r\n");
    EXPECT_EQ(Json::parse(asker.line()).at("joint_speed")[0], 9000);
    EXPECT_EQ(controller.end(SIGTERM), 0);
}

TEST(Server, SaysWhyItCannotStart)
{
    ::Controller first;
    for (const std::string& options :
         {"--port " + std::to_string(first.port()), std::string("--host nowhere"), std::string("--model 35"),
          std::string("--port 70000"), std::string("--speed 0")}) {
        Process second({"/bin/sh", "-c", "exec " KX_CONTROLLER " " + options + " 2>&1"});
        EXPECT_GT(second.line().size(), 10u) << options;
        EXPECT_GT(second.end(0), 0) << options;
    }
    EXPECT_EQ(first.end(SIGINT), 0);
}

} // namespace
