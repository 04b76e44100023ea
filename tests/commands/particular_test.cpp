// What is true of one command alone, and of the C++ class beside its commands.
#include "support/peer.h"
#include "support/sleeps.h"

#include "kx/model.h"
#include "kx_service.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"

#include <array>
#include <climits>
#include <gtest/gtest.h>

// A reply is put where the receiver would put one, of kinds that it never finds.
TEST(NeverAnswered, WouldDecodeAStatus)
{
    Arm arm;
    for (const auto& [value, status] : {std::pair("true", 0), {"false", 1}, {"5", 11}})
        for (const bool of_waypoint : {true, false}) {
            std::thread receiver([&, end = std::string(value) + "}"] {
                const std::string reply = (of_waypoint ? "{\"waypoint_state\":" : "{\"set_state\":") + end;
                ASSERT_TRUE(eventually([] { return m_nSockeRIinfosLen == 1; }));
                EXPECT_EQ(SockeRIinfos[0].key, of_waypoint ? 76 : 106);
                std::copy(reply.begin(), reply.end(), SockeRIinfos[0].text);
                SockeRIinfos[0].received = 1;
            });
            EXPECT_EQ(of_waypoint ? Stop_Waypoint(arm.sockfd, true)
                                  : Set_Tool_DO_State(arm.sockfd, 2, true, true),
                      status);
            receiver.join();
        }
}

TEST(NetworkSettings, AreRefusedWhenTheyDoNotFit)
{
    Arm arm;
    const std::string password(250, 'x');
    EXPECT_EQ(Set_WiFi_AP_Data(arm.sockfd, "cell", password.c_str()), 11);
    EXPECT_EQ(Set_WiFI_STA_Data(arm.sockfd, password.c_str(), ""), 11);
    EXPECT_EQ(Set_WiFi_AP_Data(arm.sockfd, "cell \"7\"", "pass\\word"), 0);
    EXPECT_EQ(arm.peer.next_request(),
              on_the_wire(R"({"command":"set_wifi_ap","wifi_name":"cell \"7\"","password":"pass\\word"})"));
}

TEST(Nothing, IsSentForAnUnknownTypeAndWhatIsReserved)
{
    Arm arm;
    unsigned char state = 77;
    for (bool block : {false, true}) {
        for (int type : {2, -1})
            EXPECT_EQ(Set_IO_State(arm.sockfd, type, 1, true, block), 11);
        EXPECT_EQ(Stop_PWM(arm.sockfd, block), 8);
    }
    for (int type : {4, -1})
        EXPECT_EQ(Get_IO_State(arm.sockfd, type, 1, &state), 11);
    EXPECT_EQ(state, 77);
    EXPECT_EQ(slept(), (std::vector<unsigned int>{50, 20, 20, 20, 20, 20, 20, 20, 20}))
        << "to connect, and for each call";
    EXPECT_EQ(arm.peer.unread(), 0u);
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
}

TEST(Force, BlocksOnlyOnExactlyOne)
{
    Arm arm;
    m_nOutTime = 20;
    for (int block : {2, -1, 256, 257})
        EXPECT_EQ(Set_Force_Postion(arm.sockfd, 1, 0, 2, 5, block), 0);
    EXPECT_EQ(Set_Force_Postion(arm.sockfd, 1, 0, 2, 5, 1), 7);
}

// The entries never use these.
TEST(PassThrough, WaitsForThePushInTheBlockingWorkers)
{
    Arm arm;
    arm.peer.answer(R"({"command":"joint_state","arm_err":0,"joint":[1,2,3,4,5,6]})");
    EXPECT_EQ(Movej_CANFD_Block(arm.sockfd, std::array<float, 6>().data()), 0);
    arm.peer.answer("pose_state {,");
    EXPECT_EQ(Movep_CANFD_Block(arm.sockfd, {}), 9);
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
}

TEST(ForcePosition, RaisesTheSuspendFlagAroundEitherForm)
{
    Arm arm;
    arm.peer.answer("Force_Position_State");
    for (bool block : {true, false}) {
        KX_Mutex_Lock(); // holds the caller up where it registers
        std::thread caller(
            [&] { EXPECT_EQ(Force_Position_Move_POSE(arm.sockfd, {}, 0, 0, 0, 0, block), 0); });
        EXPECT_TRUE(eventually([] { return SuspendQueue == 1; }));
        KX_Mutex_UnLock();
        caller.join();
        EXPECT_EQ(SuspendQueue, 0);
    }
}

TEST(Modbus, WritesWhatTheReferencePromisesToFit)
{
    unsigned char full[34];
    std::fill(std::begin(full), std::end(full), static_cast<unsigned char>(255));
    Arm arm;
    EXPECT_EQ(Write_Coils(arm.sockfd, INT_MIN, INT_MIN, 272, full, INT_MIN, false), 0);
    EXPECT_NE(arm.peer.next_request().find("255],\n\t\"device\":\t-2147483648"), std::string::npos);
    EXPECT_EQ(Write_Registers(arm.sockfd, INT_MIN, INT_MIN, 34, full, INT_MIN, false), 0);
    EXPECT_NE(arm.peer.next_request().find("255],\n\t\"device\":\t-2147483648"), std::string::npos);
}

// Before the end no more is read of the caller's bytes than could have been sent.
TEST(LongLineDeathTest, EndsTheProcess)
{
    static unsigned char bytes[300];
    for (int num : {800, INT_MAX}) {
        EXPECT_EXIT(Write_Coils(-1, 1, 0, num, bytes, 1, false), testing::KilledBySignal(SIGABRT), "");
        EXPECT_EXIT(Write_Registers(-1, 1, 0, num, bytes, 1, false), testing::KilledBySignal(SIGABRT), "");
    }
    const float third = -0.1f / 3; // -33.333332061767578 on the wire
    const float pose[6] = {third, third, third, third, third, third};
    EXPECT_EXIT(Manual_Set_Fz(-1, pose, pose), testing::KilledBySignal(SIGABRT), "");
}

TEST(Service, SetsTheLinearAccelerationForTheAngularSpeed)
{
    Arm arm;
    EXPECT_EQ(KX_Service().Service_Set_Arm_Angular_Speed(arm.sockfd, 1.5f, false), 0);
    EXPECT_EQ(arm.peer.next_request(),
              on_the_wire(R"({"command":"set_arm_max_line_acc","arm_line_acc":1500})"));
}

TEST(Service, NamesItsVersionConnectsAndComputes)
{
    KX_Service service;
    EXPECT_STREQ(service.Service_API_Version(), "4.0.0");
    EXPECT_EQ(service.Service_Arm_Socket_Start("127.0.0.1", 1, 12, 0), 2);
    service.Service_Arm_Socket_Close(0);
    EXPECT_EQ(service.Service_KX_API_Init(nullptr), 0);
    EXPECT_EQ(service.Service_KX_API_UnInit(), 0);

    const float joint[7] = {10, 20, 30, 40, 50, 60, 70};
    service.Service_SetAngle(0, 0, 0.5f);
    const KinPose pose = service.Service_Forward_Kinematics(46, joint),
                  expected = Forward_Kinematics(46, joint);
    EXPECT_EQ(memcmp(&pose, &expected, sizeof pose), 0);
    EXPECT_FLOAT_EQ(angleZ, 0.5f);
    float result[7] = {}, direct[7] = {};
    EXPECT_EQ(service.Service_Inverse_Kinematics(46, joint, &pose, result, 1),
              inverse_kinematics(46, joint, &pose, direct, 1));
    EXPECT_EQ(memcmp(result, direct, sizeof result), 0);
    EXPECT_NEAR(result[4], joint[4], 0.01f);
}
