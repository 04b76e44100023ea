#include "arm/corner.h"

#include <algorithm>
#include <cmath>

#include "arm/joint_curve.h"

namespace kx::sim {

namespace {

constexpr double places = 16;          // of the rounding
constexpr double nearest = 1.0 / 4096; // to the corner that is looked at, as part of a path
constexpr double no_radius = 1e-5;     // m
constexpr double braking_share = 0.1;  // of a joint's acceleration; the rest is for the rounding

/** A path seen from the corner: x is 0 there and 1 at its other end. */
struct Side {
    const Path& path;
    bool ends_there;
    const Rounding& rounding;

    double s(double x) const { return ends_there ? 1 - x : x; }
    Joints at(double x) const { return path.at(s(x)); }
    KDL::Frame tool(const Joints& joints) const
    {
        return rounding.frames.tool_of(rounding.model.flange(joints));
    }
    double distance(double x) const { return (tool(at(x)).p - tool(at(0)).p).Norm(); }

    /** How far from the corner the tool gets in half of the path; infinite if it only turns. */
    double reach() const
    {
        double farthest = 0;
        for (double x = nearest; x <= 0.5; x *= 2)
            farthest = std::max(farthest, distance(x));
        return farthest < no_radius ? std::numeric_limits<double>::infinity() : farthest;
    }

    /** Where the tool is so far from the corner for the first time, but at most half of the path. */
    double part(double radius) const
    {
        double high = nearest;
        while (high < 0.5 && distance(high) < radius)
            high *= 2;
        double low = high / 2;
        if (distance(high) < radius) return high;
        for (int i = 0; i < 30; ++i) {
            const double middle = (low + high) / 2;
            (distance(middle) < radius ? low : high) = middle;
        }
        return high;
    }
};

Joints sum(const Joints& a, const Joints& b, const Joints& less)
{
    Joints joints = a;
    for (std::size_t i = 0; i < joints.size(); ++i)
        joints[i] += b[i] - less[i];
    return joints;
}

} // namespace

std::optional<Corner> Rounding::between(const Path& first, const Path& next) const
{
    const Side before{first, true, *this}, after{next, false, *this};
    const double fitting = std::min({radius, before.reach(), after.reach()});
    if (fitting < no_radius) return {};
    const double leave = before.part(fitting), enter = after.part(fitting);
    const Joints meeting = next.at(0);
    const KDL::Frame tool_there = before.tool(meeting);

    const auto joints_at = [&](double x) {
        const Joints a = before.at(leave * (1 - x) * (1 - x)), b = after.at(enter * x * x);
        const Joints joints = sum(a, b, meeting);
        limits.check(joints);
        if (!in_space) return joints;
        const KDL::Frame from = before.tool(a), to = after.tool(b);
        const KDL::Frame tool(from.M * tool_there.M.Inverse() * to.M, from.p + to.p - tool_there.p);
        return model.joints_for(frames.flange_of(tool), joints, Model::Elbow::near);
    };
    const auto curve = std::make_shared<JointCurve>(before.at(leave));
    for (double i = 1; i < places; ++i)
        curve->add(i / places, joints_at(i / places));
    curve->add(1, after.at(enter));

    Corner corner{1 - leave, enter, curve, 0, std::numeric_limits<double>::infinity()};
    for (std::size_t piece = 0; piece < curve->pieces(); ++piece)
        curve->survey(piece, [&](double, std::size_t joint, double rate, double bend) {
            const double most = limits.max_acceleration[joint];
            corner.least_duration = std::max({corner.least_duration, rate / limits.max_speed[joint],
                                              std::sqrt(bend / ((1 - braking_share) * most))});
            corner.braking = std::min(corner.braking, braking_share * most / rate);
        });
    return corner;
}

} // namespace kx::sim
