#include "streaming/pilot.h"

#include <math.h>
#include <string.h>

namespace kx::streaming {

// How far ahead the arm aims: this smooths what is uneven in the targets.
constexpr double longest_filter = 0.16; // s

Pilot::Pilot(double cycle, double look_ahead, const ArmLimits& limits, const ToolPath& tool,
             const Joints& start, const Course& course)
    : cycle_(cycle), look_ahead_(look_ahead), limiter_(limits, tool, start, cycle), own_course_(course),
      course_(course), next_(course), target_(limiter_.now())
{
    // The dial is turned so gently that an arm at full speed could follow.
    double braking = cycle;
    for (int i = 0; i < limits.joints; ++i) {
        const Limits& joint = limiter_.limits().motion[i];
        braking = fmax(braking, joint.velocity / joint.acceleration + joint.acceleration / joint.jerk);
    }
    dial_ = {2 / braking, 8 / (braking * braking), 64 / (braking * braking * braking)};
}

void Pilot::begin(double now)
{
    if (way_ == Way::none) now_ = now;
    is_on_plan_ = is_planned_ = is_played_ = false;
}

Pilot::Taken Pilot::pass(const Joints& target, double time, double now)
{
    Knot knot = {time, {}};
    memcpy(knot.joint, target, sizeof knot.joint);
    if (way_ != Way::course) { // a new course, from here
        begin(now);
        clock_ = now_ - look_ahead_;
        Knot here = {clock_, {}};
        for (int i = 0; i < limiter_.limits().joints; ++i)
            here.joint[i] = limiter_.now().joint[i].position;
        course_ = own_course_;
        if (clock_ < time) course_.add(here);
        course_.add(knot);
        way_ = Way::course;
    } else {
        if (time <= course_.end()) return Taken::not_after_the_last;
        if (course_.room() < 2) return Taken::no_room;
        if (course_.end() < clock_ && clock_ < time) { // it has rested at the last one
            Knot rested = course_.last();
            rested.time = clock_;
            course_.add(rested);
        }
        course_.add(knot);
        is_on_plan_ = false;
    }
    return time < clock_ ? Taken::late : Taken::yes;
}

void Pilot::go_to(const Joints& target, double now)
{
    begin(now);
    memcpy(goal_, target, sizeof goal_);
    way_ = Way::approach;
}

void Pilot::play(const Course& course, double now)
{
    go_to(course.first().joint, now);
    next_ = course;
}

void Pilot::brake()
{
    way_ = Way::braking;
    next_.clear();
    is_on_plan_ = limiter_.brake();
}

bool Pilot::has_come_to_rest() const
{
    const bool is_at_goal = way_ == Way::none || way_ == Way::braking || is_on_plan_;
    return is_at_goal && limiter_.rests();
}

// The course or the approach as it will be after the last set-point, if the speed along it stays as it is.
class Pilot::Ahead : public Lead {
  public:
    explicit Ahead(const Pilot& pilot) : pilot_(pilot) {}
    void in(double time, ArmState& state) const override
    {
        const double speed = pilot_.speed_.position, on_path = speed * (time - pilot_.cycle_);
        const int joints = pilot_.limiter_.limits().joints;
        if (pilot_.way_ == Way::course)
            pilot_.course_.at(pilot_.clock_ + on_path, state);
        else
            for (int i = 0; i < joints; ++i)
                state.joint[i] = pilot_.approach_.joint[i].at(fmax(0, pilot_.approached_ + on_path));
        for (int i = 0; i < joints; ++i) {
            state.joint[i].velocity *= speed;
            state.joint[i].acceleration *= speed * speed;
        }
    }

  private:
    const Pilot& pilot_;
};

void Pilot::follow()
{
    const Ahead ahead(*this);
    ahead.in(cycle_, target_);
    const double soonest = fmax(3 * cycle_, fmin(0.8 * look_ahead_, longest_filter));
    Joints jerk = {};
    const bool is_near = pursue(limiter_.now(), ahead, soonest, cycle_, limiter_.limits_here(), jerk);
    is_limited_ = !limiter_.go(jerk) || !is_near;
    is_on_plan_ = false;
}

// The fastest way to the goal, slowed down until the tool keeps its limits on it.
bool Pilot::plan()
{
    ArmLimits limits = limiter_.limits_here();
    for (int attempt = 0; attempt < 24; ++attempt) {
        approach_ = fastest_together(limiter_.now(), goal_, limits);
        if (limiter_.take(approach_)) return true;
        for (int i = 0; i < limits.joints; ++i) {
            Limits& joint = limits.motion[i];
            joint = {0.9 * joint.velocity, 0.81 * joint.acceleration, 0.729 * joint.jerk};
        }
    }
    limiter_.brake(); // from a slower motion there is one
    return false;
}

void Pilot::go_to_goal()
{
    if (!is_on_plan_) is_on_plan_ = is_planned_ = plan();
    limiter_.go_on();
    target_ = limiter_.now();
}

void Pilot::approach(double elapsed)
{
    if (!is_planned_) approached_ = 0;
    approached_ += speed_.position * elapsed;
    if (!is_dialled()) {
        if (!is_planned_) approach_ = fastest_together(limiter_.now(), goal_, limiter_.limits_here());
        is_planned_ = true;
        if (approached_ < approach_.duration) return follow();
    } else if (!is_on_plan_) {
        approached_ = elapsed;
    }
    go_to_goal();
    if (next_.empty() || !has_come_to_rest()) return;
    course_ = next_;
    next_.clear();
    clock_ = course_.first().time;
    is_on_plan_ = false;
    is_played_ = true;
    way_ = Way::course;
}

void Pilot::follow_course()
{
    course_.pass(clock_);
    if (clock_ < course_.end()) return follow();
    memcpy(goal_, course_.last().joint, sizeof goal_);
    go_to_goal();
}

void Pilot::turn_dial(double elapsed)
{
    if (speed_.position == wanted_speed_ && speed_.velocity == 0) return;
    const Profile turn = fastest(speed_, wanted_speed_, dial_);
    speed_ = turn.at(elapsed);
    if (turn.duration() <= elapsed) speed_ = {wanted_speed_, 0, 0};
    speed_.position = fmax(0, speed_.position);
}

void Pilot::advance(double now)
{
    const double elapsed = now - now_;
    now_ = now;
    is_limited_ = false;
    turn_dial(elapsed);
    switch (way_) {
    case Way::approach:
        return approach(elapsed);
    case Way::course:
        clock_ += speed_.position * elapsed;
        // Behind its end a course goes on with the time at which targets come.
        clock_ = fmin(clock_, fmax(course_.end(), now - look_ahead_));
        return follow_course();
    case Way::braking:
        if (!is_on_plan_) is_on_plan_ = limiter_.brake();
        [[fallthrough]];
    case Way::none:
        limiter_.go_on();
        target_ = limiter_.now();
    }
}

} // namespace kx::streaming
