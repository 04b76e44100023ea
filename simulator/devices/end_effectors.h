// What can be mounted on the flange: a two-finger gripper, a hand of six degrees of freedom, and the PWM
// output. All run on the 24 V supply of the tool flange.
#pragma once

#include <array>
#include <deque>

#include "arm/axis.h"
#include "arm/world.h"
#include "devices/io.h"

namespace kx::sim {

/** Openings are in tenths of a millimetre, speeds per second, forces in tenths of a newton. */
class Gripper {
  public:
    static constexpr int stroke = 1000;
    static constexpr int max_speed = 1000, min_force = 10, max_force = 1000;

    Gripper(const World& world, const Io& io) : world_(world), io_(io) {}

    /** The range within which the fingers move from now on. */
    void set_route(int min, int max);

    void release(int speed, Axis::Ended ended);

    /** Closes until the fingers press on something; at the end of their route it has failed.
     *  @param keep_up follows when that gives way */
    void pick(int speed, int force, bool keep_up, Axis::Ended ended);

    /** Runs to an opening at the last speed, or to what is in the way. */
    void move_to(int opening);

    void stop(const std::string& why) { fingers_.stop(why); }

    void advance(double time);
    std::optional<double> next_event() const { return fingers_.next_event(); }

    double opening() const { return fingers_.position(); }
    double force() const { return holds() ? force_ : 0; }                  ///< on the object
    double held_mass() const { return holds() ? world_.object->mass : 0; } ///< kg

  private:
    bool holds() const;
    double closed_towards(double opening) const;

    const World& world_;
    const Io& io_;
    Axis fingers_{stroke};
    int min_ = 0, max_ = stroke;
    int speed_ = 500;
    int force_ = 0; ///< 0: not to hold anything
    bool keep_up_ = false;
};

/** Angles are in thousandths of a finger's way, 0 bent and 1000 stretched, speeds per second. */
class Hand {
  public:
    using Angles = std::array<int, 6>; ///< little, ring, middle, index finger, thumb bent, thumb turned

    static constexpr int range = 1000, max_speed = 1000, max_force = 1000;
    static constexpr Angles postures[] = {
        {1000, 1000, 1000, 1000, 1000, 1000}, // open
        {0, 0, 0, 0, 0, 0},                   // fist
        {1000, 1000, 1000, 300, 300, 500},    // pinch
        {0, 0, 0, 1000, 0, 500},              // point
        {0, 0, 0, 0, 1000, 1000},             // thumb up
    };

    /** Postures one after the other, as indices. */
    static constexpr std::array<std::size_t, 4> sequences[] = {
        {0, 1, 0, 1}, // grasp twice
        {0, 2, 0, 2}, // pinch twice
        {0, 3, 4, 0}, // show all
    };

    explicit Hand(const Io& io);

    void bend(const Angles& angles);
    void run(std::size_t sequence);

    int speed = 500, force = 500;

    void advance(double time);
    std::optional<double> next_event() const;

    std::array<double, 6> angles() const;

  private:
    void start(const Angles& angles);
    bool moving() const;

    const Io& io_;
    std::array<Axis, 6> fingers_;
    std::deque<std::size_t> postures_to_come_;
};

struct Pwm {
    int frequency = 0; ///< Hz, 0 off
    int pulse = 0;     ///< microseconds
};

} // namespace kx::sim
