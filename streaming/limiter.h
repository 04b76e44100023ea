// The set-points: whatever is proposed, they keep the limits, and so does the way to rest from each of them.
//
// The limiter knows a way to rest from where the arm is, and has checked it. A proposed cycle is taken only if the
// braking after it passes the same checks; otherwise as much of it as does, the rest being the way to rest. So the
// limits hold by induction, for every proposal.
#ifndef KX_STREAMING_LIMITER_H
#define KX_STREAMING_LIMITER_H

#include "streaming/tool_path.h"

namespace kx::streaming {

class Limiter {
  public:
    // The arm rests at the start. A joint that is beyond its limits there must not get further out.
    Limiter(const ArmLimits& limits, const ToolPath& tool, const Joints& start, double cycle);

    const ArmState& now() const { return now_; }
    const ArmLimits& limits() const { return limits_; }
    ArmLimits limits_here() const; // that leave the tool within its own, by and large
    bool rests() const;

    // One cycle with the proposed jerks, or as much of them as is safe. True if it was all.
    bool go(const Joints& jerk);

    // One cycle on the way to rest.
    void go_on();

    // Takes another way to rest, from here; false if it breaks a limit, and is not taken.
    bool take(const Motion& way);

    // Braking, as fast as the limits allow, is the way to rest from now on; false if none was found that keeps
    // them: it stays the one it was.
    bool brake();

  private:
    struct Rest {
        Profile way;
        double passed; // of it, s
    };
    using RestOfAll = Rest[most_joints];

    bool is_safe(int joint, const Profile& way) const;
    bool is_safe(const RestOfAll& rest) const;
    void arrive(const ArmState& next, const RestOfAll& rest);
    State blend(int joint, double share, const State& proposed) const;
    bool is_safe(int joint, const State& next, const Limits& braking, Profile& way) const;
    bool go_gently(const ArmState& proposed);

    ArmLimits limits_;
    ToolPath tool_;
    double cycle_;
    ArmState now_ = {};
    RestOfAll rest_ = {};
    ToolPath::Trail trail_;
};

} // namespace kx::streaming

#endif
