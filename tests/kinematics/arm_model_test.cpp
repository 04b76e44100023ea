// Arm models: against the flat functions, Orocos KDL, Eigen and FCL; all solutions; batches.
#include "kinematics/batch.h"
#include "kinematics/kinematics_support.h"

#include <Eigen/Dense>
#include <fcl/narrowphase/distance.h>
#include <kdl/chainjnttojacsolver.hpp>

#include <algorithm>
#include <cstring>

namespace {

struct ArmModel : OfEachModel {
    const KinPose tool = random.pose();
    const Euler installation = {0.4f, -0.7f, 2};

    void install()
    {
        arm.tool = pos2matrix(tool);
        arm.installation = installation;
    }
    ::testing::AssertionResult reaches(const float* joint, const KinPose& target)
    {
        return matches(Arm_Model_Pose(&arm, joint), frame_by_quaternion(target), 6e-5);
    }
};

INSTANTIATE_TEST_SUITE_P(Models, ArmModel, ::testing::Values(36, 46, 47), model_name);

// Position and sign of the quaternion included; towards gimbal lock the classic function's angles lose digits.
TEST_P(ArmModel, PoseIsTheClassicOne)
{
    for (int round = 0; round < 3000; ++round) {
        const Joints joint = problems.anywhere();
        const KinPose pose = Arm_Model_Pose(&arm, joint.data()),
                      flat = Forward_Kinematics(model, joint.data());
        ASSERT_EQ(std::memcmp(&pose.position, &flat.position, sizeof pose.position), 0);
        const double tolerance = 1e-6 / std::cos(flat.euler.ry);
        ASSERT_TRUE(matches(pose, frame_by_euler(flat), tolerance));
        const Quaternion &a = pose.quaternion, &b = flat.quaternion;
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
            ASSERT_EQ(Arm_Model_Inverse(&arm, joint.data(), &target, 4, joint.data()), ARM_SOLVED);
            EXPECT_TRUE(
                matches(Arm_Model_Pose(&arm, joint.data()), kdl_arms::forward(model, joint.data()), 1e-5));
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
        const KDL::Frame flange = KDL::Frame(base) * kdl_arms::forward(model, joint.data());
        const KinPose pose = Arm_Model_Pose(&arm, joint.data());
        EXPECT_TRUE(matches(pose, flange * frame_by_euler(tool), 3e-5));
        EXPECT_TRUE(matches(Arm_Model_Flange(&arm, joint.data()), flange, 3e-5));
        Matrix links[7];
        ASSERT_EQ(Arm_Model_Links(&arm, joint.data(), links), arm.joints);
        EXPECT_TRUE(KDL::Equal(frame_of(links[arm.joints - 1]), flange, 3e-5));

        KDL::Jacobian in_base(arm.joints);
        solver.JntToJac(kdl_arms::radians(model, joint.data()), in_base);
        const KDL::Rotation turns[] = {base, {}, frame_by_euler(pose).M.Inverse() * base};
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
    EXPECT_TRUE(std::isnan(Arm_Model_Dexterity(&arm, Joints{nan_f}.data()).distance));
}

TEST_P(ArmModel, InverseTellsWhyThereIsNone)
{
    const Joints joint = {10, 20, 30, 40, 50, 60, 70};
    const KinPose there = Arm_Model_Pose(&arm, joint.data());
    KinPose far = there, nowhere = there;
    far.position.x = 5;
    nowhere.quaternion.w = nan_f;
    Joints found = joint;
    for (const KinPose& target : {far, nowhere})
        EXPECT_EQ(Arm_Model_Inverse(&arm, joint.data(), &target, 4, found.data()), ARM_OUT_OF_REACH);
    for (int i = 0; i < arm.joints; ++i)
        ASSERT_EQ(Arm_Model_Limit(&arm, i + 1, joint[i] - 1, joint[i] + 1), 0);
    EXPECT_EQ(Arm_Model_Inverse(&arm, Joints{}.data(), &there, 4, found.data()), ARM_SOLVED);
    EXPECT_TRUE(reaches(found.data(), there));
    const KinPose beside = Arm_Model_Pose(&arm, Joints{30, 20, 30, 40, 50, 60, 70}.data());
    EXPECT_EQ(Arm_Model_Inverse(&arm, joint.data(), &beside, 4, found.data()), ARM_OUTSIDE_LIMITS);

    if (model != 47) { // joints 4 and 6 of a straight wrist share more turn than their limits leave them
        Joints straight = {10, 20, 30, 40, 0, 60};
        const KinPose in_line = Arm_Model_Pose(&arm, straight.data());
        for (int number : {4, 5, 6})
            ASSERT_EQ(Arm_Model_Limit(&arm, number, -1, 1), 0);
        for (float reference : {0.5f, nan_f}) {
            straight[3] = reference;
            EXPECT_EQ(Arm_Model_Inverse(&arm, straight.data(), &in_line, 4, found.data()),
                      ARM_OUTSIDE_LIMITS);
        }
    }

    EXPECT_EQ(Arm_Model_Init(&arm, 45, 0), ARM_UNKNOWN);
    EXPECT_EQ(Arm_Model_Inverse(&arm, joint.data(), &there, 4, found.data()), ARM_UNKNOWN);
}

TEST_P(ArmModel, LimitsAreOnlyNarrowed)
{
    EXPECT_EQ(Arm_Model_Limit(&arm, 2, -30, 40), 0);
    for (const auto& [number, lower, upper] : {std::tuple{0, -1.f, 1.f},
                                               {arm.joints + 1, -1.f, 1.f},
                                               {1, -181.f, 0.f},
                                               {1, 0.f, 181.f},
                                               {1, 5.f, 5.f},
                                               {1, nan_f, 1.f}})
        EXPECT_EQ(Arm_Model_Limit(&arm, number, lower, upper), KX_WRONG_TYPE);
    Joints joint = {};
    for (const auto& [q2, expected] : {std::pair{-30.f, 0}, {40.f, 0}, {40.1f, 2}, {-31.f, 2}, {nan_f, 2}}) {
        joint[1] = q2;
        EXPECT_EQ(Arm_Model_Beyond_Limits(&arm, joint.data()), expected) << q2;
    }
}

// Every solution is one; the joints that made the target are among them, and the nearest.
TEST_P(ArmModel, AllSolutions)
{
    for (int round = 0; round < 500; ++round) {
        if (round == 250) // narrow limits, and not symmetric ones
            for (int i = 0; i < arm.joints; ++i) {
                const float middle = random.between(-40, 60);
                Arm_Model_Limit(&arm, i + 1, std::max(middle - 70, arm.lower[i]),
                                std::min(middle + 60, arm.upper[i]));
            }
        const Joints joint = problems.anywhere(), reference = problems.anywhere();
        const KinPose target = Arm_Model_Pose(&arm, joint.data());
        Joints nearest = {};
        ASSERT_EQ(Arm_Model_Inverse(&arm, reference.data(), &target, 4, nearest.data()), ARM_SOLVED);

        float solutions[8][7];
        const auto least_difference = [&](int count) {
            double least = 1e9;
            for (int n = 0; n < count; ++n) {
                EXPECT_TRUE(reaches(solutions[n], target));
                EXPECT_EQ(Arm_Model_Beyond_Limits(&arm, solutions[n]), 0);
                double farther = 0; // degrees^2
                Joints turned = {};
                for (int i = 0; i < arm.joints; ++i) {
                    turned[i] = std::remainder(solutions[n][i] - joint[i], 360.0f);
                    farther +=
                        std::pow(solutions[n][i] - reference[i], 2) - std::pow(nearest[i] - reference[i], 2);
                }
                least = std::min(least, greatest_difference(turned, {}));
                EXPECT_GE(farther, -3);
            }
            return least;
        };
        ARM_INTERVAL intervals[ARM_INTERVALS];
        const int intervals_found = model == 47 ? Arm_Model_Angles(&arm, &target, intervals) : 0;
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
            least_difference(count);
        }
        const double at = Arm_Model_Angle(&arm, joint.data());
        const double least =
            least_difference(model == 47 ? Arm_Model_Solutions_At(&arm, &target, at, solutions)
                                         : Arm_Model_Solutions(&arm, &target, solutions));
        // Near a singular place, or where joints of a ball turn about one axis, the target's rounding moves them.
        const double bend = model == 47 ? std::min(std::fabs(joint[1]), std::fabs(joint[5])) : 90;
        const bool is_told = bend > 0.5 && Arm_Model_Dexterity(&arm, joint.data()).distance > 0.005;
        EXPECT_TRUE(!is_told || least < 0.05) << least;
    }
}

// Whatever the processor's vectors hold; with hard targets among them, and such as have no solution.
TEST_P(ArmModel, BatchesHaveTheBitsOfSingleCalls)
{
    constexpr int count = 1203;
    std::vector<float> joints, references;
    for (int n = 0; n < count; ++n) {
        const Joints joint = n % 2 ? problems.hard() : problems.anywhere(), reference = problems.near(joint);
        joints.insert(joints.end(), joint.begin(), joint.begin() + arm.joints);
        references.insert(references.end(), reference.begin(), reference.begin() + arm.joints);
        if (n % 97 == 0) joints.back() = n % 2 ? 1e8f : nan_f;
    }
    for (bool installed : {false, true}) {
        if (installed) install();
        std::vector<KinPose> pose(count), target(count);
        std::vector<float> solution(joints.size(), 77);
        std::vector<int> code(count);
        for (int n = 0; n < count; ++n) {
            const auto at = n * arm.joints;
            target[n] = pose[n] = Arm_Model_Pose(&arm, &joints[at]);
            if (n % 50 == 0) target[n].position.x = 3;
            if (n % 51 == 0) target[n].quaternion.w *= 1.01f;
            code[n] = Arm_Model_Inverse(&arm, &references[at], &target[n], 4, &solution[at]);
        }
        constexpr int batches[][3] = {{8, count, 4}, {8, count, 1}, {8, 5, 1}, {4, count, 1},
                                      {4, 3, 1},     {2, count, 1}, {2, 0, 1}};
        for (const auto& [lanes, size, threads] : batches) {
            kx::most_lanes = lanes;
            std::vector<KinPose> poses(count, tool);
            Arm_Model_Poses(&arm, size, joints.data(), poses.data(), threads);
            std::vector<int> codes(count, -5);
            std::vector<float> found(joints.size(), 77);
            EXPECT_EQ(Arm_Model_Inverses(&arm, size, references.data(), target.data(), 4, found.data(),
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

// Wherever the arm is: the axes of all bodies, and the balls at the bends of tubes as a whole.
TEST_P(ArmModel, WhatIsDrawnIsWithinCapsules)
{
    install();
    const Joints joint = problems.anywhere();
    ARM_BODY bodies[ARM_BODIES];
    ARM_CAPSULE capsules[ARM_CAPSULES];
    const int drawn = Arm_Model_Bodies(&arm, joint.data(), bodies);
    const int count = Arm_Model_Capsules(&arm, joint.data(), capsules);
    ASSERT_GT(drawn, count);
    for (int i = 0; i < drawn; ++i)
        for (const Position& end : {bodies[i].from, bodies[i].to}) {
            const ARM_CAPSULE point = {0, end, end, 0};
            const bool is_ball = std::memcmp(&bodies[i].from, &bodies[i].to, sizeof end) == 0;
            const double within = is_ball ? 1e-6 - bodies[i].to_radius : 0;
            EXPECT_TRUE(std::any_of(capsules, capsules + count, [&](const ARM_CAPSULE& c) {
                return c.link == bodies[i].link && Arm_Capsule_Distance(&point, &c) < within;
            })) << i;
        }
}

// The distances of FCL between the same capsules.
TEST_P(ArmModel, ClearanceIsFcls)
{
    install();
    const auto objects = [&](const Joints& joint) {
        ARM_CAPSULE capsules[ARM_CAPSULES];
        const int count = Arm_Model_Capsules(&arm, joint.data(), capsules);
        std::vector<std::pair<int, fcl::CollisionObjectd>> all;
        for (int i = 0; i < count; ++i) {
            const auto& [link, from, to, radius] = capsules[i];
            const Eigen::Vector3d a(from.x, from.y, from.z), b(to.x, to.y, to.z), way = b - a;
            fcl::Transform3d place = fcl::Transform3d::Identity();
            place.translation() = (a + b) / 2;
            std::shared_ptr<fcl::CollisionGeometryd> body = std::make_shared<fcl::Sphered>(radius);
            if (way.norm() > 1e-6) {
                body = std::make_shared<fcl::Capsuled>(radius, way.norm());
                place.rotate(Eigen::Quaterniond::FromTwoVectors(Eigen::Vector3d::UnitZ(), way));
            }
            all.emplace_back(link, fcl::CollisionObjectd(body, place));
        }
        return all;
    };
    const auto distance = [](const fcl::CollisionObjectd& a, const fcl::CollisionObjectd& b) {
        fcl::DistanceResultd result;
        fcl::DistanceRequestd request;
        request.gjk_solver_type = fcl::GST_INDEP;
        return fcl::distance(&a, &b, request, result);
    };
    const auto rest = objects(Joints{});
    int folded = 0;
    for (int round = 0; round < 100; ++round) {
        const Joints joint = problems.anywhere();
        const auto now = objects(joint);
        double expected = INFINITY;
        for (std::size_t i = 0; i < now.size(); ++i)
            for (std::size_t j = i + 1; j < now.size(); ++j)
                if (now[i].first != now[j].first && distance(rest[i].second, rest[j].second) > 0.05)
                    expected = std::min(expected, distance(now[i].second, now[j].second));
        const double clearance = Arm_Model_Clearance(&arm, joint.data());
        folded += clearance < 0;
        if (expected > 0)
            EXPECT_NEAR(clearance, expected, 1e-4);
        else
            EXPECT_LT(clearance, 1e-4);
    }
    EXPECT_GT(folded, 0);
    EXPECT_LT(folded, 80);
}

} // namespace
