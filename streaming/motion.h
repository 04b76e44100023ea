// Motions of all joints of an arm together.
#ifndef KX_STREAMING_MOTION_H
#define KX_STREAMING_MOTION_H

#include "streaming/profile.h"

namespace kx::streaming {

constexpr int most_joints = 7;

// Angles, degrees; or one number for each joint.
using Joints = double[most_joints];

struct ArmLimits {
    int joints;
    Limits motion[most_joints];
    Joints lower, upper; // degrees
};

struct ArmState {
    State joint[most_joints];
};

// A way of all joints to rest.
struct Motion {
    Profile joint[most_joints];
    double duration = 0;
};

// To rest at a target, on the fastest way for all together: who needs less time than the slowest joint goes slower,
// so that all arrive at once. Any time above a joint's least will do, since a joint that arrives earlier can wait.
Motion fastest_together(const ArmState& from, const Joints& target, const ArmLimits& limits);

} // namespace kx::streaming

#endif
