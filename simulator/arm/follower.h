// Follows set-points: targets that come one after the other, each before the last one was reached.
//
// Every joint goes for its target by itself, as fast as its limits allow, so as to stand still there; a new
// target turns it from wherever it is and at whatever speed. A joint that could stop within its range on the
// way to one target can stop there on the way to the next.
#pragma once

#include <deque>
#include <optional>

#include "arm/model.h"

namespace kx::sim {

class Follower {
  public:
    struct Limits {
        double speed, acceleration; ///< degrees/s, degrees/s^2
    };

    /** Takes over the arm that stands somewhere at a time (s). The limits hold until it stands again. */
    void start(double time, const Joints& position, std::vector<Limits> limits);

    void aim(const Joints& target);

    /** Aims at one waypoint after the other, the first at once. @param frequency waypoints per second */
    void play(const std::vector<Joints>& waypoints, double frequency);

    /** Slows every joint down to rest. */
    void halt();

    /** Runs on to a time (s, never back), or until the arm stands; returns which time it is then. */
    double advance(double time);

    /** When the arm will stand, or at least the last waypoint be due. */
    std::optional<double> next_event() const;

    bool moving() const { return moving_; }
    bool playing() const { return !waypoints_.empty(); }
    Joints position() const;
    Joints velocity() const;
    Joints target() const;

  private:
    struct Joint {
        Limits limits;
        double position, velocity, target;
    };
    class Approach;

    double rest() const;
    void step(double time);

    std::vector<Joint> joints_;
    std::deque<Joints> waypoints_; ///< still to come
    double next_waypoint_ = 0;     ///< when the first of them is due
    double interval_ = 0;          ///< s, from one to the next
    double time_ = 0;
    bool moving_ = false;
};

} // namespace kx::sim
