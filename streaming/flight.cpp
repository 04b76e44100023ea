#include "streaming/flight.h"
#include "streaming/posture.h"

#include <initializer_list>
#include <math.h>
#include <string.h>

namespace kx::streaming {

constexpr double longest_hiccup = 0.1; // s; an arm that got nothing for longer has come to rest by itself

KX_STREAM_OPTIONS completed(const KX_STREAM_OPTIONS* given)
{
    KX_STREAM_OPTIONS options;
    KX_Stream_Defaults(&options);
    if (given) memcpy(&options, given, given->size < sizeof options ? given->size : sizeof options);
    return options;
}

bool is_possible(const KX_STREAM_OPTIONS& options, int joints)
{
    const auto is_within = [](double value, double least, double most) {
        return value >= least && value <= most;
    };
    constexpr double any = 1e9;
    for (int i = 0; i < joints; ++i)
        for (const float* limits : {options.velocity, options.acceleration, options.jerk})
            if (!is_within(static_cast<double>(limits[i]), 1e-3, any)) return false;
    for (const float limit :
         {options.tool_velocity, options.tool_acceleration, options.tool_jerk, options.following_error})
        if (!is_within(static_cast<double>(limit), 0, any)) return false;
    return is_within(options.rate, 10, 1000) && is_within(options.look_ahead, 0, 5) &&
           is_within(options.watchdog, 0, any) && is_within(options.silence, 0, any) &&
           options.priority >= 0 && options.priority <= 99;
}

ArmLimits limits_of(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm)
{
    ArmLimits limits = {};
    limits.joints = arm.joints;
    for (int i = 0; i < arm.joints; ++i) {
        limits.motion[i] = {static_cast<double>(options.velocity[i]),
                            static_cast<double>(options.acceleration[i]),
                            static_cast<double>(options.jerk[i])};
        limits.lower[i] = static_cast<double>(arm.lower[i]);
        limits.upper[i] = static_cast<double>(arm.upper[i]);
    }
    return limits;
}

ToolPath tool_path_of(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm)
{
    const Limits limits = {static_cast<double>(options.tool_velocity),
                           static_cast<double>(options.tool_acceleration),
                           static_cast<double>(options.tool_jerk)};
    return ToolPath(arm, limits, 1 / options.rate);
}

namespace {

struct Widened {
    Joints joint = {};
    Widened(const float* narrow, int joints)
    {
        for (int i = 0; i < joints; ++i)
            joint[i] = static_cast<double>(narrow[i]);
    }
};

void narrow(const Joints& wide, int joints, float* result)
{
    for (int i = 0; i < most_joints; ++i)
        result[i] = i < joints ? static_cast<float>(wide[i]) : 0;
}

void narrow(const ArmState& state, int joints, float* result)
{
    for (int i = 0; i < most_joints; ++i)
        result[i] = i < joints ? static_cast<float>(state.joint[i].position) : 0;
}

} // namespace

Flight::Flight(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm, const float* start, Knot* ring,
               int capacity)
    : options_(options), arm_(arm),
      pilot_(1 / options.rate, options.look_ahead, limits_of(options, arm), tool_path_of(options, arm),
             Widened(start, arm.joints).joint, Course(arm.joints, ring, capacity)),
      watch_(arm.joints, Widened(start, arm.joints).joint)
{
    memcpy(last_, start, sizeof(float) * static_cast<size_t>(arm.joints));
}

int Flight::pass(const float* joint, double time, double now)
{
    if (status()) return KX_ENDED;
    bool are_finite = isfinite(time);
    for (int i = 0; i < arm_.joints; ++i)
        are_finite = are_finite && isfinite(joint[i]);
    if (!are_finite) {
        ++ignored_;
        return KX_NOT_FINITE;
    }
    if (Arm_Model_Beyond_Limits(&arm_, joint)) {
        end(KX_STREAM_JOINT_LIMIT);
        return KX_ENDED;
    }
    return take(joint, time, now);
}

int Flight::pass(const POSE& pose, double time, double now)
{
    if (status()) return KX_ENDED;
    for (const float value : {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz})
        if (!isfinite(value) || !isfinite(time)) {
            ++ignored_;
            return KX_NOT_FINITE;
        }
    float joint[most_joints];
    const KX_STREAM_END fault = joints_of(arm_, pose, last_, joint);
    end(fault);
    return fault ? KX_ENDED : take(joint, time, now);
}

int Flight::take(const float* joint, double time, double now)
{
    const Widened target(joint, arm_.joints);
    Pilot::Taken taken = Pilot::Taken::yes;
    if (pilot_.is_playing() || is_finishing_)
        taken = Pilot::Taken::not_after_the_last;
    else if (time == 0)
        pilot_.go_to(target.joint, now);
    else
        taken = pilot_.pass(target.joint, time, now);
    if (taken == Pilot::Taken::not_after_the_last || taken == Pilot::Taken::no_room) {
        ++ignored_;
        return taken == Pilot::Taken::no_room ? KX_OUTBOX_FULL : KX_WRONG_TYPE;
    }
    ++targets_;
    late_targets_ += taken == Pilot::Taken::late;
    memcpy(last_, joint, sizeof(float) * static_cast<size_t>(arm_.joints));
    last_at_ = now;
    has_begun_ = true;
    return KX_SUCCESS;
}

int Flight::play(Trajectory& trajectory, double now)
{
    if (status()) return KX_ENDED;
    if (pilot_.is_playing() || is_finishing_) return KX_WRONG_TYPE;
    trajectory_.swap(trajectory);
    const Course course = trajectory_.course(arm_.joints);
    narrow(course.last().joint, arm_.joints, last_);
    pilot_.play(course, now);
    has_begun_ = true;
    return KX_SUCCESS;
}

int Flight::set_speed(double factor, double now)
{
    if (status()) return KX_ENDED;
    if (!(factor >= 0 && factor <= 1.5)) return KX_WRONG_TYPE;
    speed_ = factor;
    return pause(is_paused_, now);
}

int Flight::pause(bool shall_pause, double now)
{
    if (status()) return KX_ENDED;
    if (pilot_.is_paused()) last_at_ = now; // the watchdog rested
    is_paused_ = shall_pause;
    pilot_.set_speed(is_paused_ ? 0 : speed_);
    return KX_SUCCESS;
}

int Flight::finish()
{
    is_finishing_ = true;
    pilot_.finish();
    if (!has_begun_) end(KX_STREAM_ARRIVED);
    return status();
}

// Where the arm does not take set-points, they must not lead on.
static bool ends_at_once(KX_STREAM_END reason)
{
    return reason == KX_STREAM_ARRIVED || reason == KX_STREAM_REFUSED || reason == KX_STREAM_ARM_ERROR ||
           reason == KX_STREAM_LOST || reason == KX_STREAM_HICCUP;
}

void Flight::end(KX_STREAM_END reason)
{
    if (reason == KX_STREAM_RUNS || status()) return;
    reason_ = reason;
    ended_at_ = now_;
    pilot_.brake();
    has_ended_ = ends_at_once(reason) || !has_begun_;
}

void Flight::told(double time, bool is_refused, int error, const Joints& measured)
{
    ++pushes_;
    if (is_refused) return end(KX_STREAM_REFUSED);
    watch_.told(time, measured);
    if (error != 0) end(KX_STREAM_ARM_ERROR);
}

void Flight::look(double now)
{
    const bool is_watched =
        options_.watchdog > 0 && !is_finishing_ && !pilot_.is_paused() && !pilot_.is_playing();
    if (is_watched && now - last_at_ > options_.watchdog) end(KX_STREAM_STALLED);
    if (options_.silence > 0 && watch_.silence(now) > options_.silence) end(KX_STREAM_SILENT);
    const double allowed = static_cast<double>(options_.following_error);
    if (allowed > 0 && watch_.following_error() > allowed) end(KX_STREAM_LEFT_BEHIND);
    if (is_finishing_ && pilot_.has_arrived() && watch_.stands()) end(KX_STREAM_ARRIVED);
}

bool Flight::advance(double now)
{
    constexpr double patience = 1; // s, for an arm to come to rest behind its set-points
    if (cycles_ > 0 && now - now_ > longest_hiccup) end(KX_STREAM_HICCUP);
    now_ = now;
    look(now);
    const bool is_over = status() && pilot_.has_arrived();
    if (is_over && (watch_.stands() || watch_.silence(now) > 0.05 || now - ended_at_ > patience))
        has_ended_ = true;
    if (has_ended_) return false;
    pilot_.advance(now);
    return true;
}

void Flight::sent(double now, bool is_late)
{
    Joints joint;
    for (int i = 0; i < arm_.joints; ++i)
        joint[i] = pilot_.set_point().joint[i].position;
    watch_.sent(now, joint);
    ++cycles_;
    late_cycles_ += is_late;
    limited_cycles_ += pilot_.is_limited();
}

void Flight::fill(KX_STREAM_CYCLE& cycle) const
{
    narrow(pilot_.target(), arm_.joints, cycle.target);
    narrow(pilot_.set_point(), arm_.joints, cycle.sent);
    narrow(watch_.measured(), arm_.joints, cycle.measured);
    cycle.time = now_;
    cycle.measured_at = watch_.measured_at();
    cycle.is_limited = pilot_.is_limited();
}

void Flight::fill(KX_STREAM_COUNTERS& counters) const
{
    const auto milliseconds = [](double seconds) { return seconds < 0 ? -1 : 1000 * seconds; };
    counters.targets = targets_;
    counters.ignored = ignored_;
    counters.late_targets = late_targets_;
    counters.cycles = cycles_;
    counters.late_cycles = late_cycles_;
    counters.limited_cycles = limited_cycles_;
    counters.pushes = pushes_;
    counters.lag_median = milliseconds(watch_.lags().quantile(0.5));
    counters.lag_p99 = milliseconds(watch_.lags().quantile(0.99));
    counters.following_error = watch_.following_error();
    counters.following_most = watch_.largest_following_error();
}

} // namespace kx::streaming
