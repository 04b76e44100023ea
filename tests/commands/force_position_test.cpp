// Force-position move: start and stop, targets cut before they are scaled, answers as replies and as pushes.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"
#include "runtime/transmit.h"

#include <cmath>

INSTANTIATE_TEST_SUITE_P(ForcePosition, Setters,
                         testing::Values(Setter{"Start_Force_Position_Move", Start_Force_Position_Move,
                                                R"({"command":"Start_Force_Position_Move"})",
                                                "Start_Force_Position_Move", "set_state"},
                                         Setter{"Stop_Force_Postion_Move", Stop_Force_Postion_Move,
                                                R"({"command":"Stop_Force_Position_Move"})",
                                                "Stop_Force_Position_Move", "set_state"}),
                         RowName());

static const float joints[7] = {45.9f, -45.9f, 0.999f, 180, 3e9f, -2147484, 7.7f};

// The two kinds of target differ in nothing but the target.
struct Target {
    std::string name;
    std::function<int(int fd, bool block)> call;
    std::string request;
    int model;
};

class Targets : public testing::TestWithParam<Target> {
  protected:
    Arm arm{GetParam().model};
    int send(bool block) { return GetParam().call(arm.sockfd, block); }
};

TEST_P(Targets, AwaitOnePushEach)
{
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(send(false), 0);
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(GetParam().request));
    }
    ASSERT_EQ(m_nSockeRIinfosLen, 2);
    EXPECT_EQ(SockeRIinfos[1].descriptor, arm.sockfd);
    EXPECT_EQ(SockeRIinfos[1].key, 161);
    EXPECT_EQ(SockeRIinfos[1].waiting, 0);
    EXPECT_EQ(GetParam().call(-1, false), 6);
    EXPECT_EQ(m_nSockeRIinfosLen, 2);
    expect_delay(false, [&] { GetParam().call(-1, false); });
}

TEST_P(Targets, AreCompletedByAnyAnswer)
{
    for (const char* answer : {"{\"command\":\"Force_Position_State\",\"set_state\":false}\n",
                               "{\"command\":\"Force_Position_State\"}\n", "Force_Position_State {,\n"}) {
        arm.peer.answer(answer);
        EXPECT_EQ(send(true), 0) << answer;
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(GetParam().request));
        expect_idle();
    }
    m_nOutTime = 50;
    arm.peer.answer("{\"command\":\"Start_Force_Position_Move\",\"set_state\":true}\n");
    EXPECT_EQ(send(true), 7);
    EXPECT_EQ(GetParam().call(-1, true), 6);
    expect_idle();
}

TEST_P(Targets, RaiseTheSuspendFlagAroundEitherForm)
{
    arm.peer.answer("Force_Position_State\n");
    for (bool block : {true, false}) {
        KX_Mutex_Lock(); // holds the caller up where it registers
        std::thread caller([&] { EXPECT_EQ(send(block), 0); });
        EXPECT_TRUE(eventually([] { return SuspendQueue == 1; }));
        KX_Mutex_UnLock();
        caller.join();
        EXPECT_EQ(SuspendQueue, 0);
    }
}

static Target pose(std::string name, const POSE& target, float force, const std::string& wire)
{
    return {std::move(name), with(Force_Position_Move_POSE, target, 1, 255, -2, force),
            R"({"command":"Force_Position_Move","pose":)" + wire + "}", 46};
}

static Target joint(std::string name, int model, const std::string& wire)
{
    return {std::move(name), with(Force_Position_Move_Joint, joints, 0, 2, 3, 2.5f),
            R"({"command":"Force_Position_Move","joint":)" + wire +
                R"(,"sensor":0,"mode":2,"dir":3,"force":25})",
            model};
}

INSTANTIATE_TEST_SUITE_P(
    ForcePosition, Targets,
    testing::Values(
        pose("Force_Position_Move_POSE", {0.35f, 1.9f, -1.9f, 3.14f, -0.5f, -3.14f}, 0.125f,
             R"([0,1000000,-1000000,3000,0,-3000],"sensor":1,"mode":255,"dir":-2,"force":1.25)"),
        pose("Force_Position_Move_POSE_extremes", {2147, 2148, -2148, 1e30f, -1e30f, std::nanf("")}, -3,
             R"([2147000000,2147483647,-2147483648,2147483647,-2147483648,0],)"
             R"("sensor":1,"mode":255,"dir":-2,"force":-30)"),
        joint("Force_Position_Move_Joint", 36, "[45000,-45000,0,180000,2147483647,-2147483648]"),
        joint("Force_Position_Move_Joint_seven", 47, "[45000,-45000,0,180000,2147483647,-2147483648,7000]")),
    RowName());

static std::atomic<int> pushed_by, push_type, push_result;

TEST(ForcePosition, HandsTheAnswerToTheCallback)
{
    push_type = push_result = -1;
    KX_API_Init([](CallbackData push) {
        push_result = push.result;
        push_type = push.push_type;
        pushed_by = push.sockfd;
    });
    Arm arm;
    arm.peer.answer("{\"command\":\"Force_Position_State\",\"set_state\":false}\n");
    EXPECT_EQ(Force_Position_Move_Joint(arm.sockfd, joints, 0, 0, 0, 0, false), 0);
    EXPECT_TRUE(eventually([&] { return pushed_by == arm.sockfd; }));
    EXPECT_EQ(push_type, 3);
    EXPECT_EQ(push_result, 0);
    EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 0; }));
}
