// Matrix product and inverse, and the conversions between poses, angles, quaternions and transforms.
#include "kinematics/matrix.h"

#include <algorithm>
#include <utility>

namespace kx {

Matrix homogeneous(const Matrix& rotation, Position translation)
{
    Matrix m = rotation;
    m.rows = m.cols = 4;
    m.data[0][3] = translation.x;
    m.data[1][3] = translation.y;
    m.data[2][3] = translation.z;
    m.data[3][3] = 1;
    return m;
}

Euler euler_of(const Matrix& matrix)
{
    const auto& m = matrix.data;
    return {std::atan2(m[2][1], m[2][2]),
            std::atan2(-m[2][0], std::sqrt(m[2][1] * m[2][1] + m[2][2] * m[2][2])),
            std::atan2(m[1][0], m[0][0])};
}

} // namespace kx

using namespace kx;

Matrix matrix_m(Matrix a, Matrix b)
{
    Matrix product = {a.rows, b.cols, {}};
    const int rows = std::min(a.rows, 4), columns = std::min(a.cols, 4);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            double sum = 0;
            for (int k = 0; k < rows; ++k)
                sum += static_cast<double>(a.data[i][k] * b.data[k][j]);
            product.data[i][j] = static_cast<float>(sum);
        }
    return product;
}

Matrix matrix_inv(Matrix m)
{
    const int n = std::clamp(m.rows, 0, 4);
    auto& a = m.data;
    const auto swap_rows = [&](int r, int s) { std::swap_ranges(a[r], a[r] + n, a[s]); };
    const auto swap_columns = [&](int r, int s) {
        for (int i = 0; i < n; ++i)
            std::swap(a[i][r], a[i][s]);
    };

    int pivot_row[4], pivot_column[4];
    for (int k = 0; k < n; ++k) {
        int row = k, column = k;
        for (int i = k; i < n; ++i)
            for (int j = k; j < n; ++j)
                if (std::fabs(a[i][j]) > std::fabs(a[row][column])) row = i, column = j;
        const double pivot = a[row][column];
        pivot_row[k] = row;
        pivot_column[k] = column;
        if (row != k) swap_rows(k, row);
        if (column != k) swap_columns(k, column);

        double u[4], v[4];
        for (int j = 0; j < n; ++j) {
            u[j] = j == k ? 1 / pivot : -a[k][j] / pivot;
            v[j] = j == k ? 1 : a[j][k];
        }
        for (int j = 0; j < n; ++j)
            a[k][j] = a[j][k] = 0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                a[i][j] = static_cast<float>(a[i][j] + v[i] * u[j]);
    }
    for (int k = n - 1; k >= 0; --k) {
        if (pivot_row[k] != k) swap_columns(k, pivot_row[k]);
        if (pivot_column[k] != k) swap_rows(k, pivot_column[k]);
    }
    return m;
}

Matrix euler2matrix(float rx, float ry, float rz)
{
    const Rotation r = rotation_of({rx, ry, rz});
    Matrix m = {3, 3, {}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m.data[i][j] = static_cast<float>(r[i][j]);
    return m;
}

Matrix pos2matrix(KinPose pose)
{
    return homogeneous(euler2matrix(pose.euler.rx, pose.euler.ry, pose.euler.rz), pose.position);
}

KinPose matrix2pos(Matrix m)
{
    const Euler e = euler_of(m);
    return {{m.data[0][3], m.data[1][3], m.data[2][3]}, euler2quaternion(e.rx, e.ry, e.rz), e};
}

Quaternion euler2quaternion(float rx, float ry, float rz)
{
    return half_angle_quaternion(sine_cosine<double>(0.5f * rx), sine_cosine<double>(0.5f * ry),
                                 sine_cosine<double>(0.5f * rz));
}

Euler quaternion2euler(float w, float x, float y, float z)
{
    const auto atan2_in_double = [](double s, double c) { return static_cast<float>(std::atan2(s, c)); };
    return {atan2_in_double(2 * (w * x + y * z), 1 - 2 * (x * x + y * y)),
            static_cast<float>(std::asin(static_cast<double>(2 * (w * y - x * z)))),
            atan2_in_double(2 * (w * z + x * y), 1 - 2 * (y * y + z * z))};
}

float my_atan2f(float y, float x)
{
    const float r = std::sqrt(x * x + y * y);
    const float angle = static_cast<float>(std::acos(static_cast<double>(x / r)));
    return y >= 0 ? angle : -angle;
}
