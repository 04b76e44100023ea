// Inverse kinematics of the seven-joint arm against the plain judge, and its codes, limits, search range and
// singular places.
#include "kinematics/kinematics_support.h"
#include "kinematics/seven_joint_judge.h"

namespace {

using judge::degree, kdl_arms::greatest_difference;

struct Solution {
    int code;
    Joints joint; // degrees
};

constexpr Joints untouched = {-1000, -1000, -1000, -1000, -1000, -1000, -1000};

Solution solve(const Joints& reference, const KinPose& target, unsigned char flag)
{
    Solution s = {0, untouched};
    s.code = inverse_kinematics(47, reference.data(), &target, s.joint.data(), flag);
    return s;
}

KinPose pose(const Joints& joint)
{
    return Forward_Kinematics(47, joint.data());
}

judge::Seven radians(const Joints& joint)
{
    judge::Seven r;
    for (int i = 0; i < 7; ++i)
        r[i] = joint[i] * degree;
    return r;
}

double squared_distance(const Joints& a, const Joints& b) // rad^2
{
    double sum = 0;
    for (int i = 0; i < 7; ++i)
        sum += std::pow((a[i] - b[i]) * degree, 2);
    return sum;
}

bool gimbal_lock(const KinPose& p) // its angles are not exactly those of the pose
{
    return std::fabs(std::cos(p.euler.ry)) < 0.01;
}

::testing::AssertionResult reaches(const Joints& joint, const KinPose& target)
{
    const KDL::Twist off = KDL::diff(judge::forward(joint.data()), kdl_arms::frame_by_quaternion(target));
    if (off.vel.Norm() <= 5e-6 && off.rot.Norm() <= 2e-5) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "off by " << off.vel.Norm() << " m, " << off.rot.Norm() << " rad";
}

// The chain's limits, but for 3e-5 radians which they are narrower than the joints' own.
::testing::AssertionResult keeps_limits(const Joints& joint)
{
    for (int i = 0; i < 7; ++i)
        if (std::fabs(joint[i]) > judge::joint_limits[i] ||
            std::fabs(joint[i]) * degree > judge::chain_limits[i] + 3e-6)
            return ::testing::AssertionFailure() << "joint " << i + 1 << " at " << joint[i];
    return ::testing::AssertionSuccess();
}

double turned(double from, double to) // between arm angles, in [0, pi]
{
    return std::fabs(std::remainder(to - from, 2 * M_PI));
}

class InverseSeven : public ::testing::Test {
  protected:
    Random random;

    Joints random_joints()
    {
        Joints joint;
        for (int i = 0; i < 7; ++i) {
            const float limit = static_cast<float>(judge::joint_limits[i]);
            joint[i] = random.between(-limit, limit);
        }
        return joint;
    }
};

// The joints themselves as reference, anywhere and in every corner: each joint at its limits, straight and at
// right angles, alone and with all others.
TEST_F(InverseSeven, AnArmAtRestStaysAtRest)
{
    std::vector<Joints> all(20000);
    for (Joints& joint : all)
        joint = random_joints();
    for (int corner = 0; corner < 4 * 4 * 4 * 4 * 4 * 4 * 4; ++corner) {
        Joints joint;
        for (int i = 0, rest = corner; i < 7; ++i, rest /= 4) {
            // The chain's, just inside, since the joints' own are a little wider.
            const float limit = static_cast<float>(
                            std::min(judge::joint_limits[i], judge::chain_limits[i] / degree * (1 - 1e-6))),
                        values[] = {-limit, 0, limit, 90};
            joint[i] = values[rest % 4];
        }
        all.push_back(joint);
    }
    for (const Joints& joint : all) {
        const KinPose target = pose(joint);
        if (gimbal_lock(target)) continue;
        for (unsigned char flag : {0, 1, 2}) {
            const auto [code, result] = solve(joint, target, flag);
            ASSERT_EQ(code, 1) << ::testing::PrintToString(joint);
            EXPECT_TRUE(reaches(result, target)) << ::testing::PrintToString(joint);
            EXPECT_LT(greatest_difference(result, joint), 0.03) << ::testing::PrintToString(joint);
        }
    }
}

// Upright and straight, joints 1, 3, 5 and 7 turn about one axis: what the target turns is shared out evenly.
TEST_F(InverseSeven, CoaxialJointsShareTheTurn)
{
    const Joints upright = {};
    for (const Joints& reference :
         {Joints{8, 0, 4, 0, -2, 0, 2}, {50, 0, -60, 0, 20, 0, 10}, {-40, 0, 30, 0, 30, 0, -28}}) {
        const float excess = (reference[0] + reference[2] + reference[4] + reference[6]) / 4;
        Joints expected = reference;
        for (int i : {0, 2, 4, 6})
            expected[i] -= excess;
        for (unsigned char flag : {0, 1, 2}) {
            const auto [code, result] = solve(reference, pose(upright), flag);
            EXPECT_EQ(code, 1);
            EXPECT_LT(greatest_difference(result, expected), 0.1) << ::testing::PrintToString(result);
        }
    }
}

// Within 0.26 rad of the reference's arm angle; the nearest there; and no solution only where there is none.
TEST_F(InverseSeven, StaysWithinTheSearchRange)
{
    int found = 0, none = 0;
    for (int round = 0; round < 400; ++round) {
        const Joints joint = random_joints(), reference = random_joints();
        const KinPose target = pose(joint);
        const double psi = judge::arm_angle(reference.data());
        const judge::Redundancy all(kdl_arms::frame_by_quaternion(target));
        const double nearest = all.nearest(radians(reference), psi - 0.26, psi + 0.26, 60);
        for (unsigned char flag : {0, 1}) {
            const auto [code, result] = solve(reference, target, flag);
            ASSERT_EQ(code, nearest < INFINITY ? 1 : -3) << ::testing::PrintToString(joint);
            if (code == 1) {
                EXPECT_LT(turned(psi, judge::arm_angle(result.data())), 0.26 + 1e-4);
                EXPECT_LT(squared_distance(result, reference), nearest + 1e-4);
                EXPECT_TRUE(reaches(result, target)) << ::testing::PrintToString(joint);
                EXPECT_TRUE(keeps_limits(result)) << ::testing::PrintToString(joint);
            } else {
                EXPECT_EQ(result, untouched);
            }
            ++(code == 1 ? found : none);
        }
    }
    EXPECT_GT(found, 600);
    EXPECT_GT(none, 30);
}

// In a loop that feeds each result back as the next reference, a slow target is followed slowly.
struct Path {
    const char* name;
    Joints start;
    KDL::Vector stroke; // metres, to and fro
    double turn;        // radians about the target's own x axis, to and fro
    double fastest;     // degrees a step
};

class InverseSevenTracking : public ::testing::TestWithParam<Path> {};

INSTANTIATE_TEST_SUITE_P(
    Paths, InverseSevenTracking,
    ::testing::Values(Path{"Open", {20, 40, -30, 90, 10, 50, 30}, {0.05, -0.1, 0.1}, 0.5, 1},
                      Path{"OverTheShoulder", {0, -25, 0, 80, 0, 40, 0}, {-0.3, 0, 0}, 0, 2},
                      Path{"BesideTheShoulder", {0, -25, 0, 80, 0, 40, 0}, {-0.3, 0.002, 0}, 0, 2},
                      Path{"UprightUpperArm", {10, 3, -10, 90, 0, 40, 0}, {-0.1, 0.05, 0}, 0, 5},
                      Path{"StraightWrist", {0, 30, 0, 60, 20, 5, 0}, {0.02, 0, 0}, -0.4, 8},
                      Path{"AroundJoint7", {0, 30, 0, 60, 0, 60, 200}, {0.05, 0.05, 0}, 0.6, 1}),
    [](const auto& test) { return test.param.name; });

TEST_P(InverseSevenTracking, NeverJumps)
{
    const auto& [name, start, stroke, turn, fastest] = GetParam();
    const KDL::Frame origin = judge::forward(start.data());
    for (unsigned char flag : {0, 1, 2}) {
        Joints present = start;
        double widest = 0;
        constexpr int steps = 2000;
        for (int step = 1; step <= steps; ++step) {
            const double way = (1 - std::cos(2 * M_PI * step / steps)) / 2;
            const KDL::Frame f(origin.M * KDL::Rotation::RotX(turn * way), origin.p + way * stroke);
            double rx, ry, rz;
            f.M.GetRPY(rx, ry, rz);
            const Euler e = {static_cast<float>(rx), static_cast<float>(ry), static_cast<float>(rz)};
            const KinPose target = {
                {static_cast<float>(f.p.x()), static_cast<float>(f.p.y()), static_cast<float>(f.p.z())},
                euler2quaternion(e.rx, e.ry, e.rz),
                e};
            const auto [code, next] = solve(present, target, flag);
            ASSERT_EQ(code, 1) << step;
            ASSERT_TRUE(reaches(next, target)) << step;
            widest = std::fmax(widest, greatest_difference(next, present));
            present = next;
        }
        EXPECT_LT(widest, fastest);
    }
}

// Of joint 7's angles a turn apart the one near the reference counts, as long as it is within +-360 degrees.
TEST_F(InverseSeven, Joint7FollowsTheReferencesTurn)
{
    const struct {
        float joint, reference, result;
    } rows[] = {{20, 100, 20},  {-60, 250, 300}, {300, -100, -60},
                {350, 10, -10}, {10, 350, 10},   {-350, 0, 10}};
    for (const auto& [q7, reference7, result7] : rows) {
        Joints joint = {10, 20, 30, 40, 50, 60, q7}, reference = joint, expected = joint;
        reference[6] = reference7;
        expected[6] = result7;
        const auto [code, result] = solve(reference, pose(joint), 0);
        EXPECT_EQ(code, 1);
        EXPECT_LT(squared_distance(result, reference), squared_distance(expected, reference) + 1e-6) << q7;
        EXPECT_TRUE(keeps_limits(result)) << q7;
    }
}

// Only the orientation that the flag names counts.
TEST_F(InverseSeven, FlagChoosesTheOrientation)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    KinPose by_euler = pose(joint), by_quaternion = by_euler;
    by_euler.quaternion = {0, 1, 0, 0};
    by_quaternion.euler = {1, 1, 1};
    EXPECT_LT(greatest_difference(solve(joint, by_euler, 1).joint, joint), 0.01);
    for (unsigned char flag : {0, 2})
        EXPECT_LT(greatest_difference(solve(joint, by_quaternion, flag).joint, joint), 0.01);
}

// A cosine of the elbow angle up to 1.001 counts as stretched: 115 micrometres.
TEST_F(InverseSeven, ReachesALittleFartherThanStretched)
{
    const Joints stretched = {20, 30, 40, 0, 50, 60, 70}, bent = {20, 25, 40, 12, 45, 55, 70};
    const KinPose there = pose(stretched);
    const KDL::Vector outward = judge::wrist_centre(judge::forward(stretched.data())) / (0.256 + 0.21);
    for (const auto& [farther, expected] :
         {std::pair{1.1e-4, 1}, {1.3e-4, -1}, {1., -1}, {-0.419, -8}, {-0.426, -1}}) {
        KinPose target = there;
        target.position.x += static_cast<float>(farther * outward.x());
        target.position.y += static_cast<float>(farther * outward.y());
        target.position.z += static_cast<float>(farther * outward.z());
        for (const Joints& reference : {stretched, bent})
            for (unsigned char flag : {0, 1, 2}) {
                const auto [code, result] = solve(reference, target, flag);
                EXPECT_EQ(code, expected) << farther;
                if (code == -1) {
                    EXPECT_EQ(result, untouched);
                } else if (code == 1) {
                    EXPECT_NEAR((judge::forward(result.data()).p - judge::forward(stretched.data()).p).Norm(),
                                0, 1e-5);
                }
            }
    }
}

// The elbow angle follows from the target alone; a solution that needs it beyond its limits is written, and
// told by joint 4's code.
TEST_F(InverseSeven, ElbowBeyondItsLimits)
{
    for (float q4 : {135.01f, -135.01f, 150.0f, -170.0f}) {
        const Joints joint = {10, 20, 30, q4, 50, 60, 70};
        for (unsigned char flag : {0, 1, 2}) {
            const auto [code, result] = solve(joint, pose(joint), flag);
            EXPECT_EQ(code, -8) << q4;
            EXPECT_LT(greatest_difference(result, joint), 0.01) << q4;
        }
    }
}

// A reference outside the limits is a reference like any other: the solution is inside.
TEST_F(InverseSeven, ReferenceBeyondTheLimits)
{
    const Joints joint = {170, 100, 30, 40, 50, 60, 300};
    for (const auto& [i, beyond] :
         {std::pair{0, 190.f}, {0, 1000.f}, {1, 140.f}, {3, -200.f}, {6, 400.f}, {6, 1e9f}}) {
        Joints reference = joint;
        reference[i] = beyond;
        const auto [code, result] = solve(reference, pose(joint), 2);
        EXPECT_EQ(code, 1) << beyond;
        EXPECT_TRUE(reaches(result, pose(joint))) << beyond;
        EXPECT_TRUE(keeps_limits(result)) << beyond;
    }
}

TEST_F(InverseSeven, NotNumbers)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    for (unsigned char flag : {0, 1, 2}) {
        KinPose nowhere = pose(joint), turned_nowhere = nowhere, far = nowhere;
        nowhere.position.y = nan_f;
        turned_nowhere.euler.rx = turned_nowhere.quaternion.w = nan_f;
        far.position.x = infinity_f;
        for (const KinPose& target : {nowhere, turned_nowhere}) {
            const auto [code, result] = solve(joint, target, flag);
            EXPECT_EQ(code, 1); // no comparison with a limit fails
            for (float angle : result)
                EXPECT_TRUE(std::isnan(angle));
        }
        EXPECT_EQ(solve(joint, far, flag).code, -1);
        for (int i = 0; i < 7; ++i)
            for (float odd : {nan_f, infinity_f}) {
                Joints reference = joint;
                reference[i] = odd;
                const auto [code, result] = solve(reference, pose(joint), flag);
                EXPECT_EQ(code, -3);
                EXPECT_EQ(result, untouched);
            }
    }
}

// Neither the installation angles nor the place of the result matter.
TEST_F(InverseSeven, ResultMayReplaceTheReference)
{
    setAngle(0.3f, 0.2f, 0.1f);
    for (int round = 0; round < 100; ++round) {
        const Joints joint = random_joints(), reference = random_joints();
        const KinPose target = pose(joint);
        Joints both = reference;
        EXPECT_EQ(inverse_kinematics(47, both.data(), &target, both.data(), 2), 1);
        EXPECT_EQ(both, solve(reference, target, 2).joint);
        EXPECT_TRUE(reaches(both, target));
    }
    setAngle(0, 0, 0);
}

} // namespace
