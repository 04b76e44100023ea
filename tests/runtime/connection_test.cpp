// Starting the library, and the connection table.
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"
#include "runtime/command.h"

#include <chrono>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace kx;
using namespace std::chrono_literals;

TEST(Library, NamesItsVersionAndRefusesGuardedCommandsBeforeItIsStarted)
{
    EXPECT_STREQ(API_Version(), "4.0.0");
    EXPECT_EQ(Set_Joint_Speed(0, 1, 1, false), 5) << "the descriptor is looked at first";
    EXPECT_EQ(Set_Joint_Speed(3, 1, 1, false), 2);
    EXPECT_EQ(Set_Joint_Acc(3, 1, 1, true), 2);
    EXPECT_EQ(Set_Joint_Zero_Pos(3, 1, false), 2);
    EXPECT_EQ(Arm_Sockrt_State(3), 2);
    EXPECT_EQ(Set_Joint_Min_Pos(3, 1, 1, false), 0) << "unguarded: dropped, as there is no queue";
}

static void first(CallbackData) {}
static void second(CallbackData) {}

TEST(Library, AnotherInitRenewsAllButTheThreads)
{
    EXPECT_EQ(KX_API_Init(first), 0);
    const pthread_t writer = m_hWThread;
    const QueueItem* storage = Socket_Tx_Buffer.storage;
    EXPECT_EQ(m_nOutTime, 3000);
    m_nOutTime = 5;
    KX_Mutex_Lock();
    QueueItem item = {};
    while (KX_Enqueu(&Socket_Tx_Buffer_M, &item)) {
    }
    KX_Mutex_UnLock();

    EXPECT_EQ(KX_API_Init(second), 0);
    EXPECT_EQ(callback1, second);
    EXPECT_EQ(m_nOutTime, 3000);
    EXPECT_EQ(m_nThreadIsRun, 1);
    EXPECT_EQ(m_hWThread, writer);
    EXPECT_NE(Socket_Tx_Buffer.storage, storage);
    for (const Queue* queue :
         {&Socket_Tx_Buffer, &Socket_Tx_Buffer_Block, &Socket_Tx_Buffer_NonBlock, &Socket_Tx_Buffer_M}) {
        EXPECT_EQ(queue->capacity, 600);
        EXPECT_NE(KX_Queue_Empty(queue), 0);
    }
}

TEST(Connections, AreFoundByTheOldestEntry)
{
    Init_Socket_Joint(47, 1000);
    Init_Socket_Joint(46, 1001);
    Init_Socket_Joint(46, 1000); // the same number again
    EXPECT_EQ(Get_Socket_Idx(1000), 0);
    EXPECT_EQ(Get_Socket_Idx(1001), 1);
    static_assert(sizeof(kx::Connection) == 12);
    EXPECT_EQ(Get_Socket_Idx(55), 3) << "unknown: the number of entries";
    EXPECT_EQ(joint_count(1000), 7);
    EXPECT_EQ(request_joints(1000), 7);
    EXPECT_EQ(joint_count(55), 0);
    EXPECT_EQ(request_joints(55), 6);
    Init_Socket_Joint(12, 1002);
    EXPECT_EQ(SockInfo[3].joint_count, 0) << "an unknown model leaves the joint count alone";
}

TEST(Connections, DoNotReadFromAFileThatGetsTheirNumber)
{
    int arm[2], own[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, arm), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, own), 0);
    KX_API_Init(nullptr);
    Init_Socket_Joint(46, arm[0]);
    ASSERT_EQ(write(arm[1], "read\n", 5), 5);
    char bytes[5] = {};
    EXPECT_TRUE(eventually([&] { return recv(arm[0], bytes, 4, MSG_DONTWAIT | MSG_PEEK) < 0; }))
        << "read while open";

    for (const int closed : {arm[0], 0, -1})
        Arm_Socket_Close(closed);
    EXPECT_EQ(Get_Socket_Idx(arm[0]) + m_nSockInfoLen, 0 + 1) << "its entry stays";
    ASSERT_EQ(dup2(own[0], arm[0]), arm[0]);
    ASSERT_EQ(write(own[1], "mine", 4), 4);
    sleep_cp(50);
    EXPECT_EQ(recv(arm[0], bytes, 4, MSG_DONTWAIT), 4);
    EXPECT_STREQ(bytes, "mine");
}

TEST(Connections, FillTheTableAndStopThere)
{
    Peer peer;
    for (int i = 0; i < 300; ++i)
        Init_Socket_Joint(46, 2000 + i);
    Init_Socket_Joint(46, 3000);
    EXPECT_EQ(m_nSockInfoLen, 300);
    EXPECT_EQ(Get_Socket_Idx(3000), 300);
    EXPECT_EQ(joint_count(3000), 0);
    EXPECT_EQ(Arm_Socket_Start("127.0.0.1", peer.port(), 46, 0), 4);
    EXPECT_EQ(Arm_Socket_Start("127.0.0.1", peer.port(), 1, 0), 2);
}

TEST(ProgramRuntime, IsThatOfTheMonotonicClock)
{
    const auto milliseconds = [] { return std::chrono::steady_clock::now().time_since_epoch() / 1ms; };
    const long before = milliseconds();
    const unsigned int runtime = Get_Program_Runtime();
    EXPECT_LE(runtime - static_cast<unsigned int>(before), milliseconds() - before);
}
