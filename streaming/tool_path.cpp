#include "streaming/tool_path.h"

#include <math.h>
#include <string.h>

namespace kx::streaming {

constexpr double radian = 3.14159265358979323846 / 180;
constexpr double shortest_lever = 1e-7; // m in `little`, of a joint whose axis the tool is on

static double length(const double v[3])
{
    return sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

double distance(const double a[3], const double b[3])
{
    const double difference[] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    return length(difference);
}

ToolPath::ToolPath(const ARM_MODEL& arm, const Limits& limits, double cycle)
    : joints_(arm.joints), limits_(limits), cycle_(cycle)
{
    const float zero[most_joints] = {};
    Matrix links[most_joints];
    Arm_Model_Links(&arm, zero, links);
    for (int i = 0; i < joints_; ++i)
        for (int k = 0; k < 3; ++k) {
            axis_[i][k] = static_cast<double>(links[i].data[k][2]);
            origin_[i][k] = static_cast<double>(links[i].data[k][3]);
        }
    const Position tool = Arm_Model_Pose(&arm, zero).position;
    tool_[0] = static_cast<double>(tool.x);
    tool_[1] = static_cast<double>(tool.y);
    tool_[2] = static_cast<double>(tool.z);
}

static void bound(double& limit, double most)
{
    if (most > 0) limit = fmin(limit, most);
}

ArmLimits ToolPath::here(ArmLimits limits, const Joints& joint) const
{
    constexpr double little = 0.01; // degrees
    double here[3], there[3];
    place(joint, here);
    for (int i = 0; i < joints_; ++i) {
        Joints turned;
        memcpy(turned, joint, sizeof turned);
        turned[i] += little;
        place(turned, there);
        const double lever = (distance(here, there) + shortest_lever) / little; // m a degree
        Limits& motion = limits.motion[i];
        bound(motion.velocity, limits_.velocity / lever);
        bound(motion.acceleration, limits_.acceleration / 2 / lever);
        bound(motion.jerk, limits_.jerk / 2 / lever);
    }
    return limits;
}

// The product of the joints' turns about their axes (Brockett, 1984), in double precision, since third differences
// would show the rounding of floats.
void ToolPath::place(const Joints& joint, double point[3]) const
{
    memcpy(point, tool_, sizeof tool_);
    for (int i = joints_ - 1; i >= 0; --i) {
        const double* z = axis_[i];
        const double angle = joint[i] * radian, s = sin(angle), c = cos(angle);
        const double r[] = {point[0] - origin_[i][0], point[1] - origin_[i][1], point[2] - origin_[i][2]};
        const double along = (1 - c) * (z[0] * r[0] + z[1] * r[1] + z[2] * r[2]);
        const double across[] = {z[1] * r[2] - z[2] * r[1], z[2] * r[0] - z[0] * r[2],
                                 z[0] * r[1] - z[1] * r[0]};
        for (int k = 0; k < 3; ++k)
            point[k] = origin_[i][k] + c * r[k] + s * across[k] + along * z[k];
    }
}

ToolPath::Trail ToolPath::standing(const Joints& joint) const
{
    Trail trail;
    for (auto& point : trail.point)
        place(joint, point);
    return trail;
}

bool ToolPath::extend(Trail& trail, const Joints& joint) const
{
    const auto& [newest, second, third] = trail.point;
    double point[3], velocity[3], acceleration[3], jerk[3];
    place(joint, point);
    for (int k = 0; k < 3; ++k) {
        velocity[k] = (point[k] - newest[k]) / cycle_;
        acceleration[k] = (point[k] - 2 * newest[k] + second[k]) / (cycle_ * cycle_);
        jerk[k] = (point[k] - 3 * newest[k] + 3 * second[k] - third[k]) / (cycle_ * cycle_ * cycle_);
    }
    memmove(trail.point[1], trail.point[0], 2 * sizeof point);
    memcpy(trail.point[0], point, sizeof point);
    const auto keeps = [](const double v[3], double limit) { return !(limit > 0) || length(v) <= limit; };
    return keeps(velocity, limits_.velocity) && keeps(acceleration, limits_.acceleration) &&
           keeps(jerk, limits_.jerk);
}

} // namespace kx::streaming
