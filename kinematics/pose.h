// The orientation of a rotation matrix as Forward_Kinematics reports it, but without its detours: arc tangents
// are in double precision, the quaternion comes from the matrix, and in gimbal lock, where rx and rz turn about
// one axis, rz makes up for what rx was taken to be.
#pragma once

#include "kinematics/lanes.h"

namespace kx {

// What is computed alike for one matrix and for several side by side, V being a double or a vector of them.
template <typename V>
struct RotationTerms {
    V across;       // cos(ry)
    V s, c, sz, cz; // sine and cosine of rx and of rz, all times cos(ry)
    // 4*q*q^T for the quaternion q. Of its rows the one with the largest diagonal element is q's direction, to
    // full precision (Shepperd, 1978).
    V row[4][4];

    explicit RotationTerms(const V (&m)[3][3])
    {
        across = square_root(m[2][1] * m[2][1] + m[2][2] * m[2][2]);
        s = m[2][1], c = across == 0 ? V{} + 1 : m[2][2];
        sz = s * m[0][2] - c * m[0][1], cz = c * m[1][1] - s * m[1][2];

        row[0][0] = 1 + m[0][0] + m[1][1] + m[2][2], row[1][1] = 1 + m[0][0] - m[1][1] - m[2][2];
        row[2][2] = 1 - m[0][0] + m[1][1] - m[2][2], row[3][3] = 1 - m[0][0] - m[1][1] + m[2][2];
        row[0][1] = row[1][0] = m[2][1] - m[1][2], row[2][3] = row[3][2] = m[2][1] + m[1][2];
        row[0][2] = row[2][0] = m[0][2] - m[2][0], row[1][3] = row[3][1] = m[0][2] + m[2][0];
        row[0][3] = row[3][0] = m[1][0] - m[0][1], row[1][2] = row[2][1] = m[1][0] + m[0][1];
    }

    // The product of half the turns rx, ry and rz is the quaternion for which w*cos(rx/2) + x*sin(rx/2) is not
    // negative; at half a turn about x, where 1 + cos(rx) and sin(rx) vanish, x is not.
    V side(const V& w, const V& x) const { return w * (across + c) + x * (s + 1e-300); }
};

// For numbers side by side.
template <int lanes>
struct Orientation {
    using Double = typename Lanes<lanes>::Double;
    using Float = typename Lanes<lanes>::Float;

    Float w, x, y, z, rx, ry, rz;

    // By the matrix's columns.
    Orientation(const Float (&first)[3], const Float (&second)[3], const Float (&third)[3], int model)
    {
        Double m[3][3];
        for (int i = 0; i < 3; ++i)
            m[i][0] = widened(first[i] + 0.0f), m[i][1] = widened(second[i] + 0.0f),
            m[i][2] = widened(third[i] + 0.0f); // -0 becomes 0
        const RotationTerms<Double> t(m);
        rx = angle_of(t.s, t.c), ry = angle_of(-m[2][0], t.across), rz = angle_of(t.sz, t.cz);

        const auto w_or_x = t.row[0][0] > t.row[1][1], y_or_z = t.row[2][2] > t.row[3][3];
        const auto first_two = (w_or_x ? t.row[0][0] : t.row[1][1]) > (y_or_z ? t.row[2][2] : t.row[3][3]);
        const auto part = [&](int i) {
            return first_two ? (w_or_x ? t.row[0][i] : t.row[1][i]) : (y_or_z ? t.row[2][i] : t.row[3][i]);
        };
        const Double q[4] = {part(0), part(1), part(2), part(3)}, one = Double{} + 1;
        Double sign = t.side(q[0], q[1]) < 0 ? -one : one;
        if (model == 46)
            sign = sign * (widened(rx) < below ? -one : one) * (widened(rz) < below ? -one : one);
        const Double scale = sign / square_root(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        w = rounded_off(scale * q[0]), x = rounded_off(scale * q[1]);
        y = rounded_off(scale * q[2]), z = rounded_off(scale * q[3]);
        rx = wrapped(rx), ry = wrapped(ry), rz = wrapped(rz);
    }

    static Float angle_of(const Double& y, const Double& x)
    {
        const Float angle = rounded_off(arc_tangent(y, ((y == 0) & (x == 0)) ? Double{} + 1 : x));
        return (angle < 0 ? -angle : angle) < 1e-6f ? Float{} : angle;
    }

    // Below this an angle is given plus a turn, so that it does not jump between -pi and pi. For model 46 the
    // quaternion follows, that is, it changes its sign.
    static constexpr float below = -3.13f;
    static Float wrapped(const Float& angle)
    {
        return angle < below ? rounded_off(widened(angle) + two_pi) : angle;
    }
};

} // namespace kx
