// The public entry of the inverse kinematics on the exported parameters.
#include "kx/inverse_kinematics.h"

#include "kinematics/inverse.h"
#include "kx/kinematics.h"

#include <algorithm>

namespace kx {
namespace {

// 1, or first_code less the number of the first joint that is beyond its limits.
int limit_code(const ARM_MODEL& arm, float* joint, int first_code)
{
    const int beyond = settle_on_limits(arm, joint);
    return beyond < 0 ? 1 : first_code - beyond;
}

int inverse_six(const ARM_MODEL& arm, const float* reference, const Transform& flange, float* result)
{
    const bool found = nearest_six(arm, reference, flange, false, result) == Found::inside;
    return found ? limit_code(arm, result, -3) : -9;
}

int inverse_seven(const ARM_MODEL& arm, const float* reference, const Transform& flange, double range,
                  float* result)
{
    const Reach reach = reach_of_seven(arm, flange, true);
    if (reach == Reach::too_far) return -1;
    if (reach == Reach::unknown)
        std::fill(result, result + 7, NAN);
    else if (nearest_seven(arm, reference, flange, range, false, result) == Found::none)
        return -3;
    return limit_code(arm, result, -5);
}

} // namespace
} // namespace kx

using namespace kx;

int inverse_kinematics(int model, const float* reference, const KINEMATIC* target, float* result,
                       unsigned char flag)
{
    if (!geometry(model)) return 2;
    Init_Sys_Data(model);
    const ARM_MODEL arm = loaded_arm(model);
    float clamped[7];
    clamp_reference(arm, reference, clamped);
    const bool seven = model == 47, by_quaternion = seven ? flag != 1 : flag == 0;
    const Transform flange = flange_target(arm, *target, by_quaternion ? By::unit_quaternion : By::euler);
    return seven ? inverse_seven(arm, clamped, flange, flag == 2 ? pi : 0.26, result)
                 : inverse_six(arm, clamped, flange, result);
}
