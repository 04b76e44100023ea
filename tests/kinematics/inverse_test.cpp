// Inverse kinematics against the plain judges, and its codes, limits, search range and singular places.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

namespace {

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
    Inverse()
    {
        if (model == 36) arm.lower[2] = -149.399f; // what was typed for its chain
    }
};
struct InverseSix : Inverse {};

INSTANTIATE_TEST_SUITE_P(Models, Inverse, ::testing::Values(36, 46, 47), model_name);
INSTANTIATE_TEST_SUITE_P(Models, InverseSix, ::testing::Values(36, 46), model_name);

// With the joints themselves as reference, anywhere, and each at its limits, straight, stretched or at right angles;
// wherever base and tool may be.
TEST_P(Inverse, AnArmAtRestStaysAtRest)
{
    const Euler installations[] = {{0, 0, 0}, {M_PIf32, 0, 0}, {0.3f, -0.7f, 0}, {0.1f, 0.2f, 2.5f}};
    const KinPose tools[] = {{}, {{0.05f, -0.08f, 0.12f}, {}, {0.5f, -1.1f, 2.2f}}};
    constexpr int all = 32000;
    int tested = 0;
    for (int n = 0; n < all; ++n) {
        Joints joint = problems.anywhere();
        for (int i = 0; i < arm.joints && n % 16 < 8; ++i) {
            const float round[] = {arm.lower[i], 0, arm.upper[i], i == 2 && model != 47 ? 9.66867f : 90};
            joint[i] = round[problems.below(4)];
        }
        const auto& [u, v, z] = installations[n % 4];
        const KinPose& tool_pose = tools[n / 4 % 2];
        setAngle(u, v, z);
        Tool_Matrix = pos2matrix(tool_pose);
        const KinPose target = pose(model, joint);

        const KDL::Frame base(model == 36   ? KDL::Rotation::RPY(u, v, 0)
                              : model == 46 ? KDL::Rotation::RotZ(z)
                                            : KDL::Rotation::Identity());
        const KDL::Frame tool = model == 36 ? frame_by_euler(tool_pose) : KDL::Frame::Identity();
        // In gimbal lock, forward kinematics' angles are not those of the pose.
        if (!matches(target, base * forward(model, joint.data()) * tool, 2e-5)) continue;
        ++tested;
        // In a nearly straight wrist joint 4 stays the reference's, whatever the pose's rounding made of it.
        const bool shares = model == 46 && joint[4] != 0 && std::fabs(joint[4]) < 5;
        const bool told = std::fabs(std::cos(target.euler.ry)) >= 0.01 && is_told(joint, 0.005);
        SCOPED_TRACE(PrintToString(joint));
        for (int flag : {0, 1, 2}) {
            const auto [code, result] = solve(model, joint, target, flag);
            ASSERT_EQ(code, 1);
            ASSERT_TRUE(close_to(base * forward(model, result.data()) * tool, frame_by_euler(target),
                                 shares ? 2e-5 : 5e-6, shares ? 2e-4 : 2e-5));
            ASSERT_TRUE(!told || greatest_difference(result, joint) < (model == 47 ? 0.03 : 0.01));
        }
    }
    EXPECT_GT(tested, all - (model == 47 ? 4000 : 600));
}

// Singular places and a narrow range of the arm angle included: the quick count of kinematics_sweep.
TEST_P(Inverse, OfArmModelsNeverMissesTheNearest)
{
    const struct {
        bool is_hard;
        float range;
    } rows[] = {{true, 4}, {false, 4}, {false, 0.26f}};
    for (const auto& [is_hard, range] : rows) {
        const auto [targets, misses, wrong, worst] =
            hard::count(model, model == 47 ? 500 : 4000, is_hard, seed(), model == 47 ? range : 4);
        EXPECT_GT(targets, 300);
        EXPECT_EQ(misses, 0) << "worst " << worst;
        EXPECT_EQ(wrong, 0);
    }
    if (model != 46) return;
    // Upright, and nearly straight in the wrist: near the reference joint 6 is 0.0012 degrees beyond its limit, which the
    // target's rounding hides.
    Arm_Model_Init(&arm, model, 0);
    const Joints joint = {-65.760994f, 0, -1.84339369e-4f, 0, -0.0287834778f, 0.00119333714f};
    const Joints reference = {52.1245842f,  16.8429489f,  -93.9287109f,
                              -170.472229f, -16.6470203f, 354.358215f};
    const KinPose target = Arm_Model_Pose(&arm, joint.data());
    Joints result;
    ASSERT_EQ(Arm_Model_Inverse(&arm, reference.data(), &target, 4, result.data()), ARM_SOLVED);
    EXPECT_LT(hard::squared_distance(arm, result, reference), 3.3);
    EXPECT_TRUE(close_to(forward(model, result.data()), frame_by_quaternion(target), 1e-6, 5e-6));
}

// The nearest solution is an arm model's if it keeps the limits, and else is even nearer. Seven joints' keeps them.
TEST_P(Inverse, FindsNothingFartherThanArmModels)
{
    if (model == 47) Arm_Model_Init(&arm, model, 0);
    int kept = 0;
    for (int round = 0; round < 6000; ++round) {
        const Joints joint = problems.anywhere(), reference = problems.near(joint);
        const KinPose target = Arm_Model_Pose(&arm, joint.data());
        const int flag = round % 3;
        Joints nearest;
        const int of_arm_model = Arm_Model_Inverse(&arm, reference.data(), &target,
                                                   model == 47 && flag != 2 ? 0.26f : 4, nearest.data());
        const auto [code, result] = solve(model, reference, target, flag);
        const bool leans = model == 46 && std::fabs(result[4]) < 5.1; // and shares its turn, below
        if (model == 47)
            ASSERT_EQ(code, of_arm_model == ARM_SOLVED ? 1 : -3);
        else if (leans || !is_told(result, 0.02) || !is_told(nearest, 0.02))
            continue;
        if (of_arm_model != ARM_SOLVED) continue;
        const double farther =
            hard::squared_distance(arm, result, reference) - hard::squared_distance(arm, nearest, reference);
        ASSERT_TRUE(code != -9 && farther < 1e-3 && (code != 1 || farther > -1e-3)) << farther;
        ASSERT_TRUE(close_to(forward(model, result.data()), frame_by_quaternion(target), 5e-6, 2e-5));
        kept += code == 1;
    }
    EXPECT_GT(kept, 500);
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
            const auto some = [&](float most) { return problems.between(-most, most); };
            const Joints joint = {20, -30, 70, some(60), q5, some(300)};
            Joints reference = joint;
            reference[3] += some(30), reference[5] += some(30);
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
                ASSERT_EQ(flag == of_arm_model
                              ? Arm_Model_Inverse(&arm, present.data(), &target, 4, next.data()) == ARM_SOLVED
                              : inverse_kinematics(model, present.data(), &target, next.data(), flag),
                          1);
                ASSERT_TRUE(close_to(forward(model, next.data()), frame_by_quaternion(target), 1e-5, 6e-5));
                ASSERT_LT(greatest_difference(next, present), fastest);
                present = next;
            }
        }
}

// Solutions beyond a limit, on either side, are written, and the first such joint gives the code.
TEST_P(Inverse, Codes)
{
    const auto last = [](float angle) { return Joints{10, 20, 60, 40, 50, angle}; };
    const auto straight = [](float turn) { return Joints{10, 20, 40, turn, 0, 0}; };
    const struct {
        int model, code;
        Joints joint, reference = joint, result = joint;
    } rows[] = {
        {46, -4, {10, 131, -40, 20, 60, 30}},
        {46, -7, {10, 20, 40, 30, 129, 50}},
        {46, -8, {10, 20, 40, 30, 60, 361}},
        {46, -4, {10, 131, 40, 30, 129, 361}},
        {46, -7, {10, 20, 40, 30, 129, 361}},
        {46, -6, straight(182)},
        {46, -9, {10, 20, 136, 30, 60, 50}}, // theta3 is beyond its limit
        {36, -8, {10, 20, 40, 30, 60, 361}},
        {36, -5, {10, 20, 165.04f, 30, 60, 50}}, // theta3 reaches a little farther than joint 3
        {36, 1, {10, 20, -149.39f, 30, 60, 50}},
        {47, -8, {10, 20, 30, 135.01f, 50, 60, 70}}, // the elbow follows from the target alone
        {47, -8, {10, 20, 30, 170, 50, 60, 70}},
        // The last of six joints comes within half a turn of the reference's, even beyond its limit.
        {46, 1, last(20), last(-100)},
        {36, 1, last(20), last(100)},
        {36, 1, last(-60), last(250), last(300)},
        {46, 1, last(300), last(-100), last(-60)},
        {46, -8, last(350), last(-350), last(-370)},
        {36, -8, last(20), last(350), last(380)},
        // A reference just beyond a limit counts as on it: a straight wrist would keep half the excess.
        {46, 1, straight(180), straight(180.04f)},
        {46, -6, straight(180), straight(180.06f), {10, 20, 40, 180.03f, 0, -0.03f}},
    };
    const auto times = [](float side, Joints joint) {
        for (float& angle : joint)
            angle *= side;
        return joint;
    };
    for (const auto& [of_model, code, joint, reference, expected] : rows)
        for (float side : {1.0f, -1.0f})
            for (int flag : {0, 1, 2}) {
                if (of_model != model || code * side == 5) continue; // whose other limit is not the same
                const auto there = pose(model, times(side, joint));
                const auto result = solve(model, times(side, reference), there, flag);
                EXPECT_EQ(result.code, code) << PrintToString(joint);
                EXPECT_LT(greatest_difference(result.joint, times(side, expected)), 0.01)
                    << PrintToString(joint);
            }
    if (model == 36) { // below -149.4 degrees its theta3 may not be: something else is found, or nothing
        const Joints low = {10, 20, -149.41f, 30, 60, 50};
        const auto [code, result] = solve(36, low, pose(36, low));
        EXPECT_FALSE(code == 1 && greatest_difference(result, low) < 0.01);
    }
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
        const bool six = model == 46;
        const Joints stretched = six ? Joints{0, 0, 0, 30, 60, 50} : Joints{20, 30, 40, 0, 50, 60, 70},
                     bent = six ? Joints{0, -5, 10, 30, 60, 50} : Joints{20, 25, 40, 12, 45, 55, 70};
        const KDL::Frame there = forward(model, stretched.data());
        const KDL::Vector outward = judge::wrist_centre(there) / judge::wrist_centre(there).Norm();
        const KinPose target = pose_of({there.M, there.p + farther * outward});
        for (int flag : {0, 1, 2}) {
            const auto [code, result] = solve(model, bent, target, flag);
            EXPECT_EQ(code, expected);
            EXPECT_TRUE(code != 1 || (forward(model, result.data()).p - there.p).Norm() < 1e-5);
        }
        ARM_MODEL arm;
        Arm_Model_Init(&arm, model, 0);
        Joints result;
        EXPECT_EQ(Arm_Model_Inverse(&arm, bent.data(), &target, 4, result.data()), of_arm_model);
    }
}

// Without a solution the result of six joints is the reference: who ignores the code, stands still. Seven joints get
// what is no number for such a target, since no comparison with a limit fails; and a reference that was never
// initialised takes them no longer than others, as it would turn by turn.
TEST_P(Inverse, TargetsAndReferencesThatAreNone)
{
    const bool seven = model == 47;
    const Joints joint = {10, 20, 30, 40, 50, 60, seven ? 70.f : 0};
    const KinPose there = pose(model, joint);
    KinPose far = there, farthest = there, nowhere = there, turned_nowhere = there;
    far.position.x = 5, farthest.position.x = infinity_f;
    nowhere.position.y = turned_nowhere.euler.rx = turned_nowhere.quaternion.w = nan_f;
    // The wrist centre in the shoulder of models 46 and 47, and nearer to axis 1 of model 36 than its d3.
    const KinPose too_near = {{0, 0, 0.3845f}, {1, 0, 0, 0}, {0, 0, 0}};
    const KinPose targets[] = {far, farthest, too_near, nowhere, turned_nowhere};
    for (int flag : {0, 1, 2}) {
        for (int i = 0; i < 5; ++i) {
            const auto [code, result] = solve(model, joint, targets[i], flag);
            EXPECT_EQ(code, !seven ? -9 : i < 3 ? -1 : 1) << i;
            EXPECT_TRUE(seven || greatest_difference(result, joint) < 1e-4);
            EXPECT_TRUE(code != 1 || std::ranges::all_of(result, [](float q) { return std::isnan(q); }));
        }
        for (float beyond : {nan_f, infinity_f, 1e12f, 2.5e17f})
            for (int i = 0; i < arm.joints; ++i) {
                const bool is_one = std::isfinite(beyond);
                if (is_one && (!seven || flag != 2)) continue;
                Joints reference = joint;
                reference[i] = beyond;
                const auto [code, result] = solve(model, reference, there, flag);
                EXPECT_EQ(code, is_one ? 1 : seven ? -3 : -9) << beyond;
                EXPECT_TRUE(!seven || is_one || result == untouched) << beyond;
            }
    }
    for (int unknown : {0, 35, 45, 48, -46}) {
        const auto [code, result] = solve(unknown, untouched, there);
        EXPECT_TRUE(code == 2 && result == untouched) << unknown;
    }
    for (int size : {0, 4}) { // nor can a tool of zeros be taken off, which model 36 starts with
        Tool_Matrix = {size, size, {}};
        EXPECT_EQ(solve(36, joint, there).code, -9);
    }
}

// Only the orientation that the flag names counts. A quaternion that is not of unit length is to six joints what
// quaternion2euler makes of it; how one of unit length holds a tool along +-X is seen with arm models.
TEST_P(Inverse, FlagChoosesTheOrientation)
{
    const Joints joint = {0, 30, 60, 20, 40, 0};
    for (int flag : {0, 1, 2, 255}) {
        const bool by_quaternion = model == 47 ? flag != 1 : flag == 0;
        KinPose target = pose(model, joint);
        (by_quaternion ? target.euler.ry : target.quaternion.x) = nan_f;
        EXPECT_LT(greatest_difference(solve(model, joint, target, flag).joint, joint), 0.01) << flag;
    }
    KinPose target = pose(model, joint);
    for (const auto& [w, x, y, z] : {Quaternion{0, 0, 0, 0}, {0.9f, 0.3f, -0.2f, 0.1f}, {1, 0, 1, 0}}) {
        target.quaternion = {w, x, y, z};
        target.euler = quaternion2euler(w, x, y, z); // of the last one a NaN
        const auto by_quaternion = solve(model, joint, target, 0), by_euler = solve(model, joint, target, 1);
        EXPECT_TRUE(model == 47 || (by_quaternion.code == by_euler.code &&
                                    greatest_difference(by_quaternion.joint, by_euler.joint) < 1e-4));
    }
}

} // namespace
