// The simulated arm: where it is, what it was told to do, and what becomes of that. No network here.
//
// Time is in seconds of the arm's own clock and goes on only through advance(). Whatever is refused throws
// Refused and has changed nothing. New limits hold for motions that begin after them.
#pragma once

#include "arm/arm_settings.h"
#include "arm/cartesian.h"
#include "arm/drives.h"
#include "arm/follower.h"
#include "arm/frames.h"
#include "arm/motion.h"

namespace kx::sim {

class Arm {
  public:
    using Ended = std::function<void(const std::string& broken_off)>;

    explicit Arm(int model_code);

    // Parts with rules of their own, which the arm minds.
    const Model model;
    Drives drives;
    StoredFrames frames;
    ArmSettings settings;

    /** What else may object to the arm's motion, asked before each: throws Refused. */
    void set_interlock(std::function<void()> interlock) { interlock_ = std::move(interlock); }

    void advance(double time);
    std::optional<double> next_event() const;

    /** Planning that takes long is done in slices, so that others need not wait: there is another one to do.
     */
    bool planning() const { return motions_.planning(); }
    bool planning_to_leave() const { return !follower_.moving() && motions_.planning_to_leave(); }
    void plan_on() { motions_.plan_on(); }

    std::size_t joint_count() const { return drives.count(); }
    const Joints& position() const { return motions_.position(); }
    const Motions& motions() const { return motions_; }
    KDL::Frame flange() const { return model.flange(position()); }
    POSE tool_pose() const;  ///< of the active tool in the active work frame
    Joints velocity() const; ///< degrees/s
    Joints currents() const;
    Joints followed() const { return follower_.target(); } ///< of a stream of targets, while the arm moves
    bool standing() const { return motions_.idle() && !follower_.moving(); }
    void check_ready() const; ///< @throws Refused unless the arm may move

    // Joints are counted from 0 here.
    void set_zero_position(std::size_t joint);  ///< the present position reads 0 from now on
    void set_zero_offset(const Joints& offset); ///< is part of the readings from now on
    void set_initial_pose(const Joints& pose);
    void set_cartesian_limit(double CartesianLimits::*limit, double value);
    void restore_cartesian_limits() { cartesian_limits_ = {}; }
    const CartesianLimits& cartesian_limits() const { return cartesian_limits_; }
    void start_calibration(); ///< of the standing arm's drives

    // Percentages are of the limits of the joints, or of the tool, 1 to 100. Motions keep the frames under
    // which they were asked for.

    /** How fast, and how near to its target a motion comes if another one waits by then. */
    struct Manner {
        double percent;
        double radius = 0; ///< m
    };

    void move_joints(const Joints& target, Manner manner, Ended ended);
    void step_joint(std::size_t joint, double degrees, double percent, Ended ended);

    /** To a pose, as near as can be to where the joints will be then. */
    void move_joints_to(const POSE& target, Manner manner, Ended ended);

    /** Moves the tool along a straight line. */
    void move_line(const POSE& target, Manner manner, Ended ended);

    /** Moves the tool along the arc over `via` to the target, after so many whole circles. */
    void move_circle(const POSE& via, const POSE& target, int whole_circles, Manner manner, Ended ended);

    /** Moves the tool along or about axes of the work frame: m, rad, less than half a turn. */
    void step_tool(const KDL::Twist& step, double percent, Ended ended);

    /** Any other motion. */
    void move(Motion motion) { motions_.add(std::move(motion)); }

    // Jogging goes on until the arm can go no farther, or until it is stopped.
    void jog_joint(std::size_t joint, bool up, double percent);
    void jog_tool(const KDL::Twist& direction, double percent); ///< a unit vector of either kind
    void stop_jogging();

    /** Lets the planned motions wait. */
    void wait(double seconds);

    // Of what is planned; see Motions.
    void pause() { motions_.pause(); }
    void resume() { motions_.resume(); }
    void drop_current(const std::string& why) { motions_.drop_current(why); }
    void drop_all(const std::string& why) { motions_.drop_all(why); }

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

    /** Somebody's hand moves the standing arm. */
    void lead_to(const Joints& position);

  private:
    void plan_joints(std::function<Joints(const Joints& from)> target, Manner manner, Ended ended,
                     bool is_jog = false);
    template <typename LayPath>
    void move_tool(MotionKind kind, const POSE& target, Manner manner, Ended ended, LayPath lay);
    decltype(Motion::corner) corner(MotionKind kind, double radius) const;
    void heed_drives();

    CartesianLimits cartesian_limits_;
    Motions motions_;
    Follower follower_; ///< moves the arm when no motion does
    std::vector<Joints> waypoints_;
    Joints zero_offset_; ///< degrees
    std::function<void()> interlock_;
    double time_ = 0;
};

} // namespace kx::sim
