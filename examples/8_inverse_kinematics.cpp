// Joint angles for a pose of the tool, and how the reference decides which of all solutions is found. Needs
// no controller.
//
//     8_inverse_kinematics [MODEL]
#include "kx/arm.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>

// Solves, and prints all about the solution.
static void solve(const kx::Model& arm, const char* what, const kx::Degrees& reference,
                  const kx::Pose& target, double range_rad = 0.26)
{
    const kx::Solution solution = arm.inverse(target, reference, range_rad);
    constexpr const char* words[] = {"solved", "out of reach", "unknown model",
                                     "reached only beyond the limits"};
    printf("\n%s: %s\n", what, words[solution.code]);
    if (!solution) return;
    double largest_move = 0;
    printf("  reference");
    for (const float angle : reference)
        printf("%10.3f", angle);
    printf("\n  solution ");
    for (int i = 0; i < reference.size(); ++i) {
        printf("%10.3f", solution.joints[i]);
        largest_move = std::fmax(largest_move, std::fabs(solution.joints[i] - reference[i]));
    }
    const kx::Pose off = target.inverse() * *arm.pose(solution.joints);
    printf("\n  farthest joint %.3f degrees away; tool %.4f mm off the target\n", largest_move,
           1000 * std::hypot(off.x, off.y, off.z));
}

int main(int argc, char** argv)
{
    const kx::Model arm(argc > 1 ? atoi(argv[1]) : 46);
    if (!arm.known()) {
        fprintf(stderr, "usage: 8_inverse_kinematics [36|46|47]\n");
        return 2;
    }
    const bool is_seven = arm.joint_count() == 7;
    const auto joints = [&](const kx::Degrees& six, const kx::Degrees& seven) {
        return is_seven ? seven : six;
    };
    const kx::Degrees there = joints({20, 35, 50, 40, 60, -30}, {20, 35, 50, 40, 60, -30, 25});
    const kx::Pose target = *arm.pose(there);
    printf("tool at %.1f, %.1f, %.1f mm\n", 1000 * target.x, 1000 * target.y, 1000 * target.z);

    // The solution nearest to the reference is found, so the reference chooses shoulder, elbow and wrist.
    solve(arm, "from nearby", joints({22, 33, 52, 38, 62, -32}, {22, 33, 52, 38, 62, -32, 23}), target);
    const kx::Degrees home = joints({0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0});
    solve(arm, "from home", home, target);
    solve(arm, "from the other elbow", joints({20, 80, -50, 40, 60, -30}, {20, 35, -130, -40, -120, -30, 25}),
          target);
    solve(arm, "from the turned wrist", joints({20, 35, 50, -140, -60, 150}, {20, 35, 50, 40, -120, 30, 205}),
          target);

    // Seven joints have a solution for every arm angle; the range says how far it may move.
    if (is_seven) solve(arm, "from home, with any arm angle", home, target, M_PI);
    const size_t all =
        is_seven ? arm.solutions_at(target, arm.arm_angle_rad(there)).size() : arm.solutions(target).size();
    printf("\n%zu solutions in all%s\n", all, is_seven ? " at this arm angle" : "");

    solve(arm, "two metres farther", there, kx::Pose::m_rad(2, 0, 0) * target);
    solve(arm, "from a camera that saw nothing", there, kx::Pose::m_rad(NAN, 0, 0));
    return all > 0 ? 0 : 1;
}
