// The receiver thread: reassembly of lines, matching of replies, realtime pushes.
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace kx;

static const std::string set_payload = R"({"command":"set_payload","set_state":true})";

static void await(int sockfd, KeyCode key, Waiter waiter = waiting_caller)
{
    ASSERT_GE(add_pending(sockfd, key, waiter), 0);
}

static bool is_answered(int index)
{
    return eventually([&] { return SockeRIinfos[index].received == 1; });
}

TEST(Receiver, GivesALineToTheFirstEntryThatAwaitsIt)
{
    Arm arm, other;
    await(other.sockfd, KeyCode::set_payload);
    await(arm.sockfd, KeyCode::timer);
    await(arm.sockfd, KeyCode::set_payload);
    await(arm.sockfd, KeyCode::set_payload);
    arm.peer.say(set_payload + "       ");
    ASSERT_TRUE(is_answered(2));
    arm.peer.say("set_payload");
    const std::string rest = (set_payload + "       \n").substr(12);
    EXPECT_TRUE(eventually([&] { return stored_reply(2).text == "set_payload\n" + rest; }))
        << "the first again, as long as it stands, and the rest of the longer text stays";
    for (int index : {0, 1, 3})
        EXPECT_EQ(SockeRIinfos[index].received, 0) << index;
}

TEST(ReceiverDeathTest, ALineOfThreeHundredCharactersEndsTheProcess)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (size_t length : {300u, 301u, 600u})
        EXPECT_EXIT(
            {
                Arm arm;
                arm.peer.say(std::string(length - 1, 'x'));
                sleep_cp(5000);
            },
            testing::KilledBySignal(SIGABRT), "");
}

// Pushes as the callback saw them.
static std::mutex pushes_mutex;
static std::vector<CallbackData> pushes;

static size_t pushed()
{
    std::lock_guard lock(pushes_mutex);
    return pushes.size();
}

static void on_push(CallbackData data)
{
    std::lock_guard lock(pushes_mutex);
    pushes.push_back(data);
}

struct Pushes : testing::Test {
    Pushes() { KX_API_Init(on_push); }
    // Sends a line and waits until the callback was called `total` times.
    void push(Arm& arm, const std::string& line, size_t total)
    {
        arm.peer.say(line);
        ASSERT_TRUE(eventually([&] { return pushed() == total; })) << pushed() << " callbacks after " << line;
    }
};

TEST_F(Pushes, CarryThePositionOfTheArm)
{
    Arm six(46), seven(47);
    await(six.sockfd, KeyCode::joint_state, push_registration);
    push(six, R"({"n":"joint_state","arm_err":1,"pose":[1,2,3,4,5,6.5],"joint":[10,20,30,40,50,60.25,70]})",
         1);
    await(seven.sockfd, KeyCode::joint_state, push_registration);
    push(seven, R"({"n":"joint_state","arm_err":0,"joint":[1,2,3,4,5,6,7]})", 2);
    await(six.sockfd, KeyCode::pose_state, push_registration);
    push(six, R"({"n":"pose_state","arm_err":0,"pose":[9],"joint":[8,7]})", 3);
    await(six.sockfd, KeyCode::Force_Position_State, push_registration);
    push(six, R"({"n":"Force_Position_State","arm_err":0,"pose":[5,5,5,5,5,5],"joint":[5,5,5,5,5,5]})", 4);
    await(six.sockfd, KeyCode::joint_state, push_registration);
    push(six, R"({"n":"joint_state","pose":[4,4,4,4,4,4]})", 5);

    const struct {
        int sockfd, type, result;
        std::array<float, 6> pose;
        std::array<float, 7> joint;
    } expected[] = {
        {six.sockfd, 1, 0, {1, 2, 3, 4, 5, 6.5}, {10, 20, 30, 40, 50, 60.25, 0}},
        {seven.sockfd, 1, 0, {1, 2, 3, 4, 5, 6.5}, {1, 2, 3, 4, 5, 6, 7}}, // no pose: that of the push before
        {six.sockfd, 2, 0, {9, 2, 3, 4, 5, 6.5}, {8, 7, 0, 0, 0, 0, 0}},   // absent elements stay
        {six.sockfd, 3, 0, {9, 2, 3, 4, 5, 6.5}, {}},
        {six.sockfd, 1, 9, {9, 2, 3, 4, 5, 6.5}, {}}, // no "arm_err": nothing is read
    };
    for (size_t i = 0; i < std::size(expected); ++i) {
        const auto& [sockfd, type, result, pose, joint] = expected[i];
        const CallbackData& got = pushes[i];
        EXPECT_TRUE(got.sockfd == sockfd && got.push_type == type && got.result == result) << i;
        EXPECT_TRUE(std::ranges::equal(got.pose, pose) && std::ranges::equal(got.joint, joint)) << i;
    }
    EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 0; }));
}

TEST_F(Pushes, AnswerEveryOtherRegistration)
{
    Arm arm;
    const std::string line = R"({"n":"joint_state","arm_err":0,"joint":[0,0,0,0,0,0]})";
    for (int i = 0; i < 3; ++i)
        await(arm.sockfd, KeyCode::joint_state, push_registration);
    push(arm, line, 2); // the first and the third
    EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 1; }));
    push(arm, line, 3);
    EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 0; }));
    arm.peer.say(line);
    until_all_is_taken();
    EXPECT_EQ(pushed(), 3u) << "nobody asked for another";
}

TEST_F(Pushes, AreNotForRepliesAndRepliesNotForThem)
{
    Arm arm;
    await(arm.sockfd, KeyCode::timer, push_registration);
    await(arm.sockfd, KeyCode::joint_state);
    await(arm.sockfd, KeyCode::joint_state, push_registration);
    arm.peer.say("timer");
    until_all_is_taken();
    arm.peer.say("joint_state");
    ASSERT_TRUE(is_answered(1)) << "a waiting caller comes first";
    EXPECT_EQ(pushed(), 0u);
    EXPECT_EQ(m_nSockeRIinfosLen, 3);
}

TEST_F(Pushes, WithoutACallbackAreTakenFromTheList)
{
    Arm arm;
    callback1 = nullptr;
    await(arm.sockfd, KeyCode::joint_state, push_registration);
    arm.peer.say("joint_state");
    EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 0; }));
}

TEST(PushDecoder, GivesWhatItFinds)
{
    Arm six(46);
    const struct {
        const char* text;
        int result;
        float first_pose, first_joint;
    } rows[] = {
        {"nonsense", 9, -1, -1},
        {"{}", 9, -1, -1},
        {R"({"pose":[1],"joint":[2]})", 9, -1, -1},
        {R"({"arm_err":null,"pose":[1],"joint":[2]})", 0, 1, 2},
        {R"({"arm_err":0,"pose":[1]})", 9, 1, -1},
        {R"({"arm_err":0,"pose":7,"joint":3})", 3, -1, -1},
        {R"({"arm_err":0,"pose":{"a":1},"joint":[]})", 0, -1, -1},
    };
    for (const auto& row : rows) {
        float pose[6], joint[7];
        std::fill(pose, pose + 6, -1.0f);
        std::fill(joint, joint + 7, -1.0f);
        EXPECT_EQ(Parser_Movej_CANFD(six.sockfd, row.text, pose, joint), row.result) << row.text;
        EXPECT_TRUE(pose[0] == row.first_pose && joint[0] == row.first_joint && joint[6] == -1) << row.text;
    }
    EXPECT_EQ(Parser_Force_Position_Move("nonsense"), 0);
}
