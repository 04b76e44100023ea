// A straight line of the tool through a singular place, and one that passes two millimetres beside it. Where the
// wrist comes straight, the joints before and behind it turn about one axis: on the first line they stay where they
// are, on the second six joints must turn them by half a turn; seven evade. Plans when to be where so that no joint is faster than
// it may be. Needs no controller. Ends with status 0 if every point is reached and the first line slows nothing down.
//
//     10_singular_line [MODEL]
#include "kx/arm_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

constexpr double length = 0.2, speed = 0.1, fastest = 90; // m, m/s, degrees/s
constexpr int steps = 4000;

// Prints the plan and returns its time in seconds; 0 if a point is out of reach.
static double plan(const ARM_MODEL& arm, const float* from, double beside)
{
    const KinPose start = Arm_Model_Pose(&arm, from);
    Matrix links[7];
    Arm_Model_Links(&arm, from, links);
    const auto& across = links[1].data; // its z axis is joint 2's, across the plane in which the arm stands
    const int wrist = arm.joints - 2;   // the joint that comes straight
    float joint[7];
    std::copy_n(from, arm.joints, joint);
    double time = 0;
    printf("\n%.0f mm beside it\n  mm      s  the wrist's joints, degrees  least singular value\n",
           1000 * beside);
    for (int step = 0; step <= steps; ++step) {
        const double way = static_cast<double>(step) / steps;
        KinPose target = start;
        target.position.x += static_cast<float>(beside * way * across[0][2]);
        target.position.y += static_cast<float>(beside * way * across[1][2]);
        target.position.z -= static_cast<float>(length * way);
        float next[7];
        const int code = Arm_Model_Inverse(&arm, joint, &target, 4, next);
        if (code != ARM_SOLVED) {
            printf("%4.0f  code %d\n", 1000 * length * way, code);
            return 0;
        }
        double farthest = 0;
        for (int i = 0; i < arm.joints; ++i)
            farthest = std::fmax(farthest, std::fabs(next[i] - joint[i]));
        std::copy_n(next, arm.joints, joint);
        if (step > 0) time += std::fmax(length / steps / speed, farthest / fastest);
        if (step % (steps / 10) == 0)
            printf("%4.0f %6.2f %9.3f %8.3f %8.3f %15.5f\n", 1000 * length * way, time, joint[wrist - 1],
                   joint[wrist], joint[wrist + 1], Arm_Model_Dexterity(&arm, joint).distance);
    }
    return time;
}

int main(int argc, char** argv)
{
    ARM_MODEL arm;
    if (Arm_Model_Init(&arm, argc > 1 ? atoi(argv[1]) : 46, 0) != 0) {
        fprintf(stderr, "usage: 10_singular_line [36|46|47]\n");
        return 2;
    }
    const float six[7] = {0, 20, 40, 0, 25, 30}, seven[7] = {0, 20, 0, 40, 0, 25, 30};
    const float* const from = arm.joints == 6 ? six : seven;
    const double through = plan(arm, from, 0), beside = plan(arm, from, 0.002);
    printf("\n%.2f s and %.2f s at up to %.0f mm/s and %.0f degrees/s\n", through, beside, 1000 * speed,
           fastest);
    return through > 0 && through < 1.01 * length / speed && beside >= through ? 0 : 1;
}
