/* The C interface compiles as C11, a C program links against it, and its records keep their layout. */
#include "kx/model.h"
#include "kx_base.h"
#include <stddef.h>

/* Applications built against an earlier release pass these records to a later one. */
#define LAYOUT(record, size, last, offset)                                                                   \
    _Static_assert(sizeof(record) == (size) && offsetof(record, last) == (offset), #record)
LAYOUT(POSE, 24, rz, 20);
LAYOUT(FRAME, 52, z, 48);
LAYOUT(FRAME_NAME, 10, name, 0);
LAYOUT(JOINT_STATE, 136, sys_err, 134);
LAYOUT(CallbackData, 64, joint, 36);
LAYOUT(Matrix, 72, data, 8);
LAYOUT(KinPose, 40, euler, 28);
_Static_assert(sizeof(ARM_CTRL_MODES) == 4 && sizeof(POS_TEACH_MODES) == 4, "enumerations");

int main(void)
{
    const float joint[7] = {0};
    KinPose pose = Forward_Kinematics(47, joint);
    return pose.position.z > 0.85f && pose.position.z < 0.851f && API_Version()[0] == '4' ? 0 : 1;
}
