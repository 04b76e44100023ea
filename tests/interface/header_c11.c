/* The C interface compiles as C11, and a C program links against it. */
#include "kx/model.h"
#include "kx_base.h"

int main(void)
{
    const float joint[7] = {0};
    KinPose pose = Forward_Kinematics(47, joint);
    return pose.position.z > 0.85f && pose.position.z < 0.851f && API_Version()[0] == '4' ? 0 : 1;
}
