// What the solvers of the inverse kinematics start from: where the flange must be, and the limits as they
// count.
#pragma once

#include "kinematics/arm.h"

namespace kx {

// A rigid transform in double precision: x -> r*x + p.
struct Transform {
    Rotation r;
    Vector p;
};

// Where the flange must be, seen from the arm's base: the tool is taken off the target of the tool, and the
// installation off the base.
Transform flange_target(const ARM_MODEL& arm, const KINEMATIC& target, bool from_quaternion);

// Copies reference joints, degrees; one that lies up to 0.05 degrees beyond a limit is put on it.
void clamp_reference(const ARM_MODEL& arm, const float* reference, float* clamped);

// A reference many turns away (degrees) prefers a solution as one a few hundred turns away does, but the squares
// of its distances would leave no digits for the others'.
float within_reason(float degrees);

// Puts joints, degrees, that only rounding takes beyond a limit on it. The first that keeps its limits no
// more (a NaN does), counted from 0, or -1.
int settle_on_limits(const ARM_MODEL& arm, float* joint);

} // namespace kx
