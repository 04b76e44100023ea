// The path of the tool's origin, and its limits of speed, acceleration and jerk, as differences from cycle to cycle.
#ifndef KX_STREAMING_TOOL_PATH_H
#define KX_STREAMING_TOOL_PATH_H

#include "kx/arm_model.h"
#include "streaming/motion.h"

namespace kx::streaming {

double distance(const double a[3], const double b[3]);

class ToolPath {
  public:
    // Limits in m/s, m/s^2 and m/s^3; 0: none.
    ToolPath(const ARM_MODEL& arm, const Limits& limits, double cycle);

    const Limits& limits() const { return limits_; }
    bool is_limited() const { return limits_.velocity > 0 || limits_.acceleration > 0 || limits_.jerk > 0; }

    // Limits of the joints so that none by itself makes the tool too fast while the arm is here, or takes more than
    // half of its acceleration and jerk: what is left is for several at once, and for the path's bends.
    ArmLimits here(ArmLimits limits, const Joints& joint) const;

    // The latest points, newest first.
    struct Trail {
        double point[3][3];
    };
    void place(const Joints& joint, double point[3]) const;
    Trail standing(const Joints& joint) const;

    // Adds where the joints put the tool. False if that breaks a limit.
    bool extend(Trail& trail, const Joints& joint) const;

  private:
    int joints_;
    Limits limits_;
    double cycle_;
    double axis_[most_joints][3], origin_[most_joints][3], tool_[3]; // with all joints at zero
};

} // namespace kx::streaming

#endif
