// The public entry of the inverse kinematics, and the steps that its two solvers share.
#include "kinematics/inverse.h"
#include "kinematics/matrix.h"
#include "kinematics/model.h"

int inverse_kinematics(int model, const float* reference, const KINEMATIC* target, float* result,
                       unsigned char flag)
{
    if (model != 36 && model != 46 && model != 47) return 2;
    Init_Sys_Data(model);
    return model == 47 ? kx::inverse_seven(reference, *target, result, flag)
                       : kx::inverse_six(model, reference, *target, result, flag);
}

namespace kx {
namespace {

// Forward and inverse factors between degrees and radians are inverse to seven digits only, which takes a
// joint that stands on its limit up to 0.0002 degrees beyond it.
constexpr float limit_rounding = 0.001f; // degrees
constexpr float reference_rounding = 0.05f;

void set_rotation(Transform& t, const Euler& euler)
{
    const auto [sx, cx] = sine_cosine<double>(euler.rx);
    const auto [sy, cy] = sine_cosine<double>(euler.ry);
    const auto [sz, cz] = sine_cosine<double>(euler.rz);
    auto& r = t.r;
    r[0][0] = cz * cy, r[0][1] = cz * sy * sx - sz * cx, r[0][2] = cz * sy * cx + sz * sx;
    r[1][0] = sz * cy, r[1][1] = cz * cx + sx * sz * sy, r[1][2] = sz * sy * cx - cz * sx;
    r[2][0] = -sy, r[2][1] = sx * cy, r[2][2] = cy * cx;
}

// A unit quaternion gives the rotation of its Euler angles without the way through them, on which a tool that
// points along +-X (ry = +-90 degrees, where rounding makes the asin inexact or NaN) would lose its turn.
// Others mean what quaternion2euler makes of them.
void set_rotation(Transform& t, const Quaternion& q)
{
    const double w = q.w, x = q.x, y = q.y, z = q.z;
    const double norm = w * w + x * x + y * y + z * z;
    if (!(std::fabs(norm - 1) < 1e-6)) return set_rotation(t, quaternion2euler(q.w, q.x, q.y, q.z));
    const double f = 2 / norm;
    auto& r = t.r;
    r[0][0] = 1 - f * (y * y + z * z), r[0][1] = f * (x * y - w * z), r[0][2] = f * (x * z + w * y);
    r[1][0] = f * (x * y + w * z), r[1][1] = 1 - f * (x * x + z * z), r[1][2] = f * (y * z - w * x);
    r[2][0] = f * (x * z - w * y), r[2][1] = f * (y * z + w * x), r[2][2] = 1 - f * (x * x + y * y);
}

// t = t * m
void append(Transform& t, const Matrix& m)
{
    for (int i = 0; i < 3; ++i) {
        const double row[3] = {t.r[i][0], t.r[i][1], t.r[i][2]};
        const auto product = [&](int j) {
            return row[0] * m.data[0][j] + row[1] * m.data[1][j] + row[2] * m.data[2][j];
        };
        for (int j = 0; j < 3; ++j)
            t.r[i][j] = product(j);
        t.p[i] += product(3);
    }
}

// t = base^-1 * t, for a base that is turned only
void take_off_base(Transform& t, const Transform& base)
{
    const auto turned_back = [&](double& x, double& y, double& z) {
        const double v[3] = {x, y, z};
        const auto component = [&](int i) {
            return base.r[0][i] * v[0] + base.r[1][i] * v[1] + base.r[2][i] * v[2];
        };
        x = component(0), y = component(1), z = component(2);
    };
    turned_back(t.p[0], t.p[1], t.p[2]);
    for (int j = 0; j < 3; ++j)
        turned_back(t.r[0][j], t.r[1][j], t.r[2][j]);
}

// Puts a joint that lies up to `within` beyond a limit on it.
float onto(const Range& limit, float joint, float within)
{
    if (joint > limit.upper && joint - limit.upper <= within) return limit.upper;
    if (joint < limit.lower && limit.lower - joint <= within) return limit.lower;
    return joint;
}

} // namespace

Transform flange_target(const KINEMATIC& target, bool from_quaternion, float base_turn)
{
    Transform t;
    if (from_quaternion)
        set_rotation(t, target.quaternion);
    else
        set_rotation(t, target.euler);
    t.p[0] = target.position.x, t.p[1] = target.position.y, t.p[2] = target.position.z;

    if (!is_identity(Tool_Matrix)) append(t, matrix_inv(Tool_Matrix));
    if (const Euler installation = {angleU, angleV, base_turn};
        installation.rx != 0 || installation.ry != 0 || installation.rz != 0) {
        Transform base;
        set_rotation(base, installation);
        take_off_base(t, base);
    }
    return t;
}

void clamp_reference(const float* reference, int joints, float* clamped)
{
    const auto limits = joint_limits();
    for (int i = 0; i < joints; ++i)
        clamped[i] = onto(limits[i], reference[i], reference_rounding);
}

int check_limits(float* joint, int joints, int first_code)
{
    const auto limits = joint_limits();
    for (int i = 0; i < joints; ++i)
        joint[i] = onto(limits[i], joint[i], limit_rounding);
    for (int i = 0; i < joints; ++i)
        if (joint[i] > limits[i].upper || joint[i] < limits[i].lower) return first_code - i;
    return 1;
}

} // namespace kx
