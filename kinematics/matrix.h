// What the kinematics share below the public matrix functions.
#pragma once

#include "kinematics/arithmetic.h"
#include "kx/kinematics.h"

#include <cstring>

namespace kx {

inline constexpr Matrix identity4 = {4, 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

inline bool is_identity(const Matrix& m)
{
    return std::memcmp(m.data, identity4.data, sizeof m.data) == 0;
}

// The homogeneous transform of a 3x3 rotation and a translation.
Matrix homogeneous(const Matrix& rotation, Position translation);

// The quaternion of fixed-axis angles about x, y and z, of whose halves these are the sines and cosines.
inline Quaternion half_angle_quaternion(SineCosine<double> x, SineCosine<double> y, SineCosine<double> z)
{
    const auto [sr, cr] = x;
    const auto [sp, cp] = y;
    const auto [sy, cy] = z;
    return {static_cast<float>(cr * cp * cy + sr * sp * sy), static_cast<float>(sr * cp * cy - cr * sp * sy),
            static_cast<float>(cr * sp * cy + sr * cp * sy), static_cast<float>(cr * cp * sy - sr * sp * cy)};
}

// Fixed-axis angles of the rotation part of a transform.
Euler euler_of(const Matrix& m);

} // namespace kx
