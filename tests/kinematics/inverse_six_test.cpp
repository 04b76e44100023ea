// Inverse kinematics of the six-joint arms against the plain judge, and its codes, limits and singular
// places.
#include "kinematics/arithmetic.h"
#include "kinematics/kinematics_support.h"
#include "kinematics/six_joint_judge.h"
#include "kx/model.h"

namespace {

constexpr double degree = kdl_arms::degree;

struct Solution {
    int code;
    Joints joint; // degrees
};

Solution solve(int model, const Joints& reference, const KinPose& target, unsigned char flag = 1)
{
    Solution s = {0, {-1000, -1000, -1000, -1000, -1000, -1000}};
    s.code = inverse_kinematics(model, reference.data(), &target, s.joint.data(), flag);
    return s;
}

Solution solve_again(int model, const Joints& joint, const Joints& reference)
{
    return solve(model, reference, Forward_Kinematics(model, joint.data()));
}

double greatest_difference(const Joints& a, const Joints& b)
{
    return kdl_arms::greatest_difference(a, b, 6);
}

::testing::AssertionResult close_to(const KDL::Frame& got, const KDL::Frame& expected, double metres,
                                    double radians)
{
    const KDL::Twist off = KDL::diff(got, expected);
    if (off.vel.Norm() <= metres && off.rot.Norm() <= radians) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "off by " << off.vel.Norm() << " m, " << off.rot.Norm() << " rad";
}

class InverseSix : public ::testing::TestWithParam<int> {
  protected:
    const int model = GetParam();
    judge::Arm arm{model};
    Random random;

    void SetUp() override
    {
        Init_Sys_Data(46); // sets the tool transform for model 36
        setAngle(0, 0, 0);
    }

    // Inside the limits, for joint 3 of model 36 those of its chain angle.
    Joints random_joints()
    {
        Joints joint = {};
        for (int i = 0; i < 6; ++i) {
            const auto& [low, high] = judge::limits(model).joint[i];
            joint[i] = random.between(model == 36 && i == 2 ? -149.39f : low, high);
        }
        return joint;
    }
};

INSTANTIATE_TEST_SUITE_P(Models, InverseSix, ::testing::Values(36, 46),
                         [](const auto& test) { return "Model" + std::to_string(test.param); });

// With the joints themselves as reference: they come back, wherever base and tool may be.
TEST_P(InverseSix, UndoesForward)
{
    const KDL::Frame tools[] = {{}, {KDL::Rotation::RPY(0.5, -1.1, 2.2), {0.05, -0.08, 0.12}}};
    const Euler installations[] = {{0, 0, 0}, {M_PIf32, 0, 0}, {0.3f, -0.7f, 0}, {0.1f, 0.2f, 2.5f}};
    for (const KDL::Frame& tool : tools)
        for (const auto& [u, v, z] : installations) {
            if (model == 46 && tool.p.Norm() > 0) continue; // resets its tool
            setAngle(u, v, z);
            const KDL::Frame base(model == 36 ? KDL::Rotation::RPY(u, v, 0) : KDL::Rotation::RotZ(z));
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j)
                    Tool_Matrix.data[i][j] = static_cast<float>(tool(i, j));
            for (int round = 0; round < 4000; ++round) {
                const Joints joint = random_joints();
                const KinPose target = Forward_Kinematics(model, joint.data());
                for (unsigned char flag : {0, 1, 2}) {
                    const auto [code, result] = solve(model, joint, target, flag);
                    ASSERT_EQ(code, 1) << ::testing::PrintToString(joint);
                    // In a nearly straight wrist joint 4 stays the reference's, whatever the pose's rounding
                    // made of it.
                    const bool shares = model == 46 && std::fabs(joint[4]) < 5;
                    EXPECT_TRUE(close_to(base * arm.forward(result.data()) * tool, frame_by_euler(target),
                                         shares ? 2e-5 : 5e-6, shares ? 2e-4 : 2e-5))
                        << ::testing::PrintToString(joint);
                    const bool gimbal_lock = std::fabs(std::cos(target.euler.ry)) < 0.01;
                    if (!gimbal_lock &&
                        !judge::near_singular(model, arm.forward(joint.data()), joint.data())) {
                        EXPECT_LT(greatest_difference(result, joint), 0.01)
                            << ::testing::PrintToString(joint);
                    }
                }
            }
        }
}

TEST_P(InverseSix, IsTheNearestOfAllSolutions)
{
    int compared = 0, inside = 0;
    for (int round = 0; round < 20000; ++round) {
        const Joints joint = random_joints(), reference = random_joints();
        const KinPose target = Forward_Kinematics(model, joint.data());
        const auto best = arm.nearest(frame_by_euler(target), reference.data());
        const auto [code, result] = solve(model, reference, target);
        Joints expected = {};
        for (int i = 0; i < 6; ++i)
            expected[i] = static_cast<float>(best.joint[i] / degree);
        if (judge::near_singular(model, frame_by_euler(target), expected.data())) continue;
        if (model == 46 && std::fabs(expected[4]) < 5.1) continue; // shares its turn, below
        if (std::fabs(joint[4]) < 0.01) continue; // a straight wrist, which only another solution avoids
        ++compared;
        inside += code == 1;
        if (greatest_difference(result, expected) > 0.01) { // then both are equally near
            double distance = 0;
            for (int i = 0; i < 6; ++i)
                distance += std::pow((result[i] - reference[i]) * degree, 2);
            ASSERT_NEAR(distance, best.distance, 1e-4) << ::testing::PrintToString(joint);
        } else if (judge::distance_to_limits(model, best.joint) > 0.01) {
            ASSERT_EQ(code, best.code) << ::testing::PrintToString(joint);
        }
    }
    EXPECT_GT(compared, 15000);
    EXPECT_GT(inside, 10000);
    EXPECT_LT(inside, compared);
}

// Every joint at its limits, upright or stretched: all singular places and their combinations, and joints
// that rounding takes over a limit or to its other side.
TEST_P(InverseSix, HoldsStillInEveryCorner)
{
    int corners = 0;
    for (int combination = 0; combination < 4 * 4 * 4 * 4 * 4 * 4; ++combination) {
        Joints joint = {};
        for (int i = 0, rest = combination; i < 6; ++i, rest /= 4) {
            const auto& [low, high] = judge::limits(model).joint[i];
            const double values[] = {low, 0, high, i == 2 ? 9.66867 : 90};
            joint[i] = static_cast<float>(values[rest % 4]);
        }
        if (model == 36 && joint[2] == -150) joint[2] = -149.39f;
        const KinPose target = Forward_Kinematics(model, joint.data());
        // In gimbal lock, forward kinematics' angles are not those of the pose.
        if (!close_to(frame_by_euler(target), arm.forward(joint.data()), 1e-5, 1e-5)) continue;
        ++corners;
        for (unsigned char flag : {0, 1}) {
            const auto [code, result] = solve(model, joint, target, flag);
            EXPECT_EQ(code, 1) << ::testing::PrintToString(joint);
            EXPECT_TRUE(close_to(arm.forward(result.data()), frame_by_euler(target), 5e-6, 2e-5))
                << ::testing::PrintToString(joint);
        }
    }
    EXPECT_GT(corners, 3500);
}

// Joints 4 and 6 of a straight wrist keep the reference's difference, of a folded one its sum.
TEST_P(InverseSix, StraightWristSharesItsTurn)
{
    const struct {
        int model;
        float q5;
        int kept; // 1: q4 - q6, -1: q4 + q6, 0: none, the pose tells both
    } rows[] = {
        {46, 0, 1},    {46, 1e-3f, 1}, {46, -4.9f, 1},   {46, 4.9f, 1},     {46, 5.1f, 0},   {46, -5.1f, 0},
        {36, 0, 1},    {36, 1e-3f, 1}, {36, -0.29f, 1},  {36, 0.29f, 1},    {36, 0.31f, 0},  {36, -5, 0},
        {36, 180, -1}, {36, -180, -1}, {36, 179.8f, -1}, {36, -179.8f, -1}, {36, 179.6f, 0},
    };
    for (const auto& [of_model, q5, kept] : rows) {
        if (of_model != model) continue;
        for (int round = 0; round < 200; ++round) {
            const Joints joint = {20, -30, 70, random.between(-60, 60), q5, random.between(-300, 300)};
            Joints reference = joint;
            reference[3] += random.between(-30, 30);
            reference[5] += random.between(-30, 30);
            const auto [code, result] = solve_again(model, joint, reference);
            EXPECT_EQ(code, 1) << q5;
            const float sign = kept < 0 ? -1 : 1;
            EXPECT_NEAR(result[4], q5, 0.01);
            EXPECT_NEAR(result[3] + sign * result[5], joint[3] + sign * joint[5], 0.01) << q5;
            if (kept != 0)
                EXPECT_NEAR(result[3] - sign * result[5], reference[3] - sign * reference[5], 0.01) << q5;
            else
                EXPECT_LT(greatest_difference(result, joint), 0.02) << q5;
        }
    }
}

// Joint 6 comes within half a turn of the reference's, even where that is beyond its limit.
TEST_P(InverseSix, Joint6FollowsTheReferencesTurn)
{
    const struct {
        float joint, reference, result;
        int code;
    } rows[] = {{20, 100, 20, 1},      {20, -100, 20, 1},  {-60, 250, 300, 1},   {300, -100, -60, 1},
                {350, -350, -370, -8}, {20, 350, 380, -8}, {-350, 340, 370, -8}, {-30, -350, -390, -8}};
    for (const auto& [q6, reference6, result6, expected] : rows) {
        Joints joint = {10, 20, 60, 40, 50, q6}, reference = joint;
        reference[5] = reference6;
        const auto [code, result] = solve_again(model, joint, reference);
        EXPECT_EQ(code, expected) << q6;
        joint[5] = result6;
        EXPECT_LT(greatest_difference(result, joint), 0.01) << q6 << " -> " << result[5];
    }
}

// Solutions beyond a limit are written, and the first such joint gives the code.
TEST_P(InverseSix, Codes)
{
    const struct {
        int model, code;
        Joints joint; // target and reference; also the result, if the code is not -9
    } rows[] = {
        {46, -4, {10, 131, 40, 20, 60, 30}},
        {46, -4, {10, -131, -40, 20, 60, 30}},
        {46, -7, {10, 20, 40, 30, 129, 50}},
        {46, -7, {10, 20, 40, 30, -129, 50}},
        {46, -8, {10, 20, 40, 30, 60, 361}},
        {46, -8, {10, 20, 40, 30, 60, -361}},
        {46, -4, {10, 131, 40, 30, 129, 361}},
        {46, -7, {10, 20, 40, 30, 129, 361}},
        {46, -6, {10, 20, 40, 182, 0, 0}},
        {46, -6, {10, 20, 40, -182, 0, 0}},
        {46, -9, {10, 20, 136, 30, 60, 50}},     // theta3 is beyond its limit, on either side and from either
                                                 // shoulder
        {36, -5, {10, 20, 165.04f, 30, 60, 50}}, // theta3 reaches a little farther than joint 3
        {36, -8, {10, 20, 40, 30, 60, 361}},
    };
    for (const auto& [of_model, expected, joint] : rows) {
        if (of_model != model) continue;
        const auto [code, result] = solve_again(model, joint, joint);
        EXPECT_EQ(code, expected) << ::testing::PrintToString(joint);
        EXPECT_LT(greatest_difference(result, joint), 0.01) << ::testing::PrintToString(joint);
    }
}

// Joint 3 of model 36 may stand below -149.4 degrees, but its theta3 may not.
TEST(InverseSixLimits, Theta3OfModel36)
{
    Init_Sys_Data(46);
    for (const auto& [q3, returned] : {std::pair{-149.39f, true}, {-149.41f, false}}) {
        const Joints joint = {10, 20, q3, 30, 60, 50};
        const auto [code, result] = solve_again(36, joint, joint);
        EXPECT_EQ(code == 1 && greatest_difference(joint, result) < 0.01, returned) << q3;
    }
}

// In a straight wrist the result tells what the reference was taken for: half of joint 4's excess stays.
TEST(InverseSixLimits, ReferenceJustBeyondALimitCountsAsOnIt)
{
    const struct {
        float reference4;
        int code;
        float result4;
    } rows[] = {{180.04f, 1, 180}, {180.06f, -6, 180.03f}, {-180.04f, 1, -180}, {-180.06f, -6, -180.03f}};
    for (const auto& [reference4, expected, result4] : rows) {
        Joints joint = {10, 20, 40, std::copysign(180.0f, reference4), 0, 0}, reference = joint;
        reference[3] = reference4;
        const auto [code, result] = solve_again(46, joint, reference);
        EXPECT_EQ(code, expected) << reference4;
        EXPECT_NEAR(result[3], result4, 0.002) << reference4;
    }
}

// A cosine up to 1.0002 counts as a stretched elbow: 23 micrometres for model 46.
TEST(InverseSixLimits, ReachesALittleFartherThanStretched)
{
    const Joints upright = {0, 0, 0, 30, 60, 50}, bent = {0, -5, 10, 30, 60, 50};
    for (const auto& [farther, expected] : {std::pair{1.5e-5f, 1}, {3.5e-5f, -9}}) {
        KinPose target = Forward_Kinematics(46, upright.data());
        target.position.z += farther;
        for (const Joints& reference : {upright, bent}) {
            const auto [code, result] = solve(46, reference, target);
            EXPECT_EQ(code, expected) << farther;
            EXPECT_LT(greatest_difference(result, code == 1 ? upright : reference), 0.01);
        }
    }
}

TEST(InverseSixFailure, UnknownModelWritesNothing)
{
    const KinPose target = {};
    for (int model : {0, 35, 37, 45, 99, -46}) {
        const auto [code, result] = solve(model, {}, target);
        EXPECT_EQ(code, 2);
        EXPECT_EQ(result[0], -1000);
    }
}

// Without a solution the result is the reference: who ignores the code, stands still.
TEST_P(InverseSix, NoSolutionKeepsTheReference)
{
    const Joints reference = {10, 20, 30, 40, 50, 60};
    const KinPose there = Forward_Kinematics(model, reference.data());
    KinPose far = there, nowhere = there, turned_nowhere = there;
    far.position.x = 5;
    nowhere.position.y = nan_f;
    turned_nowhere.euler.rx = turned_nowhere.quaternion.w = infinity_f;
    // The wrist centre in the shoulder of model 46, and nearer to axis 1 of model 36 than its d3.
    const KinPose too_near = {{0, 0, 0.3845f}, {1, 0, 0, 0}, {0, 0, 0}};
    for (const KinPose& target : {far, nowhere, turned_nowhere, too_near})
        for (unsigned char flag : {0, 1}) {
            const auto [code, result] = solve(model, reference, target, flag);
            EXPECT_EQ(code, -9);
            EXPECT_LT(greatest_difference(result, reference), 1e-4);
        }
    Joints unknown = reference;
    unknown[1] = nan_f;
    EXPECT_EQ(solve(model, unknown, there).code, -9);
}

// A tool along +-X is gimbal lock for Euler angles; a quaternion still holds its turn.
TEST_P(InverseSix, QuaternionSurvivesGimbalLock)
{
    const Joints reference = {0, 30, 60, 0, 0, 0};
    for (double pitch : {M_PI_2, -M_PI_2})
        for (double turn = -3; turn < 3; turn += 0.25) {
            const KDL::Rotation rotation = KDL::Rotation::RotY(pitch) * KDL::Rotation::RotZ(turn);
            double x, y, z, w;
            rotation.GetQuaternion(x, y, z, w);
            const auto f = [](double value) { return static_cast<float>(value); };
            const KinPose target = {{pitch > 0 ? 0.45f : -0.2f, 0.1f, 0.5f}, {f(w), f(x), f(y), f(z)}, {}};
            const auto [code, result] = solve(model, reference, target, 0);
            ASSERT_NE(code, -9) << pitch << ' ' << turn;
            EXPECT_TRUE(close_to(arm.forward(result.data()), frame_by_quaternion(target), 5e-6, 2e-5));
        }
}

// Before another model was loaded, the tool transform of model 36 is zero and cannot be taken off.
TEST(InverseSixFailure, Model36WithoutATool)
{
    const Joints reference = {10, 20, 30, 40, 50, 60};
    Init_Sys_Data(46);
    const KinPose there = Forward_Kinematics(36, reference.data());
    for (int size : {0, 4}) {
        Tool_Matrix = {size, size, {}};
        EXPECT_EQ(solve(36, reference, there).code, -9);
    }
}

TEST(InverseSixFlag, ChoosesTheOrientation)
{
    const Joints reference = {0, 30, 60, 20, 40, 0};
    const KinPose both = Forward_Kinematics(46, reference.data());
    KinPose quaternion_only = both, euler_only = both;
    quaternion_only.euler.ry = euler_only.quaternion.x = nan_f;
    for (int flag : {0, 1, 2, 255}) {
        const auto of = [&](const KinPose& target) {
            return solve(46, reference, target, static_cast<unsigned char>(flag)).code;
        };
        EXPECT_EQ(of(quaternion_only), flag == 0 ? 1 : -9) << flag;
        EXPECT_EQ(of(euler_only), flag == 0 ? -9 : 1) << flag;
    }
}

// One that is not of unit length means what quaternion2euler makes of it.
TEST(InverseSixFlag, OtherQuaternionsGoByTheirEulerAngles)
{
    const Joints reference = {0, 30, 60, 20, 40, 0};
    KinPose target = Forward_Kinematics(46, reference.data());
    for (const Quaternion& q : {Quaternion{0, 0, 0, 0}, {0.9f, 0.3f, -0.2f, 0.1f}}) {
        target.quaternion = q;
        target.euler = quaternion2euler(q.w, q.x, q.y, q.z);
        const auto by_quaternion = solve(46, reference, target, 0),
                   by_euler = solve(46, reference, target, 1);
        EXPECT_EQ(by_quaternion.code, by_euler.code);
        EXPECT_LT(greatest_difference(by_quaternion.joint, by_euler.joint), 1e-4);
    }
    target.quaternion = {1, 0, 1, 0};
    EXPECT_EQ(solve(46, reference, target, 0).code, -9) << "its asin is NaN";
}

TEST_P(InverseSix, ResultMayReplaceTheReference)
{
    Joints joint = {10, 20, 40, 30, 60, 50}, reference = {15, 25, 35, 20, 70, 40};
    const KinPose target = Forward_Kinematics(model, joint.data());
    EXPECT_EQ(inverse_kinematics(model, reference.data(), &target, reference.data(), 1), 1);
    EXPECT_LT(greatest_difference(reference, joint), 0.01);
}

TEST(ArcTangent, FastFormAgreesWithTheLibrary)
{
    Random random;
    const auto check = [](double y, double x) {
        EXPECT_NEAR(kx::arc_tangent(y, x), std::atan2(y, x), 1e-9) << y << ", " << x;
    };
    for (int round = 0; round < 100000; ++round)
        check(random.between(-1, 1), random.between(-1, 1));
    for (int sixteenth = -16; sixteenth < 16; ++sixteenth) // where one series meets the next
        for (double aside : {-1e-15, 0.0, 1e-15})
            check(std::sin(sixteenth * M_PI / 16 + aside), std::cos(sixteenth * M_PI / 16 + aside));
    for (double tiny : {1e-300, 1e-9, 1e-5})
        check(tiny, 1), check(-tiny, 1), check(tiny, -1), check(-tiny, -1), check(1, tiny), check(-1, -tiny);
    EXPECT_EQ(kx::arc_tangent(-0.0, -1), kx::two_pi / 2);
    EXPECT_TRUE(std::isnan(kx::arc_tangent(0, 0)));
    EXPECT_TRUE(std::isnan(kx::arc_tangent(nan_f, 1)));
    EXPECT_TRUE(std::isnan(kx::arc_tangent(1, nan_f)));
}

} // namespace
