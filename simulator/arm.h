// The simulated arm: its joints with their limits and health, its motions, its calibration run. No network
// here.
//
// Time is in seconds of the arm's own clock and goes on only through advance(). Whatever is refused throws
// Refused and has changed nothing. New limits hold for motions that begin after them.
#pragma once

#include "cartesian.h"
#include "motion.h"

namespace kx::sim {

struct Joint {
    double max_speed = 180;            ///< degrees/s
    double max_acceleration = 600;     ///< degrees/s^2
    double min_position, max_position; ///< degrees
    bool enabled = true;
    int error = 0;               ///< 0 when healthy
    double version = 1.2;        ///< of the joint's software
    double warmth = 5;           ///< degrees Celsius above the room
    double initial_position = 0; ///< of the arm's initial pose, degrees
};

/** Calibration of one joint, as the controller numbers it. */
enum class Calibration { none = 0, running = 1, done = 2 };

class Arm {
  public:
    using Ended = std::function<void(const std::string& broken_off)>;

    explicit Arm(int model_code);

    void advance(double time);
    std::optional<double> next_event() const { return motions_.next_event(); }

    const Model& model() const { return model_; }
    std::size_t joint_count() const { return joints_.size(); }
    const std::vector<Joint>& joints() const { return joints_; }
    const Joints& position() const { return motions_.position(); }
    POSE tool_pose() const { return model_.tool_pose(position()); }
    int error() const; ///< that of the first joint in error, 0 when healthy

    // Joints are counted from 0 here.
    void set_max_speed(std::size_t joint, double speed);
    void set_max_acceleration(std::size_t joint, double acceleration);
    void set_min_position(std::size_t joint, double position);
    void set_max_position(std::size_t joint, double position);
    void set_enabled(std::size_t joint, bool enabled); ///< disabling stops the arm
    void set_zero_position(std::size_t joint);         ///< the present position reads 0 from now on
    void set_initial_pose(const Joints& pose);
    void raise_error(std::size_t joint, int code); ///< what a fault in the joint would do: stops the arm
    void clear_error(std::size_t joint);

    void start_calibration(); ///< one joint after the other, a second each; no motion meanwhile
    void stop_calibration();  ///< leaves the joints that are not done uncalibrated
    Calibration calibration(std::size_t joint) const;

    Joints temperatures() const; ///< degrees Celsius
    Joints currents() const;     ///< A
    Joints voltages() const;     ///< V

    /** Moves all joints to a target. @param percent of speed and acceleration limits, 1 to 100 */
    void move_joints(const Joints& target, double percent, Ended ended);

    /** The same to a pose, as near as can be to where the joints will be then. */
    void move_joints_to(const POSE& target, double percent, Ended ended);

    /** Moves the tool along a straight line. @param percent of the Cartesian limits, 1 to 100 */
    void move_line(const POSE& target, double percent, Ended ended);

    /** Moves the tool along the arc over `via` to the target, after so many whole circles. */
    void move_circle(const POSE& via, const POSE& target, int whole_circles, double percent, Ended ended);

    const CartesianLimits& cartesian_limits() const { return cartesian_limits_; }
    void set_cartesian_limit(double CartesianLimits::*limit, double value);

    /** The active ones; motions keep those under which they were asked for. */
    const Frames& frames() const { return frames_; }
    void set_frames(const Frames& frames) { frames_ = frames; }

    Motions& motions() { return motions_; }

  private:
    template <typename LayPath>
    void move_tool(MotionKind kind, const POSE& target, double percent, Ended ended, LayPath lay);
    void check_ready() const;
    JointLimits joint_limits() const;
    Joints each(double Joint::*member) const;

    Model model_;
    std::vector<Joint> joints_;
    CartesianLimits cartesian_limits_;
    Frames frames_;
    Motions motions_;
    double time_ = 0;
    double calibration_began_ = -1e9; ///< arms come calibrated
    double calibration_ended_;        ///< when the run is or was over
};

} // namespace kx::sim
