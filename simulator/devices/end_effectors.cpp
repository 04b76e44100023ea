#include "devices/end_effectors.h"

#include <algorithm>

#include "arm/refused.h"

namespace kx::sim {

void Gripper::set_route(int min, int max)
{
    if (min >= max) throw Refused("the route must end beyond its begin");
    min_ = min;
    max_ = max;
}

void Gripper::release(int speed, Axis::Ended ended)
{
    io_.check_tool_supply();
    force_ = 0;
    speed_ = speed;
    fingers_.go(max_, speed, std::move(ended));
}

void Gripper::pick(int speed, int force, bool keep_up, Axis::Ended ended)
{
    io_.check_tool_supply();
    force_ = force;
    keep_up_ = keep_up;
    speed_ = speed;
    fingers_.go(closed_towards(min_), speed, [this, ended = std::move(ended)](const std::string& broken_off) {
        if (ended) ended(broken_off.empty() && !holds() ? "nothing is between the fingers" : broken_off);
    });
}

void Gripper::move_to(int opening)
{
    io_.check_tool_supply();
    if (opening < min_ || opening > max_) throw Refused("beyond the gripper's route");
    force_ = 0;
    fingers_.go(closed_towards(opening), speed_);
}

void Gripper::advance(double time)
{
    fingers_.advance(time);
    if (force_ > 0 && keep_up_ && !fingers_.moving() && closed_towards(min_) < opening())
        fingers_.go(closed_towards(min_), speed_);
}

bool Gripper::holds() const
{
    return force_ > 0 && !fingers_.moving() && world_.object && opening() == world_.object->width * 10;
}

/** Where the fingers come to rest on their way to an opening. */
double Gripper::closed_towards(double opening) const
{
    const double width = world_.object ? world_.object->width * 10 : 0;
    return width <= fingers_.position() ? std::max(opening, width) : opening;
}

Hand::Hand(const Io& io) : io_(io)
{
    fingers_.fill(Axis(range));
}

void Hand::bend(const Angles& angles)
{
    io_.check_tool_supply();
    postures_to_come_.clear();
    start(angles);
}

void Hand::run(std::size_t sequence)
{
    bend(postures[sequences[sequence].front()]);
    postures_to_come_.assign(sequences[sequence].begin() + 1, sequences[sequence].end());
}

void Hand::advance(double time)
{
    for (Axis& finger : fingers_)
        finger.advance(time);
    if (moving() || postures_to_come_.empty()) return;
    start(postures[postures_to_come_.front()]);
    postures_to_come_.pop_front();
}

std::optional<double> Hand::next_event() const
{
    std::optional<double> last; // to arrive; an empty one lies before all others
    for (const Axis& finger : fingers_)
        last = std::max(last, finger.next_event());
    return last;
}

std::array<double, 6> Hand::angles() const
{
    std::array<double, 6> angles{};
    std::ranges::transform(fingers_, angles.begin(), &Axis::position);
    return angles;
}

void Hand::start(const Angles& angles)
{
    for (std::size_t i = 0; i < fingers_.size(); ++i)
        fingers_[i].go(angles[i], speed);
}

bool Hand::moving() const
{
    return std::ranges::any_of(fingers_, &Axis::moving);
}

} // namespace kx::sim
