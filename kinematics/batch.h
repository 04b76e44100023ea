// Poses of many joint angles, several side by side; once for any processor, once each for those with 256-bit and with
// 512-bit vectors.
#pragma once

#include "kinematics/chain.h"

namespace kx {

// What all poses of an arm share.
struct Batch {
    const ARM_MODEL& arm;
    const Geometry& geometry;
    Rigid<Column> base;
    bool has_tool;
};

// The poses of `count` joint vectors, a multiple of the lanes or not.
void poses_by_two(const Batch& batch, int count, const float* joints, KinPose* poses);
#ifdef KX_AVX
void poses_by_four(const Batch& batch, int count, const float* joints, KinPose* poses);
void poses_by_eight(const Batch& batch, int count, const float* joints, KinPose* poses);
#endif

} // namespace kx
