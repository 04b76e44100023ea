// The frames of an arm: a transform for each joint of its description.
#pragma once

#include <string>
#include <vector>

#include <kx/arm.hpp>
#include <urdf_model/joint.h>

#include "dds.h"

namespace kx::bridge {

class Frames {
  public:
    /** @param joints their names, in the arm's order */
    Frames(const std::string& description, const std::vector<std::string>& joints);

    /** What never changes, and what the joints turn. The texts are those of this object, the time is the caller's. */
    std::vector<TransformStamped> fixed(const Time& stamp) const;
    std::vector<TransformStamped> moved(const Time& stamp, const Radians& joints) const;

  private:
    std::vector<urdf::JointSharedPtr> fixed_, moved_;
};

} // namespace kx::bridge
