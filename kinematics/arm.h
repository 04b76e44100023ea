// What is constant about an arm: lengths, offsets and limits of its chain.
#pragma once

#include "kinematics/matrix.h"
#include "kx/arm_model.h"

namespace kx {

struct Range {
    float lower, upper;
};

// Metres. Six joints are named as in Craig (1986); seven as their counterparts: d1 from base to shoulder, a3
// from shoulder to elbow, d3 along the elbow's axis, d4 from elbow to wrist.
struct Lengths {
    float d1, a2, a3, d3, a4, d4;
};

struct Geometry {
    int joints;
    Lengths lengths;
    float flange[3]; // variants of the length from wrist to flange, metres
    float offset[7]; // chain angle less joint angle, degrees
    Range joint[7];  // limits of the joints, degrees
    Range chain[7];  // of the chain angles, radians
};

// Null for an unknown model.
const Geometry* geometry(int model);

// The arm that the exported parameters describe once the model is loaded.
ARM_MODEL loaded_arm(int model);

} // namespace kx
