// Compiled for processors with 256-bit vectors (AVX2), and called on those only.
#ifdef KX_AVX
#include "kinematics/batch_poses.h"

void kx::poses_by_four(const Batch& batch, int count, const float* joints, KinPose* result)
{
    poses<4>(batch, count, joints, result);
}
#endif
