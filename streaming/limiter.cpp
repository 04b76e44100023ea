#include "streaming/limiter.h"

#include <math.h>
#include <string.h>

namespace kx::streaming {

// Rounding must not make a way to rest unsafe that was safe a cycle before.
constexpr double rounding = 1e-9;

Limiter::Limiter(const ArmLimits& limits, const ToolPath& tool, const Joints& start, double cycle)
    : limits_(limits), tool_(tool), cycle_(cycle), trail_(tool.standing(start))
{
    for (int i = 0; i < limits_.joints; ++i) {
        now_.joint[i].position = start[i];
        limits_.lower[i] = fmin(limits_.lower[i], start[i]);
        limits_.upper[i] = fmax(limits_.upper[i], start[i]);
    }
    brake();
}

ArmLimits Limiter::limits_here() const
{
    if (!tool_.is_limited()) return limits_;
    Joints joint;
    for (int i = 0; i < limits_.joints; ++i)
        joint[i] = now_.joint[i].position;
    return tool_.here(limits_, joint);
}

bool Limiter::rests() const
{
    for (int i = 0; i < limits_.joints; ++i)
        if (rest_[i].passed < rest_[i].way.duration()) return false;
    return true;
}

bool Limiter::is_safe(int joint, const Profile& way) const
{
    const Profile::Range velocity = way.velocities();
    const double fastest = limits_.motion[joint].velocity * (1 + rounding);
    if (velocity.least < -fastest || velocity.most > fastest) return false;
    const Profile::Range position = way.positions();
    return position.least >= limits_.lower[joint] - rounding &&
           position.most <= limits_.upper[joint] + rounding;
}

// The tool on its way to rest, cycle by cycle, as it would be sent.
bool Limiter::is_safe(const RestOfAll& rest) const
{
    if (!tool_.is_limited()) return true;
    double longest = 0;
    for (int i = 0; i < limits_.joints; ++i)
        longest = fmax(longest, rest[i].way.duration() - rest[i].passed);
    ToolPath::Trail trail = trail_;
    // Three more cycles, until nothing of the motion is left in the differences.
    for (double time = 0; time < longest + 4 * cycle_; time += cycle_) {
        Joints joint;
        for (int i = 0; i < limits_.joints; ++i)
            joint[i] = rest[i].way.at(rest[i].passed + time).position;
        if (!tool_.extend(trail, joint)) return false;
    }
    return true;
}

bool Limiter::take(const Motion& way)
{
    RestOfAll rest;
    for (int i = 0; i < limits_.joints; ++i) {
        if (!is_safe(i, way.joint[i])) return false;
        rest[i] = {way.joint[i], cycle_};
    }
    if (!is_safe(rest)) return false;
    for (int i = 0; i < limits_.joints; ++i)
        rest_[i] = {way.joint[i], 0};
    return true;
}

// The tool's limits may want braking to be gentler than joints could.
static Limits gentler(Limits limits, double share)
{
    limits.acceleration *= share;
    limits.jerk *= share;
    return limits;
}

bool Limiter::brake()
{
    const ArmLimits here = limits_here();
    for (double share = 1; share > 0.1; share /= 2) {
        Motion way;
        for (int i = 0; i < limits_.joints; ++i)
            way.joint[i] = streaming::brake(now_.joint[i], gentler(here.motion[i], share));
        if (take(way)) return true;
    }
    return false;
}

// A share of what is proposed, the rest of it as on the way to rest: both have limited jerk and acceleration, so
// their mixture has, too.
State Limiter::blend(int joint, double share, const State& proposed) const
{
    const State safe = rest_[joint].way.at(rest_[joint].passed + cycle_);
    return {safe.position + share * (proposed.position - safe.position),
            safe.velocity + share * (proposed.velocity - safe.velocity),
            safe.acceleration + share * (proposed.acceleration - safe.acceleration)};
}

bool Limiter::is_safe(int joint, const State& next, const Limits& braking, Profile& way) const
{
    const Limits& limits = limits_.motion[joint];
    if (fabs(next.position - now_.joint[joint].position) > limits.velocity * cycle_ * (1 + rounding))
        return false;
    if (fabs(next.acceleration) > limits.acceleration * (1 + rounding)) return false;
    way = streaming::brake(next, braking);
    return is_safe(joint, way);
}

void Limiter::arrive(const ArmState& next, const RestOfAll& rest)
{
    memcpy(rest_, rest, sizeof rest_);
    now_ = next;
    Joints joint;
    for (int i = 0; i < limits_.joints; ++i)
        joint[i] = next.joint[i].position;
    tool_.extend(trail_, joint);
}

void Limiter::go_on()
{
    ArmState next = {};
    for (int i = 0; i < limits_.joints; ++i) {
        rest_[i].passed += cycle_;
        next.joint[i] = rest_[i].way.at(rest_[i].passed);
    }
    arrive(next, rest_);
}

bool Limiter::go(const Joints& jerk)
{
    constexpr double finest_share = 1.0 / 256;
    ArmState proposed;
    RestOfAll rest = {};
    bool is_all = true;
    for (int i = 0; i < limits_.joints; ++i) {
        const Limits& limits = limits_.motion[i];
        const double bounded =
            fmax(-limits.jerk, fmin(limits.jerk, jerk[i])); // a number, whatever is proposed
        proposed.joint[i] = after(now_.joint[i], cycle_, bounded);
        if (bounded == jerk[i] && is_safe(i, proposed.joint[i], limits, rest[i].way)) continue;
        is_all = false;
        double share = 0;
        for (double more = 0.5; more >= finest_share; more /= 2)
            if (is_safe(i, blend(i, share + more, proposed.joint[i]), limits, rest[i].way)) share += more;
        proposed.joint[i] = blend(i, share, proposed.joint[i]);
        if (share > 0)
            is_safe(i, proposed.joint[i], limits, rest[i].way);
        else
            rest[i] = {rest_[i].way, rest_[i].passed + cycle_};
    }
    if (tool_.is_limited()) return go_gently(proposed) && is_all;
    arrive(proposed, rest);
    return is_all;
}

// The tool's limits bind all joints together.
bool Limiter::go_gently(const ArmState& proposed)
{
    const ArmLimits here = limits_here();
    for (double share = 1; share > 0.05; share /= 2)
        for (double gentle = 1; gentle > 0.2; gentle /= 2) {
            ArmState next = {};
            RestOfAll rest = {};
            bool are_safe = true;
            for (int i = 0; i < limits_.joints && are_safe; ++i) {
                next.joint[i] = blend(i, share, proposed.joint[i]);
                are_safe = is_safe(i, next.joint[i], gentler(here.motion[i], gentle), rest[i].way);
            }
            if (!are_safe || !is_safe(rest)) continue;
            arrive(next, rest);
            return share == 1;
        }
    go_on();
    return false;
}

} // namespace kx::streaming
