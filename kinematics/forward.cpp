// Forward kinematics: joint angles to tool pose, by the product of the link transforms.
#include "kinematics/matrix.h"
#include "kx/model.h"

#include <array>

namespace kx {
namespace {

enum class Twist { none, plus_90, minus_90 };

struct Link {
    Twist twist; // alpha
    float a, d;  // metres
};

// RotX(alpha) * TransX(a) * RotZ(theta) * TransZ(d): the modified Denavit-Hartenberg convention (Craig,
// 1986).
Matrix modified_link(const Link& link, SineCosine<float> theta)
{
    const auto [s, c] = theta;
    const float a = link.a, d = link.d;
    switch (link.twist) {
    case Twist::plus_90:
        return {4, 4, {{c, -s, 0, a}, {0, 0, -1, -d}, {s, c, 0, 0}, {0, 0, 0, 1}}};
    case Twist::minus_90:
        return {4, 4, {{c, -s, 0, a}, {0, 0, 1, d}, {-s, -c, 0, 0}, {0, 0, 0, 1}}};
    default:
        return {4, 4, {{c, -s, 0, a}, {s, c, 0, 0}, {0, 0, 1, d}, {0, 0, 0, 1}}};
    }
}

// RotZ(theta) * TransZ(d) * RotX(alpha): the standard convention (Denavit and Hartenberg, 1955) with a = 0.
Matrix standard_link(const Link& link, SineCosine<float> theta)
{
    const auto [s, c] = theta;
    const float d = link.d;
    switch (link.twist) {
    case Twist::plus_90:
        return {4, 4, {{c, 0, s, 0}, {s, 0, -c, 0}, {0, 1, 0, d}, {0, 0, 0, 1}}};
    case Twist::minus_90:
        return {4, 4, {{c, 0, -s, 0}, {s, 0, c, 0}, {0, -1, 0, d}, {0, 0, 0, 1}}};
    default:
        return {4, 4, {{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, d}, {0, 0, 0, 1}}};
    }
}

SineCosine<float> of_degrees(float theta)
{
    return sine_cosine<float>(theta * radians_per_degree);
}

Matrix base(int model)
{
    return homogeneous(euler2matrix(angleU, angleV, model == 46 ? angleZ : 0), {0, 0, 0});
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

} // namespace
} // namespace kx

using namespace kx;

void Homogeneous_transformation_matrix(const float* theta, Matrix out[7])
{
    const Link links[7] = {
        {Twist::minus_90, 0, dbs}, {Twist::plus_90, 0, 0}, {Twist::minus_90, 0, dse}, {Twist::plus_90, 0, d4},
        {Twist::minus_90, 0, dew}, {Twist::plus_90, 0, 0}, {Twist::none, 0, lwt},
    };
    for (int i = 0; i < 7; ++i)
        out[i] = standard_link(links[i], of_degrees(theta[i]));
}

Matrix Forward_Kinematics_e(int model, const float* theta)
{
    if (model != 36 && model != 46 && model != 47) return {};
    Matrix m = base(model);
    if (model == 47) {
        Matrix links[7];
        Homogeneous_transformation_matrix(theta, links);
        for (const Matrix& link : links)
            m = matrix_m(m, link);
        return m;
    }
    const Link links_36[6] = {
        {Twist::none, 0, d1},     {Twist::plus_90, a2, 0}, {Twist::none, a3, d3},
        {Twist::plus_90, a4, d4}, {Twist::minus_90, 0, 0}, {Twist::minus_90, 0, lwt},
    };
    const Link links_46[6] = {
        {Twist::none, 0, lsb},    {Twist::plus_90, 0, 0},  {Twist::none, lse, d3},
        {Twist::plus_90, 0, lew}, {Twist::minus_90, 0, 0}, {Twist::plus_90, 0, lwt},
    };
    for (int i = 0; i < 6; ++i)
        m = matrix_m(m, modified_link((model == 36 ? links_36 : links_46)[i], of_degrees(theta[i])));
    return m;
}

KinPose Forward_Kinematics(int model, const float* joint)
{
    if (model != 36 && model != 46 && model != 47) return {};
    Init_Sys_Data(model);

    static constexpr float offsets[][7] = {{-90, 90, 90, 0, 180, 90}, {0, 90, 90}, {}};
    const int joints = model == 47 ? 7 : 6;
    float theta[7];
    for (int i = 0; i < joints; ++i)
        theta[i] = joint[i] + offsets[model == 36 ? 0 : model - 45][i];
    Matrix m = matrix_m(Forward_Kinematics_e(model, theta), Tool_Matrix);

    if (model != 47)
        for (float* x : {&m.data[2][1], &m.data[2][2], &m.data[2][0], &m.data[1][0], &m.data[0][0]})
            *x = cleaned(*x);
    Euler e = euler_of(m);
    e = {cleaned(e.rx), cleaned(e.ry), cleaned(e.rz)};
    if (model == 46) e = wrapped(e);
    const Quaternion q = euler2quaternion(e.rx, e.ry, e.rz);
    return {{m.data[0][3], m.data[1][3], m.data[2][3]}, q, wrapped(e)};
}
