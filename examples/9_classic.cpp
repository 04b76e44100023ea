// The classic connection, for applications that stay with it: two arms at work, with one mutex for every call that waits
// and none for those that do not. A move is sent without waiting and watched until the arm is there, or stopped. Ends
// with status 0 only if no call failed.
//
//     9_classic PORT        of a controller of model 46 on this machine, e.g. kx-controller
#include "kx_base.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

static std::mutex waiting; // held during every call that waits, of whatever arm

// Of two lines that are read together one is lost, so a call that times out, and does no harm twice, is made again.
template <class Command>
static int ask(Command command)
{
    const std::lock_guard lock(waiting);
    int status = command();
    for (int tries = 1; tries < 3 && status == KX_TIMED_OUT; ++tries)
        status = command();
    return status;
}

// Moves joint 1, others may use the arm meanwhile. 0 it has arrived, 1 it stands elsewhere, or why it cannot be read.
static int move(int arm, float degrees)
{
    float joint[7] = {degrees}, before = NAN;
    Movej_Cmd(arm, joint, 20, 0, false);
    for (int still = 0; still < 10; sleep_cp(20)) {
        if (const int status = ask([&] { return Get_Joint_Degree(arm, joint); })) return status;
        if (std::fabs(joint[0] - degrees) < 0.002f) return KX_SUCCESS;
        still = joint[0] == before ? still + 1 : 0;
        before = joint[0];
    }
    return KX_REFUSED;
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    KX_API_Init(nullptr);
    const int left = Arm_Socket_Start("127.0.0.1", atoi(argv[1]), 46, 0);
    const int right = Arm_Socket_Start("127.0.0.1", atoi(argv[1]), 46, 0); // in earnest, another controller
    if (Arm_Sockrt_State(left) || Arm_Sockrt_State(right)) {
        fprintf(stderr, "cannot connect to 127.0.0.1:%s\n", argv[1]);
        return 1;
    }

    std::atomic<bool> done = false;
    int failures = 0;
    std::thread other([&] {
        while (!done)
            failures += ask([&] { return Set_DO_State(right, 1, true, true); }) != KX_SUCCESS;
    });
    const int arrived = move(left, 40);
    std::thread stopper([&] {
        sleep_cp(500);
        Move_Stop_Cmd(left, false); // waits for nobody, so no mutex
    });
    const int stopped = move(left, 0);
    stopper.join();
    done = true;
    other.join();

    printf("arrived: status %d; stopped: status %d; %d other calls failed\n", arrived, stopped, failures);
    Arm_Socket_Close(left);
    Arm_Socket_Close(right);
    return arrived == KX_SUCCESS && stopped == KX_REFUSED && failures == 0 ? 0 : 1;
}
