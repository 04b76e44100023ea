// The C interface compiles as C++17.
#include "kx/model.h"
#include "kx_base.h"

int main()
{
    KX_API_Init(nullptr);
    return Arm_Socket_Start("127.0.0.1", 1, 12, 0) == KX_NOT_RUNNING && JOINT1_LOWER == 0 ? 0 : 1;
}
