// A rigid transform that a chain of links moves in place, link by link: the fast form of the product of link
// matrices. It gives the bits of matrix_m, which rounds each product of two elements to float, sums in double
// from 0.0 and rounds once:
// - Elements of a link that are 0 or 1 are not multiplied. Such a product is exact, and adding a zero changes
//   nothing but the sign of a zero sum, which `matrix` sets right at the end.
// - The sum of two floats is taken in float: double has more than 2 * 24 + 2 bits, so rounding to it first
//   changes nothing (Figueroa, "When is double rounding innocuous?", 1995). Three terms are summed in double.
// A NaN or an infinite joint angle reaches the same elements in both forms.
#pragma once

#include "kinematics/matrix.h"

namespace kx {

class Rigid {
    using Column = float __attribute__((vector_size(16)));
    Column x = {1}, y = {0, 1}, z = {0, 0, 1}, origin = {0, 0, 0, 1};

  public:
    Rigid() = default;

    explicit Rigid(const Matrix& m)
    {
        for (int i = 0; i < 4; ++i)
            x[i] = m.data[i][0], y[i] = m.data[i][1], z[i] = m.data[i][2], origin[i] = m.data[i][3];
    }

    // Each multiplies by one elementary transform from the right, that is, moves along or about an own axis.
    Rigid& turn_z(SineCosine<float> theta)
    {
        const auto [s, c] = theta;
        const Column turned = x * c + y * s;
        y = y * c - x * s;
        x = turned;
        return *this;
    }

    Rigid& turn_x_plus_90()
    {
        const Column turned = z;
        z = -y;
        y = turned;
        return *this;
    }

    Rigid& turn_x_minus_90()
    {
        const Column turned = y;
        y = -z;
        z = turned;
        return *this;
    }

    Rigid& shift_x(float a)
    {
        origin += x * a;
        return *this;
    }

    Rigid& shift_z(float d)
    {
        origin += z * d;
        return *this;
    }

    Rigid& shift_xz(float a, float d)
    {
        const Column along_x = x * a, along_z = z * d;
        for (int i = 0; i < 4; ++i)
            origin[i] = static_cast<float>(static_cast<double>(along_x[i]) + along_z[i] + origin[i]);
        return *this;
    }

    Matrix matrix() const
    {
        Matrix m = {4, 4, {}};
        for (int i = 0; i < 4; ++i) {
            const float row[] = {x[i], y[i], z[i], origin[i]};
            for (int j = 0; j < 4; ++j)
                m.data[i][j] = row[j] + 0.0f; // -0 becomes 0
        }
        return m;
    }
};

} // namespace kx
