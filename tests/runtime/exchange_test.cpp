// What calls and their pending list do to one another: a full list, entries that move, many threads.
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/classic/pending.h"
#include "runtime/command.h"

#include <gtest/gtest.h>

using namespace kx;

TEST(Exchange, SendsNothingWhenTheListIsFull)
{
    Arm arm;
    for (int i = 0; i < 300; ++i)
        add_pending(-5, KeyCode::timer, waiting_caller);
    EXPECT_EQ(Set_Joint_Speed(arm.sockfd, 1, 1, true), 6);
    EXPECT_EQ(stream(arm.sockfd, Request("movej_canfd", KeyCode::joint_state)), 0);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"movej_canfd"})"))
        << "a target still goes out";
    EXPECT_EQ(m_nSockeRIinfosLen, 300);
    EXPECT_EQ(arm.peer.unread(), 0u);
}

TEST(Exchange, ReadsTheTextAtThePlaceWhereItRegistered)
{
    Arm arm;
    add_pending(-5, KeyCode::timer, waiting_caller);
    const std::jthread mover([&] {
        arm.peer.next_request();
        remove_pending(0); // the caller's entry moves to index 0
        arm.peer.say(R"({"command":"set_joint_max_speed","joint_max_speed":true})");
    });
    EXPECT_EQ(Set_Joint_Speed(arm.sockfd, 1, 1, true), 9) << "at index 1 stands no text";
}

TEST(Exchange, QueuesForManyArmsFromManyThreads)
{
    Arm arms[4];
    std::vector<std::jthread> threads;
    for (Arm& arm : arms)
        threads.emplace_back([&arm] {
            for (int i = 0; i < 5; ++i)
                EXPECT_EQ(Set_Joint_Min_Pos(arm.sockfd, 1, static_cast<float>(i), false), 0);
        });
    threads.clear(); // which waits for them
    for (Arm& arm : arms)
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(arm.peer.next_request(),
                      on_the_wire(R"({"command":"set_joint_min_pos","joint_min_pos":[1,)" +
                                  std::to_string(1000 * i) + "]}"));
}
