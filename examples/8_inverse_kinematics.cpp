// Joint angles for a pose of the tool, and how the reference decides which of all solutions is found. Needs
// no controller.
//
//     8_inverse_kinematics [MODEL]
#include "kx_base.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

// Solves, and prints all about the solution.
static void solve(int model, const char* what, const float* reference, const KINEMATIC& target,
                  unsigned char flag)
{
    const int joints = model == 47 ? 7 : 6;
    float found[7];
    const int code = inverse_kinematics(model, reference, &target, found, flag);
    printf("\n%s: code %d, %s\n", what, code, KX_Inverse_Words(model, code));
    if (code != 1) return;
    for (int i = 0; i < joints; ++i)
        if (!std::isfinite(found[i])) { // and must not be sent to an arm
            puts("  of a target that is not a number");
            return;
        }

    double largest_move = 0;
    printf("  reference");
    for (int i = 0; i < joints; ++i)
        printf("%10.3f", reference[i]);
    printf("\n  solution ");
    for (int i = 0; i < joints; ++i) {
        printf("%10.3f", found[i]);
        largest_move = std::fmax(largest_move, std::fabs(found[i] - reference[i]));
    }
    const KinPose pose = Forward_Kinematics(model, found);
    const double off = std::hypot(pose.position.x - target.position.x, pose.position.y - target.position.y,
                                  pose.position.z - target.position.z);
    // The chord between the two rotations' quaternions, of which either sign means the same.
    const Quaternion a = pose.quaternion, b = target.quaternion;
    const float sign = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z < 0 ? -1 : 1;
    const double chord = std::hypot(std::hypot(a.w - sign * b.w, a.x - sign * b.x),
                                    std::hypot(a.y - sign * b.y, a.z - sign * b.z));
    printf("\n  farthest joint %.3f degrees away; tool %.4f mm and %.4f degrees off the target\n",
           largest_move, 1000 * off, 4 * std::asin(chord / 2) * 57.29578);
}

struct Reference {
    const char* name;
    float six[6], seven[7]; // degrees
};

int main(int argc, char** argv)
{
    const int model = argc > 1 ? atoi(argv[1]) : 46;
    if (model != 36 && model != 46 && model != 47) {
        fprintf(stderr, "usage: 8_inverse_kinematics [36|46|47]\n");
        return 2;
    }
    Init_Sys_Data(46); // gives model 36 its tool transform

    const float joint[7] = {20, 35, 50, 40, 60, -30, 25};
    const KINEMATIC target = Forward_Kinematics(model, joint);
    printf("model %d, tool at %.1f, %.1f, %.1f mm\n", model, 1000 * target.position.x,
           1000 * target.position.y, 1000 * target.position.z);

    // The solution nearest to the reference is found, so the reference chooses shoulder, elbow and wrist.
    const Reference references[] = {
        {"from nearby", {22, 33, 52, 38, 62, -32}, {22, 33, 52, 38, 62, -32, 23}},
        {"from home", {}, {}},
        {"from the other elbow", {20, 80, -50, 40, 60, -30}, {20, 35, -130, -40, -120, -30, 25}},
        {"from the turned wrist", {20, 35, 50, -140, -60, 150}, {20, 35, 50, 40, -120, 30, 205}},
    };
    for (const auto& [name, six, seven] : references)
        solve(model, name, model == 47 ? seven : six, target, 0);

    // Seven joints have a solution for every arm angle; the flag says how far it may move.
    if (model == 47) solve(model, "from home, with any arm angle", references[1].seven, target, 2);

    KINEMATIC far_away = target;
    far_away.position.x += 2;
    solve(model, "two metres farther", joint, far_away, 0);

    KINEMATIC nowhere = target;
    nowhere.position.x = NAN;
    solve(model, "from a camera that saw nothing", joint, nowhere, 0);
    return 0;
}
