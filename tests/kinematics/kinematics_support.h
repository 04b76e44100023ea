// What the kinematics tests share: the judge's view of poses (KDL frames), comparisons, random numbers.
#pragma once

#include "kinematics/kdl_arms.h"
#include "kx_base.h"

#include <gtest/gtest.h>
#include <kdl/frames_io.hpp>

#include <array>
#include <cmath>
#include <random>

using Joints = std::array<float, 7>; // degrees

inline constexpr float nan_f = std::numeric_limits<float>::quiet_NaN();
inline constexpr float infinity_f = std::numeric_limits<float>::infinity();

using kdl_arms::frame_by_euler, kdl_arms::frame_by_quaternion;

inline double squared_distance(const Joints& a, const Joints& b) // rad^2
{
    double sum = 0;
    for (int i = 0; i < 7; ++i)
        sum += std::pow((a[i] - b[i]) * kdl_arms::degree, 2);
    return sum;
}

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

// Both forms of a pose's rotation, and its position, against a frame; tolerance in metres and radians.
inline ::testing::AssertionResult matches(const KinPose& pose, const KDL::Frame& frame,
                                          double tolerance = 1e-5)
{
    for (const KDL::Frame& form : {frame_by_euler(pose), frame_by_quaternion(pose)})
        if (!(KDL::diff(form, frame).vel.Norm() <= tolerance &&
              KDL::diff(form, frame).rot.Norm() <= tolerance))
            return ::testing::AssertionFailure() << "got\n" << form << "\nexpected\n" << frame;
    return ::testing::AssertionSuccess();
}

// Other numbers on --gtest_random_seed=N.
inline unsigned seed()
{
    return 1 + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
}

class Random {
    std::mt19937 bits{seed()};

  public:
    float between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(bits); }

    Joints joints(const kdl_arms::Limits& limits)
    {
        Joints joint = {};
        for (std::size_t i = 0; i < limits.size(); ++i)
            joint[i] = between(limits[i][0], limits[i][1]);
        return joint;
    }

    // Within 1.5 m and with ry short of gimbal lock.
    KinPose pose()
    {
        const Euler e = {between(-3.1f, 3.1f), between(-1.5f, 1.5f), between(-3.1f, 3.1f)};
        return {{between(-1.5f, 1.5f), between(-1.5f, 1.5f), between(-1.5f, 1.5f)},
                euler2quaternion(e.rx, e.ry, e.rz),
                e};
    }
};
