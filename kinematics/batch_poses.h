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
        using Math = PoseMath<lanes>;
        WideColumn sum;
        for (int i = 0; i < 3; ++i)
            sum.row[i] = Math::rounded_off(Math::widened(a.row[i]) + Math::widened(b.row[i]) +
                                           Math::widened(c.row[i]));
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
    using Math = PoseMath<lanes>;
    const Rigid<WideColumn<lanes>> flange = m;
    WideColumn<lanes>* const column[] = {&m.x, &m.y, &m.z, &m.origin};
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 3; ++i)
            column[j]->row[i] = Math::rounded_off(Math::widened(flange.x.row[i] * tool.data[0][j]) +
                                                  Math::widened(flange.y.row[i] * tool.data[1][j]) +
                                                  Math::widened(flange.z.row[i] * tool.data[2][j]) +
                                                  Math::widened(flange.origin.row[i] * tool.data[3][j]));
}

template <int lanes>
void poses_of(const Batch& batch, const float* const (&joint)[lanes], KinPose* const (&pose)[lanes])
{
    using Math = PoseMath<lanes>;
    using Double = typename Lanes<lanes>::Double;
    using Float = typename Lanes<lanes>::Float;

    SineCosine<Float> theta[7];
    for (int i = 0; i < batch.arm.joints; ++i) {
        Float degrees;
        for (int lane = 0; lane < lanes; ++lane)
            degrees[lane] = joint[lane][i];
        Double s, c;
        sine_cosine<lanes>(Math::widened((degrees + batch.geometry.offset[i]) * radians_per_degree), s, c);
        theta[i] = {Math::rounded_off(s), Math::rounded_off(c)};
    }
    Rigid<WideColumn<lanes>> m = {wide<lanes>(batch.base.x), wide<lanes>(batch.base.y),
                                  wide<lanes>(batch.base.z), wide<lanes>(batch.base.origin)};
    follow_chain(m, batch.arm.model, batch.geometry.lengths, batch.arm.flange, theta, no_visit);
    if (batch.has_tool) append_tool(m, batch.arm.tool);

    const auto element = [&](const Float& x) {
        return batch.arm.model == 47 ? x + 0.0f : Math::cleaned(x + 0.0f); // -0 becomes 0
    };
    const Float zx = element(m.x.row[2]), zy = element(m.y.row[2]), zz = element(m.z.row[2]);
    Float rx = Math::angle_of(zy, zz), ry = Math::angle_of(-zx, Math::length(zy, zz));
    Float rz = Math::angle_of(element(m.x.row[1]), element(m.x.row[0]));
    if (batch.arm.model == 46) rx = Math::wrapped(rx), ry = Math::wrapped(ry), rz = Math::wrapped(rz);
    Double sx, cx, sy, cy, sz, cz;
    Math::half_angle(rx, sx, cx);
    Math::half_angle(ry, sy, cy);
    Math::half_angle(rz, sz, cz);
    const Float w = Math::rounded_off(cx * cy * cz + sx * sy * sz),
                x = Math::rounded_off(sx * cy * cz - cx * sy * sz);
    const Float y = Math::rounded_off(cx * sy * cz + sx * cy * sz),
                z = Math::rounded_off(cx * cy * sz - sx * sy * cz);
    rx = Math::wrapped(rx), ry = Math::wrapped(ry), rz = Math::wrapped(rz);
    for (int i = 0; i < lanes; ++i)
        *pose[i] = {{m.origin.row[0][i] + 0.0f, m.origin.row[1][i] + 0.0f, m.origin.row[2][i] + 0.0f},
                    {w[i], x[i], y[i], z[i]},
                    {rx[i], ry[i], rz[i]}};
}

template <int lanes>
void poses(const Batch& batch, int count, const float* joints, KinPose* result)
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
