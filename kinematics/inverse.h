// The solvers behind the inverse kinematics. References are degrees, as clamp_reference gives them; results
// are degrees.
#pragma once

#include "kinematics/target.h"

namespace kx {

enum class Found { none, outside_limits, inside }; // of the limits that were to be kept

// The solution nearest to the reference: of those that keep the chain's limits of joints 1 and 3, or of those
// inside all limits. Without one the result is the reference.
Found nearest_six(const ARM_MODEL& arm, const float* reference, const Transform& flange, bool inside_only,
                  float* result);

// All solutions inside the limits, at most eight.
int all_six(const ARM_MODEL& arm, const Transform& flange, float result[8][7]);

enum class Reach { too_far, unknown, reached }; // unknown: the target is no number
Reach reach_of_seven(const ARM_MODEL& arm, const Transform& flange, bool classic);

// The nearest solution of a target that is reached, for arm angles up to `range` from the reference's, inside
// the joints' limits; `inside_only` tells whether joint 4 must keep its own. Without one the result is left
// alone.
Found nearest_seven(const ARM_MODEL& arm, const float* reference, const Transform& flange, double range,
                    bool inside_only, float* result);

// The reference's own arm angle; NaN where it has none.
double arm_angle_of(const ARM_MODEL& arm, const float* joint);

// All solutions of a target that is reached at one arm angle inside the limits, at most eight.
int all_seven(const ARM_MODEL& arm, const Transform& flange, double arm_angle, float result[8][7]);

// The arm angles that have one, in ascending order.
int arm_angles_of(const ARM_MODEL& arm, const Transform& flange, ARM_INTERVAL intervals[ARM_INTERVALS]);

} // namespace kx
