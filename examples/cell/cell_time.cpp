// How long the palletising cell takes for a part: on a classic connection, on a link, and on a link where the arm does
// not stop at the places above. The same commands each time.
//
//     cell_time PORT [PARTS]
//
// of a controller of model 46, e.g. kx-controller --object 40
#include "cell/places.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

namespace {

using Clock = std::chrono::steady_clock;

int failed = 0;

void check(int status)
{
    if (status != KX_SUCCESS) std::printf("status %d\n", status), ++failed;
}

// @param radius 0: each motion is waited for before the next is sent
void carry(int arm, const kx::Pose& from, const kx::Pose& to, float radius)
{
    for (const kx::Pose& corner : {cell::above(from), cell::above(to)})
        check(Movel_Cmd(arm, corner, 100, radius, radius == 0));
    check(Movel_Cmd(arm, to, 100, 0, true));
}

double seconds_a_part(int arm, int parts, float radius)
{
    check(Movej_Cmd(arm, cell::ready.data(), 50, 0, true));
    check(Set_Gripper_Release(arm, 1000, true));
    kx::Pose here = cell::above(cell::feeder);
    check(Movel_Cmd(arm, here, 50, 0, true));
    const auto begin = Clock::now();
    for (int part = 0; part < parts; ++part) {
        carry(arm, here, cell::feeder, radius);
        check(Set_Gripper_Pick(arm, 1000, 300, true));
        carry(arm, cell::feeder, here = cell::on_pallet(part % (cell::rows * cell::columns)), radius);
        check(Set_Gripper_Release(arm, 1000, true));
    }
    return std::chrono::duration<double>(Clock::now() - begin).count() / parts;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: cell_time PORT [PARTS]\n");
        return 2;
    }
    const int port = std::atoi(argv[1]), parts = argc > 2 ? std::atoi(argv[2]) : 12;

    KX_API_Init(nullptr);
    const int classic = Arm_Socket_Start("127.0.0.1", port, 46, 5000);
    const double on_classic = seconds_a_part(classic, parts, 0);
    Arm_Socket_Close(classic);

    const int link = KX_Link_Open("127.0.0.1", port, 46, nullptr);
    const double on_link = seconds_a_part(link, parts, 0);
    const double rounded = seconds_a_part(link, parts, cell::radius);
    KX_Link_Close(link);

    std::printf("seconds a part, mean of %d\n", parts);
    std::printf("classic connection   %6.2f\n", on_classic);
    std::printf("link                 %6.2f   %.0f %% less\n", on_link, 100 * (1 - on_link / on_classic));
    std::printf("link, rounded        %6.2f   %.0f %% less\n", rounded, 100 * (1 - rounded / on_classic));
    return failed;
}
