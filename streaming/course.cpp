#include "streaming/course.h"

#include <math.h>

namespace kx::streaming {

void Course::add(const Knot& added)
{
    ring_[(first_ + count_++) % capacity_] = added;
}

// The knot before the segment shapes it, too.
void Course::pass(double time)
{
    while (count_ > 2 && knot(2).time <= time) {
        first_ = (first_ + 1) % capacity_;
        --count_;
    }
}

double Course::slope(int i, int joint) const
{
    const Knot &from = knot(i), &to = knot(i + 1);
    return (to.joint[joint] - from.joint[joint]) / (to.time - from.time);
}

// The parabola through a knot and its neighbours has this slope there; bounded so that the cubics stay between
// their ends (Fritsch and Carlson, 1980).
double Course::tangent(int i, int joint) const
{
    if (i == 0) return 0;
    if (i == count_ - 1) return ends_ ? 0 : slope(i - 1, joint);
    const double before = slope(i - 1, joint), behind = slope(i, joint);
    if (before * behind <= 0) return 0;
    const double first = knot(i).time - knot(i - 1).time, second = knot(i + 1).time - knot(i).time;
    const double mean = (before * second + behind * first) / (first + second);
    const double bound = 3 * fmin(fabs(before), fabs(behind));
    return fmax(-bound, fmin(bound, mean));
}

void Course::at(double time, ArmState& state) const
{
    int i = 0;
    while (i < count_ - 1 && knot(i + 1).time <= time)
        ++i;
    const double t = time - knot(i).time;
    for (int j = 0; j < joints_; ++j) {
        const double position = knot(i).joint[j];
        State& at = state.joint[j];
        if (count_ == 1 || t < 0) {
            at = {position, 0, 0};
        } else if (i == count_ - 1) {
            const double velocity = tangent(i, j);
            at = {position + t * velocity, velocity, 0};
        } else { // Hermite's cubic, in powers of the time since its beginning
            const double whole = knot(i + 1).time - knot(i).time, mean = slope(i, j);
            const double m0 = tangent(i, j), m1 = tangent(i + 1, j);
            const double c2 = (3 * mean - 2 * m0 - m1) / whole, c3 = (m0 + m1 - 2 * mean) / (whole * whole);
            at = {position + t * (m0 + t * (c2 + t * c3)), m0 + t * (2 * c2 + 3 * t * c3),
                  2 * c2 + 6 * t * c3};
        }
    }
}

} // namespace kx::streaming
