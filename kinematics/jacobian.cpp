// The Jacobian of an arm, and how near it is to a singular one.
#include "kinematics/chain.h"
#include "kx/kinematics.h"

#include <algorithm>

namespace kx {
namespace {

template <typename Column>
Vector vector(const Column& c)
{
    return {c[0], c[1], c[2]};
}

Vector column(const Matrix& m, int j)
{
    return {m.data[0][j], m.data[1][j], m.data[2][j]};
}

// In the world. An axis and a point on it for each joint, and the tool's transform.
struct Axes {
    Vector direction[7], point[7];
    Matrix tool;

    Axes(const ARM_MODEL& arm, const float* joint)
    {
        const Geometry& g = *geometry(arm.model);
        float theta[7];
        for (int i = 0; i < g.joints; ++i)
            theta[i] = joint[i] + g.offset[i];
        const Rigid<Column> flange = flange_of(arm.model, g.lengths, arm.flange, arm.installation, theta,
                                               [&](int i, const Rigid<Column>& link) {
                                                   direction[i] = vector(link.z);
                                                   point[i] = vector(link.origin);
                                               });
        tool = matrix_of(flange);
        if (!is_identity(arm.tool)) tool = matrix_m(tool, arm.tool);
    }
};

// Singular values of six rows, by turning pairs of them until all are at right angles (Hestenes, 1958), which
// finds small ones as precisely as great ones. Ascending.
void singular_values(double (&row)[6][7], double (&value)[6])
{
    constexpr int most_sweeps = 30;
    constexpr double right = 1e-14;
    for (int sweep = 0, turned = 1; turned && sweep < most_sweeps; ++sweep) {
        turned = 0;
        for (int i = 0; i < 6; ++i)
            for (int j = i + 1; j < 6; ++j) {
                double ii = 0, jj = 0, ij = 0;
                for (int k = 0; k < 7; ++k)
                    ii += square(row[i][k]), jj += square(row[j][k]), ij += row[i][k] * row[j][k];
                if (!(std::fabs(ij) > right * std::sqrt(ii * jj))) continue;
                turned = 1;
                const double zeta = (jj - ii) / (2 * ij);
                const double t = std::copysign(1, zeta) / (std::fabs(zeta) + std::sqrt(1 + zeta * zeta));
                const double c = 1 / std::sqrt(1 + t * t), s = c * t;
                for (int k = 0; k < 7; ++k) {
                    const double a = row[i][k], b = row[j][k];
                    row[i][k] = c * a - s * b, row[j][k] = s * a + c * b;
                }
            }
    }
    for (int i = 0; i < 6; ++i) {
        double sum = 0;
        for (double x : row[i])
            sum += square(x);
        value[i] = std::sqrt(sum);
    }
    std::sort(value, value + 6);
}

} // namespace
} // namespace kx

using namespace kx;

void Arm_Model_Jacobian(const ARM_MODEL* arm, const float* joint, ARM_FRAME frame, double jacobian[6][7])
{
    std::fill(&jacobian[0][0], &jacobian[0][0] + 6 * 7, 0.0);
    if (!geometry(arm->model)) return;
    const Axes axes(*arm, joint);
    const Vector origin = column(axes.tool, 3);
    Vector x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
    if (frame == ARM_TOOL)
        x = column(axes.tool, 0), y = column(axes.tool, 1), z = column(axes.tool, 2);
    else if (const auto& [rx, ry, rz] = arm->installation;
             frame == ARM_BASE && (rx != 0 || ry != 0 || rz != 0)) {
        const Matrix base = euler2matrix(rx, ry, rz);
        x = column(base, 0), y = column(base, 1), z = column(base, 2);
    }
    for (int i = 0; i < arm->joints; ++i) {
        const Vector turn = axes.direction[i], way = cross(turn, origin - axes.point[i]);
        const double of_joint[] = {dot(x, way),  dot(y, way),  dot(z, way),
                                   dot(x, turn), dot(y, turn), dot(z, turn)};
        for (int k = 0; k < 6; ++k)
            jacobian[k][i] = of_joint[k];
    }
}

ARM_DEXTERITY Arm_Model_Dexterity(const ARM_MODEL* arm, const float* joint)
{
    double row[6][7], value[6];
    Arm_Model_Jacobian(arm, joint, ARM_WORLD, row);
    const auto is_number = [](double x) { return std::isfinite(x); }; // the last joint may be in no row
    if (!std::all_of(joint, joint + arm->joints, is_number) ||
        !std::all_of(&row[0][0], &row[0][0] + 6 * 7, is_number))
        return {NAN, NAN, NAN};
    singular_values(row, value);
    double product = 1;
    for (double v : value)
        product *= v;
    return {product, value[0], value[5] > 0 ? value[0] / value[5] : 0};
}
