// The descriptions as other people's programs read them, against the library's own kinematics.
#include "description/description.h"
#include "kinematics/kinematics_support.h"

#include <kdl_parser/kdl_parser.hpp>

namespace {

namespace description = kx::description;

struct Description : testing::TestWithParam<int> {
    void SetUp() override { Arm_Model_Init(&arm, GetParam(), 0); }

    Joints random_joints()
    {
        Joints joint = {};
        for (int i = 0; i < arm.joints; ++i)
            joint[i] = std::uniform_real_distribution(arm.lower[i], arm.upper[i])(random);
        return joint;
    }
    description::Options options(const std::string& prefix = "") const { return {GetParam(), prefix, ""}; }

    ARM_MODEL arm;
    std::mt19937 random{1};
};

// The frames of a tool and of all links, and the limits.
TEST_P(Description, KdlComputesTheSamePoses)
{
    KDL::Tree tree;
    ASSERT_TRUE(kdl_parser::treeFromString(description::urdf(options("left_")), tree));
    std::vector<KDL::Chain> chains(static_cast<std::size_t>(arm.joints) + 1);
    for (int i = 0; i < arm.joints; ++i)
        ASSERT_TRUE(tree.getChain("left_base", "left_link_" + std::to_string(i + 1), chains[i]));
    ASSERT_TRUE(tree.getChain("left_base", "left_tool0", chains.back()));

    double off = 0, turned = 0;
    for (int round = 0; round < 10000; ++round) {
        const Joints joint = random_joints();
        Matrix links[7];
        Arm_Model_Links(&arm, joint.data(), links);
        for (std::size_t i = 0; i < chains.size(); ++i) {
            KDL::JntArray angles(chains[i].getNrOfJoints());
            for (unsigned j = 0; j < angles.rows(); ++j)
                angles(j) = joint[j] * kdl_arms::degree;
            KDL::Frame found;
            KDL::ChainFkSolverPos_recursive(chains[i]).JntToCart(angles, found);
            const KDL::Frame expected = i + 1 < chains.size()
                                            ? frame_of(links[i])
                                            : kdl_arms::exact_frame(Arm_Model_Flange(&arm, joint.data()));
            const KDL::Twist apart = KDL::diff(expected, found);
            off = std::max(off, apart.vel.Norm()), turned = std::max(turned, apart.rot.Norm());
        }
    }
    EXPECT_LT(off, 5e-6);
    EXPECT_LT(turned, 2e-5);
}

INSTANTIATE_TEST_SUITE_P(Models, Description, testing::Values(36, 46, 47), testing::PrintToStringParamName());

} // namespace
