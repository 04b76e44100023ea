// The geometry of one arm model, asked of the client library: joint limits and the tool pose of joint angles.
#pragma once

#include <vector>

#include "kx/types.h"

namespace kx::sim {

/** One value per joint, six or seven; angles in degrees. */
using Joints = std::vector<double>;

/** The library computes on process-wide parameters, so all models of a process live on one thread. */
class Model {
  public:
    /** @param code 36, 46 or 47 */
    explicit Model(int code);

    POSE tool_pose(const Joints& angles) const;

    const int code;
    Joints lower, upper; ///< mechanical range of each joint
};

} // namespace kx::sim
