#include "arm/axis.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kx::sim {

void Axis::go(double target, double speed, Ended ended)
{
    if (moving_) end("another motion took its place");
    target_ = target;
    speed_ = speed;
    arrival_ = time_ + std::abs(target - position_) / speed;
    moving_ = true;
    ended_ = std::move(ended);
}

void Axis::stop(const std::string& why)
{
    if (moving_) end(why);
}

void Axis::advance(double time)
{
    const double way = speed_ * (time - time_);
    time_ = time;
    if (!moving_) return;
    if (time < arrival_) {
        position_ += std::clamp(target_ - position_, -way, way);
    } else {
        position_ = target_;
        end("");
    }
}

double Axis::velocity() const
{
    return moving_ ? std::copysign(speed_, target_ - position_) : 0;
}

void Axis::end(const std::string& broken_off)
{
    moving_ = false;
    const Ended ended = std::exchange(ended_, {});
    if (ended) ended(broken_off);
}

} // namespace kx::sim
