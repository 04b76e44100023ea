// Success table of the six-joint inverse kinematics over random joints inside the limits:
//     inverse_sweep [samples per model, a million by default]
// First with the joints themselves as reference, then with other random joints, where the plain judge says
// which of all solutions is nearest.
#include "kinematics/six_joint_judge.h"
#include "tally.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>

namespace {

using Joints = std::array<float, 6>; // degrees
using kdl_arms::frame_by_euler, kdl_arms::greatest_difference;

void sweep(int model, long samples)
{
    judge::Arm arm(model);
    std::mt19937 bits(2026);
    const auto random_joints = [&] {
        Joints joint;
        for (int i = 0; i < 6; ++i) {
            const auto& [low, high] = judge::limits(model).joint[i];
            joint[i] = std::uniform_real_distribution<float>(low, high)(bits);
        }
        return joint;
    };

    Tally code, position, orientation, joints, joints_anywhere, nearest, same_code;
    long below_theta3 = 0, undecided = 0;
    std::map<int, long> codes;
    for (long n = 0; n < samples; ++n) {
        const Joints joint = random_joints(), reference = random_joints();
        const KinPose target = Forward_Kinematics(model, joint.data());
        const KDL::Frame flange = frame_by_euler(target);
        Joints result;

        if (model == 36 && joint[2] < -149.4f) {
            ++below_theta3;
        } else {
            code.add(inverse_kinematics(model, joint.data(), &target, result.data(), 1) == 1);
            const KDL::Twist off = KDL::diff(flange, arm.forward(result.data()));
            position.add(off.vel.Norm(), 5e-6);
            orientation.add(off.rot.Norm(), 2e-5);
            const bool same = greatest_difference(result, joint) <= 0.01;
            joints_anywhere.add(same);
            if (!judge::near_singular(model, flange, joint.data())) joints.add(same);
        }

        const int given = inverse_kinematics(model, reference.data(), &target, result.data(), 1);
        ++codes[given];
        const auto best = arm.nearest(flange, reference.data());
        Joints expected;
        for (int i = 0; i < 6; ++i)
            expected[i] = static_cast<float>(best.joint[i] / judge::degree);
        // A straight wrist goes by its own rule; on a limit, rounding decides. What still differs are exact
        // ties, and solutions that were not nearest but for a joint on a limit.
        if (best.code == -9 || judge::near_singular(model, flange, expected.data()) ||
            std::fabs(joint[4]) < 0.01 || (model == 46 && std::fabs(expected[4]) < 5.1) ||
            judge::distance_to_limits(model, best.joint) < 0.01) {
            ++undecided;
            continue;
        }
        double distance = 0;
        for (int i = 0; i < 6; ++i)
            distance += std::pow((result[i] - reference[i]) * judge::degree, 2);
        const bool tie = std::fabs(distance - best.distance) < 1e-4;
        nearest.add(tie || greatest_difference(result, expected) <= 0.01);
        same_code.add(given == best.code);
    }

    std::printf("model %d, reference = the joints themselves", model);
    if (below_theta3 > 0) std::printf(" (without %ld with joint 3 below its theta3 limit)", below_theta3);
    std::printf("\n");
    code.print("code 1");
    position.print("position reproduced within 5e-6 m");
    orientation.print("orientation reproduced within 2e-5 rad");
    joints.print("joints within 0.01 degrees, away from singularities");
    joints_anywhere.print("joints within 0.01 degrees, everywhere");
    std::printf("model %d, reference = other random joints (without %ld singular or at a limit)\n", model,
                undecided);
    nearest.print("nearest of all solutions, as the judge");
    same_code.print("code as the judge");
    std::printf("  codes over all:");
    for (const auto& [value, count] : codes)
        std::printf("  %d: %ld", value, count);
    std::printf("\n");
}

} // namespace

int main(int count, char** arguments)
{
    Init_Sys_Data(46); // model 36 needs a tool transform
    for (int model : {36, 46})
        sweep(model, count > 1 ? std::atol(arguments[1]) : 1000000);
}
