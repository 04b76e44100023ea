#include "kinematics/target.h"

#include "kx/kinematics.h"

namespace kx {
namespace {

// A quaternion gives the rotation without the way through Euler angles, on which a tool that points along +-X
// (ry = +-90 degrees, where rounding makes the asin inexact or NaN) would lose its turn.
Rotation turn_of(const KINEMATIC& target, By orientation)
{
    if (orientation == By::euler) return rotation_of(target.euler);
    const auto& q = target.quaternion;
    const double w = q.w, x = q.x, y = q.y, z = q.z;
    const bool is_unit = std::fabs(w * w + x * x + y * y + z * z - 1) < 1e-6;
    if (orientation == By::quaternion || is_unit) return rotation_of_quaternion(w, x, y, z);
    return rotation_of(quaternion2euler(q.w, q.x, q.y, q.z));
}

} // namespace

Transform flange_target(const ARM_MODEL& arm, const KINEMATIC& target, By orientation)
{
    Transform t = {turn_of(target, orientation), {target.position.x, target.position.y, target.position.z}};
    if (!is_identity(arm.tool)) append(t, matrix_inv(arm.tool));
    if (const Euler& e = arm.installation; e.rx != 0 || e.ry != 0 || e.rz != 0)
        take_off_base(t, rotation_of(e));
    return t;
}

void clamp_reference(const ARM_MODEL& arm, const float* reference, float* clamped)
{
    for (int i = 0; i < arm.joints; ++i)
        clamped[i] = onto(arm.lower[i], arm.upper[i], reference[i], reference_rounding);
}

float within_reason(float degrees)
{
    return std::fabs(degrees) > most_reasonable
               ? std::fmod(degrees, 360.0f) + std::copysign(most_reasonable, degrees)
               : degrees;
}

int settle_on_limits(const ARM_MODEL& arm, float* joint)
{
    int first = -1;
    for (int i = arm.joints - 1; i >= 0; --i) {
        joint[i] = onto(arm.lower[i], arm.upper[i], joint[i], limit_rounding);
        if (joint[i] > arm.upper[i] || joint[i] < arm.lower[i]) first = i;
    }
    return first;
}

} // namespace kx
