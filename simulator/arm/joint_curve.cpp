#include "arm/joint_curve.h"

#include <algorithm>

namespace kx::sim {

void JointCurve::add(double s, Joints joints)
{
    knots_.push_back({s, std::move(joints), {}});
    if (knots_.size() < 3) return;
    Knot &from = knots_.end()[-3], &middle = knots_.end()[-2], &to = knots_.end()[-1];
    const double before = middle.s - from.s, after = to.s - middle.s;
    middle.slope.clear(); // it was the last one
    for (std::size_t i = 0; i < to.joints.size(); ++i) {
        const double first = (middle.joints[i] - from.joints[i]) / before;
        const double second = (to.joints[i] - middle.joints[i]) / after;
        const double bend = (second - first) / (before + after); // half the parabola's second derivative
        const double slope = first + bend * before;              // in the middle
        if (knots_.size() == 3) from.slope.push_back(slope - 2 * bend * before);
        middle.slope.push_back(slope);
        to.slope.push_back(slope + 2 * bend * after);
    }
}

Joints JointCurve::at(double s) const
{
    const double inside = std::clamp(s, 0.0, 1.0);
    const auto next = std::upper_bound(knots_.begin() + 1, knots_.end() - 1, inside,
                                       [](double value, const Knot& knot) { return value < knot.s; });
    const Knot &to = *next, &from = *(next - 1);
    Joints joints(from.joints.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
        joints[i] = Cubic(from, to, i).value((inside - from.s) / (to.s - from.s));
    return joints;
}

} // namespace kx::sim
