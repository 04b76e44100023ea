// Rotations as unit quaternions in double precision.
#pragma once

#include "kinematics/arithmetic.h"

namespace kx {

struct Rotor {
    double w, x, y, z;
};

inline Rotor operator*(const Rotor& a, const Rotor& b)
{
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}
inline Rotor conjugate(const Rotor& q)
{
    return {q.w, -q.x, -q.y, -q.z};
}
// By an angle, given as it is or by the sine and cosine of its half.
Rotor turn_y(double angle);
Rotor turn_z(double angle);
inline Rotor turn_y(const SineCosine<double>& half)
{
    return {half.cosine, 0, half.sine, 0};
}
inline Rotor turn_z(const SineCosine<double>& half)
{
    return {half.cosine, 0, 0, half.sine};
}
// Of half the angle of (x, y), which is at distance r > 0 from the origin: by square roots, without the angle itself.
SineCosine<double> half_angle(double y, double x, double r);
Rotor rotor_of(const Rotation& rotation);

// cos(angle/2)*a + sin(angle/2)*b: the rotations between one and the same half a turn further.
Rotor between(const Rotor& a, const Rotor& b, double angle);

} // namespace kx
