// Moves an arm of model 46 by the C++ class: move_cpp PORT
#include <cmath>
#include <cstdlib>
#include <kx_service.h>

int main(int argc, char** argv)
{
    const float target[6] = {-10, 20, -30, 0, -40, 0};
    float joint[7] = {};
    KX_Service kx;
    int status = kx.Service_KX_API_Init(nullptr);
    const int arm = kx.Service_Arm_Socket_Start("127.0.0.1", std::atoi(argv[argc - 1]), 46, 0);
    if (status == KX_SUCCESS) status = kx.Service_Movej_Cmd(arm, target, 50, 0, true);
    if (status == KX_SUCCESS) status = kx.Service_Get_Joint_Degree(arm, joint);
    kx.Service_Arm_Socket_Close(arm);
    return status != KX_SUCCESS ? status : std::fabs(joint[2] - target[2]) < 0.01f ? 0 : 100;
}
