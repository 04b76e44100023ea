// Realtime pass-through: what goes out, what is registered, and the blocking forms.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"
#include "runtime/transmit.h"

static const float target[7] = {10.0005f, -20, 30, -40, 50, -60, 70};
static const POSE pose = {0.1234567f, -0.5f, 1, -3.14159f, 0.0005f, 1.5f};

struct Stream {
    std::string name;
    int (*call)(int fd);
    int (*blocking)(int fd);
    std::string request;
    std::string push_name;
    int key;
    int model;
};

class Streams : public testing::TestWithParam<Stream> {};

TEST_P(Streams, GoOutAtOnceAndRegisterForOnePushEach)
{
    const Stream& row = GetParam();
    Arm arm(row.model);
    unsigned int shortest = ~0u;
    for (int sent = 0; sent < 3; ++sent) {
        const unsigned int start = Get_Program_Runtime();
        EXPECT_EQ(row.call(arm.sockfd), 0);
        shortest = std::min(shortest, Get_Program_Runtime() - start);
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.request));
        ASSERT_EQ(m_nSockeRIinfosLen, sent + 1);
        EXPECT_EQ(SockeRIinfos[sent].descriptor, arm.sockfd);
        EXPECT_EQ(SockeRIinfos[sent].key, row.key);
        EXPECT_EQ(SockeRIinfos[sent].waiting, 0);
    }
    EXPECT_LT(shortest, 20u);

    EXPECT_EQ(row.call(-1), 6);
    EXPECT_EQ(m_nSockeRIinfosLen, 3);
    EXPECT_EQ(SuspendQueue, 0);
}

TEST_P(Streams, WaitForThePushWhenBlocking)
{
    const Stream& row = GetParam();
    Arm arm(row.model);
    const std::string push = "{\"command\":\"" + row.push_name + "\"";
    const std::pair<std::string, int> pushes[] = {
        {push + R"(,"arm_err":0,"pose":[1,2,3,4,5,6],"joint":[1,2,3,4,5,6,7]})", 0},
        {push + R"(,"joint":[1,2,3,4,5,6,7]})", 9},
        {row.push_name + " {,", 9},
    };
    for (const auto& [text, expected] : pushes) {
        arm.peer.answer(text + "\n");
        EXPECT_EQ(row.blocking(arm.sockfd), expected) << text;
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.request));
        EXPECT_EQ(m_nSockeRIinfosLen, 0);
    }
    EXPECT_EQ(row.blocking(-1), 6);
    m_nOutTime = 100;
    EXPECT_EQ(row.blocking(arm.sockfd), 7);
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
}

static int movej(int fd)
{
    return Movej_CANFD(fd, target);
}
static int movej_block(int fd)
{
    return Movej_CANFD_Block(fd, target);
}

INSTANTIATE_TEST_SUITE_P(
    PassThrough, Streams,
    testing::Values(Stream{"Movej_CANFD", movej, movej_block,
                           R"({"command":"movej_canfd","joint":[10000,-20000,30000,-40000,50000,-60000]})",
                           "joint_state", 65, 46},
                    Stream{
                        "Movej_CANFD_seven", movej, movej_block,
                        R"({"command":"movej_canfd","joint":[10000,-20000,30000,-40000,50000,-60000,70000]})",
                        "joint_state", 65, 47},
                    Stream{"Movep_CANFD", [](int fd) { return Movep_CANFD(fd, pose); },
                           [](int fd) { return Movep_CANFD_Block(fd, pose); },
                           R"({"command":"movep_canfd","pose":[123456,-500000,1000000,-3141,0,1500]})",
                           "pose_state", 66, 36}),
    RowName());
