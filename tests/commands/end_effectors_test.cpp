// Gripper, hand and PWM on the wire.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"

static const int fingers[7] = {100, -200, 300, 0, 2147483647, -2147483647 - 1, 7};

INSTANTIATE_TEST_SUITE_P(
    EndEffectors, Setters,
    testing::Values(
        Setter{"Set_Gripper_Route", with(Set_Gripper_Route, 10, 900),
               R"({"command":"set_gripper_route","min":10,"max":900})", "set_gripper_route", "state"},
        Setter{"Set_Gripper_Release", with(Set_Gripper_Release, 500),
               R"({"command":"set_gripper_release","speed":500,"block":0})", "set_gripper_release", "state",
               11, Entry::sleeping, 46, R"({"command":"set_gripper_release","speed":500,"block":1})"},
        Setter{"Set_Gripper_Pick", with(Set_Gripper_Pick, 500, 200),
               R"({"command":"set_gripper_pick","speed":500,"force":200,"block":0})", "set_gripper_pick",
               "state", 11, Entry::sleeping, 46,
               R"({"command":"set_gripper_pick","speed":500,"force":200,"block":1})"},
        Setter{"Set_Gripper_Pick_On", with(Set_Gripper_Pick_On, 1, -2),
               R"({"command":"set_gripper_pick_on","speed":1,"force":-2,"block":0})", "set_gripper_pick_on",
               "state", 11, Entry::sleeping, 46,
               R"({"command":"set_gripper_pick_on","speed":1,"force":-2,"block":1})"},
        Setter{"Set_Gripper_Position", with(Set_Gripper_Position, 1000),
               R"({"command":"set_gripper_position","position":1000})", "set_gripper_position", "state"},
        Setter{"Set_Hand_Posture", with(Set_Hand_Posture, 40),
               R"({"command":"set_hand_posture","posture_num":40})", "set_hand_posture", "set_state"},
        Setter{"Set_Hand_Seq", with(Set_Hand_Seq, 41), R"({"command":"set_hand_seq","seq_num":41})",
               "set_hand_seq", "set_state"},
        Setter{"Set_Hand_Angle", with(Set_Hand_Angle, fingers),
               R"({"command":"set_hand_angle","hand_angle":[100,-200,300,0,2147483647,-2147483648]})",
               "set_hand_angle", "set_state"},
        Setter{"Set_Hand_Speed", with(Set_Hand_Speed, 42), R"({"command":"set_hand_speed","hand_speed":42})",
               "set_hand_speed", "set_state"},
        Setter{"Set_Hand_Force", with(Set_Hand_Force, 43), R"({"command":"set_hand_force","hand_force":43})",
               "set_hand_force", "set_state"},
        Setter{"Set_PWM", with(Set_PWM, 2000, 50), R"({"command":"set_PWM","PWM_Frq":2000,"PWM_Dpulse":50})",
               "set_PWM", "set_state"}),
    RowName());

TEST(EndEffectors, StoppingThePWMIsReserved)
{
    Arm arm;
    for (bool block : {false, true}) {
        EXPECT_EQ(Stop_PWM(arm.sockfd, block), 8);
        expect_delay(true, [&] { Stop_PWM(arm.sockfd, block); });
        expect_idle();
    }
    Set_Hand_Seq(arm.sockfd, 1, false);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"set_hand_seq","seq_num":1})"));
}
