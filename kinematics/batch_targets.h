// What is given for each inverse of a batch, side by side: for files that are compiled for different processors; so nothing
// here has a name that they could share.
#pragma once

#include "kinematics/batch.h"

namespace kx {
namespace {

// A reference joint, degrees, as clamp_reference puts it on a limit.
template <int lanes>
typename Lanes<lanes>::Float reference_of(const InverseBatch& batch, int joint,
                                          const float* const (&references)[lanes])
{
    const auto [lower, upper] = batch.degrees[joint];
    const auto degrees = side_by_side<lanes>([&](int lane) { return references[lane][joint]; });
    return onto(lower, upper, degrees, reference_rounding);
}

// Where the flange must be for each target.
template <int lanes>
TransformOf<typename Lanes<lanes>::Double> flanges(const InverseBatch& batch,
                                                   const KinPose* const (&targets)[lanes])
{
    using Double = typename Lanes<lanes>::Double;
    const auto all = [&](const auto& of) {
        return widened(side_by_side<lanes>([&](int lane) { return of(*targets[lane]); }));
    };
    const auto turn = rotation_of_quaternion<Double>(all([](const KinPose& t) { return t.quaternion.w; }),
                                                     all([](const KinPose& t) { return t.quaternion.x; }),
                                                     all([](const KinPose& t) { return t.quaternion.y; }),
                                                     all([](const KinPose& t) { return t.quaternion.z; }));
    TransformOf<Double> flange = {turn,
                                  {all([](const KinPose& t) { return t.position.x; }),
                                   all([](const KinPose& t) { return t.position.y; }),
                                   all([](const KinPose& t) { return t.position.z; })}};
    if (batch.has_tool) append(flange, batch.tool_inverse);
    if (batch.is_turned) take_off_base(flange, batch.base);
    return flange;
}

} // namespace
} // namespace kx
