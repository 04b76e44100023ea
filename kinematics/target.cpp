#include "kinematics/target.h"

#include "kx/kinematics.h"

namespace kx {
namespace {

// Forward and inverse factors between degrees and radians are inverse to seven digits only, which takes a
// joint that stands on its limit up to 0.0002 degrees beyond it.
constexpr float limit_rounding = 0.001f; // degrees
constexpr float reference_rounding = 0.05f;

// A unit quaternion gives the rotation of its Euler angles without the way through them, on which a tool that
// points along +-X (ry = +-90 degrees, where rounding makes the asin inexact or NaN) would lose its turn.
// Others mean what quaternion2euler makes of them.
Rotation rotation_of_quaternion(const Quaternion& q)
{
    const double w = q.w, x = q.x, y = q.y, z = q.z;
    const double norm = w * w + x * x + y * y + z * z;
    if (!(std::fabs(norm - 1) < 1e-6)) return rotation_of(quaternion2euler(q.w, q.x, q.y, q.z));
    const double f = 2 / norm;
    return {{{1 - f * (y * y + z * z), f * (x * y - w * z), f * (x * z + w * y)},
             {f * (x * y + w * z), 1 - f * (x * x + z * z), f * (y * z - w * x)},
             {f * (x * z - w * y), f * (y * z + w * x), 1 - f * (x * x + y * y)}}};
}

// t = t * m
void append(Transform& t, const Matrix& m)
{
    double* const origin[] = {&t.p.x, &t.p.y, &t.p.z};
    for (int i = 0; i < 3; ++i) {
        const std::array<double, 3> row = t.r[i];
        const auto product = [&](int j) {
            return row[0] * m.data[0][j] + row[1] * m.data[1][j] + row[2] * m.data[2][j];
        };
        for (int j = 0; j < 3; ++j)
            t.r[i][j] = product(j);
        *origin[i] += product(3);
    }
}

// t = base^-1 * t, for a base that is turned only
void take_off_base(Transform& t, const Rotation& base)
{
    const auto turned_back = [&](double& x, double& y, double& z) {
        const double v[3] = {x, y, z};
        const auto component = [&](int i) {
            return base[0][i] * v[0] + base[1][i] * v[1] + base[2][i] * v[2];
        };
        x = component(0), y = component(1), z = component(2);
    };
    turned_back(t.p.x, t.p.y, t.p.z);
    for (int j = 0; j < 3; ++j)
        turned_back(t.r[0][j], t.r[1][j], t.r[2][j]);
}

// Puts a joint that lies up to `within` beyond a limit on it.
float onto(float lower, float upper, float joint, float within)
{
    if (joint > upper && joint - upper <= within) return upper;
    if (joint < lower && lower - joint <= within) return lower;
    return joint;
}

} // namespace

Transform flange_target(const ARM_MODEL& arm, const KINEMATIC& target, bool from_quaternion)
{
    Transform t = {from_quaternion ? rotation_of_quaternion(target.quaternion) : rotation_of(target.euler),
                   {target.position.x, target.position.y, target.position.z}};
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
    constexpr float most = 160 * 360;
    return std::fabs(degrees) > most ? std::fmod(degrees, 360.0f) + std::copysign(most, degrees) : degrees;
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
