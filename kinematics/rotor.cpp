#include "kinematics/rotor.h"

#include <algorithm>

namespace kx {

Rotor operator*(const Rotor& a, const Rotor& b)
{
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Rotor conjugate(const Rotor& q)
{
    return {q.w, -q.x, -q.y, -q.z};
}

Rotor turn_y(double angle)
{
    const auto [s, c] = sine_cosine<double>(angle / 2);
    return {c, 0, s, 0};
}

Rotor turn_z(double angle)
{
    const auto [s, c] = sine_cosine<double>(angle / 2);
    return {c, 0, 0, s};
}

Rotor between(const Rotor& a, const Rotor& b, double angle)
{
    const auto [s, c] = sine_cosine<double>(angle / 2);
    return {c * a.w + s * b.w, c * a.x + s * b.x, c * a.y + s * b.y, c * a.z + s * b.z};
}

// Starts from the largest of the four components, which keeps the others precise (Shepperd, 1978).
Rotor rotor_of(const Rotation& r)
{
    const double trace = r[0][0] + r[1][1] + r[2][2];
    Rotor q;
    if (trace >= std::max({r[0][0], r[1][1], r[2][2]}))
        q = {1 + trace, r[2][1] - r[1][2], r[0][2] - r[2][0], r[1][0] - r[0][1]};
    else if (r[0][0] >= std::max(r[1][1], r[2][2]))
        q = {r[2][1] - r[1][2], 1 + 2 * r[0][0] - trace, r[0][1] + r[1][0], r[0][2] + r[2][0]};
    else if (r[1][1] >= r[2][2])
        q = {r[0][2] - r[2][0], r[0][1] + r[1][0], 1 + 2 * r[1][1] - trace, r[1][2] + r[2][1]};
    else
        q = {r[1][0] - r[0][1], r[0][2] + r[2][0], r[1][2] + r[2][1], 1 + 2 * r[2][2] - trace};
    const double scale = 1 / std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    return {scale * q.w, scale * q.x, scale * q.y, scale * q.z};
}

} // namespace kx
