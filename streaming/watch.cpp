#include "streaming/watch.h"

#include <string.h>

namespace kx::streaming {

void Watch::sent(double time, const Joints& set_point)
{
    Sent& sent = sent_[count_++ % remembered];
    sent.time = time;
    memcpy(sent.joint, set_point, sizeof sent.joint);
    if (waiting_since_ == 0) waiting_since_ = time;
}

void Watch::told(double time, const Joints& measured)
{
    constexpr double still = 0.01; // degrees, ten times as much as can be told
    memcpy(measured_, measured, sizeof measured_);
    measured_at_ = time;
    waiting_since_ = 0;
    error_ = 0;
    bool has_moved = !told_;
    for (int i = 0; i < joints_; ++i) {
        if (count_ > 0) error_ = fmax(error_, fabs(measured[i] - back(0).joint[i]));
        has_moved = has_moved || fabs(measured[i] - moved_to_[i]) > still;
    }
    largest_error_ = fmax(largest_error_, error_);
    told_ = true;
    if (has_moved) {
        memcpy(moved_to_, measured, sizeof moved_to_);
        moved_at_ = time;
        find_lag(time);
    }
}

double Watch::way(const Sent& a, const Sent& b) const
{
    double sum = 0;
    for (int i = 0; i < joints_; ++i)
        sum += (a.joint[i] - b.joint[i]) * (a.joint[i] - b.joint[i]);
    return sqrt(sum);
}

// The arm is where the set-points were some time ago: at the nearest place of their way, which may come by there more than once,
// so the latest. Only while that moved well.
void Watch::find_lag(double time)
{
    constexpr double well = 2, near = 1; // degrees/s, degrees
    constexpr double longest = 0.5;      // s
    const int known = static_cast<int>(count_ < remembered ? count_ : remembered);
    double nearest = INFINITY, lag = -1;
    for (int k = 0; k + 1 < known && time - back(k).time < longest; ++k) {
        const Sent &to = back(k), &from = back(k + 1);
        const double length = way(from, to);
        if (length < well * (to.time - from.time)) continue;
        double along = 0, squared = 0;
        for (int i = 0; i < joints_; ++i)
            along += (measured_[i] - from.joint[i]) * (to.joint[i] - from.joint[i]) / (length * length);
        along = fmax(0, fmin(1, along));
        for (int i = 0; i < joints_; ++i) {
            const double off = measured_[i] - from.joint[i] - along * (to.joint[i] - from.joint[i]);
            squared += off * off;
        }
        const double off = sqrt(squared);
        if (off > nearest + near) break;
        if (off >= nearest) continue;
        nearest = off;
        lag = time - from.time - along * (to.time - from.time);
    }
    if (lag > 0 && nearest < near) lags_.add(lag);
}

} // namespace kx::streaming
