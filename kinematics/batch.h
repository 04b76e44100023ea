// Many poses or inverses, several side by side: once for any processor, once each for those with 256-bit and with
// 512-bit vectors.
#pragma once

#include "kinematics/chain.h"
#include "kinematics/seven_joints.h"
#include "kinematics/six_joints.h"

namespace kx {

// What all poses of an arm share.
struct PoseBatch {
    const ARM_MODEL& arm;
    const Geometry& geometry;
    Rigid<Column> base;
    bool has_tool;
};

// What all targets of an arm share.
struct InverseBatch {
    const ARM_MODEL& model;
    Range degrees[7]; // the limits
    bool has_tool, is_turned;
    Matrix tool_inverse;
    Rotation base;

    explicit InverseBatch(const ARM_MODEL& model);
};

struct SixBatch : InverseBatch {
    SixJointArm arm;
    Range radians[6]; // the limits
    Range inside[6];  // the same, as far as rounding stretches them

    explicit SixBatch(const ARM_MODEL& model);
};

struct SevenBatch : InverseBatch {
    const Lengths& lengths;
    SevenLimits limits;
    double range; // of arm angles to either side of the reference's
    bool usual;   // limits that leave outer and inner joints whole turns, as those of the arm do

    SevenBatch(const ARM_MODEL& model, double range);
};

// The code of a target that the single call has to solve.
inline constexpr int left_to_single_call = -1;

struct SideBySide {
    int lanes;
    void (*poses)(const PoseBatch& batch, int count, const float* joints, KinPose* poses);
    void (*inverses_of_six)(const SixBatch& batch, int count, const float* references, const KinPose* targets,
                            float* results, int* codes);
    void (*inverses_of_seven)(const SevenBatch& batch, int count, const float* references,
                              const KinPose* targets, float* results, int* codes);
};
extern const SideBySide by_two, by_four, by_eight;

// The widest that the processor can and `most_lanes` allows, which only tests lower.
const SideBySide& widest();
extern int most_lanes;

} // namespace kx
