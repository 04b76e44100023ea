// Inverse kinematics inside the library: the two solvers, and what both share.
#pragma once

#include "kx/types.h"

namespace kx {

// A rigid transform in double precision: x -> r*x + p.
struct Transform {
    double r[3][3];
    double p[3];
};

// The solvers behind inverse_kinematics, same arguments and codes. The model's parameters are loaded.
int inverse_six(int model, const float* reference, const KINEMATIC& target, float* result,
                unsigned char flag);
int inverse_seven(const float* reference, const KINEMATIC& target, float* result, unsigned char flag);

// Where the flange must be, seen from the arm's base: the tool is taken off the target of the tool, and the
// installation angles off the base. base_turn is the installation angle about Z of models that heed it.
Transform flange_target(const KINEMATIC& target, bool from_quaternion, float base_turn = 0);

// Copies reference joints, degrees; one that lies up to 0.05 degrees beyond a limit is put on it.
void clamp_reference(const float* reference, int joints, float* clamped);

// 1 if all joints, degrees, keep their limits (a NaN does), else first_code - i for the first joint i,
// counted from 0, that does not. Joints that only rounding takes beyond a limit are put on it first.
int check_limits(float* joint, int joints, int first_code);

} // namespace kx
