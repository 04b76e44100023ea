#include "streaming/motion.h"

namespace kx::streaming {

Motion fastest_together(const ArmState& from, const Joints& target, const ArmLimits& limits)
{
    Motion motion;
    int slowest = 0;
    for (int i = 0; i < limits.joints; ++i) {
        motion.joint[i] = fastest(from.joint[i], target[i], limits.motion[i]);
        if (motion.joint[i].duration() > motion.joint[slowest].duration()) slowest = i;
    }
    motion.duration = motion.joint[slowest].duration();
    for (int i = 0; i < limits.joints; ++i)
        if (i != slowest)
            motion.joint[i] = lasting(motion.duration, from.joint[i], target[i], limits.motion[i]);
    return motion;
}

} // namespace kx::streaming
