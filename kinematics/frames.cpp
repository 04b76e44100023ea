// Poses between base, work frame, flange and tool, and poses turned about an axis.
#include "kinematics/matrix.h"
#include "kx/frame_transforms.h"

namespace kx {
namespace {

Vector column(const Matrix& m, int j)
{
    return {m.data[0][j], m.data[1][j], m.data[2][j]};
}

} // namespace
} // namespace kx

using namespace kx;

KinPose Base_To_WorkFrame(KinPose pose, Matrix work_frame)
{
    return matrix2pos(matrix_m(matrix_inv(work_frame), pos2matrix(pose)));
}

KinPose WorkFrame_To_Base(KinPose pose, Matrix work_frame)
{
    return matrix2pos(matrix_m(work_frame, pos2matrix(pose)));
}

KinPose end2tool(KinPose flange, KinPose tool, KinPose work_frame)
{
    const KinPose tool_in_base = matrix2pos(matrix_m(pos2matrix(flange), pos2matrix(tool)));
    return Base_To_WorkFrame(tool_in_base, pos2matrix(work_frame));
}

KinPose tool2end(KinPose pose, KinPose tool, KinPose work_frame)
{
    const KinPose tool_in_base = WorkFrame_To_Base(pose, pos2matrix(work_frame));
    return matrix2pos(matrix_m(pos2matrix(tool_in_base), matrix_inv(pos2matrix(tool))));
}

KinPose RotateMove(KinPose pose, int axis, float angle)
{
    const Euler e = Rodrigues_rotate_simplify(pose.euler, angle, axis == 1, axis == 2, axis == 3, pose);
    return {pose.position, euler2quaternion(e.rx, e.ry, e.rz), e};
}

Euler Rodrigues_rotate_simplify(Euler orientation, float angle, int ax, int ay, int az, KinPose pose)
{
    const auto component = [](int a) { return a == 1 || a == -1 ? 1.0 * a : 0.0; };
    const Vector own = {component(ax), component(ay), component(az)};
    const double length = std::sqrt(own.x * own.x + own.y * own.y + own.z * own.z);

    const Matrix frame = euler2matrix(orientation.rx, orientation.ry, orientation.rz);
    Vector k = own.x * column(frame, 0) + own.y * column(frame, 1) + own.z * column(frame, 2);
    if (length > 0) k = (1 / length) * k;

    // v' = v + sin * (k x v) + (1 - cos) * (k x (k x v)) for each axis v of the pose (Rodrigues, 1840).
    const auto [sine, cosine] = sine_cosine<double>(angle);
    const Matrix rotation = pos2matrix(pose);
    const auto turned = [&, s = sine, c = cosine](int j) {
        const Vector v = column(rotation, j), kv = cross(k, v);
        return v + s * kv + (1 - c) * cross(k, kv);
    };
    const Vector x = turned(0), y = turned(1), z = turned(2);
    return {static_cast<float>(std::atan2(y.z, z.z)),
            static_cast<float>(std::atan2(-x.z, std::sqrt(y.z * y.z + z.z * z.z))),
            static_cast<float>(std::atan2(x.y, x.x))};
}
