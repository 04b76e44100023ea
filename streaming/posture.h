// Joint angles for one pose after the other, without a change of posture.
#ifndef KX_STREAMING_POSTURE_H
#define KX_STREAMING_POSTURE_H

#include "kx/stream.h"

namespace kx::streaming {

// From the joints of the pose before to those of this one. KX_STREAM_RUNS, or why there are none.
KX_STREAM_END joints_of(const ARM_MODEL& arm, const POSE& pose, const float* before, float* result);

} // namespace kx::streaming

#endif
