// The nearest of all solutions, singular places included: the quick count of kinematics_sweep.
#include "kinematics/hard_targets.h"

#include <gtest/gtest.h>

namespace {

class Nearest : public ::testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Models, Nearest, ::testing::Values(36, 46, 47),
                         [](const auto& test) { return "Model" + std::to_string(test.param); });

TEST_P(Nearest, IsNeverMissed)
{
    for (bool is_hard : {true, false}) {
        const hard::Misses m = hard::count(GetParam(), GetParam() == 47 ? 500 : 4000, is_hard, 1);
        EXPECT_EQ(m.misses, 0) << "worst " << m.worst;
        EXPECT_EQ(m.wrong, 0);
    }
}

} // namespace
