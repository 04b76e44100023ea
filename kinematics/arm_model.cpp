// Arm models: the value, its poses, and the inverse functions on it.
#include "kinematics/chain.h"
#include "kinematics/inverse.h"
#include "kinematics/pose.h"
#include "kx/kinematics.h"

#include <algorithm>

namespace kx {
namespace {

// The steps of Orientation for one pose, with rx and ry side by side.
KinPose pose_of(int model, const Matrix& matrix)
{
    using Math = Orientation<2>;
    using Float = Lanes<2>::Float;
    double m[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] = matrix.data[i][j];
    const RotationTerms<double> t(m);
    const Float tilt = Math::angle_of(Pair{t.s, -m[2][0]}, Pair{t.c, t.across}),
                turn = Math::angle_of(Pair{t.sz, 0}, Pair{t.cz, 1});

    // The comparisons count rows, since a branch would often be mispredicted.
    const int w_or_x = !(t.row[0][0] > t.row[1][1]), y_or_z = 2 + !(t.row[2][2] > t.row[3][3]);
    const bool first_two = t.row[w_or_x][w_or_x] > t.row[y_or_z][y_or_z];
    const auto& q = t.row[first_two * w_or_x + !first_two * y_or_z];
    double sign = 1 - 2 * (t.side(q[0], q[1]) < 0);
    if (model == 46) sign *= (tilt[0] < Math::below ? -1 : 1) * (turn[0] < Math::below ? -1 : 1);
    const double scale = sign / std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    const auto part = [&](int i) { return static_cast<float>(scale * q[i]); };
    const Float wrapped_tilt = Math::wrapped(tilt), wrapped_turn = Math::wrapped(turn);
    return {{matrix.data[0][3], matrix.data[1][3], matrix.data[2][3]},
            {part(0), part(1), part(2), part(3)},
            {wrapped_tilt[0], wrapped_tilt[1], wrapped_turn[0]}};
}

Matrix flange_matrix(const ARM_MODEL& arm, const float* joint)
{
    const Geometry& g = *geometry(arm.model);
    float theta[7];
    for (int i = 0; i < g.joints; ++i)
        theta[i] = joint[i] + g.offset[i];
    return matrix_of(flange_of(arm.model, g.lengths, arm.flange, arm.installation, theta, no_visit));
}

bool reached_seven(const ARM_MODEL* arm, const Transform& flange)
{
    return arm->model == 47 && reach_of_seven(*arm, flange, false) == Reach::reached;
}

} // namespace
} // namespace kx

using namespace kx;

int Arm_Model_Init(ARM_MODEL* arm, int model, int variant)
{
    *arm = {};
    const Geometry* const g = geometry(model);
    if (!g || variant < 0 || variant > 2) return ARM_UNKNOWN;
    *arm = {model, g->joints, g->flange[variant], {}, identity4, {}, {}};
    for (int i = 0; i < g->joints; ++i)
        arm->lower[i] = g->joint[i].lower, arm->upper[i] = g->joint[i].upper;
    return 0;
}

int Arm_Model_Limit(ARM_MODEL* arm, int number, float lower, float upper)
{
    const Geometry* const g = geometry(arm->model);
    if (!g || number < 1 || number > g->joints) return KX_WRONG_TYPE;
    const Range& own = g->joint[number - 1];
    if (!(lower >= own.lower && lower < upper && upper <= own.upper)) return KX_WRONG_TYPE;
    arm->lower[number - 1] = lower, arm->upper[number - 1] = upper;
    return 0;
}

KinPose Arm_Model_Pose(const ARM_MODEL* arm, const float* joint)
{
    if (!geometry(arm->model)) return {};
    const Matrix flange = flange_matrix(*arm, joint);
    return pose_of(arm->model, is_identity(arm->tool) ? flange : matrix_m(flange, arm->tool));
}

KinPose Arm_Model_Flange(const ARM_MODEL* arm, const float* joint)
{
    return geometry(arm->model) ? pose_of(arm->model, flange_matrix(*arm, joint)) : KinPose{};
}

int Arm_Model_Links(const ARM_MODEL* arm, const float* joint, Matrix frames[7])
{
    const Geometry* const g = geometry(arm->model);
    if (!g) return 0;
    float theta[7];
    for (int i = 0; i < g->joints; ++i)
        theta[i] = joint[i] + g->offset[i];
    flange_of(arm->model, g->lengths, arm->flange, arm->installation, theta,
              [&](int i, const Rigid<Column>& link) { frames[i] = matrix_of(link); });
    return g->joints;
}

int Arm_Model_Inverse(const ARM_MODEL* arm, const float* reference, const KinPose* target, float range,
                      float* result)
{
    if (!geometry(arm->model)) return ARM_UNKNOWN;
    float near[7], joint[7];
    clamp_reference(*arm, reference, near);
    const Transform flange = flange_target(*arm, *target, By::quaternion);
    Found found = Found::none;
    if (arm->model != 47) {
        found = nearest_six(*arm, near, flange, true, joint);
    } else if (reach_of_seven(*arm, flange, false) == Reach::reached) {
        found = nearest_seven(*arm, near, flange, range, true, joint);
        if (found == Found::none) found = Found::outside_limits;
    }
    if (found == Found::none) return ARM_OUT_OF_REACH;
    if (found == Found::outside_limits) return ARM_OUTSIDE_LIMITS;
    settle_on_limits(*arm, joint);
    std::copy_n(joint, arm->joints, result);
    return ARM_SOLVED;
}

int Arm_Model_Solutions(const ARM_MODEL* arm, const KinPose* target, float result[8][7])
{
    if (!geometry(arm->model) || arm->model == 47) return 0;
    return all_six(*arm, flange_target(*arm, *target, By::quaternion), result);
}

double Arm_Model_Angle(const ARM_MODEL* arm, const float* joint)
{
    return arm->model == 47 ? arm_angle_of(*arm, joint) : NAN;
}

int Arm_Model_Solutions_At(const ARM_MODEL* arm, const KinPose* target, double angle, float result[8][7])
{
    if (arm->model != 47) return 0;
    const Transform flange = flange_target(*arm, *target, By::quaternion);
    return reached_seven(arm, flange) ? all_seven(*arm, flange, angle, result) : 0;
}

int Arm_Model_Angles(const ARM_MODEL* arm, const KinPose* target, ARM_INTERVAL intervals[ARM_INTERVALS])
{
    if (arm->model != 47) return 0;
    const Transform flange = flange_target(*arm, *target, By::quaternion);
    return reached_seven(arm, flange) ? arm_angles_of(*arm, flange, intervals) : 0;
}

int Arm_Model_Beyond_Limits(const ARM_MODEL* arm, const float* joint)
{
    for (int i = 0; i < arm->joints; ++i)
        if (!(joint[i] >= arm->lower[i] && joint[i] <= arm->upper[i])) return i + 1;
    return 0;
}
