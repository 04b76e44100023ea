// The arm angle whose joints lie nearest to a reference.
#pragma once

#include "kinematics/joint_distance.h"

namespace kx {

// The joints as distances from their references.
struct Deviations {
    Branch branch;
    Pair outer, middle, inner;
};

// The nearest branch at an arm angle.
Deviations nearest_branch(const BallJoints& balls, const JointGoals& goals, double psi);

// The arm angle of the least squared distance of all joints from their references, to within 1e-9 rad^2,
// among those up to `range` to either side of psi. NaN if none of them keeps the middle joints within their
// limits.
double nearest_arm_angle(const BallJoints& balls, const JointGoals& goals, double psi, double range);

} // namespace kx
