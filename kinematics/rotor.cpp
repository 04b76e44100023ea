#include "kinematics/rotor.h"

#include <algorithm>

namespace kx {

Rotor turn_y(double angle)
{
    return turn_y(sine_cosine<double>(angle / 2));
}

Rotor turn_z(double angle)
{
    return turn_z(sine_cosine<double>(angle / 2));
}

// Of sine and cosine the larger one first, which loses no digits.
SineCosine<double> half_angle(double y, double x, double r)
{
    const double scale = 0.5 / r;
    const double larger = std::sqrt((r + std::fabs(x)) * scale), smaller = std::fabs(y) * scale / larger;
    const Pair half = pair(x) < 0 ? Pair{larger, smaller} : Pair{smaller, larger};
    return {std::copysign(half[0], y + 0.0), half[1]};
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
