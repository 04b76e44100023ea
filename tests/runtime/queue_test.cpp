// The ring of request lines, and the writer thread that drains it.
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"

#include <cstring>
#include <gtest/gtest.h>

using kx::Queue;
using kx::QueueItem;

static QueueItem item(const std::string& text, int descriptor)
{
    QueueItem result = {};
    result.length = static_cast<int>(text.size());
    result.descriptor = descriptor;
    memcpy(result.payload, text.data(), text.size());
    return result;
}

struct QueueTest : testing::Test {
    Queue queue = {};
    ~QueueTest() override { KX_Queue_Deleate(&queue); }
};

TEST_F(QueueTest, KeepsOneSlotFree)
{
    for (int capacity : {1, 2, 600}) {
        ASSERT_EQ(KX_Queue_Create(&queue, capacity), 1);
        EXPECT_NE(KX_Queue_Empty(&queue), 0);
        int stored = 0;
        const QueueItem line = item("x", 1);
        while (KX_Enqueu(&queue, &line))
            ++stored;
        EXPECT_EQ(stored, capacity - 1);
        EXPECT_NE(KX_Queue_Full(&queue), 0);
        KX_Queue_Deleate(&queue);
    }
}

TEST_F(QueueTest, GivesBackLinesInOrderAcrossTheEndOfTheRing)
{
    KX_Queue_Create(&queue, 4);
    int in = 0, out = 0;
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 3; ++i, ++in) {
            const QueueItem line = item(std::string(size_t(in + 1), 'a'), in);
            ASSERT_EQ(KX_Enqueu(&queue, &line), 1);
        }
        for (int i = 0; i < 3; ++i, ++out) {
            QueueItem line = item(std::string(299, '#'), -1);
            ASSERT_EQ(KX_Dequeue(&queue, &line), 1);
            EXPECT_TRUE(line.descriptor == out && line.length == out + 1);
            const std::string copied(size_t(out + 1), 'a');
            EXPECT_EQ(std::string(line.payload, 20), copied + std::string(20 - copied.size(), '#'));
        }
    }
}

TEST_F(QueueTest, ClearGoesOnAtTheOldTail)
{
    KX_Queue_Create(&queue, 10);
    const QueueItem line = item("abc", 1);
    for (int i = 0; i < 3; ++i)
        KX_Enqueu(&queue, &line);
    KX_Queue_Clear(&queue);
    EXPECT_NE(KX_Queue_Empty(&queue), 0);
    EXPECT_EQ(queue.tail, 3);
    KX_Enqueu(&queue, &line);
    EXPECT_EQ(queue.head, 3);
    EXPECT_EQ(queue.storage[3].length, 3);
}

TEST_F(QueueTest, HasNothingToGiveWhenEmptyOrGone)
{
    QueueItem line = item("untouched", 9);
    const QueueItem before = line;
    EXPECT_EQ(KX_Dequeue(&queue, &line), 0);
    EXPECT_EQ(KX_Enqueu(&queue, &line), 0) << "no storage yet";

    KX_Queue_Create(&queue, 2);
    EXPECT_EQ(KX_Dequeue(&queue, &line), 0);
    KX_Queue_Deleate(&queue);
    KX_Queue_Deleate(&queue);
    EXPECT_EQ(queue.storage, nullptr);
    EXPECT_EQ(KX_Dequeue(&queue, &line), 0);
    EXPECT_EQ(memcmp(&line, &before, sizeof line), 0);
    EXPECT_EQ(KX_Queue_Create(&queue, -1), 0);
    EXPECT_EQ(queue.storage, nullptr);
}

TEST(Writer, SendsQueuedLinesInOrderWhileABlockingCallRuns)
{
    Arm arm;
    SuspendQueue = 1;
    for (int i = 0; i < 20; ++i) {
        const std::string line = std::to_string(i) + "\r\n";
        Add_Queue(arm.sockfd, line.data(), static_cast<int>(line.size()));
    }
    const std::string full = std::string(298, 'x') + "\r\n";
    Add_Queue(arm.sockfd, full.data(), 300);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(arm.peer.next_request(), std::to_string(i) + "\r\n");
    EXPECT_EQ(arm.peer.next_request(), full);
}

TEST(Writer, TakesAtMostOneLineEveryFiveMilliseconds)
{
    Arm arm;
    const unsigned int start = Get_Program_Runtime();
    for (int i = 0; i < 41; ++i)
        Add_Queue(arm.sockfd, "x\r\n", 3);
    for (int i = 0; i < 41; ++i)
        arm.peer.next_request();
    EXPECT_GE(Get_Program_Runtime() - start, 200u);
}

TEST(Writer, IdlesAfterUnInitAndGoesOnAfterInit)
{
    Arm arm;
    EXPECT_EQ(KX_API_UnInit(), 0);
    Add_Queue(arm.sockfd, "lost\r\n", 6);
    EXPECT_EQ(Set_Joint_Min_Pos(arm.sockfd, 1, 0, false), 0);
    EXPECT_EQ(KX_API_Init(nullptr), 0);
    Add_Queue(arm.sockfd, "sent\r\n", 6);
    EXPECT_EQ(arm.peer.next_request(), "sent\r\n");
}

TEST(WriterDeathTest, RefusesToOverrunALine)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const std::string line(301, 'x');
    EXPECT_EXIT(Add_Queue(1, line.data(), 301), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(Add_Queue(1, line.data(), -1), testing::KilledBySignal(SIGABRT), "");
}
