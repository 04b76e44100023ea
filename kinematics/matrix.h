// What the kinematics share below the public matrix functions.
#pragma once

#include "kinematics/trigonometry.h"
#include "kx_base.h"

#include <cstring>

namespace kx {

inline constexpr Matrix identity4 = {4, 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

inline bool is_identity(const Matrix& m)
{
    return std::memcmp(m.data, identity4.data, sizeof m.data) == 0;
}

// The homogeneous transform of a 3x3 rotation and a translation.
Matrix homogeneous(const Matrix& rotation, Position translation);

// Fixed-axis angles of the rotation part of a transform.
Euler euler_of(const Matrix& m);

} // namespace kx
