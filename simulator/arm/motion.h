// Motions in time: the one that runs, from rest to rest or round a corner into the next, and the queue of
// those planned after it.
//
// Nothing happens by itself: advance() moves the simulated time on, and everything else acts at that time.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "arm/travel.h"

namespace kx::sim {

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
    /** How it passes into the next one, if it does so before its end. May throw Refused. */
    std::function<std::optional<Corner>(const Path& own, const Motion& next, const Path& path_of_next)>
        corner = {};
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

    /** The arm stands, and will not any more once that is planned. */
    bool planning_to_leave() const { return !running_ && !paused_ && planning(); }

    /** When something will happen by itself next. */
    std::optional<double> next_event() const;

    const Joints& position() const { return position_; }

    /** Degrees/s. */
    Joints velocity() const;

    /** Redefines where the arm is that stands, or is moved by something else. */
    void set_position(Joints position) { position_ = std::move(position); }

    /** The same, at a time from which on motions may begin. */
    void set_position(Joints position, double time) { position_ = std::move(position), time_ = time; }

    bool moving() const { return running_ && running_->travel.moving(); }
    bool idle() const { return !running_ && waiting_.empty(); }

    /** Nothing is planned, though what was broken off may still slow down. */
    bool free() const { return waiting_.empty() && (!running_ || !running_->dropped.empty()); }

    bool jogging() const;
    bool paused() const { return paused_; }
    std::size_t waiting() const { return waiting_.size(); }

    /** The motion that runs (or is held by a pause), if any, and its number, counted from 1. */
    const Motion* current() const { return running_ ? &running_->motion : nullptr; }
    int current_number() const { return running_ ? running_->number : 0; }

    /** The way of the motion that runs, if one does. */
    const Path* path() const { return running_ ? &running_->travel.path() : nullptr; }

  private:
    struct Queued {
        Motion motion;
        int number;
        std::optional<Joints> end = {}; ///< known when it was checked
    };

    struct Running {
        Motion motion;
        int number;
        Travel travel;
        std::string dropped = {};    ///< why the motion ends as soon as the arm stands
        bool knows_the_next = false; ///< whether it passes into that one is settled
    };

    Joints end_of_current() const;
    void check_waiting();
    void check(Queued& queued);
    bool begin_next();
    bool may_pass_into_next() const;
    bool pass_into_next();
    void drop_beginning(const std::string& why);
    void forget_first();
    void pass_event();
    void go_on_with_next();
    void finish(const std::string& broken_off);
    void report(Motion& motion, const std::string& broken_off);

    Joints position_;
    double time_ = 0;
    bool paused_ = false;
    int last_number_ = 0;
    std::optional<Running> running_;
    std::deque<Queued> waiting_;
    int effort_ = slice;                 ///< that is left of it
    std::unique_ptr<Planner> beginning_; ///< for the first that waits, from where the arm stands, or will
    std::unique_ptr<Planner> checking_;  ///< for the first that is not checked, from the end of those before
    std::vector<std::function<void()>>
        reports_; ///< told at the next advance(), after the reply that caused them
};

} // namespace kx::sim
