// How the arm gets to where a course leads, and stays with it: jerks for one cycle.
#ifndef KX_STREAMING_PURSUIT_H
#define KX_STREAMING_PURSUIT_H

#include "streaming/motion.h"

namespace kx::streaming {

// What leads: the motion in so many seconds from now.
class Lead {
  public:
    virtual void in(double time, ArmState& state) const = 0;

  protected:
    ~Lead() = default;
};

// Meets the course at the earliest time, of some that are tried from `soonest` on, at which limited jerks can lead
// to its position, velocity and acceleration in three equal parts, the first of which is now. Seen so, it is a
// linear filter of the course, and without any lag, as long as the limits do not matter. If no such time is near,
// each joint is after its part of the course on the fastest way. False then, and if it takes long.
bool pursue(const ArmState& now, const Lead& lead, double soonest, double cycle, const ArmLimits& limits,
            Joints& jerk);

} // namespace kx::streaming

#endif
