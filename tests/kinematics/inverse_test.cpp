// Inverse kinematics against the plain judges, and its codes, limits, search range and singular places.
#include "kinematics/hard_targets.h"
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <chrono>

namespace {

using kdl_arms::degree, kdl_arms::forward, kdl_arms::greatest_difference;
using ::testing::PrintToString;

struct Solution {
    int code;
    Joints joint; // degrees
};

constexpr Joints untouched = {-1000, -1000, -1000, -1000, -1000, -1000, -1000};

Solution solve(int model, const Joints& reference, const KinPose& target, int flag = 1)
{
    Solution s = {0, untouched};
    s.code = inverse_kinematics(model, reference.data(), &target, s.joint.data(),
                                static_cast<unsigned char>(flag));
    if (model != 47) s.joint[6] = reference[6];
    return s;
}

KinPose pose(int model, const Joints& joint)
{
    return Forward_Kinematics(model, joint.data());
}

::testing::AssertionResult close_to(const KDL::Frame& got, const KDL::Frame& expected, double metres = 5e-6,
                                    double radians = 2e-5)
{
    const KDL::Twist off = KDL::diff(got, expected);
    if (off.vel.Norm() <= metres && off.rot.Norm() <= radians) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "off by " << off.vel.Norm() << " m, " << off.rot.Norm() << " rad";
}

// Where an arm may stand, degrees: within its joints' and its chain's limits.
kdl_arms::Limits standing(int model)
{
    kdl_arms::Limits limits = kdl_arms::limits(model);
    if (model == 36) limits[2][0] = -149.39f;
    for (std::size_t i = 0; i < limits.size() && model == 47; ++i)
        for (int side : {0, 1})
            if (const double chain = kdl_arms::chain_limits(47)[i][side] / degree * (1 - 1e-6);
                std::fabs(chain) < std::fabs(limits[i][side]))
                limits[i][side] = static_cast<float>(chain);
    return limits;
}

class Inverse : public ::testing::TestWithParam<int> {
  protected:
    const int model = GetParam();
    const kdl_arms::Limits limits = standing(model);
    Random random;
    ARM_MODEL arm;
    hard::Problems problems{arm, seed()};

    Inverse()
    {
        Init_Sys_Data(46); // sets the tool transform for model 36
        setAngle(0, 0, 0);
        Arm_Model_Init(&arm, model, 0);
    }

    // Each joint at its limits, straight, stretched or at right angles.
    Joints corner(int number) const
    {
        Joints joint = {};
        for (std::size_t i = 0; i < limits.size(); ++i, number /= 4) {
            const float values[] = {limits[i][0], 0, limits[i][1], i == 2 && model != 47 ? 9.66867f : 90};
            joint[i] = values[number % 4];
        }
        return joint;
    }

    ::testing::AssertionResult keeps_limits(const Joints& joint) const
    {
        for (int i = 0; i < arm.joints; ++i)
            if (!(joint[i] >= arm.lower[i] - 4e-4 && joint[i] <= arm.upper[i] + 4e-4))
                return ::testing::AssertionFailure() << "joint " << i + 1 << " at " << joint[i];
        return ::testing::AssertionSuccess();
    }
};

struct InverseSix : Inverse {};
struct InverseSeven : Inverse {};

const auto name = [](const auto& test) { return "Model" + std::to_string(test.param); };
INSTANTIATE_TEST_SUITE_P(Models, Inverse, ::testing::Values(36, 46, 47), name);
INSTANTIATE_TEST_SUITE_P(Models, InverseSix, ::testing::Values(36, 46), name);
INSTANTIATE_TEST_SUITE_P(Models, InverseSeven, ::testing::Values(47), name);

// With the joints themselves as reference, anywhere and in every corner, wherever base and tool may be.
TEST_P(Inverse, AnArmAtRestStaysAtRest)
{
    const Euler installations[] = {{0, 0, 0}, {M_PIf32, 0, 0}, {0.3f, -0.7f, 0}, {0.1f, 0.2f, 2.5f}};
    const KinPose tools[] = {{}, {{0.05f, -0.08f, 0.12f}, {}, {0.5f, -1.1f, 2.2f}}};
    const int corners = 1 << 2 * limits.size(), all = corners + 32000;
    int tested = 0;
    for (int n = 0; n < all; ++n) {
        const Joints joint = n < corners ? corner(n) : random.joints(limits);
        const auto& [u, v, z] = installations[n < corners ? 0 : n % 4];
        const KinPose& tool_pose = tools[n < corners ? 0 : n / 4 % 2];
        setAngle(u, v, z);
        Tool_Matrix = pos2matrix(tool_pose);
        const KinPose target = pose(model, joint);

        const KDL::Frame base(model == 36   ? KDL::Rotation::RPY(u, v, 0)
                              : model == 46 ? KDL::Rotation::RotZ(z)
                                            : KDL::Rotation::Identity());
        const KDL::Frame tool = model == 36 ? frame_by_euler(tool_pose) : KDL::Frame::Identity();
        const KDL::Frame flange = forward(model, joint.data());
        // In gimbal lock, forward kinematics' angles are not those of the pose.
        if (!close_to(frame_by_euler(target), base * flange * tool, 1e-5, 1e-5)) continue;
        ++tested;
        const bool gimbal_lock = std::fabs(std::cos(target.euler.ry)) < 0.01;
        // In a nearly straight wrist joint 4 stays the reference's, whatever the pose's rounding made of it.
        const bool shares = model == 46 && joint[4] != 0 && std::fabs(joint[4]) < 5;
        for (int flag : {0, 1, 2}) {
            const auto [code, result] = solve(model, joint, target, flag);
            ASSERT_EQ(code, 1) << PrintToString(joint);
            ASSERT_TRUE(close_to(base * forward(model, result.data()) * tool, frame_by_euler(target),
                                 shares ? 2e-5 : 5e-6, shares ? 2e-4 : 2e-5))
                << PrintToString(joint);
            if (!gimbal_lock && (model == 47 || !judge::near_singular(model, flange, joint.data()))) {
                ASSERT_LT(greatest_difference(result, joint), model == 47 ? 0.03 : 0.01)
                    << PrintToString(joint);
            }
        }
    }
    EXPECT_GT(tested, all - (model == 47 ? 4000 : 600));
}

void expect_none_missed(const hard::Misses& m, long least_targets)
{
    EXPECT_GT(m.targets, least_targets);
    EXPECT_EQ(m.misses, 0) << "worst " << m.worst;
    EXPECT_EQ(m.wrong, 0);
}

// Singular places included: the quick count of kinematics_sweep.
TEST_P(Inverse, OfArmModelsNeverMissesTheNearest)
{
    for (bool is_hard : {true, false})
        expect_none_missed(hard::count(model, model == 47 ? 500 : 4000, is_hard, seed()), 400);
}

// Of all solutions whose chain's first and third angles keep their limits.
TEST_P(InverseSix, NeverMissesTheNearest)
{
    const kdl_arms::Limits chain = kdl_arms::chain_limits(model);
    const double offset = model == 36 ? -M_PI_2 : 0;
    const hard::SixJudge all(model,
                             {{chain[0][0] - offset, -M_PI, chain[2][0] - M_PI_2, -M_PI, -M_PI, -20},
                              {chain[0][1] - offset, M_PI, chain[2][1] - M_PI_2, M_PI, M_PI, 20}},
                             1.0002);
    const auto nearest = [&](const Joints& reference, const KinPose& target, Joints& result) {
        const Solution s = solve(model, reference, target, 0);
        result = s.joint;
        const bool leans = model == 46 && std::fabs(result[4]) < 5.1; // and shares its turn, below
        return hard::Answer{s.code != -9, s.code == 1,
                            leans || judge::near_singular(model, frame_by_quaternion(target), result.data())};
    };
    expect_none_missed(hard::count(arm, all, nearest, 8000, false, seed()), 6000);
}

// Within 0.26 rad of the reference's arm angle; the nearest there; and no solution only where there is none.
TEST_P(InverseSeven, NeverMissesTheNearestWithinItsRange)
{
    struct {
        double psi = 0;
        double nearest(const KDL::Frame& flange, const std::vector<double>& reference) const
        {
            judge::Seven near;
            std::ranges::copy(reference, near.begin());
            return judge::Redundancy(flange).nearest(near, psi - 0.26, psi + 0.26, 200);
        }
    } within;
    const auto upright = [](const KDL::Frame& flange) {
        const KDL::Vector w = judge::wrist_centre(flange);
        return std::hypot(w.x(), w.y()) < 0.1 * w.Norm();
    };
    for (int flag : {0, 1}) {
        const auto nearest = [&](const Joints& reference, const KinPose& target, Joints& result) {
            within.psi = judge::arm_angle(reference.data());
            const Solution s = solve(47, reference, target, flag);
            EXPECT_TRUE(s.code == 1 || (s.code == -3 && s.joint == untouched));
            if (s.code == 1) result = s.joint;
            const double off = std::remainder(judge::arm_angle(result.data()) - within.psi, 2 * M_PI);
            // An upright line has no vertical plane from which arm angles could count, a stretched arm no elbow.
            return hard::Answer{s.code == 1 && std::fabs(off) < 0.261, true,
                                upright(forward(47, reference.data())) ||
                                    upright(frame_by_quaternion(target)) || std::fabs(result[3]) < 0.1f};
        };
        expect_none_missed(hard::count(arm, within, nearest, 500, false, seed()), 300);
    }
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
    for (const auto& [of_model, q5, kept] : rows)
        for (int round = 0; of_model == model && round < 200; ++round) {
            const Joints joint = {20, -30, 70, random.between(-60, 60), q5, random.between(-300, 300)};
            Joints reference = joint;
            reference[3] += random.between(-30, 30);
            reference[5] += random.between(-30, 30);
            const auto [code, result] = solve(model, reference, pose(model, joint));
            EXPECT_EQ(code, 1) << q5;
            const float sign = kept < 0 ? -1 : 1;
            EXPECT_NEAR(result[4], q5, 0.01);
            EXPECT_NEAR(result[3] + sign * result[5], joint[3] + sign * joint[5], 0.02) << q5;
            if (kept != 0)
                EXPECT_NEAR(result[3] - sign * result[5], reference[3] - sign * reference[5], 0.01) << q5;
            else
                EXPECT_LT(greatest_difference(result, joint), 0.02) << q5;
        }
}

// In a loop that feeds each result back as the next reference, a slow target is followed slowly.
TEST_P(Inverse, NeverJumpsOnItsWayThroughASingularPlace)
{
    const struct {
        int model;
        Joints start;
        KDL::Vector stroke; // metres, to and fro
        double turn;        // radians about the target's own x axis, to and fro
        double fastest;     // degrees a step
    } paths[] = {
        {36, {90, 20, 40, 0, 25, 30}, {0, 0, -0.2}, 0, 1},              // a straight wrist
        {36, {90, 20, 40, 0, 155, 30}, {0, 0, 0.03}, 0, 2},             // a folded one
        {36, {90, 20, 40, 0, 60, 30}, {0, 0, 0.03358}, 0, 3},           // a nearly stretched elbow
        {36, {90, -40, 100, 0, 60, 30}, {-0.3, 0, 0}, 0, 3},            // over the shoulder
        {46, {0, 20, 40, 0, 25, 30}, {0, 0, -0.2}, 0, 1},               // a straight wrist
        {46, {0, 20, 40, 0, 60, 30}, {0, 0, 0.03465}, 0, 3},            // a nearly stretched elbow
        {46, {0, -20, 80, 0, 50, 30}, {0.3, 0, 0}, 0, 3},               // over the shoulder
        {47, {20, 40, -30, 90, 10, 50, 30}, {0.05, -0.1, 0.1}, 0.5, 1}, // nothing near
        {47, {0, -25, 0, 80, 0, 40, 0}, {-0.3, 0, 0}, 0, 2},            // over the shoulder
        {47, {0, -25, 0, 80, 0, 40, 0}, {-0.3, 0.002, 0}, 0, 2},        // beside it
        {47, {10, 3, -10, 90, 0, 40, 0}, {-0.1, 0.05, 0}, 0, 5},        // an upright upper arm
        {47, {0, 20, 0, 40, 0, 60, 30}, {0, 0, 0.03465}, 0, 3},         // a nearly stretched elbow
        {47, {0, 30, 0, 60, 20, 5, 0}, {0.02, 0, 0}, -0.4, 8},          // a straight wrist
        {47, {0, 30, 0, 60, 0, 60, 200}, {0.05, 0.05, 0}, 0.6, 1},      // around joint 7
    };
    constexpr int steps = 2000, of_arm_model = 3;
    for (const auto& [of_model, start, stroke, turn, fastest] : paths)
        for (int flag : {0, 1, 2, of_arm_model}) {
            if (of_model != model || (model != 47 && flag != of_arm_model)) continue;
            const KDL::Frame origin = forward(model, start.data());
            Joints present = start;
            for (int step = 1; step <= steps; ++step) {
                const double way = (1 - std::cos(2 * M_PI * step / steps)) / 2;
                const KinPose target =
                    pose_of({origin.M * KDL::Rotation::RotX(turn * way), origin.p + way * stroke});
                Joints next = present;
                if (flag == of_arm_model)
                    ASSERT_EQ(Arm_Model_Inverse(&arm, present.data(), &target, 4, next.data()), ARM_SOLVED)
                        << PrintToString(present) << step;
                else
                    ASSERT_EQ(inverse_kinematics(model, present.data(), &target, next.data(), flag), 1);
                ASSERT_TRUE(close_to(forward(model, next.data()), frame_by_quaternion(target), 1e-5, 6e-5));
                ASSERT_LT(greatest_difference(next, present), fastest)
                    << PrintToString(start) << PrintToString(present) << step;
                present = next;
            }
        }
}

// The last of six joints comes within half a turn of the reference's, even beyond its limit.
TEST_P(InverseSix, LastJointFollowsTheReferencesTurn)
{
    const struct {
        float joint, reference, result;
        int code;
    } rows[] = {
        {20, 100, 20, 1},      {20, -100, 20, 1},  {-60, 250, 300, 1},   {300, -100, -60, 1},
        {350, -350, -370, -8}, {20, 350, 380, -8}, {-350, 340, 370, -8}, {-30, -350, -390, -8},
    };
    for (const auto& [last, of_reference, of_result, expected] : rows) {
        const Joints joint = {10, 20, 60, 40, 50, last}, reference = {10, 20, 60, 40, 50, of_reference};
        const auto [code, result] = solve(model, reference, pose(model, joint), 0);
        EXPECT_EQ(code, expected) << last;
        EXPECT_LT(greatest_difference(result, {10, 20, 60, 40, 50, of_result}), 0.01) << last;
    }
}

// Solutions beyond a limit are written, and the first such joint gives the code.
TEST_P(Inverse, Codes)
{
    const struct {
        int model, code;
        Joints joint; // target and reference; also the result
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
        {46, -9, {10, 20, 136, 30, 60, 50}},     // theta3 is beyond its limit, on either side
        {36, -5, {10, 20, 165.04f, 30, 60, 50}}, // theta3 reaches a little farther than joint 3
        {36, -8, {10, 20, 40, 30, 60, 361}},
        {36, 1, {10, 20, -149.39f, 30, 60, 50}},
        {47, -8, {10, 20, 30, 135.01f, 50, 60, 70}}, // the elbow follows from the target alone
        {47, -8, {10, 20, 30, -135.01f, 50, 60, 70}},
        {47, -8, {10, 20, 30, 150, 50, 60, 70}},
        {47, -8, {10, 20, 30, -170, 50, 60, 70}},
    };
    for (const auto& [of_model, expected, joint] : rows)
        for (int flag : {0, 1, 2}) {
            if (of_model != model) continue;
            const auto [code, result] = solve(model, joint, pose(model, joint), flag);
            EXPECT_EQ(code, expected) << PrintToString(joint);
            EXPECT_LT(greatest_difference(result, joint), 0.01) << PrintToString(joint);
        }
    if (model == 36) { // below -149.4 degrees its theta3 may not be: something else is found, or nothing
        const Joints low = {10, 20, -149.41f, 30, 60, 50};
        const auto [code, result] = solve(36, low, pose(36, low));
        EXPECT_FALSE(code == 1 && greatest_difference(result, low) < 0.01);
    }
}

// In a straight wrist the result tells what the reference was taken for: half of joint 4's excess stays.
TEST(InverseReference, OfSixJustBeyondALimitCountsAsOnIt)
{
    for (float side : {1.0f, -1.0f})
        for (const auto& [beyond, expected, left] : {std::tuple{0.04f, 1, 0.0f}, {0.06f, -6, 0.03f}}) {
            const Joints joint = {10, 20, 40, side * 180, 0, 0},
                         reference = {10, 20, 40, side * (180 + beyond), 0, 0};
            const auto [code, result] = solve(46, reference, pose(46, joint));
            EXPECT_EQ(code, expected) << beyond;
            EXPECT_NEAR(result[3], side * (180 + left), 0.002) << beyond;
        }
}

// Of seven, it is a reference like any other: the solution is inside. One that was never initialised takes no longer.
TEST_P(InverseSeven, ReferenceBeyondTheLimits)
{
    const Joints joint = {170, 100, 30, 40, 50, 60, 300};
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [i, beyond] :
         {std::pair{0, 1000.f}, {1, 140.f}, {3, -200.f}, {6, 400.f}, {1, 1e12f}, {6, 2.5e17f}}) {
        Joints reference = joint;
        reference[i] = beyond;
        const auto [code, result] = solve(47, reference, pose(47, joint), 2);
        EXPECT_EQ(code, 1) << beyond;
        EXPECT_TRUE(close_to(forward(47, result.data()), frame_by_quaternion(pose(47, joint)))) << beyond;
        EXPECT_TRUE(keeps_limits(result)) << beyond;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << "turn by turn";
}

// A cosine up to 1.0002 counts as a stretched elbow, of seven joints up to 1.001: 23 and 115 micrometres. An arm
// model does not leave the tool so far from its place.
TEST(InverseReach, IsALittleFartherThanStretched)
{
    const struct {
        int model;
        double farther; // metres
        int code, of_arm_model;
    } rows[] = {{46, 1e-6, 1, ARM_SOLVED},
                {46, 1.5e-5, 1, ARM_OUT_OF_REACH},
                {46, 3.5e-5, -9, ARM_OUT_OF_REACH},
                {47, 1e-6, 1, ARM_SOLVED},
                {47, 1.1e-4, 1, ARM_OUT_OF_REACH},
                {47, 1.3e-4, -1, ARM_OUT_OF_REACH},
                {47, -0.419, -8, ARM_OUTSIDE_LIMITS},
                {47, -0.426, -1, ARM_OUT_OF_REACH}};
    for (const auto& [model, farther, expected, of_arm_model] : rows) {
        const Joints stretched =
                         model == 46 ? Joints{0, 0, 0, 30, 60, 50} : Joints{20, 30, 40, 0, 50, 60, 70},
                     bent = model == 46 ? Joints{0, -5, 10, 30, 60, 50} : Joints{20, 25, 40, 12, 45, 55, 70};
        const KDL::Frame there = forward(model, stretched.data());
        const KDL::Vector outward = judge::wrist_centre(there) / judge::wrist_centre(there).Norm();
        const KinPose target = pose_of({there.M, there.p + farther * outward});
        for (const Joints& reference : {stretched, bent})
            for (int flag : {0, 1, 2}) {
                const auto [code, result] = solve(model, reference, target, flag);
                EXPECT_EQ(code, expected) << farther;
                EXPECT_TRUE(code != 1 || (forward(model, result.data()).p - there.p).Norm() < 1e-5);
            }
        ARM_MODEL arm;
        Arm_Model_Init(&arm, model, 0);
        Joints result;
        EXPECT_EQ(Arm_Model_Inverse(&arm, bent.data(), &target, 4, result.data()), of_arm_model) << farther;
    }
}

// Without a solution the result of six joints is the reference: who ignores the code, stands still.
TEST_P(InverseSix, NoSolutionKeepsTheReference)
{
    const Joints reference = {10, 20, 30, 40, 50, 60};
    const KinPose there = pose(model, reference);
    KinPose far = there, nowhere = there, turned_nowhere = there;
    far.position.x = 5;
    nowhere.position.y = nan_f;
    turned_nowhere.euler.rx = turned_nowhere.quaternion.w = infinity_f;
    // The wrist centre in the shoulder of model 46, and nearer to axis 1 of model 36 than its d3.
    const KinPose too_near = {{0, 0, 0.3845f}, {1, 0, 0, 0}, {0, 0, 0}};
    for (const KinPose& target : {far, nowhere, turned_nowhere, too_near})
        for (int flag : {0, 1}) {
            const auto [code, result] = solve(model, reference, target, flag);
            EXPECT_EQ(code, -9);
            EXPECT_LT(greatest_difference(result, reference), 1e-4);
        }
    EXPECT_EQ(solve(model, {10, nan_f, 30, 40, 50, 60}, there).code, -9);
    for (int size : {0, 4}) { // nor can a tool of zeros be taken off, which model 36 starts with
        if (model != 36) continue;
        Tool_Matrix = {size, size, {}};
        EXPECT_EQ(solve(36, reference, there).code, -9);
    }
    for (int unknown : {0, 35, 45, 48, -46}) {
        const auto [code, result] = solve(unknown, untouched, there);
        EXPECT_TRUE(code == 2 && result == untouched) << unknown;
    }
}

TEST_P(InverseSeven, NotNumbers)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    for (int flag : {0, 1, 2}) {
        KinPose nowhere = pose(47, joint), turned_nowhere = nowhere, far = nowhere;
        nowhere.position.y = nan_f;
        turned_nowhere.euler.rx = turned_nowhere.quaternion.w = nan_f;
        far.position.x = infinity_f;
        for (const KinPose& target : {nowhere, turned_nowhere}) {
            const auto [code, result] = solve(47, joint, target, flag);
            EXPECT_EQ(code, 1); // no comparison with a limit fails
            EXPECT_TRUE(std::ranges::all_of(result, [](float angle) { return std::isnan(angle); }));
        }
        EXPECT_EQ(solve(47, joint, far, flag).code, -1);
        for (int i = 0; i < 7; ++i)
            for (float odd : {nan_f, infinity_f}) {
                Joints reference = joint;
                reference[i] = odd;
                const auto [code, result] = solve(47, reference, pose(47, joint), flag);
                EXPECT_TRUE(code == -3 && result == untouched) << i;
            }
    }
}

// Only the orientation that the flag names counts.
TEST_P(Inverse, FlagChoosesTheOrientation)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, model == 47 ? 70.f : 0};
    for (int flag : {0, 1, 2, 255}) {
        const bool by_quaternion = model == 47 ? flag != 1 : flag == 0;
        KinPose target = pose(model, joint);
        (by_quaternion ? target.euler.ry : target.quaternion.x) = nan_f;
        EXPECT_LT(greatest_difference(solve(model, joint, target, flag).joint, joint), 0.01) << flag;
    }
}

// What quaternion2euler makes of it; how one of unit length holds a tool along +-X is seen with arm models.
TEST_P(InverseSix, QuaternionNotOfUnitLength)
{
    const Joints reference = {0, 30, 60, 20, 40, 0};
    KinPose target = pose(model, reference);
    for (const Quaternion& q : {Quaternion{0, 0, 0, 0}, {0.9f, 0.3f, -0.2f, 0.1f}}) {
        target.quaternion = q;
        target.euler = quaternion2euler(q.w, q.x, q.y, q.z);
        const auto by_quaternion = solve(model, reference, target, 0),
                   by_euler = solve(model, reference, target, 1);
        EXPECT_EQ(by_quaternion.code, by_euler.code);
        EXPECT_LT(greatest_difference(by_quaternion.joint, by_euler.joint), 1e-4);
    }
    target.quaternion = {1, 0, 1, 0};
    EXPECT_EQ(solve(model, reference, target, 0).code, -9) << "its asin is NaN";
}

TEST_P(Inverse, ResultMayReplaceTheReference)
{
    for (int round = 0; round < 100; ++round) {
        const Joints reference = problems.anywhere();
        const KinPose target = pose(model, problems.anywhere());
        Joints both = reference;
        const int code = inverse_kinematics(model, both.data(), &target, both.data(), 2);
        const Solution apart = solve(model, reference, target, 2);
        EXPECT_EQ(code, apart.code);
        EXPECT_EQ(both, apart.joint);
    }
}

} // namespace
