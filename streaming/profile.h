// The fastest motion of one joint from any state of motion to rest at a target, within limits of velocity,
// acceleration and jerk.
#ifndef KX_STREAMING_PROFILE_H
#define KX_STREAMING_PROFILE_H

namespace kx::streaming {

// Any unit of position, per s, s^2, s^3; all above 0.
struct Limits {
    double velocity, acceleration, jerk;
};

struct State {
    double position, velocity, acceleration;
};

State after(const State& state, double time, double jerk);

// A motion in stretches of constant jerk; after its end it keeps the velocity of its target.
class Profile {
  public:
    Profile() = default;
    Profile(const State& start, double frame_velocity);

    void add(double time, double jerk);
    void end_at(const State& target); // that is where it has come to, but for rounding

    double duration() const { return duration_; }
    State at(double time) const;

    struct Range {
        double least, most;
    };
    Range positions() const; // from now to the end
    Range velocities() const;

  private:
    struct Stretch {
        double begin, jerk;
        State state;
    };
    // Two ramps of four stretches each, a run between them, and the end.
    static constexpr int capacity = 10;
    Stretch stretch_[capacity] = {};
    int count_ = 0;
    double frame_velocity_ = 0; // stretches are told in a frame that moves so fast
    double duration_ = 0;
};

// To rest, wherever that is.
Profile brake(const State& from, const Limits& limits);

// To a target, which may move with a velocity below the limit: met as soon as possible, and gone along with.
Profile fastest(const State& from, double target, const Limits& limits, double target_velocity = 0);

// To rest at a target after a given time, which is at least that of the fastest motion. Where no motion of this
// shape takes so long, it arrives earlier: a joint at rest can wait.
Profile lasting(double duration, const State& from, double target, const Limits& limits);

} // namespace kx::streaming

#endif
