// How often Arm_Model_Inverse misses a nearer solution that an exhaustive search finds, on hard and random targets:
//     kinematics_sweep [hard targets per model, 100,000 by default] [random ones, a million by default] [seed]
#include "kinematics/hard_targets.h"

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments)
{
    const long hard_targets = count > 1 ? std::atol(arguments[1]) : 100000;
    const long random_targets = count > 2 ? std::atol(arguments[2]) : 1000000;
    const unsigned seed = count > 3 ? static_cast<unsigned>(std::atol(arguments[3])) : 2026;
    std::printf("| model | targets | misses | worst, rad^2 | outside the limits or off the pose "
                "|\n|---|---|---|---|---|\n");
    for (int model : {36, 46, 47})
        for (bool is_hard : {true, false}) {
            const auto [targets, misses, wrong, worst] =
                hard::count(model, is_hard ? hard_targets : random_targets, is_hard, seed);
            std::printf("| %d | %ld %s | %ld | %.2g | %ld |\n", model, targets, is_hard ? "hard" : "random",
                        misses, worst, wrong);
            std::fflush(stdout);
        }
}
