// Poses side by side: the steps of Arm_Model_Pose, each taken for as many poses as there are lanes. For files
// that are compiled for different processors; so nothing here has a name that they could share.
#pragma once

#include "kinematics/batch.h"
#include "kinematics/pose.h"

namespace kx {
namespace {

template <int lanes>
struct WideColumn {
    using Float = typename Lanes<lanes>::Float;
    Float row[3];

    template <typename Factor>
    friend WideColumn operator*(const WideColumn& a, const Factor& f)
    {
        return {{a.row[0] * f, a.row[1] * f, a.row[2] * f}};
    }
    friend WideColumn operator+(const WideColumn& a, const WideColumn& b)
    {
        return {{a.row[0] + b.row[0], a.row[1] + b.row[1], a.row[2] + b.row[2]}};
    }
    friend WideColumn operator-(const WideColumn& a, const WideColumn& b)
    {
        return {{a.row[0] - b.row[0], a.row[1] - b.row[1], a.row[2] - b.row[2]}};
    }
    friend WideColumn operator-(const WideColumn& a) { return {{-a.row[0], -a.row[1], -a.row[2]}}; }

    friend WideColumn sum_in_double(const WideColumn& a, const WideColumn& b, const WideColumn& c)
    {
        WideColumn sum;
        for (int i = 0; i < 3; ++i)
            sum.row[i] = rounded_off(widened(a.row[i]) + widened(b.row[i]) + widened(c.row[i]));
        return sum;
    }
};

template <int lanes>
WideColumn<lanes> wide(const Column& c)
{
    typename Lanes<lanes>::Float zero = {};
    return {{zero + c[0], zero + c[1], zero + c[2]}};
}

// As matrix_m does it.
template <int lanes>
void append_tool(Rigid<WideColumn<lanes>>& m, const Matrix& tool)
{
    const Rigid<WideColumn<lanes>> flange = m;
    WideColumn<lanes>* const column[] = {&m.x, &m.y, &m.z, &m.origin};
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 3; ++i)
            column[j]->row[i] = rounded_off(
                widened(flange.x.row[i] * tool.data[0][j]) + widened(flange.y.row[i] * tool.data[1][j]) +
                widened(flange.z.row[i] * tool.data[2][j]) + widened(flange.origin.row[i] * tool.data[3][j]));
}

// Joint angles, a vector for each of the first four joints and of the last four.
template <int lanes>
void read(const float* const (&joint)[lanes], int joints, typename Lanes<lanes>::Float (&angles)[8])
{
    const auto four_of = [](const float* from) {
        typename Lanes<4>::Float numbers;
        std::memcpy(&numbers, from, sizeof numbers);
        return numbers;
    };
    for (int i = 0; i < 8; ++i)
        if constexpr (lanes == 4)
            angles[i] = four_of(joint[i % 4] + (i < 4 ? 0 : joints - 4));
        else
            angles[i] = __builtin_shufflevector(four_of(joint[i]), four_of(joint[i] + joints - 4), 0, 1, 2, 3,
                                                4, 5, 6, 7);
    for (int i = 0; i < 8; i += lanes)
        transpose<lanes>(angles + i);
}

template <int lanes>
void poses_of(const PoseBatch& batch, const float* const (&joint)[lanes], KinPose* const (&pose)[lanes])
{
    using Double = typename Lanes<lanes>::Double;
    using Float = typename Lanes<lanes>::Float;

    Float angles[8];
    read<lanes>(joint, batch.arm.joints, angles);
    Double radians[7], sine[7], cosine[7];
    auto far = Double{} != Double{};
    for (int i = 0; i < batch.arm.joints; ++i) {
        radians[i] = widened((angles[i < 4 ? i : i + 8 - batch.arm.joints] + batch.geometry.offset[i]) *
                             radians_per_degree);
        reduced_sine_cosine<lanes>(radians[i], sine[i], cosine[i]);
        far |= !(abs(radians[i]) < reducible);
    }
    if (any(far))
        for (int i = 0; i < batch.arm.joints; ++i)
            for (int lane = 0; lane < lanes; ++lane) {
                const auto [s, c] = lone_sine_cosine(radians[i][lane]);
                sine[i][lane] = s, cosine[i][lane] = c;
            }
    SineCosine<Float> theta[7];
    for (int i = 0; i < batch.arm.joints; ++i)
        theta[i] = {rounded_off(sine[i]), rounded_off(cosine[i])};
    Rigid<WideColumn<lanes>> m = {wide<lanes>(batch.base.x), wide<lanes>(batch.base.y),
                                  wide<lanes>(batch.base.z), wide<lanes>(batch.base.origin)};
    follow_chain(m, batch.arm.model, batch.geometry.lengths, batch.arm.flange, theta, no_visit);
    if (batch.has_tool) append_tool(m, batch.arm.tool);

    const Orientation<lanes> o(m.x.row, m.y.row, m.z.row, batch.arm.model);
    // All but the last two numbers of a pose are written row by row, which takes fewer steps than lane by lane.
    Float number[8] = {
        m.origin.row[0] + 0.0f, m.origin.row[1] + 0.0f, m.origin.row[2] + 0.0f, o.w, o.x, o.y, o.z, o.rx};
    for (int first = 0; first < 8; first += lanes) {
        transpose<lanes>(number + first);
        for (int i = 0; i < lanes; ++i)
            std::memcpy(reinterpret_cast<float*>(pose[i]) + first, &number[first + i], sizeof(Float));
    }
    for (int i = 0; i < lanes; ++i)
        pose[i]->euler.ry = o.ry[i], pose[i]->euler.rz = o.rz[i];
}

template <int lanes>
void poses(const PoseBatch& batch, int count, const float* joints, KinPose* result)
{
    for (int done = 0; done < count; done += lanes) {
        const float* joint[lanes];
        KinPose* pose[lanes];
        for (int i = 0; i < lanes; ++i) { // the last one also fills lanes that are left over
            const int n = done + i < count ? done + i : count - 1;
            joint[i] = joints + static_cast<std::ptrdiff_t>(n) * batch.arm.joints;
            pose[i] = result + n;
        }
        poses_of<lanes>(batch, joint, pose);
    }
}

} // namespace
} // namespace kx
