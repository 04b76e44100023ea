// Rotations as unit quaternions in double precision.
#pragma once

namespace kx {

struct Rotor {
    double w, x, y, z;
};

Rotor operator*(const Rotor& a, const Rotor& b);
Rotor conjugate(const Rotor& q);
Rotor turn_y(double angle);
Rotor turn_z(double angle);
Rotor rotor_of(const double (&rotation)[3][3]);

} // namespace kx
