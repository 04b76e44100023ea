#include "arm/travel.h"

#include <algorithm>
#include <cmath>

namespace kx::sim {

namespace {

// In a corner both courses' accelerations add up. This share of them bends the arm's way, and the rest brakes it, or
// speeds it up again: little, since a corner is soon passed.
constexpr double bending_share = 0.9, braking_share = 0.1;

constexpr double rounding = 1e-9; // of a rate

} // namespace

Profile::Profile(double from, double rate, double to, double last, const Pace& pace)
    : from_(from), to_(to), rate_(rate)
{
    const double way = std::max(to - from, 0.0), acceleration = pace.acceleration;
    const double reachable = rate * rate + 2 * acceleration * way,
                 at_least = rate * rate - 2 * acceleration * way;
    last_ = std::clamp(last, std::sqrt(std::max(at_least, 0.0)), std::sqrt(reachable));
    peak_ = std::min(pace.speed, std::sqrt((reachable + last_ * last_) / 2));
    peak_ = std::max(peak_, last_);
    first_ramp_ = std::abs(peak_ - rate) / acceleration;
    last_ramp_ = (peak_ - last_) / acceleration;
    const double ramps = first_ramp_ * (rate + peak_) / 2 + last_ramp_ * (peak_ + last_) / 2;
    even_ = peak_ > 0 ? std::max(way - ramps, 0.0) / peak_ : 0;
}

Profile Profile::braking(double from, double rate, double to, double braking)
{
    const double halt = from + rate * rate / (2 * braking);
    return {from, rate, std::min(halt, to), 0, {rate, braking}};
}

double Profile::position(double t) const
{
    const double left = duration() - t;
    if (left <= 0) return to_;
    if (left < last_ramp_) return to_ - left * (last_ + rate(t)) / 2;
    const double ramp = std::min(t, first_ramp_);
    return from_ + ramp * (rate_ + rate(ramp)) / 2 + peak_ * (t - ramp);
}

double Profile::rate(double t) const
{
    const double left = duration() - t;
    if (left <= 0) return last_;
    if (left < last_ramp_) return std::lerp(last_, peak_, left / last_ramp_);
    return t < first_ramp_ ? std::lerp(rate_, peak_, t / first_ramp_) : peak_;
}

/**
 * In the corner the one course slows down evenly to its end while the next one speeds up evenly from its begin, over
 * the same time, and their ways add up: a rounding that is smooth at both sides, a parabola between two lines. No speed
 * is above both courses' own.
 */
bool Travel::round(const Corner& corner, Course next, double time)
{
    Stretch& present = stretches_.front();
    const double first = 2 * (1 - corner.leave), second = 2 * corner.enter; // rates for each of the corner's
    const Pace &pace = present.course.pace, &next_pace = next.pace;
    const double bend = first / pace.acceleration, next_bend = second / next_pace.acceleration;
    const double duration = std::max({first / pace.speed, second / next_pace.speed,
                                      std::sqrt((bend + next_bend) / bending_share), corner.least_duration});
    const double leave = first / duration, rate = profile_.rate(time - since_);
    const double way = corner.leave - profile_.position(time - since_);
    if (way < 0 || rate * rate > leave * leave + 2 * pace.acceleration * way + rounding) return false;

    const double braking = std::min(braking_share / std::max(bend, next_bend), corner.braking);
    present.to = corner.leave;
    present.leave = leave;
    stretches_.push_back({{corner.path, {1 / duration, braking}, braking}, 0, 1, 1 / duration, 1 / first});
    stretches_.push_back({std::move(next), corner.enter, 1, 0, second});
    go(time);
    return true;
}

void Travel::go(double time)
{
    const double rate = moves_ ? profile_.rate(time - since_) : 0;
    braking_ = false;
    start(rate, time);
}

void Travel::brake(double time)
{
    if (!moves_ || braking_) return;
    braking_ = true;
    start(profile_.rate(time - since_), time);
}

void Travel::start(double rate, double time)
{
    if (moves_) advance(time);
    const Stretch& stretch = stretches_.front();
    profile_ = braking_ ? Profile::braking(s_, rate, stretch.to, stretch.course.braking)
                        : Profile(s_, rate, stretch.to, stretch.leave, stretch.course.pace);
    since_ = time;
    moves_ = true;
}

std::optional<double> Travel::next_event() const
{
    if (!moves_) return std::nullopt;
    return since_ + profile_.duration();
}

Travel::Reached Travel::pass_event()
{
    const double duration = profile_.duration(), rate = profile_.rate(duration), time = since_ + duration;
    s_ = profile_.position(duration);
    moves_ = false;
    if (is_joined() && s_ >= stretches_.front().to) {
        stretches_.pop_front();
        s_ = stretches_.front().from;
        start(rate * stretches_.front().entry, time);
        return is_joined() ? Reached::corner : Reached::next_course;
    }
    return braking_ ? Reached::standstill : Reached::end;
}

Joints Travel::velocity(double time) const
{
    Joints velocity(position().size());
    if (!moves_) return velocity;
    constexpr double step = 1e-6; // of the path parameter, for the difference quotient
    const Joints before = path().at(s_ - step), after = path().at(s_ + step);
    const double rate = profile_.rate(time - since_);
    for (std::size_t i = 0; i < velocity.size(); ++i)
        velocity[i] = rate * (after[i] - before[i]) / (2 * step);
    return velocity;
}

Joints Travel::halt() const
{
    Travel way = *this;
    while (way.moves_ && way.pass_event() != Reached::standstill) {
    }
    return way.position();
}

} // namespace kx::sim
