#include "arm/path.h"

#include <algorithm>
#include <cmath>

namespace kx::sim {

JointLine::JointLine(Joints from, Joints to) : from_(std::move(from)), to_(std::move(to)) {}

Joints JointLine::at(double s) const
{
    Joints joints(from_.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
        joints[i] = std::lerp(from_[i], to_[i], s);
    return joints;
}

Pace joint_line_pace(const Joints& from, const Joints& to, const Joints& max_speed,
                     const Joints& max_acceleration)
{
    Pace pace;
    for (std::size_t i = 0; i < from.size(); ++i) {
        const double distance = std::abs(to[i] - from[i]);
        if (distance < 1e-9) continue;
        pace.speed = std::min(pace.speed, max_speed[i] / distance);
        pace.acceleration = std::min(pace.acceleration, max_acceleration[i] / distance);
    }
    return pace;
}

} // namespace kx::sim
