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

/** Lays a course piece by piece: a long one takes more work than others may wait for. */
class Planner {
  public:
    /** A piece of the way and its joint angles take so much work; to look at them once more takes 1. */
    static constexpr int point = 20;

    virtual ~Planner() = default;

    /** Works on. @param effort that may still be spent; counts down
     *  @returns the course as soon as it is laid
     *  @throws Refused when there turns out to be none */
    virtual std::optional<Course> lay(int& effort) = 0;
};

/** A course that takes no work. */
std::unique_ptr<Planner> laid(Course course);

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
    /** Begins to lay the path from where the arm stands; throws Refused when there is none. */
    std::function<std::unique_ptr<Planner>(const Joints& from)> plan;
    /** Called once, at the end; the text is empty if the target was reached, else it says why not. */
    std::function<void(const std::string& broken_off)> ended;
    bool is_jog = false; ///< runs until it is stopped or cannot go on; nothing can be planned behind it
};

class Motions {
  public:
    static constexpr std::size_t capacity = 100; ///< motions that may wait

    /** Of planning, before others have their turn: some 0.5 ms. */
    static constexpr int slice = 100 * Planner::point;

    explicit Motions(Joints position) : position_(std::move(position)) {}

    /** Puts a motion behind those that wait. It is refused unless it has a path from the end of those; if
     *  that takes long to know, its asker is told later. @throws Refused at once, if the queue is full, too
     */
    void add(Motion motion);

    /** Where the arm will stand after all motions that are checked, if none is broken off. */
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

    /** Others have had their turn: plans for another slice. */
    void plan_on();

    /** There is more to plan than the last slice was enough for. */
    bool planning() const;

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
        std::optional<Joints> end = {}; ///< known when it was checked
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

    Joints end_of_current() const;
    void check_waiting();
    void check(Queued& queued);
    bool begin_next();
    void drop_beginning(const std::string& why);
    void forget_first();
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
    int effort_ = slice;                 ///< that is left of it
    std::unique_ptr<Planner> beginning_; ///< for the first that waits, from where the arm stands
    std::unique_ptr<Planner> checking_;  ///< for the first that is not checked, from the end of those before
    std::vector<std::function<void()>>
        reports_; ///< told at the next advance(), after the reply that caused them
};

} // namespace kx::sim
