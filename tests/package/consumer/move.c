/* Moves an arm of model 46 by the C interface: move_c PORT */
#include <kx_base.h>
#include <math.h>
#include <stdlib.h>

int main(int argc, char** argv)
{
    const float target[6] = {10, -20, 30, 0, 40, 0};
    float joint[7] = {0};
    int status = KX_API_Init(NULL);
    const int arm = Arm_Socket_Start("127.0.0.1", atoi(argv[argc - 1]), 46, 0);
    if (status == KX_SUCCESS) status = Movej_Cmd(arm, target, 50, 0, true);
    if (status == KX_SUCCESS) status = Get_Joint_Degree(arm, joint);
    Arm_Socket_Close(arm);
    return status != KX_SUCCESS ? status : fabsf(joint[2] - target[2]) < 0.01f ? 0 : 100;
}
