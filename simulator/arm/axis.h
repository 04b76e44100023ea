// One driven axis beside the arm (gripper, finger of the hand, lift): it runs to its targets at constant
// speed.
#pragma once

#include <functional>
#include <limits>
#include <optional>
#include <string>

namespace kx::sim {

class Axis {
  public:
    /** Called once, at the end; the text is empty if the target was reached, else it says why not. */
    using Ended = std::function<void(const std::string& broken_off)>;

    explicit Axis(double position = 0) : position_(position), target_(position) {}

    /** Starts for a target and breaks off what ran before. @param speed above 0, per s */
    void go(double target, double speed, Ended ended = {});

    /** Stands still at once. */
    void stop(const std::string& why);

    /** Runs on to a time (s, never back). */
    void advance(double time);

    /** When it arrives. */
    std::optional<double> next_event() const { return moving_ ? std::optional(arrival_) : std::nullopt; }

    double position() const { return position_; }
    double velocity() const; ///< per s
    bool moving() const { return moving_; }

  private:
    void end(const std::string& broken_off);

    double position_, target_;
    double speed_ = 0;
    double time_ = 0, arrival_ = 0; ///< s
    bool moving_ = false;
    Ended ended_;
};

} // namespace kx::sim
