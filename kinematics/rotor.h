// Rotations as unit quaternions in double precision.
#pragma once

#include "kinematics/arithmetic.h"

namespace kx {

struct Rotor {
    double w, x, y, z;
};

Rotor operator*(const Rotor& a, const Rotor& b);
Rotor conjugate(const Rotor& q);
Rotor turn_y(double angle);
Rotor turn_z(double angle);
Rotor rotor_of(const Rotation& rotation);

// cos(angle/2)*a + sin(angle/2)*b: the rotations between one and the same half a turn further.
Rotor between(const Rotor& a, const Rotor& b, double angle);

} // namespace kx
