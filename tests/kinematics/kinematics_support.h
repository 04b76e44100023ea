// What the kinematics tests share: the judge's view of poses (KDL frames), comparisons, arms.
#pragma once

#include "kinematics/hard_targets.h"
#include "kx_base.h"

#include <gtest/gtest.h>
#include <kdl/frames_io.hpp>

using hard::Random, kdl_arms::degree, kdl_arms::forward, kdl_arms::frame_by_euler,
    kdl_arms::frame_by_quaternion, kdl_arms::greatest_difference, kdl_arms::Joints;

inline constexpr float nan_f = std::numeric_limits<float>::quiet_NaN();
inline constexpr float infinity_f = std::numeric_limits<float>::infinity();

inline KinPose pose_of(const KDL::Frame& frame)
{
    const auto f = [](double x) { return static_cast<float>(x); };
    double rx, ry, rz, x, y, z, w;
    frame.M.GetRPY(rx, ry, rz);
    frame.M.GetQuaternion(x, y, z, w);
    return {
        {f(frame.p.x()), f(frame.p.y()), f(frame.p.z())}, {f(w), f(x), f(y), f(z)}, {f(rx), f(ry), f(rz)}};
}

inline KDL::Frame frame_of(const Matrix& matrix)
{
    const auto& m = matrix.data;
    return {{m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]},
            {m[0][3], m[1][3], m[2][3]}};
}

inline ::testing::AssertionResult close_to(const KDL::Frame& got, const KDL::Frame& expected, double metres,
                                           double radians)
{
    const KDL::Twist off = KDL::diff(got, expected);
    if (off.vel.Norm() <= metres && off.rot.Norm() <= radians) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got\n" << got << "\nexpected\n" << expected;
}

// Both forms of a pose's rotation, and its position, against a frame; tolerance in metres and radians.
inline ::testing::AssertionResult matches(const KinPose& pose, const KDL::Frame& frame,
                                          double tolerance = 1e-5)
{
    const auto by_euler = close_to(frame_by_euler(pose), frame, tolerance, tolerance);
    return by_euler ? close_to(frame_by_quaternion(pose), frame, tolerance, tolerance) : by_euler;
}

// Other numbers on --gtest_random_seed=N.
inline unsigned seed()
{
    return 1 + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
}

struct OfEachModel : ::testing::TestWithParam<int> {
    const int model = GetParam();
    ARM_MODEL arm = judge::arm_within_its_chain(model);
    hard::Problems problems{arm, seed()};

    OfEachModel()
    {
        Init_Sys_Data(46); // sets the tool transform for model 36
        setAngle(0, 0, 0);
    }
    // Whether a pose of single precision tells the joints that made it.
    bool is_told(const Joints& joint, double regular) const
    {
        return Arm_Model_Dexterity(&arm, joint.data()).distance > regular;
    }
};

inline const auto model_name = [](const auto& test) { return "Model" + std::to_string(test.param); };
