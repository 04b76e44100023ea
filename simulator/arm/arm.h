// The simulated arm: its joints with their limits and health, its motions, its calibration run. No network
// here.
//
// Time is in seconds of the arm's own clock and goes on only through advance(). Whatever is refused throws
// Refused and has changed nothing. New limits hold for motions that begin after them.
#pragma once

#include "arm/arm_settings.h"
#include "arm/cartesian.h"
#include "arm/follower.h"
#include "arm/motion.h"

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
    double travel = 0;           ///< since the odometer was cleared, degrees, to and fro
};

/** Calibration of one joint, as the controller numbers it. */
enum class Calibration { none = 0, running = 1, done = 2 };

class Arm {
  public:
    using Ended = std::function<void(const std::string& broken_off)>;

    explicit Arm(int model_code);

    /** What else may object to the arm's motion, asked before each: throws Refused. */
    void set_interlock(std::function<void()> interlock) { interlock_ = std::move(interlock); }

    void advance(double time);
    std::optional<double> next_event() const;

    const Model& model() const { return model_; }
    std::size_t joint_count() const { return joints_.size(); }
    const std::vector<Joint>& joints() const { return joints_; }
    const Joints& position() const { return motions_.position(); }
    KDL::Frame flange() const { return model_.flange(position()); }
    POSE tool_pose() const; ///< of the active tool in the active work frame
    int error() const;      ///< that of the first joint in error, 0 when healthy

    // Joints are counted from 0 here.
    void set_max_speed(std::size_t joint, double speed);
    void set_max_acceleration(std::size_t joint, double acceleration);
    void set_min_position(std::size_t joint, double position);
    void set_max_position(std::size_t joint, double position);
    void set_enabled(std::size_t joint, bool enabled); ///< disabling stops the arm
    void set_zero_position(std::size_t joint);         ///< the present position reads 0 from now on
    void set_zero_offset(const Joints& offset);        ///< is part of the readings from now on
    void set_initial_pose(const Joints& pose);
    void raise_error(std::size_t joint, int code); ///< what a fault in the joint would do: stops the arm
    void clear_error(std::size_t joint);

    void set_power(bool on); ///< switching it off stops the arm
    bool powered() const { return powered_; }
    void clear_travel();

    void start_calibration(); ///< one joint after the other, a second each; no motion meanwhile
    void stop_calibration();  ///< leaves the joints that are not done uncalibrated
    Calibration calibration(std::size_t joint) const;

    Joints temperatures() const; ///< degrees Celsius
    Joints currents() const;     ///< A
    Joints voltages() const;     ///< V

    // Percentages are of the limits of the joints, or of the tool, 1 to 100. Motions keep the frames under
    // which they were asked for.

    void move_joints(const Joints& target, double percent, Ended ended);
    void step_joint(std::size_t joint, double degrees, double percent, Ended ended);

    /** To a pose, as near as can be to where the joints will be then. */
    void move_joints_to(const POSE& target, double percent, Ended ended);

    /** Moves the tool along a straight line. */
    void move_line(const POSE& target, double percent, Ended ended);

    /** Moves the tool along the arc over `via` to the target, after so many whole circles. */
    void move_circle(const POSE& via, const POSE& target, int whole_circles, double percent, Ended ended);

    /** Moves the tool along or about axes of the work frame: m, rad, less than half a turn. */
    void step_tool(const KDL::Twist& step, double percent, Ended ended);

    // Jogging goes on until the arm can go no farther, or until it is stopped.
    void jog_joint(std::size_t joint, bool up, double percent);
    void jog_tool(const KDL::Twist& direction, double percent); ///< a unit vector of either kind
    void stop_jogging();

    /** Lets the planned motions wait. */
    void wait(double seconds);

    // Hands a target to the drives. Motions begin when it is reached.
    void pass_through(const Joints& target);
    void pass_through(const POSE& target) { pass_through(joints_near(target)); }

    /** Joint angles for a pose, near the present ones. @throws Refused if there are none */
    Joints joints_near(const POSE& target) const;

    void add_waypoint(const Joints& position);
    void clear_waypoints();
    void play_waypoints(double frequency); ///< Hz: hands one after the other to the drives
    void stop_waypoints();

    /** Slows the arm down and drops all that it was to do. */
    void stop(const std::string& why);

    const CartesianLimits& cartesian_limits() const { return cartesian_limits_; }
    void set_cartesian_limit(double CartesianLimits::*limit, double value);
    void restore_cartesian_limits() { cartesian_limits_ = {}; }

    /** Somebody's hand moves the standing arm. */
    void lead_to(const Joints& position);

    bool standing() const { return motions_.idle() && !follower_.moving(); }
    void check_ready() const; ///< @throws Refused unless the arm may move
    JointLimits joint_limits() const;

    Motions& motions() { return motions_; }
    StoredFrames& frames() { return frames_; }
    ArmSettings& settings() { return settings_; }

  private:
    void plan_joints(std::function<Joints(const Joints& from)> target, double percent, Ended ended,
                     bool is_jog = false);
    template <typename LayPath>
    void move_tool(MotionKind kind, const POSE& target, double percent, Ended ended, LayPath lay);
    void count_travel(const Joints& before);
    Joints each(double Joint::*member) const;

    Model model_;
    std::vector<Joint> joints_;
    CartesianLimits cartesian_limits_;
    Motions motions_;
    Follower follower_; ///< moves the arm when no motion does
    std::vector<Joints> waypoints_;
    StoredFrames frames_;
    ArmSettings settings_;
    std::function<void()> interlock_;
    bool powered_ = true;
    double time_ = 0;
    double calibration_began_ = -1e9; ///< arms come calibrated
    double calibration_ended_;        ///< when the run is or was over
};

} // namespace kx::sim
