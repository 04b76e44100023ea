// The loaded model's limits as arrays, for code that walks the joints.
#pragma once

#include "kx/model.h"

#include <array>

namespace kx {

struct Range {
    float lower, upper;
};

// Limits of the joints, degrees, and of the chain angles, radians, as they stand in the globals now.
std::array<Range, 7> joint_limits();
std::array<Range, 7> chain_limits();

} // namespace kx
