#include "streaming/pilot.h"

#include <math.h>
#include <string.h>

namespace kx::streaming {

// How far ahead the arm aims: this smooths what is uneven in the targets.
constexpr double longest_filter = 0.16; // s
// Turning the dial takes this share of an arm's limits, the rest is for what the path asks; it sets in so fast (s).
constexpr double dial_share = 0.4, dial_onset = 0.04;
// A way that asks for all of the limits is followed no faster than this once the dial has been turned on it.
constexpr double led_speed = 0.7;

Pilot::Pilot(double cycle, double look_ahead, const ArmLimits& limits, const ToolPath& tool,
             const Joints& start, const Course& course)
    : cycle_(cycle), look_ahead_(look_ahead), limiter_(limits, tool, start, cycle), own_course_(course),
      course_(course), next_(course), target_(limiter_.now())
{
    dial_ = {HUGE_VAL, HUGE_VAL, 0};
    for (int i = 0; i < limits.joints; ++i) {
        const Limits& joint = limiter_.limits().motion[i];
        dial_.velocity = fmin(dial_.velocity, dial_share * joint.acceleration / joint.velocity);
        dial_.acceleration = fmin(dial_.acceleration, dial_share * joint.jerk / joint.velocity);
        braking_ = fmax(braking_, joint.velocity / joint.acceleration + joint.acceleration / joint.jerk);
    }
    dial_.jerk = dial_.acceleration / dial_onset;
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

// The course or the approach as it will be after the last set-point, with the dial turning as it will.
class Pilot::Ahead : public Lead {
  public:
    explicit Ahead(const Pilot& pilot)
        : pilot_(pilot), turn_(fastest(pilot.speed_, pilot.wanted_speed(), pilot.dial_))
    {
    }
    void in(double time, ArmState& state) const override
    {
        const double begin = pilot_.speed_.position, from_here = time - pilot_.cycle_;
        const State half = turn_.at(fmax(0, from_here / 2)), then = turn_.at(fmax(0, from_here));
        const double speed = then.position;
        const double on_path = from_here * (begin + 4 * half.position + speed) / 6; // Simpson's rule
        const int joints = pilot_.limiter_.limits().joints;
        if (pilot_.way_ == Way::course)
            pilot_.course_.at(pilot_.clock_ + on_path, state);
        else
            for (int i = 0; i < joints; ++i)
                state.joint[i] = pilot_.approach_.joint[i].at(fmax(0, pilot_.approached_ + on_path));
        for (int i = 0; i < joints; ++i) {
            State& joint = state.joint[i];
            joint.acceleration = joint.acceleration * speed * speed + joint.velocity * then.velocity;
            joint.velocity *= speed;
        }
    }

  private:
    const Pilot& pilot_;
    const Profile turn_;
};

void Pilot::follow()
{
    const Ahead ahead(*this);
    ahead.in(cycle_, target_);
    // Only targets with times are uneven.
    const double filter = way_ == Way::course ? fmin(0.8 * look_ahead_, longest_filter) : 0;
    const double soonest = fmax(3 * cycle_, filter);
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
    if (!is_planned_) {
        approached_ = 0;
        is_led_ = false;
        if (wanted_speed_ >= 1) speed_ = {1, 0, 0};
    }
    approached_ += speed_.position * elapsed;
    is_led_ = is_led_ || speed_.position != 1;
    if (is_led_) {
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

double Pilot::wanted_speed() const
{
    return way_ == Way::approach ? fmin(wanted_speed_, is_led_ ? led_speed : 1) : wanted_speed_;
}

// The way to the goal is as fast as can be, so nothing more can be asked of its end.
bool Pilot::brakes_for_goal() const
{
    return way_ == Way::approach && is_on_plan_ && !limiter_.rests() &&
           approach_.duration - approached_ < braking_;
}

void Pilot::turn_dial(double elapsed)
{
    const double wanted = wanted_speed();
    if ((speed_.position == wanted && speed_.velocity == 0) || brakes_for_goal()) return;
    const Profile turn = fastest(speed_, wanted, dial_);
    speed_ = turn.at(elapsed);
    if (turn.duration() <= elapsed) speed_ = {wanted, 0, 0};
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
