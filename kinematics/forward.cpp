// Forward kinematics: joint angles to tool pose, along the links of each arm.
#include "kinematics/rigid.h"
#include "kx/model.h"

namespace kx {
namespace {

bool known(int model)
{
    return model == 36 || model == 46 || model == 47;
}

int joint_count(int model)
{
    return model == 47 ? 7 : 6;
}

Rigid base(int model)
{
    const float rz = model == 46 ? angleZ : 0;
    if (angleU == 0 && angleV == 0 && rz == 0) return {};
    return Rigid(homogeneous(euler2matrix(angleU, angleV, rz), {0, 0, 0}));
}

// From world to flange, for chain angles in degrees. The six-joint links follow the modified
// Denavit-Hartenberg convention (Craig, 1986), RotX(alpha) * TransX(a) * RotZ(theta) * TransZ(d); the
// seven-joint ones the standard convention (Denavit and Hartenberg, 1955), RotZ(theta) * TransZ(d) *
// TransX(a) * RotX(alpha) with a = 0. A shift along an axis and a turn about it may change places.
Rigid chain(int model, const float* degrees)
{
    SineCosine<float> theta[7];
    for (int i = 0; i < joint_count(model); ++i)
        theta[i] = sine_cosine<float>(degrees[i] * radians_per_degree);

    Rigid m = base(model);
    switch (model) {
    case 36:
        m.shift_z(d1).turn_z(theta[0]);
        m.turn_x_plus_90().shift_x(a2).turn_z(theta[1]);
        m.shift_xz(a3, d3).turn_z(theta[2]);
        m.turn_x_plus_90().shift_xz(a4, d4).turn_z(theta[3]);
        m.turn_x_minus_90().turn_z(theta[4]);
        m.turn_x_minus_90().shift_z(lwt).turn_z(theta[5]);
        break;
    case 46:
        m.shift_z(lsb).turn_z(theta[0]);
        m.turn_x_plus_90().turn_z(theta[1]);
        m.shift_xz(lse, d3).turn_z(theta[2]);
        m.turn_x_plus_90().shift_z(lew).turn_z(theta[3]);
        m.turn_x_minus_90().turn_z(theta[4]);
        m.turn_x_plus_90().shift_z(lwt).turn_z(theta[5]);
        break;
    case 47:
        m.shift_z(dbs).turn_z(theta[0]).turn_x_minus_90();
        m.turn_z(theta[1]).turn_x_plus_90();
        m.shift_z(dse).turn_z(theta[2]).turn_x_minus_90();
        m.shift_z(d4).turn_z(theta[3]).turn_x_plus_90();
        m.shift_z(dew).turn_z(theta[4]).turn_x_minus_90();
        m.turn_z(theta[5]).turn_x_plus_90();
        m.shift_z(lwt).turn_z(theta[6]);
        break;
    }
    return m;
}

float cleaned(float x)
{
    return std::fabs(x) < 1e-6f ? 0 : x;
}

// Below -3.13 an angle is given plus a turn, so that it does not jump between -pi and pi.
float wrapped(float angle)
{
    return angle < -3.13f ? static_cast<float>(static_cast<double>(angle) + two_pi) : angle;
}

Euler wrapped(Euler e)
{
    return {wrapped(e.rx), wrapped(e.ry), wrapped(e.rz)};
}

// Multiplying by an identity tool changes nothing, unless it spreads a NaN along its row.
bool tool_has_no_effect(const Matrix& m)
{
    return is_identity(Tool_Matrix) && std::isfinite(m.data[0][0]);
}

KinPose pose_of(int model, Matrix m)
{
    if (model != 47)
        for (float* x : {&m.data[2][1], &m.data[2][2], &m.data[2][0], &m.data[1][0], &m.data[0][0]})
            *x = cleaned(*x);
    Euler e = euler_of(m);
    e = {cleaned(e.rx), cleaned(e.ry), cleaned(e.rz)};
    if (model == 46) e = wrapped(e); // a turn more changes the sign of the quaternion
    return {{m.data[0][3], m.data[1][3], m.data[2][3]}, euler2quaternion(e.rx, e.ry, e.rz), wrapped(e)};
}

} // namespace
} // namespace kx

using namespace kx;

void Homogeneous_transformation_matrix(const float* theta, Matrix out[7])
{
    static constexpr SineCosine<float> minus_90 = {-1, 0}, plus_90 = {1, 0}, none = {0, 1};
    const SineCosine<float> alpha[] = {minus_90, plus_90, minus_90, plus_90, minus_90, plus_90, none};
    const float d[] = {dbs, 0, dse, d4, dew, 0, lwt};
    const auto times = [](float x, float exact) { return exact == 0 ? 0 : x * exact; };
    for (int i = 0; i < 7; ++i) {
        const auto [s, c] = sine_cosine<float>(theta[i] * radians_per_degree);
        const auto [sa, ca] = alpha[i];
        out[i] = {4,
                  4,
                  {{c, times(-s, ca), times(s, sa), 0},
                   {s, times(c, ca), times(-c, sa), 0},
                   {0, sa, ca, d[i]},
                   {0, 0, 0, 1}}};
    }
}

Matrix Forward_Kinematics_e(int model, const float* theta)
{
    return known(model) ? chain(model, theta).matrix() : Matrix{};
}

KinPose Forward_Kinematics(int model, const float* joint)
{
    if (!known(model)) return {};
    Init_Sys_Data(model);

    static constexpr float offsets_36[] = {-90, 90, 90, 0, 180, 90}, offsets_46[6] = {0, 90, 90},
                           offsets_47[7] = {};
    const float* offsets = model == 36 ? offsets_36 : model == 46 ? offsets_46 : offsets_47;
    float theta[7];
    for (int i = 0; i < joint_count(model); ++i)
        theta[i] = joint[i] + offsets[i];

    const Matrix flange = chain(model, theta).matrix();
    return pose_of(model, tool_has_no_effect(flange) ? flange : matrix_m(flange, Tool_Matrix));
}
