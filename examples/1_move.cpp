#include "kx_base.h"

int main()
{
    int arm = KX_Link_Open("127.0.0.1", 8080, 46, nullptr); // model 46: six joints
    float target[6] = {30, -20, 45, 0, 50, 0};              // degrees
    int status = Movej_Cmd(arm, target, 20, 0, true);       // 20 % speed, returns on arrival
    KX_Link_Close(arm);
    return status; // 0: arrived
}
