// Motions in time: a path through joint space, run from rest to rest, and the queue of motions planned after
// it.
//
// Nothing happens by itself: advance() moves the simulated time on, and everything else acts at that time.
#pragma once

#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <kdl/velocityprofile.hpp>

#include "arm/model.h"

namespace kx::sim {

/** Joint angles along a path. */
class Path {
  public:
    virtual ~Path() = default;

    /** @param s path parameter, 0 at the start to 1 at the end */
    virtual Joints at(double s) const = 0;
};

/** The straight line through joint space: all joints start and arrive together. */
class JointLine : public Path {
  public:
    JointLine(Joints from, Joints to);
    Joints at(double s) const override;

  private:
    Joints from_, to_;
};

/** Bounds on the rate of the path parameter, 1/s and 1/s^2. A path without length has infinite ones. */
struct Pace {
    double speed = std::numeric_limits<double>::infinity();
    double acceleration = std::numeric_limits<double>::infinity();
};

/** The fastest pace on a straight joint-space line that keeps every joint within its limits (per s, per s^2).
 */
Pace joint_line_pace(const Joints& from, const Joints& to, const Joints& max_speed,
                     const Joints& max_acceleration);

/** A path with the pace at which to run it and the deceleration with which to break it off. */
struct Course {
    std::unique_ptr<Path> path;
    Pace pace;
    double braking; ///< 1/s^2
};

enum class MotionKind { none, joint, line, circle };

/** What clients call a kind. */
inline constexpr std::string_view name_of(MotionKind kind)
{
    constexpr std::string_view names[] = {"none", "movej", "movel", "movec"};
    return names[static_cast<int>(kind)];
}

/** One motion as it was asked for. */
struct Motion {
    MotionKind kind;
    std::vector<double> target; ///< what the asker named: joint angles, or a pose
    /** Lays the path from where the arm stands; throws Refused when there is none. */
    std::function<Course(const Joints& from)> plan;
    /** Called once, at the end; the text is empty if the target was reached, else it says why not. */
    std::function<void(const std::string& broken_off)> ended;
    bool is_jog = false; ///< runs until it is stopped or cannot go on; nothing can be planned behind it
};

class Motions {
  public:
    static constexpr std::size_t capacity = 100; // motions that may wait

    explicit Motions(Joints position) : position_(std::move(position)) {}

    /** Puts a motion behind those that wait. @throws Refused if it has no path from end(), or the queue is
     * full */
    void add(Motion motion);

    /** Where the arm will stand after all motions, if none is broken off. */
    Joints end() const;

    /** Slows the arm down to a halt on its path; its plan stays. @throws Refused if there is nothing to pause
     */
    void pause();

    /** Goes on after pause(). @throws Refused unless paused */
    void resume();

    /** Slows the arm down and drops the motion that runs; those that wait follow, unless paused. */
    void drop_current(const std::string& why);

    /** Slows the arm down and drops all motions. */
    void drop_all(const std::string& why);

    /** Runs on to a time (s, never back) and tells the askers of motions that ended. */
    void advance(double time);

    /** When something will happen by itself next. */
    std::optional<double> next_event() const;

    const Joints& position() const { return position_; }

    /** Degrees/s. */
    Joints velocity() const;

    /** Redefines where the arm is that stands, or is moved by something else. */
    void set_position(Joints position) { position_ = std::move(position); }

    /** The same, at a time from which on motions may begin. */
    void set_position(Joints position, double time) { position_ = std::move(position), time_ = time; }

    bool moving() const { return running_ && running_->profile; }
    bool idle() const { return !running_ && waiting_.empty(); }

    /** Nothing is planned, though what was broken off may still slow down. */
    bool free() const { return waiting_.empty() && (!running_ || !running_->dropped.empty()); }

    bool jogging() const;
    bool paused() const { return paused_; }
    std::size_t waiting() const { return waiting_.size(); }

    /** The motion that runs (or is held by a pause), if any, and its number, counted from 1. */
    const Motion* current() const { return running_ ? &running_->motion : nullptr; }
    int current_number() const { return running_ ? running_->number : 0; }

  private:
    struct Queued {
        Motion motion;
        int number;
        Joints end;
    };

    struct Running {
        Motion motion;
        int number;
        Course course;
        std::unique_ptr<KDL::VelocityProfile> profile = nullptr; ///< null: held on the path
        double since = 0;                                        ///< when the profile began
        double s = 0;                                            ///< where on the path the arm is
        bool braking = false;
        std::string dropped = {}; ///< why the motion ends as soon as the arm stands
    };

    void begin_next();
    void run();
    void brake();
    double halt() const;
    void profile_done();
    void finish(const std::string& broken_off);
    void report(Motion& motion, const std::string& broken_off);

    Joints position_;
    double time_ = 0;
    bool paused_ = false;
    int last_number_ = 0;
    std::optional<Running> running_;
    std::deque<Queued> waiting_;
    std::vector<std::function<void()>>
        reports_; ///< told at the next advance(), after the reply that caused them
};

} // namespace kx::sim
