// Compiled for processors with 512-bit vectors (AVX-512), and called on those only.
#ifdef KX_AVX
#include "kinematics/batch_poses.h"

void kx::poses_by_eight(const Batch& batch, int count, const float* joints, KinPose* result)
{
    poses<8>(batch, count, joints, result);
}
#endif
