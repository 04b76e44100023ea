// The arm on its way along one stretch of a path after the other, in time.
#pragma once

#include <deque>
#include <optional>

#include "arm/path.h"

namespace kx::sim {

/** From one rate of the path parameter to another: speed up or slow down, run, slow down. */
class Profile {
  public:
    Profile() = default;

    /** @param last the rate at the end, at most: what can be reached there */
    Profile(double from, double rate, double to, double last, const Pace& pace);

    /** Slows down to rest, or until the end if that comes before. */
    static Profile braking(double from, double rate, double to, double braking);

    double duration() const { return first_ramp_ + even_ + last_ramp_; }
    double position(double t) const;
    double rate(double t) const;

  private:
    double from_ = 0, to_ = 0, rate_ = 0, peak_ = 0, last_ = 0; ///< per s
    double first_ramp_ = 0, even_ = 0, last_ramp_ = 0;          ///< s
};

/** How one path passes into the next. */
struct Corner {
    double leave, enter; ///< path parameter of the one and of the next
    std::shared_ptr<const Path>
        path;              ///< between them, as if the one slowed down evenly while the next speeds up
    double least_duration; ///< s, for the joints
    double braking;        ///< 1/s^2, for the joints
};

class Travel {
  public:
    /** The arm stands at the begin of a course. */
    explicit Travel(Course course) : stretches_{{std::move(course)}} {}

    /** Leaves the course for the next one before it ends; returns false if it is too late for that. */
    bool round(const Corner& corner, Course next, double time);

    /** Runs, or goes on, to the end. */
    void go(double time);

    /** Slows down to rest. */
    void brake(double time);

    void advance(double time) { s_ = profile_.position(time - since_); }

    /** When the stretch ends, or the arm stands. */
    std::optional<double> next_event() const;

    enum class Reached {
        standstill, ///< short of the end
        end,
        corner,
        next_course
    };

    /** That moment has come. */
    Reached pass_event();

    bool moving() const { return moves_; }
    bool braking() const { return moves_ && braking_; }
    bool is_joined() const { return stretches_.size() > 1; } ///< with the next course

    const Path& path() const { return *stretches_.front().course.path; }
    Joints position() const { return path().at(s_); }
    Joints velocity(double time) const; ///< degrees/s
    Joints end() const { return stretches_.back().course.path->at(1); }
    Joints halt() const; ///< where it stands when it has slowed down

  private:
    struct Stretch {
        Course course;
        double from = 0, to = 1;
        double leave = 0; ///< rate at the end, at most
        double entry = 1; ///< the rate at which it begins, for each of the one before
    };

    void start(double rate, double time);

    std::deque<Stretch> stretches_;
    Profile profile_;
    double since_ = 0; ///< when it began
    double s_ = 0;     ///< where on the stretch the arm is
    bool moves_ = false, braking_ = false;
};

} // namespace kx::sim
