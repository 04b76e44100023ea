/**
 * @file
 * Jogging, steps, waypoints and dragging by hand. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_TEACHING_HPP
#define KX_ARM_TEACHING_HPP

#include "kx/arm/motion.hpp"

namespace kx {

/** Which way to jog. */
enum class Direction { negative = 0, positive = 1 };

/** Jogging until stopped, single steps, and a list of waypoints that the controller plays back. Speeds are percents of
 *  the arm's limits, 1 to 100; joints count from 1. */
template <class Errors>
class Teaching : public Moving<Errors> {
    using Base = Moving<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Moves a joint until stop_jogging(). */
    Done<Errors> jog_joint(int joint, Direction direction, int speed_percent) const
    {
        return done(KX_NAMED(Joint_Teach_Cmd), joint, static_cast<int>(direction), speed_percent, true);
    }

    /** Moves the tool along an axis until stop_jogging(). */
    Done<Errors> jog_position(Axis axis, Direction direction, int speed_percent) const
    {
        return done(KX_NAMED(Pos_Teach_Cmd), axis, static_cast<int>(direction), speed_percent, true);
    }

    /** Turns the tool about an axis until stop_jogging(). */
    Done<Errors> jog_rotation(Axis axis, Direction direction, int speed_percent) const
    {
        return done(KX_NAMED(Ort_Teach_Cmd), axis, static_cast<int>(direction), speed_percent, true);
    }

    /** Ends jogging. */
    Done<Errors> stop_jogging() const { return done(KX_NAMED(Teach_Stop_Cmd), true); }

    /** Moves a joint by a step. */
    Motion<Errors> step_joint(int joint, double degrees, int speed_percent = 20) const
    {
        return Base::begin(KX_NAMED(Joint_Step_Cmd), joint, degrees, speed_percent);
    }

    /** Moves the tool along an axis by a step, -3 to 3 m. */
    Motion<Errors> step_position(Axis axis, double metres, int speed_percent = 20) const
    {
        return Base::begin(KX_NAMED(Pos_Step_Cmd), axis, metres, speed_percent);
    }

    /** Turns the tool about an axis by a step, -3 to 3 rad. */
    Motion<Errors> step_rotation(Axis axis, double radians, int speed_percent = 20) const
    {
        return Base::begin(KX_NAMED(Ort_Step_Cmd), axis, radians, speed_percent);
    }

    /** Appends a waypoint to the controller's list. */
    Done<Errors> add_waypoint(const Degrees& joints) const
    {
        return done(KX_NAMED(Add_Waypoint), joints, true);
    }

    /** Plays the waypoints back, 1 to 1000 a second. */
    Done<Errors> play_waypoints(int hertz) const { return done(KX_NAMED(Start_Waypoint), hertz, true); }

    /** Stops playing back. No answer is recognised, so it is not waited for. */
    Done<Errors> stop_waypoints() const { return done(KX_NAMED(Stop_Waypoint), false); }

    /** Empties the list of waypoints. */
    Done<Errors> clear_waypoints() const { return done(KX_NAMED(Clear_Waypoint), true); }
};

/** What can be dragged. */
enum class DragAxes { all = 0, position = 1, orientation = 2 };

/** Teaching by hand: start(), drag the arm, stop(), go_to_origin(), replay(). */
template <class Errors>
class Dragging : public Moving<Errors> {
    using Base = Moving<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Sets the arm free to be dragged, and records its path. */
    Done<Errors> start() const { return done(KX_NAMED(Start_Drag_Teach), true); }

    /** Sets some axes free to be dragged. */
    Done<Errors> start(DragAxes axes) const
    {
        return done(KX_NAMED(Start_Multi_Drag_Teach), static_cast<int>(axes), true);
    }

    /** Ends dragging and recording. */
    Done<Errors> stop() const { return done(KX_NAMED(Stop_Drag_Teach), true); }

    /** Moves to the first point of the recorded path. */
    Motion<Errors> go_to_origin() const { return Base::begin(KX_NAMED(Drag_Trajectory_Origin)); }

    /** Replays the recorded path; the arm must stand at its origin. */
    Done<Errors> replay() const { return done(KX_NAMED(Run_Drag_Trajectory), true); }

    /** Pauses the replay. */
    Done<Errors> pause_replay() const { return done(KX_NAMED(Pause_Drag_Trajectory), true); }

    /** Continues a paused replay. */
    Done<Errors> continue_replay() const { return done(KX_NAMED(Continue_Drag_Trajectory), true); }

    /** Ends the replay. */
    Done<Errors> stop_replay() const { return done(KX_NAMED(Stop_Drag_Trajectory), true); }
};

} // namespace kx

#endif
