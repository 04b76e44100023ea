// What the solvers of the inverse kinematics start from: where the flange must be, and the limits as they
// count.
#pragma once

#include "kinematics/arm.h"

namespace kx {

// A rigid transform in double precision: x -> r*x + p. V is a double, or several side by side.
template <typename V>
struct TransformOf {
    RotationOf<V> r;
    VectorOf<V> p;
};
using Transform = TransformOf<double>;

// Of a quaternion of any length.
template <typename V>
RotationOf<V> rotation_of_quaternion(const V& w, const V& x, const V& y, const V& z)
{
    const V f = 2 / (w * w + x * x + y * y + z * z);
    return {{{1 - f * (y * y + z * z), f * (x * y - w * z), f * (x * z + w * y)},
             {f * (x * y + w * z), 1 - f * (x * x + z * z), f * (y * z - w * x)},
             {f * (x * z - w * y), f * (y * z + w * x), 1 - f * (x * x + y * y)}}};
}

// t = t * m
template <typename V>
void append(TransformOf<V>& t, const Matrix& m)
{
    V* const origin[] = {&t.p.x, &t.p.y, &t.p.z};
    for (int i = 0; i < 3; ++i) {
        const std::array<V, 3> row = t.r[i];
        const auto product = [&](int j) {
            return row[0] * m.data[0][j] + row[1] * m.data[1][j] + row[2] * m.data[2][j];
        };
        for (int j = 0; j < 3; ++j)
            t.r[i][j] = product(j);
        *origin[i] += product(3);
    }
}

// t = base^-1 * t, for a base that is turned only
template <typename V>
void take_off_base(TransformOf<V>& t, const Rotation& base)
{
    const auto turned_back = [&](V& x, V& y, V& z) {
        const V v[3] = {x, y, z};
        const auto component = [&](int i) {
            return base[0][i] * v[0] + base[1][i] * v[1] + base[2][i] * v[2];
        };
        x = component(0), y = component(1), z = component(2);
    };
    turned_back(t.p.x, t.p.y, t.p.z);
    for (int j = 0; j < 3; ++j)
        turned_back(t.r[0][j], t.r[1][j], t.r[2][j]);
}

// Puts a joint that lies up to `within` beyond a limit on it; of a float, or several.
template <typename F>
F onto(float lower, float upper, const F& joint, float within)
{
    const F above = ((joint > upper) & (joint - upper <= within)) ? F{} + upper : joint;
    return ((joint < lower) & (lower - joint <= within)) ? F{} + lower : above;
}

// Forward and inverse factors between degrees and radians are inverse to seven digits only, which takes a
// joint that stands on its limit up to 0.0002 degrees beyond it.
inline constexpr float limit_rounding = 0.001f; // degrees
inline constexpr float reference_rounding = 0.05f;

// Which of a target's two orientations counts: its quaternion, of any length; the same, but one that is not of unit
// length means what quaternion2euler makes of it; its Euler angles.
enum class By { quaternion, unit_quaternion, euler };

// Where the flange must be, seen from the arm's base: the tool is taken off the target of the tool, and the
// installation off the base.
Transform flange_target(const ARM_MODEL& arm, const KINEMATIC& target, By orientation);

// Copies reference joints, degrees; one that lies up to 0.05 degrees beyond a limit is put on it.
void clamp_reference(const ARM_MODEL& arm, const float* reference, float* clamped);

// A reference many turns away (degrees) prefers a solution as one a few hundred turns away does, but the squares
// of its distances would leave no digits for the others'.
inline constexpr float most_reasonable = 160 * 360;
float within_reason(float degrees);

// Puts joints, degrees, that only rounding takes beyond a limit on it. The first that keeps its limits no
// more (a NaN does), counted from 0, or -1.
int settle_on_limits(const ARM_MODEL& arm, float* joint);

} // namespace kx
