// The pose of a transform, as Forward_Kinematics gives it but for arc tangents in double precision: for any
// number of numbers side by side.
#pragma once

#include "kinematics/lanes.h"

namespace kx {

// Angles are fixed-axis ones.
template <int lanes>
class PoseMath {
    using Double = typename Lanes<lanes>::Double;
    using Float = typename Lanes<lanes>::Float;

  public:
    static Float cleaned(const Float& x) { return (x < 0 ? -x : x) < 1e-6f ? Float{} : x; }

    static Float angle_of(const Float& y, const Float& x)
    {
        const Double dy = widened(y), dx = widened(x);
        return cleaned(rounded_off(arc_tangent(dy, ((dy == 0) & (dx == 0)) ? Double{} + 1 : dx)));
    }

    // The length of (y, x); a square root of floats is the same whether taken in float or in double.
    static Float length(const Float& y, const Float& x)
    {
        return rounded_off(square_root(widened(y * y + x * x)));
    }

    // Below -3.13 an angle is given plus a turn, so that it does not jump between -pi and pi.
    static Float wrapped(const Float& angle)
    {
        return angle < -3.13f ? rounded_off(widened(angle) + two_pi) : angle;
    }

    static void half_angle(const Float& angle, Double& sine, Double& cosine)
    {
        sine_cosine<lanes>(widened(0.5f * angle), sine, cosine);
    }

    static Double widened(const Float& x) { return __builtin_convertvector(x, Double); }
    static Float rounded_off(const Double& x) { return __builtin_convertvector(x, Float); }
};

} // namespace kx
