// Joint angles at points along a path, and a smooth curve through them.
#pragma once

#include <cmath>

#include "arm/path.h"

namespace kx::sim {

class JointCurve : public Path {
  public:
    explicit JointCurve(Joints start) { knots_.push_back({0, std::move(start), {}}); }

    /** The next point, behind the last. There must be at least three. */
    void add(double s, Joints joints);

    Joints at(double s) const override;

    std::size_t pieces() const { return knots_.size() - 1; }

    /** Visits enough places of a piece to know its extremes: s, a joint, and its first and second derivative.
     */
    template <typename Visit>
    void survey(std::size_t piece, Visit visit) const;

  private:
    struct Knot {
        double s;
        Joints joints;
        Joints slope; ///< per s, that of the parabola through this point and its neighbours
    };

    /** One joint between two knots, over x from 0 to 1. */
    struct Cubic {
        Cubic(const Knot& from, const Knot& to, std::size_t joint)
            : width(to.s - from.s), c0(from.joints[joint]), c1(from.slope[joint] * width)
        {
            const double rise = to.joints[joint] - c0, last = to.slope[joint] * width;
            c2 = 3 * rise - 2 * c1 - last;
            c3 = c1 + last - 2 * rise;
        }
        double value(double x) const { return c0 + x * (c1 + x * (c2 + x * c3)); }
        double first(double x) const { return (c1 + x * (2 * c2 + x * 3 * c3)) / width; }
        double second(double x) const { return (2 * c2 + x * 6 * c3) / (width * width); }

        double width, c0, c1, c2, c3;
    };

    std::vector<Knot> knots_;
};

template <typename Visit>
void JointCurve::survey(std::size_t piece, Visit visit) const
{
    const Knot &from = knots_[piece], &to = knots_[piece + 1];
    for (std::size_t i = 0; i < from.joints.size(); ++i) {
        const Cubic cubic(from, to, i);
        for (double x : {0.0, 0.25, 0.5, 0.75, 1.0})
            visit(from.s + x * cubic.width, i, std::abs(cubic.first(x)), std::abs(cubic.second(x)));
    }
}

} // namespace kx::sim
