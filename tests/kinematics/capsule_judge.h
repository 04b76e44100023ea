// FCL as the judge of capsules, apart from the tests since it takes long to compile.
#pragma once

#include "kx/arm_model.h"

// The distance of the axes as FCL finds it for thin bodies, since it does not say how deep one body is in another, less
// the radii.
double apart(const ARM_CAPSULE& a, const ARM_CAPSULE& b);
