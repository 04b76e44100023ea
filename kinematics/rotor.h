// Rotations as unit quaternions in double precision; N is a double, or several side by side.
#pragma once

#include "kinematics/lanes.h"

namespace kx {

template <typename N>
struct RotorOf {
    N w, x, y, z;

    friend RotorOf operator*(const RotorOf& a, const RotorOf& b)
    {
        return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
                a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
    }
    friend RotorOf conjugate(const RotorOf& q) { return {q.w, -q.x, -q.y, -q.z}; }
};
using Rotor = RotorOf<double>;

// By an angle, given by the sine and cosine of its half or as it is.
template <typename N>
inline RotorOf<N> turn_y(const SineCosine<N>& half)
{
    return {half.cosine, N{}, half.sine, N{}};
}
template <typename N>
inline RotorOf<N> turn_z(const SineCosine<N>& half)
{
    return {half.cosine, N{}, N{}, half.sine};
}
template <typename N>
inline RotorOf<N> turn_y(const N& angle)
{
    return turn_y(sine_cosine_of(angle / 2));
}
template <typename N>
inline RotorOf<N> turn_z(const N& angle)
{
    return turn_z(sine_cosine_of(angle / 2));
}

// Of half the angle of (x, y), which is at distance r > 0 from the origin: by square roots, without the angle itself; and of
// sine and cosine the larger one first, which loses no digits.
template <typename N>
inline SineCosine<N> half_angle(const N& y, const N& x, const N& r)
{
    const N scale = 0.5 / r;
    const N larger = square_root((r + magnitude(x)) * scale), smaller = magnitude(y) * scale / larger;
    const auto obtuse = x < 0;
    const N sine = obtuse ? larger : smaller;
    return {y < 0 ? -sine : sine, obtuse ? smaller : larger};
}

inline RotationOf<Pair> in_pairs(const Rotation& r)
{
    RotationOf<Pair> pairs;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            pairs[i][j] = pair(r[i][j]);
    return pairs;
}

// Starts from the largest of the four components, which keeps the others precise (Shepperd, 1978).
template <typename N>
inline RotorOf<N> rotor_of(const RotationOf<N>& r)
{
    const N trace = r[0][0] + r[1][1] + r[2][2];
    const auto by_x = (r[0][0] >= r[1][1]) & (r[0][0] >= r[2][2]), by_y = r[1][1] >= r[2][2];
    const auto by_w = (trace >= r[0][0]) & (trace >= r[1][1]) & (trace >= r[2][2]);
    const auto pick = [&](const N& of_w, const N& of_x, const N& of_y, const N& of_z) {
        const N other = by_y ? of_y : of_z, vector = by_x ? of_x : other;
        return by_w ? of_w : vector;
    };
    const N x = r[2][1] - r[1][2], y = r[0][2] - r[2][0], z = r[1][0] - r[0][1];
    const N xy = r[0][1] + r[1][0], xz = r[0][2] + r[2][0], yz = r[1][2] + r[2][1];
    const RotorOf<N> q = {pick(1 + trace, x, y, z), pick(x, 1 + 2 * r[0][0] - trace, xy, xz),
                          pick(y, xy, 1 + 2 * r[1][1] - trace, yz), pick(z, xz, yz, 1 + 2 * r[2][2] - trace)};
    const N scale = 1 / square_root(N(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z));
    return {scale * q.w, scale * q.x, scale * q.y, scale * q.z};
}

// cos(angle/2)*a + sin(angle/2)*b: the rotations between one and the same half a turn further.
inline Rotor between(const Rotor& a, const Rotor& b, double angle)
{
    const auto [s, c] = sine_cosine<double>(angle / 2);
    return {c * a.w + s * b.w, c * a.x + s * b.x, c * a.y + s * b.y, c * a.z + s * b.z};
}

} // namespace kx
