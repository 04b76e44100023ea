// Compiled for processors with 512-bit vectors (AVX-512), and called on those only.
#ifdef KX_AVX
#include "kinematics/batch_poses.h"
#include "kinematics/batch_seven.h"
#include "kinematics/batch_six.h"

const kx::SideBySide kx::by_eight = {8, poses<8>, inverses_of_six<8>, inverses_of_seven<8>};
#endif
