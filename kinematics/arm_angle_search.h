// The arm angle whose joints lie nearest to a reference.
#pragma once

#include "kinematics/joint_distance.h"
#include "kx/arm_model.h"

namespace kx {

// The joints as distances from their references.
struct Deviations {
    Branch branch;
    Pair outer, middle, inner;
};

// Puts a point at the arm angle of the least squared distance of all joints from their references, to within 1e-9 rad^2,
// among those up to `range` to either side of psi. False if none of them keeps the limits.
bool nearest_arm_angle(const BallJoints& balls, const JointGoals& goals, double psi, double range,
                       Point& nearest);

// The nearest branch at a point, of those inside the limits.
Deviations nearest_branch(const Point& point, const JointGoals& goals);

// The arm angles that some branch reaches inside the limits, in ascending order from -pi; how many intervals.
int feasible_arm_angles(const BallJoints& balls, const JointGoals& goals,
                        ARM_INTERVAL intervals[ARM_INTERVALS]);

} // namespace kx
