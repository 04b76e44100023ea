// Forward kinematics on the exported parameters.
#include "kinematics/chain.h"
#include "kx/kinematics.h"
#include "kx/model.h"

namespace kx {
namespace {

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

Euler installation(int model)
{
    return {angleU, angleV, model == 46 ? angleZ : 0};
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

// Loads nothing, so it takes the lengths as they stand: what setLwt chose counts.
Matrix Forward_Kinematics_e(int model, const float* theta)
{
    if (!geometry(model)) return {};
    const Lengths lengths = model == 36   ? Lengths{d1, a2, a3, d3, a4, d4}
                            : model == 46 ? Lengths{lsb, 0, lse, d3, 0, lew}
                                          : Lengths{dbs, 0, dse, d4, 0, dew};
    return matrix_of(flange_of(model, lengths, lwt, installation(model), theta, no_visit));
}

KinPose Forward_Kinematics(int model, const float* joint)
{
    const Geometry* const g = geometry(model);
    if (!g) return {};
    Init_Sys_Data(model);
    float theta[7];
    for (int i = 0; i < g->joints; ++i)
        theta[i] = joint[i] + g->offset[i];
    const Matrix flange =
        matrix_of(flange_of(model, g->lengths, g->flange[0], installation(model), theta, no_visit));
    return pose_of(model, tool_has_no_effect(flange) ? flange : matrix_m(flange, Tool_Matrix));
}
