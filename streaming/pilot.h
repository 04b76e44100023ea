// Flies an arm through targets: from what the application wants to one set-point a cycle. Knows of time only what
// it is told.
#ifndef KX_STREAMING_PILOT_H
#define KX_STREAMING_PILOT_H

#include "streaming/course.h"
#include "streaming/limiter.h"
#include "streaming/pursuit.h"

namespace kx::streaming {

class Pilot {
  public:
    // Times in s. The course is empty; its ring holds targets that are given with times.
    Pilot(double cycle, double look_ahead, const ArmLimits& limits, const ToolPath& tool, const Joints& start,
          const Course& course);

    enum class Taken { yes, late, no_room, not_after_the_last };

    // To be there `look_ahead` after a time, or at rest there as soon as possible.
    Taken pass(const Joints& target, double time, double now);
    void go_to(const Joints& target, double now);

    void finish() { course_.finish(); } // no more targets follow

    // Goes to the beginning of a course, then along it.
    void play(const Course& course, double now);
    bool is_playing() const { return !next_.empty() || (is_played_ && !has_arrived()); }

    // The speed along the path. Changes are gradual.
    void set_speed(double factor) { wanted_speed_ = factor; }

    // Brakes, for good.
    void brake();

    // The next set-point.
    void advance(double now);

    const ArmState& set_point() const { return limiter_.now(); }
    const ArmState& target() const { return target_; } // where the targets lead at this time
    bool is_limited() const { return is_limited_; }    // whether the limits keep the set-point from there
    bool has_arrived() const { return next_.empty() && has_come_to_rest(); } // where the last target leads
    bool is_paused() const { return wanted_speed_ == 0; }

  private:
    class Ahead;
    enum class Way { none, course, approach, braking };

    bool has_come_to_rest() const;
    void begin(double now);
    double wanted_speed() const;
    bool brakes_for_goal() const;
    void turn_dial(double elapsed);
    void follow_course();
    void approach(double elapsed);
    void go_to_goal();
    void follow();
    bool plan();

    const double cycle_, look_ahead_;
    Limiter limiter_;
    Course own_course_, course_, next_;
    bool is_played_ = false;
    Way way_ = Way::none;
    double now_ = 0;
    double clock_ = 0; // time on the course

    Joints goal_ = {}; // of the approach
    Motion approach_;
    double approached_ = 0;   // time on it
    bool is_planned_ = false; // the approach is a motion
    bool is_on_plan_ = false; // that the set-points go along
    bool is_led_ = false;     // the dial has been turned on it: it is followed

    double wanted_speed_ = 1;
    State speed_ = {1, 0, 0};
    Limits dial_;
    double braking_ = 0; // s that an arm at full speed needs at most
    ArmState target_ = {};
    bool is_limited_ = false;
};

} // namespace kx::streaming

#endif
