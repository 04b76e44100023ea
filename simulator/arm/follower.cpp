#include "arm/follower.h"

#include <algorithm>
#include <cmath>

namespace kx::sim {

/** The fastest way of one joint to rest at its target: speed up, run, slow down. */
class Follower::Approach {
  public:
    explicit Approach(const Joint& joint) : joint_(joint), acceleration_(joint.limits.acceleration)
    {
        // The joint speeds up towards the side on which the target lies of where it would come to rest by
        // braking at once. Along that side, which may be against its present motion, it starts at `speed`.
        const double way = joint.target - joint.position;
        const double halt = joint.velocity * std::abs(joint.velocity) / (2 * acceleration_);
        side_ = way < halt ? -1 : 1;
        way_ = side_ * way;
        speed_ = side_ * joint.velocity;
        const double without_limit = std::max(0.0, acceleration_ * way_ + speed_ * speed_ / 2);
        peak_ = std::min(joint.limits.speed, std::sqrt(without_limit));
        speeding_up_ = std::max(0.0, (peak_ - speed_) / acceleration_);
        const double ramps = (2 * peak_ * peak_ - speed_ * speed_) / (2 * acceleration_);
        running_ = peak_ > 0 ? std::max(0.0, (way_ - ramps) / peak_) : 0;
    }

    double duration() const { return speeding_up_ + running_ + peak_ / acceleration_; }

    /** The joint after some seconds. */
    Joint after(double t) const
    {
        const double left = duration() - t;
        if (left <= 0) return at(way_, 0);
        if (left < peak_ / acceleration_)
            return at(way_ - acceleration_ * left * left / 2, acceleration_ * left);
        const double ramp = std::min(t, speeding_up_);
        return at(speed_ * ramp + acceleration_ * ramp * ramp / 2 + peak_ * (t - ramp),
                  ramp < t ? peak_ : speed_ + acceleration_ * ramp);
    }

  private:
    Joint at(double way, double speed) const
    {
        return {joint_.limits, joint_.position + side_ * way, side_ * speed, joint_.target};
    }

    const Joint& joint_;
    double acceleration_, side_, way_, speed_, peak_;
    double speeding_up_, running_; ///< s
};

void Follower::start(double time, const Joints& position, std::vector<Limits> limits)
{
    joints_.clear();
    for (std::size_t i = 0; i < position.size(); ++i)
        joints_.push_back({limits[i], position[i], 0, position[i]});
    time_ = time;
    moving_ = true;
}

void Follower::aim(const Joints& target)
{
    for (std::size_t i = 0; i < joints_.size(); ++i)
        joints_[i].target = target[i];
}

void Follower::play(const std::vector<Joints>& waypoints, double frequency)
{
    waypoints_.assign(waypoints.begin(), waypoints.end());
    next_waypoint_ = time_;
    interval_ = 1 / frequency;
}

void Follower::halt()
{
    waypoints_.clear();
    for (Joint& joint : joints_)
        joint.target =
            joint.position + joint.velocity * std::abs(joint.velocity) / (2 * joint.limits.acceleration);
}

double Follower::advance(double time)
{
    while (moving_) {
        const double until = playing() ? next_waypoint_ : rest();
        step(std::min(until, time));
        if (until > time) break;
        if (playing()) {
            aim(waypoints_.front());
            waypoints_.pop_front();
            next_waypoint_ += interval_;
        } else {
            for (Joint& joint : joints_)
                joint.position = joint.target, joint.velocity = 0;
            moving_ = false;
        }
    }
    return time_;
}

std::optional<double> Follower::next_event() const
{
    if (!moving_) return std::nullopt;
    if (!playing()) return rest();
    return next_waypoint_ + interval_ * static_cast<double>(waypoints_.size() - 1);
}

Joints Follower::position() const
{
    Joints position;
    for (const Joint& joint : joints_)
        position.push_back(joint.position);
    return position;
}

Joints Follower::target() const
{
    Joints target;
    for (const Joint& joint : joints_)
        target.push_back(joint.target);
    return target;
}

Joints Follower::velocity() const
{
    Joints velocity;
    for (const Joint& joint : joints_)
        velocity.push_back(joint.velocity);
    return velocity;
}

double Follower::rest() const
{
    double longest = 0;
    for (const Joint& joint : joints_)
        longest = std::max(longest, Approach(joint).duration());
    return time_ + longest;
}

void Follower::step(double time)
{
    for (Joint& joint : joints_)
        joint = Approach(joint).after(time - time_);
    time_ = time;
}

} // namespace kx::sim
