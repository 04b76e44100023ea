// Streams as applications meet them: with a sender, over a link. Here is what only the whole can show; what a
// stream decides, and when, is tested on simulated time.
#include "kx_base.h"
#include "support/controller.h"
#include "support/own_file.h"
#include "support/peer.h"

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

// A controller whose arm is at once where set-points lead.
struct Playing {
    ~Playing() { KX_Link_Close(link); }

    static std::string joints(const std::string& request)
    {
        const size_t begin = std::min(request.find('['), request.size());
        return request.substr(begin, request.find(']') + 1 - begin);
    }
    static std::string answer(const std::string& request)
    {
        if (request.find("get_joint_degree") != request.npos)
            return R"({"command":"joint_degree","joint":[0,-20000,-60000,0,-80000,0]})";
        const std::string there = joints(request), told = R"({"command":"joint_state","arm_err":0,"joint":)";
        const bool is_beyond = atof(there.c_str() + 1) < -20000; // refused, and told where it is at once
        return (is_beyond ? R"({"command":"joint_state","error":"no"})"
                            "\r\n"
                          : "") +
               told + there + "}";
    }
    std::vector<double> set_points() // of joint 1, degrees
    {
        std::vector<double> all;
        while (peer.unread() > 0)
            if (const std::string joint = joints(peer.next_request()); !joint.empty())
                all.push_back(atof(joint.c_str() + 1) / 1000);
        return all;
    }

    Peer peer{answer};
    const int link = KX_Link_Open("127.0.0.1", peer.port(), 46, nullptr);
};

KX_STREAM_OPTIONS patient()
{
    KX_STREAM_OPTIONS options;
    KX_Stream_Defaults(&options);
    options.watchdog = 10; // however busy the machine is
    options.silence = 10;
    options.following_error = 0;
    return options;
}

constexpr float there[] = {30, -20, -60, 0, -80, 0};

KX_STREAM_END end_of(int stream)
{
    KX_Stream_Wait(stream, 60000);
    return KX_Stream_Reason(stream);
}

TEST(StreamOverALink, ArrivesAndTells)
{
    Playing controller;
    KX_STREAM_OPTIONS options = patient();
    std::atomic<int> seen = 0;
    options.on_cycle = [](int, const KX_STREAM_CYCLE*, void* user) {
        ++*static_cast<std::atomic<int>*>(user);
    };
    options.user = &seen;
    const int stream = KX_Stream_Open(controller.link, &options);
    ASSERT_GE(stream, 536870912);
    EXPECT_EQ(KX_Stream_Open(controller.link, nullptr), -KX_NO_SOCKET) << "one stream a link";
    EXPECT_EQ(KX_Stream_Joints(stream, there, 0), KX_SUCCESS);
    EXPECT_EQ(KX_Stream_Wait(stream, 0), KX_TIMED_OUT);
    EXPECT_EQ(KX_Stream_Wait(stream, 60000), KX_SUCCESS);
    EXPECT_EQ(KX_Stream_Reason(stream), KX_STREAM_ARRIVED);
    EXPECT_EQ(KX_Stream_Joints(stream, there, 0), KX_ENDED);

    KX_STREAM_COUNTERS counters = {};
    counters.size = sizeof counters;
    EXPECT_EQ(KX_Stream_Counters(stream, &counters), KX_SUCCESS);
    EXPECT_EQ(counters.targets, 1u);
    const std::vector<double> set_points = controller.set_points();
    EXPECT_EQ(counters.cycles, set_points.size());
    EXPECT_EQ(counters.cycles, static_cast<uint64_t>(seen));
    EXPECT_NEAR(set_points.back(), 30, 1e-9);
    EXPECT_EQ(KX_Stream_Close(stream), KX_SUCCESS);
    EXPECT_EQ(KX_Stream_Close(stream), KX_BAD_DESCRIPTOR);

    const int next = KX_Stream_Open(controller.link, &options);
    EXPECT_GT(next, 0) << "the link is free again";
    EXPECT_NE(next, stream);
    EXPECT_EQ(end_of(next), KX_STREAM_ARRIVED) << "nothing was asked for";
    KX_Stream_Close(next);
}

// In the middle of a motion, by what befalls the controller then, or by what the application does.
TEST(StreamOverALink, FaultsInMidMotionEndItInTheStatedWay)
{
    struct Row {
        const char* fault;
        int (*act)(int of);
        KX_STREAM_END reason;
    };
    const Row rows[] = {
        {"reset", nullptr, KX_STREAM_LOST},
        {"silence", nullptr, KX_STREAM_SILENT},
        {"emergency-stop", nullptr, KX_STREAM_REFUSED},
        {"joint-error 2", nullptr, KX_STREAM_REFUSED},
        {"", KX_Stream_Stop, KX_STREAM_STOPPED},
        {"", KX_Link_Close, KX_STREAM_LOST},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.fault) + " " + KX_Stream_Words(row.reason));
        const OwnFile script("script",
                             std::string(*row.fault ? "movej_canfd+0.8 " : "# ") + row.fault + "\n");
        const Controller controller({"--spacing", "0", "--script", script.path});
        const int link = KX_Link_Open("127.0.0.1", controller.port(), 46, nullptr);
        KX_STREAM_OPTIONS options = patient();
        if (row.reason == KX_STREAM_SILENT) options.silence = 0.3;
        std::fill_n(options.velocity, 7, 20.0f);
        const int stream = KX_Stream_Open(link, &options);
        // As far as possible, since on a busy machine a fault takes its time.
        const float far[] = {170, 0, 0, 0, 0, 0};
        ASSERT_EQ(KX_Stream_Joints(stream, far, 0), KX_SUCCESS);
        KX_STREAM_CYCLE last = {};
        for (; row.act && last.sent[0] < 10; usleep(1000))
            ASSERT_EQ(KX_Stream_State(stream, &last), KX_SUCCESS);
        if (row.act) row.act(row.act == KX_Link_Close ? link : stream);
        EXPECT_EQ(end_of(stream), row.reason);
        KX_Stream_State(stream, &last);
        EXPECT_TRUE(last.sent[0] > 5 && last.sent[0] < 165) << "it ended at " << last.sent[0];
        EXPECT_EQ(KX_Stream_Close(stream), KX_SUCCESS);
        KX_Link_Close(link);
    }
}

TEST(StreamOverALink, NoPushHidesAnother)
{
    Playing controller;
    const KX_STREAM_OPTIONS options = patient();
    const int stream = KX_Stream_Open(controller.link, &options);
    const float beyond[] = {-30, -20, -60, 0, -80, 0};
    EXPECT_EQ(KX_Stream_Joints(stream, beyond, 0), KX_SUCCESS);
    EXPECT_EQ(end_of(stream), KX_STREAM_REFUSED);
    KX_Stream_Close(stream);
}

TEST(StreamOverALink, MayBeClosedByItsOwnCallbackAndWhileSomebodyWaits)
{
    Playing controller;
    KX_STREAM_OPTIONS options = patient();
    options.on_cycle = [](int stream, const KX_STREAM_CYCLE*, void*) { KX_Stream_Close(stream); };
    const int stream = KX_Stream_Open(controller.link, &options);
    KX_Stream_Joints(stream, there, 0);
    const int waited = KX_Stream_Wait(stream, 60000);
    EXPECT_TRUE(waited == KX_CANCELLED || waited == KX_BAD_DESCRIPTOR) << waited;
    int next;
    while ((next = KX_Stream_Open(controller.link, nullptr)) == -KX_NO_SOCKET) // until it has braked
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_GT(next, 0);
    KX_Stream_Close(next);
}

TEST(StreamOverALink, RefusesWhatCannotBe)
{
    Playing controller;
    EXPECT_EQ(KX_Stream_Open(17, nullptr), -KX_BAD_DESCRIPTOR);
    EXPECT_EQ(KX_Stream_Joints(536870912, there, 0), KX_BAD_DESCRIPTOR);
    void (*const wrong[])(KX_STREAM_OPTIONS&) = {
        [](auto& o) { o.rate = 0; }, [](auto& o) { o.look_ahead = -1; }, [](auto& o) { o.jerk[5] = 0; },
        [](auto& o) { o.velocity[0] = NAN; }};
    for (const auto change : wrong) {
        KX_STREAM_OPTIONS options = patient();
        change(options);
        EXPECT_EQ(KX_Stream_Open(controller.link, &options), -KX_WRONG_TYPE);
        EXPECT_EQ(KX_Stream_Check("", 46, &options, nullptr), KX_WRONG_TYPE);
    }

    const int stream = KX_Stream_Open(controller.link, nullptr);
    const float nonsense[] = {0, NAN, 0, 0, 0, 0};
    EXPECT_EQ(KX_Stream_Joints(stream, nonsense, 0), KX_NOT_FINITE);
    EXPECT_EQ(KX_Stream_Speed(stream, 1.6), KX_WRONG_TYPE);
    const double now = KX_Stream_Clock();
    EXPECT_EQ(KX_Stream_Joints(stream, there, now + 2), KX_SUCCESS);
    EXPECT_EQ(KX_Stream_Joints(stream, there, now + 1), KX_WRONG_TYPE);
    KX_TRAJECTORY_FAULT fault = {};
    EXPECT_EQ(KX_Stream_Play(stream, "/nowhere/at/all", &fault), KX_REFUSED);
    EXPECT_EQ(fault.violation, KX_TRAJECTORY_UNREADABLE);
    if (fork() == 0) _exit(KX_Stream_Joints(stream, there, 0)); // a child has no stream
    int status = 0;
    wait(&status);
    EXPECT_EQ(WEXITSTATUS(status), KX_BAD_DESCRIPTOR);
    KX_Stream_Close(stream);
}

// What is played is what was written down, passed at its times.
TEST(StreamOverALink, PlaysATrajectory)
{
    std::ostringstream rows;
    for (int i = 0; i <= 50; ++i)
        rows << 7 + i * 0.02 << "," << 5 - 10 * std::cos(M_PI * i / 50) << ",-20,-60,0,-80,0\n";
    const OwnFile file("played.csv", rows.str());

    Playing controller;
    const KX_STREAM_OPTIONS options = patient();
    const int stream = KX_Stream_Open(controller.link, &options);
    EXPECT_EQ(KX_Stream_Play(stream, file.path.c_str(), nullptr), KX_SUCCESS);
    EXPECT_EQ(KX_Stream_Joints(stream, there, 0), KX_WRONG_TYPE) << "while it plays";
    EXPECT_EQ(KX_Stream_Wait(stream, 60000), KX_SUCCESS);
    const std::vector<double> passed = controller.set_points();
    const auto least = std::min_element(passed.begin(), passed.end());
    EXPECT_NEAR(*least, -5, 0.01) << "it begins with the first row";
    EXPECT_NEAR(passed.back(), 15, 0.001);
    KX_Stream_Close(stream);
}

} // namespace
