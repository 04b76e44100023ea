// Frame transforms and rotation about an axis, against Orocos KDL.
#include "kinematics/kinematics_support.h"

namespace {

struct Frames : ::testing::Test {
    Random random{seed()};
};

TEST_F(Frames, TransformsAgreeWithKdlAndUndoEachOther)
{
    for (int round = 0; round < 500; ++round) {
        const KinPose pose = random.pose(), tool = random.pose(), work = random.pose();
        const KDL::Frame P = frame_by_euler(pose), T = frame_by_euler(tool), W = frame_by_euler(work);
        EXPECT_TRUE(matches(Base_To_WorkFrame(pose, pos2matrix(work)), W.Inverse() * P));
        EXPECT_TRUE(matches(WorkFrame_To_Base(pose, pos2matrix(work)), W * P));
        EXPECT_TRUE(matches(end2tool(pose, tool, work), W.Inverse() * P * T));
        EXPECT_TRUE(matches(tool2end(pose, tool, work), W * P * T.Inverse()));
        EXPECT_TRUE(matches(tool2end(end2tool(pose, tool, work), tool, work), P));
    }
}

TEST_F(Frames, NeitherWrapNorCleanUpNorHelp)
{
    const auto rz = [](float angle) { return KinPose{{}, {}, {1e-7f, 0, angle}}; };
    const Euler e = Base_To_WorkFrame(rz(-3.141f), pos2matrix({})).euler;
    EXPECT_NEAR(e.rx, 1e-7, 1e-9);
    EXPECT_FLOAT_EQ(e.rz, -3.141f);
    EXPECT_FALSE(std::isfinite(Base_To_WorkFrame(rz(0), Matrix{4, 4, {}}).position.x)) << "a singular frame";
}

// One that is none of 1, 2 and 3 turns nothing.
TEST_F(Frames, RotateMoveTurnsAboutThePosesOwnAxis)
{
    for (int round = 0; round < 200; ++round)
        for (int axis : {1, 2, 3, 0, 4, -1}) {
            const KinPose pose = random.pose();
            const float angle = random.between(-7, 7);
            KDL::Frame turned = frame_by_euler(pose);
            if (axis >= 1 && axis <= 3)
                turned.M = turned.M * KDL::Rotation::Rot(KDL::Vector(axis == 1, axis == 2, axis == 3), angle);
            EXPECT_TRUE(matches(RotateMove(pose, axis, angle), turned));
        }
}

TEST_F(Frames, RotationAboutAnAxisOfAnotherFrame)
{
    const KinPose pose = random.pose(), frame = random.pose();
    const KDL::Rotation P = frame_by_euler(pose).M, F = frame_by_euler(frame).M;
    const struct {
        int x, y, z;
        KDL::Vector axis; // in the frame; zero for none
    } rows[] = {
        {1, 0, 0, {1, 0, 0}},   {0, -1, 0, {0, -1, 0}}, {0, 0, -1, {0, 0, -1}},
        {-1, 0, 1, {-1, 0, 1}}, {2, 0, 1, {0, 0, 1}},   {-2, 5, 7, {0, 0, 0}},
    };
    for (const auto& [x, y, z, axis] : rows) {
        const float angle = 0.7f;
        const KDL::Rotation turned =
            axis.Norm() > 0 ? F * KDL::Rotation::Rot(axis, angle) * F.Inverse() * P : P;
        const Euler e = Rodrigues_rotate_simplify(frame.euler, angle, x, y, z, pose);
        EXPECT_TRUE(KDL::Equal(KDL::Rotation::RPY(e.rx, e.ry, e.rz), turned, 1e-6)) << axis;
    }
}

} // namespace
