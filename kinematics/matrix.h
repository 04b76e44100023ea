// What the kinematics share below the public functions: unit factors, sine and cosine taken together, and the
// bridge from records to matrices.
#pragma once

#include "kx_base.h"

#include <cmath>

namespace kx {

inline constexpr float radians_per_degree = 0.0174533f;
inline constexpr float degrees_per_radian = 57.29578f;
inline constexpr double two_pi = 6.283185307179586;

// Sine and cosine of one angle; taken in double and, for link matrices, rounded to float.
template <typename T>
struct SineCosine {
    T sine, cosine;
};

template <typename T>
inline SineCosine<T> sine_cosine(float angle)
{
    double sine, cosine;
    sincos(static_cast<double>(angle), &sine, &cosine);
    return {static_cast<T>(sine), static_cast<T>(cosine)};
}

inline constexpr Matrix identity4 = {4, 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

// The homogeneous transform of a 3x3 rotation and a translation.
Matrix homogeneous(const Matrix& rotation, Position translation);

// Fixed-axis angles of the rotation part of a transform.
Euler euler_of(const Matrix& m);

} // namespace kx
