// A straight line of the tool through a singular place, and one that passes two millimetres beside it. Where the
// wrist comes straight, the joints before and behind it turn about one axis: on the first line they stay where they
// are, on the second six joints must turn them by half a turn; seven evade. Plans when to be where so that no joint is faster than
// it may be. Needs no controller. Ends with status 0 if every point is reached and the first line slows nothing down.
//
//     10_singular_line [MODEL]
#include "kx/arm.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>

constexpr double length = 0.2, speed = 0.1, fastest = 90; // m, m/s, degrees/s
constexpr int steps = 4000;

// Prints the plan and returns its time in seconds; 0 if a point is out of reach.
static double plan(const kx::Model& arm, const kx::Degrees& from, double beside)
{
    const kx::Pose start = *arm.pose(from);
    Matrix links[7];
    Arm_Model_Links(&arm.c(), from.data(), links);
    const auto& across = links[1].data; // its z axis is joint 2's, across the plane in which the arm stands
    const int wrist = arm.joint_count() - 2; // the joint that comes straight
    kx::Degrees joints = from;
    double time = 0;
    printf("\n%.0f mm beside it\n  mm      s  the wrist's joints, degrees  least singular value\n",
           1000 * beside);
    for (int step = 0; step <= steps; ++step) {
        const double way = static_cast<double>(step) / steps;
        kx::Pose target = start;
        target.x += static_cast<float>(beside * way * across[0][2]);
        target.y += static_cast<float>(beside * way * across[1][2]);
        target.z -= static_cast<float>(length * way);
        const kx::Solution next = arm.inverse(target, joints);
        if (!next) {
            printf("%4.0f  code %d\n", 1000 * length * way, next.code);
            return 0;
        }
        double farthest = 0;
        for (int i = 0; i < joints.size(); ++i)
            farthest = std::fmax(farthest, std::fabs(next.joints[i] - joints[i]));
        joints = next.joints;
        if (step > 0) time += std::fmax(length / steps / speed, farthest / fastest);
        if (step % (steps / 10) == 0)
            printf("%4.0f %6.2f %9.3f %8.3f %8.3f %15.5f\n", 1000 * length * way, time, joints[wrist - 1],
                   joints[wrist], joints[wrist + 1], arm.dexterity(joints).distance);
    }
    return time;
}

int main(int argc, char** argv)
{
    const kx::Model arm(argc > 1 ? atoi(argv[1]) : 46);
    if (!arm.known()) {
        fprintf(stderr, "usage: 10_singular_line [36|46|47]\n");
        return 2;
    }
    const kx::Degrees six{0, 20, 40, 0, 25, 30}, seven{0, 20, 0, 40, 0, 25, 30};
    const kx::Degrees from = arm.joint_count() == 6 ? six : seven;
    const double through = plan(arm, from, 0), beside = plan(arm, from, 0.002);
    printf("\n%.2f s and %.2f s at up to %.0f mm/s and %.0f degrees/s\n", through, beside, 1000 * speed,
           fastest);
    return through > 0 && through < 1.01 * length / speed && beside >= through ? 0 : 1;
}
