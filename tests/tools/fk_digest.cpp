// Prints one hash of many results of the flat kinematics and one of arm models: builds of different compilers and
// optimisation levels must agree.
#include "kx/arm_model.h"
#include "kx_base.h"

#include <cinttypes>
#include <cstdio>
#include <random>

namespace {

std::uint64_t hash = 0xcbf29ce484222325; // FNV-1a

template <typename Record>
void add(const Record& record)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    for (std::size_t i = 0; i < sizeof record; ++i)
        hash = (hash ^ bytes[i]) * 0x100000001b3;
}

} // namespace

int main()
{
    std::mt19937 random(1);
    const auto thousandths = [&](int bound) { // exact, so that all builds start from the same numbers
        return static_cast<float>(static_cast<int>(random() % (2 * bound + 1)) - bound) / 1000.0f;
    };
    Init_Sys_Data(46); // sets the tool transform for model 36
    for (int round = 0; round < 100000; ++round) {
        float joints[7];
        for (float& joint : joints)
            joint = thousandths(180000);
        setAngle(joints[0] / 100, joints[1] / 100, joints[2] / 100);
        const KinPose poses[] = {Forward_Kinematics(36, joints), Forward_Kinematics(46, joints),
                                 Forward_Kinematics(47, joints)};
        const auto& [flange, tool, work] = poses;
        const auto& [w, x, y, z] = tool.quaternion;
        add(poses);
        add(matrix_inv(pos2matrix(flange)));
        add(quaternion2euler(w, x, y, z));
        add(my_atan2f(tool.position.y, tool.position.x));
        add(tool2end(end2tool(flange, tool, work), tool, work));
        add(RotateMove(flange, round % 4, joints[0]));
    }
    std::printf("%016" PRIx64 " ", hash);

    // Batches, Jacobians and inverses of arm models, in a hash of their own.
    hash = 0xcbf29ce484222325;
    for (int model : {36, 46, 47}) {
        ARM_MODEL arm;
        Arm_Model_Init(&arm, model, 0);
        constexpr int count = 10000;
        static float joints[count * 7], found[count * 7];
        static KinPose poses[count];
        static int codes[count];
        for (float& joint : joints)
            joint = thousandths(120000);
        Arm_Model_Poses(&arm, count, joints, poses, 1);
        add(poses);
        Arm_Model_Inverses(&arm, count - 1, joints + arm.joints, poses, 4, found, codes, 1);
        add(found);
        add(codes);
        for (int n = 0; n < count; n += 100) {
            double jacobian[6][7];
            Arm_Model_Jacobian(&arm, joints + n * arm.joints, ARM_TOOL, jacobian);
            add(jacobian);
        }
    }
    std::printf("%016" PRIx64 "\n", hash);
}
