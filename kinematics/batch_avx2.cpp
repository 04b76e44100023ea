// Compiled for processors with 256-bit vectors (AVX2), and called on those only.
#ifdef KX_AVX
#include "kinematics/batch_poses.h"
#include "kinematics/batch_seven.h"
#include "kinematics/batch_six.h"

const kx::SideBySide kx::by_four = {4, poses<4>, inverses_of_six<4>, inverses_of_seven<4>};
#endif
