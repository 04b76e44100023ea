// Arm models share nothing: sixteen threads on all three of them get what one gets.
#include "kinematics/kinematics_support.h"

#include <future>

namespace {

TEST(ArmModels, AnyNumberOfThreads)
{
    const auto work = [](int seed) {
        std::vector<float> results;
        for (int round = 0; round < 180; ++round) {
            ARM_MODEL arm;
            Arm_Model_Init(&arm, std::array{36, 46, 47}[round % 3], seed % 3);
            arm.installation.rx = round * 0.03f;
            hard::Problems problems(arm, seed + 4 * round);
            const Joints joint[2] = {problems.anywhere(), problems.anywhere()};
            KinPose poses[2];
            Arm_Model_Poses(&arm, 2, joint[0].data(), poses, 2);
            Joints found = {};
            Arm_Model_Inverse(&arm, joint[1].data(), &poses[0], 4, found.data());
            results.insert(results.end(), found.begin(), found.end());
            results.push_back(static_cast<float>(Arm_Model_Dexterity(&arm, joint[0].data()).distance));
            results.push_back(static_cast<float>(Arm_Model_Clearance(&arm, joint[0].data())));
        }
        return results;
    };
    std::vector<std::future<std::vector<float>>> results;
    for (int n = 0; n < 16; ++n)
        results.push_back(std::async(std::launch::async, work, n % 4));
    for (int n = 0; n < 16; ++n)
        EXPECT_EQ(results[n].get(), work(n % 4)) << n;
}

} // namespace
