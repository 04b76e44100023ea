// Time-optimal motion with limited jerk is bang-bang: it does all for one direction as long as it can, then all for
// coming to rest (Kroeger, 2010; Berscheid and Kroeger, 2021). Both halves are changes of velocity in the shortest
// time: towards the greatest velocity and, from some moment on, to rest. The later that moment, the further the
// motion gets, so one search for it covers all cases, states beyond the limits included.
#include "streaming/profile.h"

#include <math.h>

namespace kx::streaming {

State after(const State& s, double t, double jerk)
{
    return {s.position + t * (s.velocity + t * (s.acceleration / 2 + t * jerk / 6)),
            s.velocity + t * (s.acceleration + t * jerk / 2), s.acceleration + t * jerk};
}

Profile::Profile(const State& start, double frame_velocity) : frame_velocity_(frame_velocity)
{
    stretch_[0] = {0, 0, {start.position, start.velocity - frame_velocity, start.acceleration}};
}

void Profile::add(double time, double jerk)
{
    if (!(time > 0) || count_ == capacity - 1) return;
    stretch_[count_].jerk = jerk;
    duration_ += time;
    stretch_[count_ + 1] = {duration_, 0, after(stretch_[count_].state, time, jerk)};
    ++count_;
}

void Profile::end_at(const State& target)
{
    stretch_[count_].state = target;
}

State Profile::at(double time) const
{
    int i = count_;
    while (i > 0 && stretch_[i].begin > time)
        --i;
    State state = after(stretch_[i].state, time - stretch_[i].begin, stretch_[i].jerk);
    state.position += frame_velocity_ * time;
    state.velocity += frame_velocity_;
    return state;
}

static void widen(Profile::Range& range, double value)
{
    range.least = fmin(range.least, value);
    range.most = fmax(range.most, value);
}

// Where the velocity changes its sign, the position is at an extreme.
Profile::Range Profile::positions() const
{
    const double first = at(0).position;
    Range range = {first, first};
    for (int i = 0; i < count_; ++i) {
        const double begin = stretch_[i].begin, end = stretch_[i + 1].begin, jerk = stretch_[i].jerk;
        const State state = at(begin);
        widen(range, at(end).position);
        // jerk/2 t^2 + acceleration t + velocity = 0
        const double root = state.acceleration * state.acceleration - 2 * jerk * state.velocity;
        if (root < 0) continue;
        const double q = -(state.acceleration + copysign(sqrt(root), state.acceleration));
        const double times[] = {q / jerk, 2 * state.velocity / q};
        for (const double t : times)
            if (t > 0 && t < end - begin) widen(range, at(begin + t).position);
    }
    return range;
}

// Where the acceleration changes its sign, the velocity is at an extreme.
Profile::Range Profile::velocities() const
{
    const double first = at(0).velocity;
    Range range = {first, first};
    for (int i = 0; i < count_; ++i) {
        const double begin = stretch_[i].begin, end = stretch_[i + 1].begin;
        widen(range, at(end).velocity);
        const double t = -stretch_[i].state.acceleration / stretch_[i].jerk;
        if (t > 0 && t < end - begin) widen(range, at(begin + t).velocity);
    }
    return range;
}

namespace {

// The velocity, were the acceleration taken back at once.
double settled(const State& s, double jerk)
{
    return s.velocity + s.acceleration * fabs(s.acceleration) / (2 * jerk);
}

// A change of velocity, in stretches of constant jerk.
struct Ramp {
    static constexpr int stretches = 4;
    double time[stretches], jerk[stretches];

    double duration() const { return time[0] + time[1] + time[2] + time[3]; }
};

// The fastest change to a velocity that is to be kept from then on: back to the limit of acceleration if it is
// exceeded; to the peak acceleration; with that; and back to none.
Ramp ramp(State from, double velocity, double acceleration, double jerk)
{
    Ramp ramp = {};
    const double excess = fabs(from.acceleration) - acceleration;
    if (excess > 0) {
        ramp.time[0] = excess / jerk;
        ramp.jerk[0] = -copysign(jerk, from.acceleration);
        from = after(from, ramp.time[0], ramp.jerk[0]);
    }
    const double side = settled(from, jerk) <= velocity ? 1 : -1;
    const double initial = side * from.acceleration;
    const double squared = fmax(0, jerk * side * (velocity - from.velocity) + initial * initial / 2);
    const double peak = fmin(acceleration, sqrt(squared));
    ramp.time[1] = fmax(0, (peak - initial) / jerk);
    ramp.time[2] = peak < acceleration ? 0 : (squared - peak * peak) / (jerk * peak);
    ramp.time[3] = peak / jerk;
    ramp.jerk[1] = side * jerk;
    ramp.jerk[3] = -side * jerk;
    return ramp;
}

State after(State state, const Ramp& ramp)
{
    for (int i = 0; i < Ramp::stretches; ++i)
        state = streaming::after(state, ramp.time[i], ramp.jerk[i]);
    return state;
}

// The zero of a function between a place where it is below zero and one where it is not: regula falsi, which
// forgets half of an end that stays (Dowell and Jarratt, 1971).
template <class Function>
double zero_between(double low, double at_low, double high, double at_high, double precision,
                    Function function)
{
    double middle = high, value = at_high;
    int stayed = 0;
    for (int i = 0; i < 60 && fabs(value) > precision; ++i) {
        middle = (low * at_high - high * at_low) / (at_high - at_low);
        if (!(middle > low && middle < high)) break;
        value = function(middle);
        if (value < 0) {
            if (stayed > 0) at_high /= 2;
            low = middle, at_low = value, stayed = 1;
        } else {
            if (stayed < 0) at_low /= 2;
            high = middle, at_high = value, stayed = -1;
        }
    }
    return fmin(fmax(middle, low), high);
}

// A joint on its way, seen so that the way leads upwards and the target stands.
class Way {
  public:
    Way(const State& from, double target, const Limits& limits, double target_velocity)
        : limits_(limits), from_(from), target_(target), target_velocity_(target_velocity),
          distance_(target - from.position), start_{0, from.velocity - target_velocity, from.acceleration}
    {
        if (distance_ < resting_place(start_)) {
            side_ = -1;
            distance_ = -distance_;
            start_ = {0, -start_.velocity, -start_.acceleration};
        }
        greatest_ = limits.velocity - side_ * target_velocity;
    }

    Profile fastest() const
    {
        const Ramp up = ramp_to(start_, greatest_);
        const Turn turn = turning(up);
        Profile profile(from_, target_velocity_);
        add(profile, up, side_, turn.stretch);
        profile.add(turn.time, turn.stretch < Ramp::stretches ? side_ * up.jerk[turn.stretch] : 0);
        return ended(profile, ramp_to(turn.state, 0));
    }

    // The slower the run in the middle, the longer the way takes.
    Profile lasting(double duration) const
    {
        const State turn = turning(ramp_to(start_, greatest_)).state;
        const double peak = settled(turn, limits_.jerk);
        // It does nothing but slow down, or comes from the other side, if only by rounding.
        if (turn.acceleration < 0 || peak <= 0) return fastest();
        Ramp up, down;
        double way; // left for the run
        const auto spared = [&](double velocity) {
            up = ramp_to(start_, velocity);
            const State running = after(start_, up);
            down = ramp_to(running, 0);
            way = distance_ - after(running, down).position;
            return velocity * (duration - up.duration() - down.duration()) - way;
        };
        double low = 0, at_low = spared(0), high = peak, at_high = spared(peak);
        // Running slower than now takes more way than braking at once, if there is little left for the run.
        const double coasting = settled(start_, limits_.jerk);
        if (coasting > 0 && coasting < peak) {
            const double at_coasting = spared(coasting);
            if (at_coasting < 0)
                low = coasting, at_low = at_coasting;
            else
                high = coasting, at_high = at_coasting;
        }
        if (!(at_low < 0 && at_high > 0)) return fastest();
        const double velocity = zero_between(low, at_low, high, at_high, precision(), spared);
        spared(velocity);
        if (way < -precision()) return fastest();
        Profile profile(from_, 0);
        add(profile, up, side_, Ramp::stretches);
        profile.add(way / velocity, 0);
        return ended(profile, down);
    }

  private:
    // When to turn from doing all for the way to coming to rest: after some whole stretches of the ramp and a time
    // in the next one, or in the run behind it.
    struct Turn {
        int stretch;
        double time;
        State state;
    };

    Turn turning(const Ramp& up) const
    {
        State state = start_;
        double ahead = resting_place(state) - distance_; // below zero
        for (int i = 0; i < Ramp::stretches; ++i) {
            const auto then = [&](double time) { return streaming::after(state, time, up.jerk[i]); };
            const auto ahead_then = [&](double time) { return resting_place(then(time)) - distance_; };
            const double at_end = ahead_then(up.time[i]);
            if (at_end >= 0) {
                const double time = zero_between(0, ahead, up.time[i], at_end, precision(), ahead_then);
                return {i, time, then(time)};
            }
            state = then(up.time[i]);
            ahead = at_end;
        }
        return {Ramp::stretches, -ahead / greatest_, state};
    }

    Profile ended(Profile& profile, const Ramp& down) const
    {
        add(profile, down, side_, Ramp::stretches);
        profile.end_at({target_, 0, 0});
        return profile;
    }

    static void add(Profile& profile, const Ramp& ramp, double side, int stretches)
    {
        for (int i = 0; i < stretches; ++i)
            profile.add(ramp.time[i], side * ramp.jerk[i]);
    }

    Ramp ramp_to(const State& state, double velocity) const
    {
        return ramp(state, velocity, limits_.acceleration, limits_.jerk);
    }

    double resting_place(const State& state) const { return after(state, ramp_to(state, 0)).position; }

    double precision() const { return 1e-12 * (1 + fabs(distance_)); }

    const Limits& limits_;
    const State& from_;
    double target_, target_velocity_;
    double distance_, greatest_, side_ = 1;
    State start_;
};

} // namespace

Profile brake(const State& from, const Limits& limits)
{
    const Ramp down = ramp(from, 0, limits.acceleration, limits.jerk);
    Profile profile(from, 0);
    for (int i = 0; i < Ramp::stretches; ++i)
        profile.add(down.time[i], down.jerk[i]);
    profile.end_at({after(from, down).position, 0, 0});
    return profile;
}

Profile fastest(const State& from, double target, const Limits& limits, double target_velocity)
{
    return Way(from, target, limits, target_velocity).fastest();
}

Profile lasting(double duration, const State& from, double target, const Limits& limits)
{
    return Way(from, target, limits, 0).lasting(duration);
}

} // namespace kx::streaming
