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

// The arm is where the set-points were some time ago: at the nearest place of their way since that last turned
// back, while it moved well. No lag can be told while the nearest place is where it turned.
void Watch::find_lag(double time)
{
    constexpr double well = 2, longest = 0.5; // degrees/s, s
    const int known = static_cast<int>(count_ < remembered ? count_ : remembered);
    double nearest = INFINITY, lag = -1;
    bool is_nearest_last = true;
    for (int k = 0; k + 1 < known && time - back(k).time < longest; ++k) {
        const Sent &to = back(k), &from = back(k + 1);
        double length = 0, along = 0, onwards = 0, squared = 0;
        for (int i = 0; i < joints_; ++i) {
            const double step = to.joint[i] - from.joint[i];
            length += step * step;
            along += step * (measured_[i] - from.joint[i]);
            onwards += step * (back(0).joint[i] - back(1).joint[i]);
        }
        if (onwards <= 0 || sqrt(length) < well * (to.time - from.time)) break;
        along = fmax(0, fmin(1, along / length));
        for (int i = 0; i < joints_; ++i) {
            const double off = measured_[i] - from.joint[i] - along * (to.joint[i] - from.joint[i]);
            squared += off * off;
        }
        is_nearest_last = squared < nearest;
        if (!is_nearest_last) continue;
        nearest = squared;
        lag = time - from.time - along * (to.time - from.time);
    }
    if (lag > 0 && !is_nearest_last) lags_.add(lag);
}

} // namespace kx::streaming
