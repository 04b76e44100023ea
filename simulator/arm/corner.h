// Where and how the arm leaves one path for the next, within a radius about the place where they meet.
#pragma once

#include "arm/drives.h"
#include "arm/frames.h"
#include "arm/travel.h"

namespace kx::sim {

struct Rounding {
    double
        radius; ///< m, of the tool's tip from where the paths meet; no more than it moves in half of either
    const Model& model;
    Frames frames;
    JointLimits limits;
    bool in_space; ///< both paths are the tool's: it stays in the plane of two lines

    /** None if there is nothing to round. @throws Refused if the arm cannot go there */
    std::optional<Corner> between(const Path& first, const Path& next) const;
};

} // namespace kx::sim
