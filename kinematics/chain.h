// The chains of links, in a form that is fast and gives the bits of matrix_m, which rounds each product of
// two elements to float, sums in double from 0.0 and rounds once:
// - Elements of a link that are 0 or 1 are not multiplied. Such a product is exact, and adding a zero changes
//   nothing but the sign of a zero sum, which `element` sets right at the end.
// - The sum of two floats is taken in float: double has more than 2 * 24 + 2 bits, so rounding to it first
//   changes nothing (Figueroa, "When is double rounding innocuous?", 1995). Three terms are summed in double.
// A NaN or an infinite joint angle reaches the same elements in both forms.
#pragma once

#include "kinematics/arm.h"

namespace kx {

// One column of a transform: four floats.
using Column = float __attribute__((vector_size(16)));

inline Column sum_in_double(Column a, Column b, Column c)
{
    Column sum;
    for (int i = 0; i < 4; ++i)
        sum[i] = static_cast<float>(static_cast<double>(a[i]) + b[i] + c[i]);
    return sum;
}

// A rigid transform that a chain of links moves in place, link by link. C is a column, of one transform or of
// several side by side.
template <typename C>
struct Rigid {
    C x, y, z, origin;

    // Each multiplies by one elementary transform from the right, that is, moves along or about an own axis.
    template <typename T>
    Rigid& turn_z(SineCosine<T> theta)
    {
        const C turned = x * theta.cosine + y * theta.sine;
        y = y * theta.cosine - x * theta.sine;
        x = turned;
        return *this;
    }

    Rigid& turn_x_plus_90()
    {
        const C turned = z;
        z = -y;
        y = turned;
        return *this;
    }

    Rigid& turn_x_minus_90()
    {
        const C turned = y;
        y = -z;
        z = turned;
        return *this;
    }

    Rigid& shift_x(float a)
    {
        origin = origin + x * a;
        return *this;
    }

    Rigid& shift_z(float d)
    {
        origin = origin + z * d;
        return *this;
    }

    [[gnu::always_inline]] Rigid& shift_xz(float a, float d) // a call costs an eighth of a pose
    {
        origin = sum_in_double(x * a, z * d, origin);
        return *this;
    }
};

inline Rigid<Column> rigid(const Matrix& m)
{
    const auto column = [&](int j) { return Column{m.data[0][j], m.data[1][j], m.data[2][j], m.data[3][j]}; };
    return {column(0), column(1), column(2), column(3)};
}

inline Matrix matrix_of(const Rigid<Column>& r)
{
    Matrix m = {4, 4, {}};
    for (int i = 0; i < 4; ++i) {
        const float row[] = {r.x[i], r.y[i], r.z[i], r.origin[i]};
        for (int j = 0; j < 4; ++j)
            m.data[i][j] = row[j] + 0.0f; // -0 becomes 0
    }
    return m;
}

// Moves a transform from the base to the flange by chain angles, and shows `visit` the frame of every link:
// z is the joint's axis, and the origin has gone along it. The six-joint links follow the modified
// Denavit-Hartenberg convention (Craig, 1986), RotX(alpha) * TransX(a) * RotZ(theta) * TransZ(d); the
// seven-joint ones the standard convention (Denavit and Hartenberg, 1955), RotZ(theta) * TransZ(d) *
// TransX(a) * RotX(alpha) with a = 0. A shift along an axis and a turn about it may change places.
template <typename C, typename T, typename Visit>
inline void follow_chain(Rigid<C>& m, int model, const Lengths& l, float flange,
                         const SineCosine<T> (&theta)[7], const Visit& visit)
{
    switch (model) {
    case 36:
        visit(0, m.shift_z(l.d1).turn_z(theta[0]));
        visit(1, m.turn_x_plus_90().shift_x(l.a2).turn_z(theta[1]));
        visit(2, m.shift_xz(l.a3, l.d3).turn_z(theta[2]));
        visit(3, m.turn_x_plus_90().shift_xz(l.a4, l.d4).turn_z(theta[3]));
        visit(4, m.turn_x_minus_90().turn_z(theta[4]));
        visit(5, m.turn_x_minus_90().shift_z(flange).turn_z(theta[5]));
        break;
    case 46:
        visit(0, m.shift_z(l.d1).turn_z(theta[0]));
        visit(1, m.turn_x_plus_90().turn_z(theta[1]));
        visit(2, m.shift_xz(l.a3, l.d3).turn_z(theta[2]));
        visit(3, m.turn_x_plus_90().shift_z(l.d4).turn_z(theta[3]));
        visit(4, m.turn_x_minus_90().turn_z(theta[4]));
        visit(5, m.turn_x_plus_90().shift_z(flange).turn_z(theta[5]));
        break;
    case 47:
        visit(0, m.shift_z(l.d1).turn_z(theta[0]));
        visit(1, m.turn_x_minus_90().turn_z(theta[1]));
        visit(2, m.turn_x_plus_90().shift_z(l.a3).turn_z(theta[2]));
        visit(3, m.turn_x_minus_90().shift_z(l.d3).turn_z(theta[3]));
        visit(4, m.turn_x_plus_90().shift_z(l.d4).turn_z(theta[4]));
        visit(5, m.turn_x_minus_90().turn_z(theta[5]));
        visit(6, m.turn_x_plus_90().shift_z(flange).turn_z(theta[6]));
        break;
    }
}

inline constexpr auto no_visit = [](int, const auto&) {};

// How the base stands in the world.
inline Rigid<Column> base_of(const Euler& installation)
{
    const auto& [rx, ry, rz] = installation;
    return rigid(rx == 0 && ry == 0 && rz == 0 ? identity4
                                               : homogeneous(euler2matrix(rx, ry, rz), {0, 0, 0}));
}

// The world to the flange; `visit` sees the links.
template <typename Visit>
inline Rigid<Column> flange_of(int model, const Lengths& lengths, float flange, const Euler& installation,
                               const float* chain_degrees, const Visit& visit)
{
    SineCosine<float> theta[7];
    for (int i = 0; i < (model == 47 ? 7 : 6); ++i)
        theta[i] = sine_cosine<float>(chain_degrees[i] * radians_per_degree);
    Rigid<Column> m = base_of(installation);
    follow_chain(m, model, lengths, flange, theta, visit);
    return m;
}

} // namespace kx
