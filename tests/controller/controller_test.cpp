// The library and the virtual controller together, as an application meets them.
#include "support/application.h"

#include <cmath>
#include <thread>

struct Models : testing::TestWithParam<int> {
    Application app{GetParam()};
    int arm = app.arm;
    int joints = GetParam() == 47 ? 7 : 6;
};

INSTANTIATE_TEST_SUITE_P(Arm, Models, testing::Values(36, 46, 47));

TEST_P(Models, KeepTheirJointParameters)
{
    const struct {
        int (*set)(int, unsigned char, float, bool);
        int (*get)(int, float*);
        float value, refused;
    } rows[] = {
        {Set_Joint_Speed, Get_Joint_Speed, 90.5f, -1},
        {Set_Joint_Acc, Get_Joint_Acc, 300.25f, 0},
        {Set_Joint_Min_Pos, Get_Joint_Min_Pos, -60.125f, 181},
        {Set_Joint_Max_Pos, Get_Joint_Max_Pos, 61, -61},
    };
    for (const auto& row : rows) {
        float before[7], after[7];
        ASSERT_EQ(row.get(arm, before), 0);
        for (int joint = 1; joint <= joints; ++joint)
            EXPECT_EQ(row.set(arm, static_cast<unsigned char>(joint), row.value, true), 0) << joint;
        ASSERT_EQ(row.get(arm, after), 0);
        for (int j = 0; j < joints; ++j)
            EXPECT_EQ(after[j], row.value);

        EXPECT_EQ(row.set(arm, 2, row.refused, true), 1);
        EXPECT_EQ(row.set(arm, 0, row.value, true), 1);
        EXPECT_EQ(row.set(arm, static_cast<unsigned char>(joints + 1), row.value, true), 1);
        ASSERT_EQ(row.get(arm, after), 0);
        EXPECT_EQ(after[1], row.value) << "a refused value changes nothing";

        EXPECT_EQ(row.set(arm, 1, row.value + 1, false), 0);
        sleep_cp(100);
        ASSERT_EQ(row.get(arm, after), 0);
        EXPECT_EQ(after[0], row.value + 1) << "non-blocking";
    }
}

TEST_P(Models, ArriveWhereTheyAreSentWithThePoseOfTheForwardKinematics)
{
    Init_Sys_Data(46); // gives model 36 its tool transform
    const float target[7] = {30, -20, 45, 10, 50, -70, 15};
    ASSERT_EQ(Movej_Cmd(arm, target, 100, 0, true), 0);

    float joint[7];
    POSE pose;
    unsigned short arm_err = 9, sys_err = 9;
    ASSERT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
    for (int j = 0; j < joints; ++j)
        EXPECT_NEAR(joint[j], target[j], 0.0011);
    EXPECT_EQ(arm_err, 0);
    EXPECT_EQ(sys_err, 0);
    const KinPose expected = Forward_Kinematics(GetParam(), target);
    EXPECT_NEAR(pose.x, expected.position.x, 2e-6);
    EXPECT_NEAR(pose.y, expected.position.y, 2e-6);
    EXPECT_NEAR(pose.z, expected.position.z, 2e-6);
    EXPECT_NEAR(pose.rx, expected.euler.rx, 2e-3);
    EXPECT_NEAR(pose.ry, expected.euler.ry, 2e-3);
    EXPECT_NEAR(pose.rz, expected.euler.rz, 2e-3);
}

TEST_P(Models, MakeTheirPresentPositionZero)
{
    const float target[7] = {10, 10, 10, 10, 10, 10, 10};
    ASSERT_EQ(Movej_Cmd(arm, target, 100, 0, true), 0);
    EXPECT_EQ(Set_Joint_Zero_Pos(arm, 3, true), 0);
    const auto now = app.joints();
    EXPECT_EQ(now[2], 0);
    EXPECT_EQ(now[1], 10);
}

// A slow motion of joint 1, long enough to be acted on.
struct Motion : testing::Test {
    Application app{46, {"--speed", "1"}};
    int arm = app.arm;
    const float target[6] = {90, 0, 0, 0, 0, 0};

    void start()
    {
        ASSERT_EQ(Movej_Cmd(arm, target, 20, 0, false), 0);
        sleep_cp(600);
        ARM_CTRL_MODES mode = None_Mode;
        float data[7];
        EXPECT_EQ(Get_Current_Trajectory(arm, &mode, data), 0);
        EXPECT_EQ(mode, Joint_Mode);
    }
};

TEST_F(Motion, IsSeenOnItsWay)
{
    start();
    float before = 0;
    for (int i = 0; i < 5; ++i) {
        const float now = app.joints()[0];
        EXPECT_GT(now, before);
        EXPECT_LT(now, 90);
        before = now;
        sleep_cp(50);
    }
    EXPECT_EQ(app.standing()[0], 90);
}

TEST_F(Motion, EndsABlockingCallWhenAnotherThreadStopsIt)
{
    std::thread stopper([this] {
        sleep_cp(700);
        EXPECT_EQ(Move_Stop_Cmd(arm, false), 0);
    });
    EXPECT_EQ(Movej_Cmd(arm, target, 5, 0, true), 1);
    stopper.join();
    EXPECT_LT(app.joints()[0], 89);
}

TEST_F(Motion, IsRefusedBeyondTheLimitsAndForADisabledJoint)
{
    const float beyond[6] = {0, 131, 0, 0, 0, 0}, near[6] = {5, 0, 0, 0, 0, 0};
    EXPECT_EQ(Movej_Cmd(arm, beyond, 20, 0, true), 1);
    EXPECT_EQ(Movej_Cmd(arm, near, 0, 0, true), 1) << "without speed";
    EXPECT_EQ(Set_Joint_EN_State(arm, 2, false, true), 0);
    EXPECT_EQ(Movej_Cmd(arm, near, 20, 0, true), 1);
    EXPECT_EQ(app.joints()[0], 0);
}

TEST_F(Motion, OutlivesTheConnectionThatAskedForIt)
{
    start();
    Arm_Socket_Close(arm);
    arm = app.arm = app.connect();
    EXPECT_EQ(app.standing()[0], 90);
}

TEST_F(Motion, EndsABlockingCallWhenTheControllerDies)
{
    m_nOutTime = 500;
    std::thread killer([this] {
        sleep_cp(500);
        app.controller->end(SIGKILL);
    });
    const int status = Movej_Cmd(arm, target, 5, 0, true);
    EXPECT_TRUE(status == 7) << status << ": and no signal ends the application";
    killer.join();
    EXPECT_EQ(Get_Joint_Degree(arm, std::vector<float>(7).data()), 6);
}
