// Inverse kinematics against the plain judges, and its codes, limits, search range and singular places.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <chrono>

namespace {

using kdl_arms::forward;
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

struct Inverse : OfEachModel {
    // Each joint at its limits, straight, stretched or at right angles.
    Joints corner(int number) const
    {
        Joints joint = {};
        for (int i = 0; i < arm.joints; ++i, number /= 4) {
            const float values[] = {arm.lower[i], 0, arm.upper[i], i == 2 && model != 47 ? 9.66867f : 90};
            joint[i] = values[number % 4];
        }
        return joint;
    }
};

struct InverseSix : Inverse {};
struct InverseSeven : Inverse {};

INSTANTIATE_TEST_SUITE_P(Models, Inverse, ::testing::Values(36, 46, 47), model_name);
INSTANTIATE_TEST_SUITE_P(Models, InverseSix, ::testing::Values(36, 46), model_name);
INSTANTIATE_TEST_SUITE_P(Models, InverseSeven, ::testing::Values(47), model_name);

// With the joints themselves as reference, anywhere and in every corner, wherever base and tool may be.
TEST_P(Inverse, AnArmAtRestStaysAtRest)
{
    const Euler installations[] = {{0, 0, 0}, {M_PIf32, 0, 0}, {0.3f, -0.7f, 0}, {0.1f, 0.2f, 2.5f}};
    const KinPose tools[] = {{}, {{0.05f, -0.08f, 0.12f}, {}, {0.5f, -1.1f, 2.2f}}};
    const int corners = 1 << 2 * arm.joints, all = corners + 32000;
    int tested = 0;
    for (int n = 0; n < all; ++n) {
        const Joints joint = n < corners ? corner(n) : problems.anywhere();
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
        const bool is_told = std::fabs(std::cos(target.euler.ry)) >= 0.01 &&
                             (model == 47 || !judge::near_singular(model, flange, joint.data()));
        // In a nearly straight wrist joint 4 stays the reference's, whatever the pose's rounding made of it.
        const bool shares = model == 46 && joint[4] != 0 && std::fabs(joint[4]) < 5;
        for (int flag : {0, 1, 2}) {
            SCOPED_TRACE(PrintToString(joint));
            const auto [code, result] = solve(model, joint, target, flag);
            ASSERT_EQ(code, 1);
            ASSERT_TRUE(close_to(base * forward(model, result.data()) * tool, frame_by_euler(target),
                                 shares ? 2e-5 : 5e-6, shares ? 2e-4 : 2e-5));
            ASSERT_TRUE(!is_told || greatest_difference(result, joint) < (model == 47 ? 0.03 : 0.01));
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

// Of all solutions whose chain's first and third angles keep their limits. The result may replace the reference.
TEST_P(InverseSix, NeverMissesTheNearest)
{
    const kdl_arms::Limits chain = kdl_arms::chain_limits(model);
    const double offset = model == 36 ? -M_PI_2 : 0;
    const judge::Six all(model,
                         {{chain[0][0] - offset, -M_PI, chain[2][0] - M_PI_2, -M_PI, -M_PI, -20},
                          {chain[0][1] - offset, M_PI, chain[2][1] - M_PI_2, M_PI, M_PI, 20}},
                         1.0002);
    const auto exhaustive = [&](const auto&... of) { return all.nearest(of...); };
    const auto solve = [&](Joints& joint, const KinPose& target) {
        const int code = inverse_kinematics(model, joint.data(), &target, joint.data(), 0);
        const bool leans = model == 46 && std::fabs(joint[4]) < 5.1; // and shares its turn, below
        return hard::Answer{code != -9, code == 1,
                            leans || judge::near_singular(model, frame_by_quaternion(target), joint.data())};
    };
    Arm_Model_Init(&arm, model, 0);
    expect_none_missed(hard::count(arm, exhaustive, solve, 8000, false, seed()), 6000);
}

// Within 0.26 rad of the reference's arm angle; the nearest there; and no solution only where there is none.
TEST_P(InverseSeven, NeverMissesTheNearestWithinItsRange)
{
    Arm_Model_Init(&arm, 47, 0);
    double psi = 0;
    const auto exhaustive = [&, limits = judge::limits_of(arm)](const auto&... of) {
        return judge::Seven(limits, of...).nearest(psi - 0.26, psi + 0.26, 200);
    };
    const auto upright = [](const KDL::Frame& flange) {
        const KDL::Vector w = judge::wrist_centre(flange);
        return std::hypot(w.x(), w.y()) < 0.1 * w.Norm();
    };
    for (int flag : {0, 1}) {
        const auto solve = [&](Joints& joint, const KinPose& target) {
            const Joints reference = joint;
            psi = judge::arm_angle(reference.data());
            const int code = inverse_kinematics(47, joint.data(), &target, joint.data(), flag);
            EXPECT_TRUE(code == 1 || (code == -3 && joint == reference));
            const double off = std::remainder(judge::arm_angle(joint.data()) - psi, 2 * M_PI);
            // An upright line has no vertical plane from which arm angles could count, a stretched arm no elbow.
            return hard::Answer{code == 1 && std::fabs(off) < 0.261, true,
                                upright(forward(47, reference.data())) ||
                                    upright(frame_by_quaternion(target)) || std::fabs(joint[3]) < 0.1f};
        };
        expect_none_missed(hard::count(arm, exhaustive, solve, 500, false, seed()), 300);
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
            SCOPED_TRACE(q5);
            const Joints joint = {20, -30, 70, random.between(-60, 60), q5, random.between(-300, 300)};
            Joints reference = joint;
            for (int i : {3, 5})
                reference[i] += random.between(-30, 30);
            const auto [code, result] = solve(model, reference, pose(model, joint));
            EXPECT_EQ(code, 1);
            const float sign = kept < 0 ? -1 : 1;
            EXPECT_NEAR(result[4], q5, 0.01);
            EXPECT_NEAR(result[3] + sign * result[5], joint[3] + sign * joint[5], 0.02);
            const Joints& told = kept ? reference : joint;
            EXPECT_NEAR(result[3] - sign * result[5], told[3] - sign * told[5], kept ? 0.01 : 0.04);
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
    Arm_Model_Init(&arm, model, 0);
    for (const auto& [of_model, start, stroke, turn, fastest] : paths)
        for (int flag : {0, 1, 2, of_arm_model}) {
            if (of_model != model || (model != 47 && flag != of_arm_model)) continue;
            const KDL::Frame origin = forward(model, start.data());
            Joints present = start;
            for (int step = 1; step <= steps; ++step) {
                SCOPED_TRACE(PrintToString(start) + PrintToString(present));
                const double way = (1 - std::cos(2 * M_PI * step / steps)) / 2;
                const KinPose target =
                    pose_of({origin.M * KDL::Rotation::RotX(turn * way), origin.p + way * stroke});
                Joints next = present;
                if (flag == of_arm_model)
                    ASSERT_EQ(Arm_Model_Inverse(&arm, present.data(), &target, 4, next.data()), ARM_SOLVED);
                else
                    ASSERT_EQ(inverse_kinematics(model, present.data(), &target, next.data(), flag), 1);
                ASSERT_TRUE(close_to(forward(model, next.data()), frame_by_quaternion(target), 1e-5, 6e-5));
                ASSERT_LT(greatest_difference(next, present), fastest);
                present = next;
            }
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
    const auto with_last = [](float angle) { return Joints{10, 20, 60, 40, 50, angle}; };
    for (const auto& [last, of_reference, of_result, expected] : rows) {
        const auto [code, result] = solve(model, with_last(of_reference), pose(model, with_last(last)), 0);
        EXPECT_EQ(code, expected) << last;
        EXPECT_LT(greatest_difference(result, with_last(of_result)), 0.01) << last;
    }
}

// In a straight wrist the result tells what the reference was taken for: half of joint 4's excess stays.
TEST(InverseReference, OfSixJustBeyondALimitCountsAsOnIt)
{
    for (float side : {1.0f, -1.0f})
        for (const auto& [beyond, expected, left] : {std::tuple{0.04f, 1, 0.0f}, {0.06f, -6, 0.03f}}) {
            const auto [code, result] = solve(46, {10, 20, 40, side * (180 + beyond), 0, 0},
                                              pose(46, {10, 20, 40, side * 180, 0, 0}));
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
        EXPECT_TRUE(close_to(forward(47, result.data()), frame_by_quaternion(pose(47, joint)), 5e-6, 2e-5))
            << beyond;
        for (int j = 0; j < 7; ++j)
            EXPECT_LE(std::fabs(result[j]), kdl_arms::limits(47)[j][1] + 4e-4) << beyond;
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
        SCOPED_TRACE(farther);
        const Joints stretched =
                         model == 46 ? Joints{0, 0, 0, 30, 60, 50} : Joints{20, 30, 40, 0, 50, 60, 70},
                     bent = model == 46 ? Joints{0, -5, 10, 30, 60, 50} : Joints{20, 25, 40, 12, 45, 55, 70};
        const KDL::Frame there = forward(model, stretched.data());
        const KDL::Vector outward = judge::wrist_centre(there) / judge::wrist_centre(there).Norm();
        const KinPose target = pose_of({there.M, there.p + farther * outward});
        for (const Joints& reference : {stretched, bent})
            for (int flag : {0, 1, 2}) {
                const auto [code, result] = solve(model, reference, target, flag);
                EXPECT_EQ(code, expected);
                EXPECT_TRUE(code != 1 || (forward(model, result.data()).p - there.p).Norm() < 1e-5);
            }
        ARM_MODEL arm;
        Arm_Model_Init(&arm, model, 0);
        Joints result;
        EXPECT_EQ(Arm_Model_Inverse(&arm, bent.data(), &target, 4, result.data()), of_arm_model);
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
    for (int unknown : {0, 35, 45, 48, -46}) {
        const auto [code, result] = solve(unknown, untouched, there);
        EXPECT_TRUE(code == 2 && result == untouched) << unknown;
    }
    for (int size : {0, 4}) { // nor can a tool of zeros be taken off, which model 36 starts with
        Tool_Matrix = {size, size, {}};
        EXPECT_EQ(solve(36, reference, there).code, -9);
    }
}

TEST_P(InverseSeven, NotNumbers)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    const KinPose there = pose(47, joint);
    KinPose nowhere = there, turned_nowhere = there, far = there;
    nowhere.position.y = nan_f;
    turned_nowhere.euler.rx = turned_nowhere.quaternion.w = nan_f;
    far.position.x = infinity_f;
    for (int flag : {0, 1, 2}) {
        for (const KinPose& target : {nowhere, turned_nowhere}) {
            const auto [code, result] = solve(47, joint, target, flag);
            EXPECT_EQ(code, 1); // no comparison with a limit fails
            EXPECT_TRUE(std::ranges::all_of(result, [](float angle) { return std::isnan(angle); }));
        }
        EXPECT_EQ(solve(47, joint, far, flag).code, -1);
        for (int i = 0; i < 14; ++i) {
            Joints reference = joint;
            reference[i % 7] = i < 7 ? nan_f : infinity_f;
            const auto [code, result] = solve(47, reference, there, flag);
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
    for (const auto& [w, x, y, z] : {Quaternion{0, 0, 0, 0}, {0.9f, 0.3f, -0.2f, 0.1f}}) {
        target.quaternion = {w, x, y, z};
        target.euler = quaternion2euler(w, x, y, z);
        const auto [code, result] = solve(model, reference, target, 0);
        EXPECT_EQ(code, solve(model, reference, target, 1).code);
        EXPECT_LT(greatest_difference(result, solve(model, reference, target, 1).joint), 1e-4);
    }
    target.quaternion = {1, 0, 1, 0};
    EXPECT_EQ(solve(model, reference, target, 0).code, -9) << "its asin is NaN";
}

} // namespace
