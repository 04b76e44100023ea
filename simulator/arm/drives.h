// The drives of the joints: their limits, whether they may move, their heat and wear, what they draw, and
// their calibration run. Where the joints are is the arm's matter.
//
// Joints are counted from 0. Whatever is refused throws Refused and has changed nothing.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arm/model.h"

namespace kx::sim {

constexpr double finest_limit = 0.001; ///< of speeds and accelerations: the wire's resolution

struct JointLimits {
    Joints min_position, max_position; ///< degrees
    Joints max_speed;                  ///< degrees/s
    Joints max_acceleration;           ///< degrees/s^2

    /** @throws Refused if a joint is beyond them */
    void check(const Joints& position) const;
};

struct Drive {
    double max_speed = 180;            ///< degrees/s
    double max_acceleration = 600;     ///< degrees/s^2
    double min_position, max_position; ///< degrees
    bool enabled = true;
    int error = 0;        ///< 0 when healthy
    double version = 1.2; ///< of its software
    double warmth = 5;    ///< degrees Celsius above the room
    double travel = 0;    ///< since the odometer was cleared, degrees, to and fro
};

/** Calibration of one joint, as the controller numbers it. */
enum class Calibration { none = 0, running = 1, done = 2 };

class Drives {
  public:
    /** @param lower,upper mechanical range of each joint */
    Drives(Joints lower, Joints upper);

    const std::vector<Drive>& each() const { return drives_; }
    std::size_t count() const { return drives_.size(); }
    JointLimits limits() const;
    Joints temperatures() const; ///< degrees Celsius
    int error() const;           ///< that of the first joint in error, 0 when healthy
    bool powered() const { return powered_; }

    void set_max_speed(std::size_t joint, double speed);
    void set_max_acceleration(std::size_t joint, double acceleration);
    void set_min_position(std::size_t joint, double position);
    void set_max_position(std::size_t joint, double position);
    void clear_error(std::size_t joint) { drives_[joint].error = 0; }
    void clear_travel();

    // What may stop the arm; see halted().
    void set_enabled(std::size_t joint, bool enabled);
    void set_power(bool on);
    void set_servo(bool on);        ///< of the arm
    void set_system_servo(bool on); ///< no motion unless both are on
    void fail(std::size_t joint, int code);

    /** Why the arm must stop, told once. */
    std::optional<std::string> halted() { return std::exchange(halted_, {}); }

    /** @throws Refused unless the arm may move */
    void check_ready() const;

    void start_calibration(); ///< one joint after the other, a second each; no motion meanwhile
    void stop_calibration();  ///< leaves the joints that are not done uncalibrated
    Calibration calibration(std::size_t joint) const;

    /** The joints were moved, by whomever. */
    void count_travel(const Joints& from, const Joints& to);

    /** Time goes on (s, never back), in which the drives have moved the joints. */
    void advance(double time, const Joints& from, const Joints& to);

    /** A. @param velocity degrees/s
     *  @param burden of the joints that carry the arm: A, to hold it against gravity */
    Joints currents(const Joints& velocity, double burden) const;

  private:
    Joints all(double Drive::*member) const;

    Joints lower_, upper_;
    std::vector<Drive> drives_;
    bool powered_ = true, servo_ = true, system_servo_ = true;
    std::optional<std::string> halted_;
    double time_ = 0;
    double calibration_began_ = -1e9; ///< arms come calibrated
    double calibration_ended_;        ///< when the run is or was over
};

/** V, at each joint. */
Joints voltages(const Joints& currents);

} // namespace kx::sim
