// Arm models: against the flat functions, Orocos KDL, Eigen and FCL; all solutions; batches; bodies.
#include "kinematics/batch.h"
#include "kinematics/capsule_judge.h"
#include "kinematics/kinematics_support.h"

#include <Eigen/SVD>
#include <kdl/chainjnttojacsolver.hpp>

#include <algorithm>
#include <cstring>
#include <span>

namespace {

struct ArmModel : OfEachModel {
    const KinPose tool = problems.pose();
    const Euler installation = {0.4f, -0.7f, 2};

    void install()
    {
        arm.tool = pos2matrix(tool);
        arm.installation = installation;
    }
    KinPose pose(const Joints& joint) const { return Arm_Model_Pose(&arm, joint.data()); }
    int inverse(const Joints& reference, const KinPose& target, Joints& found) const
    {
        return Arm_Model_Inverse(&arm, reference.data(), &target, 4, found.data());
    }
    ::testing::AssertionResult reaches(const Joints& joint, const KinPose& target) const
    {
        return matches(pose(joint), frame_by_quaternion(target), 6e-5);
    }
};

INSTANTIATE_TEST_SUITE_P(Models, ArmModel, ::testing::Values(36, 46, 47), model_name);

// Position and sign of the quaternion included; towards gimbal lock the classic function's angles lose digits.
TEST_P(ArmModel, PoseIsTheClassicOne)
{
    for (int round = 0; round < 3000; ++round) {
        const Joints joint = problems.anywhere();
        const KinPose own = pose(joint), flat = Forward_Kinematics(model, joint.data());
        ASSERT_EQ(std::memcmp(&own.position, &flat.position, sizeof own.position), 0);
        const double tolerance = 1e-6 / std::cos(flat.euler.ry);
        ASSERT_TRUE(matches(own, frame_by_euler(flat), tolerance));
        const Quaternion &a = own.quaternion, &b = flat.quaternion;
        ASSERT_NEAR(a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z, 1, tolerance);
    }
}

// Angles and quaternion hold the turn about a tool that points along +-X, where rx and rz are about one axis.
TEST_P(ArmModel, PosesSurviveGimbalLock)
{
    for (double pitch : {M_PI_2, -M_PI_2, M_PI_2 - 1e-6, -M_PI_2 + 1e-4})
        for (double turn = -3; turn < 3; turn += 0.25) {
            const KinPose target = pose_of({KDL::Rotation::RotY(pitch) * KDL::Rotation::RotZ(turn),
                                            {pitch > 0 ? 0.45 : -0.2, 0.1, 0.5}});
            Joints joint = {0, 30, 60};
            ASSERT_EQ(inverse(joint, target, joint), ARM_SOLVED);
            EXPECT_TRUE(matches(pose(joint), forward(model, joint.data()), 1e-5));
        }
}

// Poses, link frames and Jacobians of an arm that is installed at an angle and holds a tool.
TEST_P(ArmModel, InstalledWithAToolIsKdls)
{
    for (int variant : {1, 2}) {
        ARM_MODEL other;
        ASSERT_EQ(Arm_Model_Init(&other, model, variant), 0);
        EXPECT_NEAR(other.flange - arm.flange, variant == 1 ? 0.0202 : 0.0285, 1e-6);
    }
    install();
    const auto base = KDL::Rotation::RPY(installation.rx, installation.ry, installation.rz);
    KDL::Chain chain = kdl_arms::arm(model); // from the base to the tool
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), frame_by_euler(tool)));
    KDL::ChainJntToJacSolver solver(chain);
    for (int round = 0; round < 200; ++round) {
        const Joints joint = problems.anywhere();
        const KDL::Frame flange = KDL::Frame(base) * forward(model, joint.data());
        EXPECT_TRUE(matches(pose(joint), flange * frame_by_euler(tool), 3e-5));
        EXPECT_TRUE(matches(Arm_Model_Flange(&arm, joint.data()), flange, 3e-5));
        Matrix links[7];
        ASSERT_EQ(Arm_Model_Links(&arm, joint.data(), links), arm.joints);
        EXPECT_TRUE(KDL::Equal(frame_of(links[arm.joints - 1]), flange, 3e-5));

        KDL::Jacobian in_base(arm.joints);
        solver.JntToJac(kdl_arms::radians(model, joint.data()), in_base);
        const KDL::Rotation turns[] = {base, {}, frame_by_euler(pose(joint)).M.Inverse() * base};
        for (int frame : {ARM_WORLD, ARM_BASE, ARM_TOOL}) {
            KDL::Jacobian expected = in_base;
            expected.changeBase(turns[frame]);
            double jacobian[6][7];
            Arm_Model_Jacobian(&arm, joint.data(), static_cast<ARM_FRAME>(frame), jacobian);
            for (int i = 0; i < 6; ++i)
                for (int j = 0; j < 7; ++j)
                    ASSERT_NEAR(jacobian[i][j], j < arm.joints ? expected(i, j) : 0, 5e-5) << frame;
        }
        const auto [product, least, ratio] = Arm_Model_Dexterity(&arm, joint.data());
        const Eigen::VectorXd values = in_base.data.jacobiSvd().singularValues();
        EXPECT_NEAR(product, values.prod(), 2e-5);
        EXPECT_NEAR(least, values[5], 1e-4);
        EXPECT_NEAR(ratio, values[5] / values[0], 1e-4);
    }
    EXPECT_LT(Arm_Model_Dexterity(&arm, Joints{}.data()).distance, 1e-6);
    const Joints none = {0, 0, 0, 0, 0, nan_f, nan_f};
    Arm_Model_Init(&arm, model, 0); // without a tool the last joint moves nothing
    EXPECT_TRUE(std::isnan(Arm_Model_Dexterity(&arm, none.data()).distance));
    EXPECT_TRUE(std::isnan(Arm_Model_Clearance(&arm, none.data())));
}

TEST_P(ArmModel, InverseTellsWhyThereIsNone)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    const KinPose there = pose(joint), beside = pose({30, 20, 30, 40, 50, 60, 70}),
                  in_line = pose({10, 20, 30, 40, 0, 60});
    KinPose far = there, nowhere = there, not_turned = there;
    far.position.x = 5, nowhere.position.x = nan_f, not_turned.quaternion = {};
    Joints found = joint;
    for (const KinPose& target : {far, nowhere, not_turned}) {
        float solutions[8][7];
        ARM_INTERVAL angles[ARM_INTERVALS];
        EXPECT_EQ(inverse(joint, target, found), ARM_OUT_OF_REACH);
        EXPECT_EQ(Arm_Model_Solutions(&arm, &target, solutions), 0);
        EXPECT_EQ(Arm_Model_Solutions_At(&arm, &target, 1, solutions), 0);
        EXPECT_EQ(Arm_Model_Angles(&arm, &target, angles), 0);
    }
    for (int i = 0; i < arm.joints; ++i)
        ASSERT_EQ(Arm_Model_Limit(&arm, i + 1, joint[i] - 1, joint[i] + 1), 0);
    EXPECT_EQ(inverse({}, there, found), ARM_SOLVED);
    EXPECT_TRUE(reaches(found, there));
    EXPECT_EQ(inverse(joint, beside, found), ARM_OUTSIDE_LIMITS);
    EXPECT_EQ(inverse(joint, far, found), ARM_OUT_OF_REACH);
    for (int number :
         {4, 5, 6}) // of a straight wrist: its joints share more turn than these limits leave them
        ASSERT_EQ(Arm_Model_Limit(&arm, number, -1, 1), 0);
    for (float reference : {0.5f, nan_f})
        EXPECT_EQ(inverse({10, 20, 30, reference, 0, 60}, in_line, found), ARM_OUTSIDE_LIMITS);
    EXPECT_EQ(Arm_Model_Init(&arm, 45, 0), ARM_UNKNOWN);
    EXPECT_EQ(inverse(joint, there, found), ARM_UNKNOWN);
}

TEST_P(ArmModel, LimitsAreOnlyNarrowed)
{
    EXPECT_EQ(Arm_Model_Limit(&arm, 2, -30, 40), 0);
    const struct {
        int number;
        float lower, upper;
    } refused[] = {{0, -1, 1}, {arm.joints + 1, -1, 1}, {1, -181, 0}, {1, 0, 181}, {1, 5, 5}, {1, nan_f, 1}};
    for (const auto& [number, lower, upper] : refused)
        EXPECT_EQ(Arm_Model_Limit(&arm, number, lower, upper), KX_WRONG_TYPE) << number;
    for (const auto& [q2, expected] : {std::pair{-30.f, 0}, {40.f, 0}, {40.1f, 2}, {-31.f, 2}, {nan_f, 2}})
        EXPECT_EQ(Arm_Model_Beyond_Limits(&arm, Joints{0, q2}.data()), expected) << q2;
}

// Every solution is one; the joints that made the target are among them, and the nearest.
TEST_P(ArmModel, AllSolutions)
{
    for (int round = 0; round < 500; ++round) {
        if (round == 250) // narrow limits, and not symmetric ones
            for (int i = 0; i < arm.joints; ++i) {
                const float middle = problems.between(-40, 60);
                Arm_Model_Limit(&arm, i + 1, std::max(middle - 70, arm.lower[i]),
                                std::min(middle + 60, arm.upper[i]));
            }
        const Joints joint = problems.anywhere(), reference = problems.anywhere();
        const KinPose target = pose(joint);
        Joints nearest = {};
        ASSERT_EQ(inverse(reference, target, nearest), ARM_SOLVED);
        const double least = hard::squared_distance(arm, nearest, reference);

        float solutions[8][7];
        const auto how_near_to_joint = [&](int count) {
            double off = 1e9;
            for (int n = 0; n < count; ++n) {
                Joints solution = {}, turned = {};
                std::copy_n(solutions[n], arm.joints, solution.begin());
                EXPECT_TRUE(reaches(solution, target));
                EXPECT_EQ(Arm_Model_Beyond_Limits(&arm, solution.data()), 0);
                EXPECT_GT(hard::squared_distance(arm, solution, reference), least - 1e-3);
                for (int i = 0; i < arm.joints; ++i)
                    turned[i] = std::remainder(solution[i] - joint[i], 360.0f);
                off = std::min(off, greatest_difference(turned, {}));
            }
            return off;
        };
        ARM_INTERVAL intervals[ARM_INTERVALS];
        const int intervals_found = Arm_Model_Angles(&arm, &target, intervals);
        for (int step = 0; model == 47 && step < 100; ++step) {
            const double angle = 2 * M_PI * step / 100 - M_PI;
            const int count = Arm_Model_Solutions_At(&arm, &target, angle, solutions);
            bool inside = false, at_end = false;
            for (int i = 0; i < intervals_found; ++i)
                for (double a : {angle, angle + 2 * M_PI}) {
                    const double past = a - intervals[i].from, left = intervals[i].to - a;
                    inside |= past >= 0 && left >= 0;
                    at_end |= std::min(std::fabs(past), std::fabs(left)) < 1e-3;
                }
            EXPECT_TRUE(at_end || inside == (count > 0)) << angle;
            how_near_to_joint(count);
        }
        Joints turn_on = joint; // which is the same place
        turn_on[3] += 360;
        const double off = how_near_to_joint(
            model == 47
                ? Arm_Model_Solutions_At(&arm, &target, Arm_Model_Angle(&arm, turn_on.data()), solutions)
                : Arm_Model_Solutions(&arm, &target, solutions));
        // Near a singular place, or where joints of a ball turn about one axis, the target's rounding moves them.
        const double bend = model == 47 ? std::min(std::fabs(joint[1]), std::fabs(joint[5])) : 90;
        EXPECT_TRUE(bend < 0.5 || !is_told(joint, 0.005) || off < 0.05) << off;
    }
}

// Whatever the processor's vectors hold; with hard targets among them, and such as have no solution.
TEST_P(ArmModel, BatchesHaveTheBitsOfSingleCalls)
{
    constexpr int count = 1203;
    ASSERT_EQ(Arm_Model_Init(&arm, model, 0), 0); // the limits with which seven joints go side by side
    std::vector<float> joints, references;
    for (int n = 0; n < count; ++n) {
        const Joints joint = n % 2 ? problems.hard() : problems.anywhere(),
                     reference = n % 5 ? problems.near(joint) : joint; // at rest
        joints.insert(joints.end(), joint.begin(), joint.begin() + arm.joints);
        references.insert(references.end(), reference.begin(), reference.begin() + arm.joints);
        if (n % 97 == 0) joints.back() = n % 2 ? 1e8f : nan_f;
    }
    for (bool installed : {false, true}) {
        if (installed) install();
        const float range = installed ? 0.5f : 4;
        std::vector<KinPose> pose(count), target(count);
        std::vector<float> solution(joints.size(), 77);
        std::vector<int> code(count);
        for (int n = 0; n < count; ++n) {
            const auto at = n * arm.joints;
            target[n] = pose[n] = Arm_Model_Pose(&arm, &joints[at]);
            if (n % 50 == 0) target[n].position.x = 3;
            if (n % 51 == 0) target[n].quaternion.w *= 1.01f;
            code[n] = Arm_Model_Inverse(&arm, &references[at], &target[n], range, &solution[at]);
        }
        constexpr int batches[][3] = {{8, count, 4}, {8, count, 1}, {8, 5, 1}, {4, count, 1},
                                      {4, 3, 1},     {2, count, 1}, {2, 0, 1}};
        for (const auto& [lanes, size, threads] : batches) {
            kx::most_lanes = lanes;
            std::vector<KinPose> poses(count, tool);
            Arm_Model_Poses(&arm, size, joints.data(), poses.data(), threads);
            std::vector<int> codes(count, -5);
            std::vector<float> found(joints.size(), 77);
            EXPECT_EQ(Arm_Model_Inverses(&arm, size, references.data(), target.data(), range, found.data(),
                                         codes.data(), threads),
                      std::count(code.begin(), code.begin() + size, ARM_SOLVED));
            for (int n = 0; n < count; ++n) {
                ASSERT_TRUE(std::memcmp(&poses[n], n < size ? &pose[n] : &tool, sizeof tool) == 0 ||
                            std::isnan(poses[n].euler.rx));
                ASSERT_EQ(codes[n], n < size ? code[n] : -5) << n;
                for (int i = n * arm.joints; i < (n + 1) * arm.joints; ++i)
                    ASSERT_EQ(found[i], n < size ? solution[i] : 77) << n;
            }
        }
    }
    kx::most_lanes = 8;
}

// Of so many some need more room than they have beside others, and are begun again alone. The results may be the references.
TEST(SevenJoints, LongSearchesInABatchHaveTheBitsOfSingleCalls)
{
    constexpr int count = 20000;
    ARM_MODEL arm;
    ASSERT_EQ(Arm_Model_Init(&arm, 47, 0), 0);
    hard::Problems problems(arm, seed());
    std::vector<float> references, alone(count * 7);
    std::vector<KinPose> target;
    int solved = 0;
    for (int n = 0; n < count; ++n) {
        const Joints joint = problems.anywhere(), reference = problems.anywhere();
        references.insert(references.end(), reference.begin(), reference.begin() + 7);
        target.push_back(Arm_Model_Pose(&arm, joint.data()));
        solved += Arm_Model_Inverse(&arm, reference.data(), &target[n], 4, &alone[n * 7]) == ARM_SOLVED;
    }
    std::vector<int> codes(count);
    EXPECT_EQ(Arm_Model_Inverses(&arm, count, references.data(), target.data(), 4, references.data(),
                                 codes.data(), 1),
              solved);
    EXPECT_EQ(references, alone);
}

KDL::Vector vector(const Position& p)
{
    return {p.x, p.y, p.z};
}

TEST_P(ArmModel, BodiesAndTheirCapsulesMoveWithTheLinks)
{
    const auto capsules_at = [&](const Joints& joint) {
        std::vector<ARM_CAPSULE> all(ARM_CAPSULES);
        all.resize(Arm_Model_Capsules(&arm, joint.data(), all.data()));
        return all;
    };
    const auto links_at = [&](const Joints& joint) {
        Matrix matrices[7];
        Arm_Model_Links(&arm, joint.data(), matrices);
        std::vector<KDL::Frame> all(8); // of the pedestal first
        all[0].M = KDL::Rotation::RPY(arm.installation.rx, arm.installation.ry, arm.installation.rz);
        std::transform(matrices, matrices + arm.joints, all.begin() + 1, frame_of);
        return all;
    };
    const auto rest = capsules_at({});
    const auto rest_links = links_at({});
    install();
    int folded = 0;
    for (int round = 0; round < 100; ++round) {
        const Joints joint = problems.anywhere();
        const auto now = capsules_at(joint);
        const auto links = links_at(joint);
        ASSERT_EQ(now.size(), rest.size());
        double least = INFINITY;
        for (std::size_t i = 0; i < now.size(); ++i) {
            const KDL::Frame move = links[now[i].link] * rest_links[now[i].link].Inverse();
            ASSERT_TRUE(KDL::Equal(vector(now[i].from), move * vector(rest[i].from), 1e-5)) << i;
            ASSERT_TRUE(KDL::Equal(vector(now[i].to), move * vector(rest[i].to), 1e-5)) << i;
            for (std::size_t j = 0; j < i; ++j) {
                EXPECT_NEAR(Arm_Capsule_Distance(&now[i], &now[j]), apart(now[i], now[j]), 1e-5);
                if (now[i].link != now[j].link && apart(rest[i], rest[j]) > 0.05)
                    least = std::min(least, apart(now[i], now[j]));
            }
        }
        EXPECT_NEAR(Arm_Model_Clearance(&arm, joint.data()), least, 1e-5);
        folded += least < 0;

        // What is drawn: the axes of all bodies, and the balls at the bends of tubes as a whole.
        ARM_BODY bodies[ARM_BODIES];
        const int drawn = Arm_Model_Bodies(&arm, joint.data(), bodies);
        ASSERT_GT(drawn, static_cast<int>(now.size()));
        for (const ARM_BODY& body : std::span(bodies, drawn))
            for (const Position& end : {body.from, body.to}) {
                const ARM_CAPSULE point = {0, end, end, 0};
                const bool is_ball = std::memcmp(&body.from, &body.to, sizeof end) == 0;
                EXPECT_TRUE(std::ranges::any_of(now, [&](const ARM_CAPSULE& c) {
                    return c.link == body.link && apart(point, c) < (is_ball ? 1e-6 - body.to_radius : 0);
                }));
            }
    }
    EXPECT_GT(folded, 0);
    EXPECT_LT(folded, 80);
}

} // namespace
