// Forward kinematics against Orocos KDL, and its fast chain against the plain product, bit by bit.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <bit>

namespace {

bool all(const KinPose& pose, auto holds)
{
    const auto& [p, q, e] = pose;
    return std::ranges::all_of(std::array{p.x, p.y, p.z, q.w, q.x, q.y, q.z, e.rx, e.ry, e.rz}, holds);
}

struct Forward : OfEachModel {};
INSTANTIATE_TEST_SUITE_P(Models, Forward, ::testing::Values(36, 46, 47), model_name);

// Degrees become radians by the factor 0.0174533, which is 4e-7 too large: that costs up to 2e-5. How base and
// tool count is seen with the inverse.
TEST_P(Forward, AgreesWithKdl)
{
    for (int round = 0; round < 2000; ++round) {
        const Joints joints = problems.anywhere();
        const KinPose pose = Forward_Kinematics(model, joints.data());
        ASSERT_TRUE(matches(pose, kdl_arms::forward(model, joints.data()), 2e-5));
        for (float angle : {pose.euler.rx, pose.euler.ry, pose.euler.rz})
            ASSERT_TRUE(angle >= -3.13f && angle <= 3.1532f) << angle;
    }
}

TEST(ForwardOf, UnknownModelGivesZerosAndLoadsNothing)
{
    const Joints joints = {10, 20, 30, 40, 50, 60, 70};
    lwt = 7;
    EXPECT_TRUE(all(Forward_Kinematics(99, joints.data()), [](float x) { return x == 0; }));
    EXPECT_EQ(lwt, 7);
    EXPECT_EQ(Forward_Kinematics_e(99, joints.data()).data[3][3], 0);
}

// With all other joints at zero, joint 1 alone gives rz; model 46 starts from half a turn. Below -3.13 rz comes plus a
// turn, which the quaternion follows for model 46 only.
TEST(ForwardOf, AnglesAtTheEndsOfTheirTurnAndNearZero)
{
    const struct {
        int model;
        float joint1, rz, z; // of the quaternion
    } rows[] = {
        {36, -179.8f, 3.145083f, -0.999998f},
        {47, -179.8f, 3.145083f, -0.999998f},
        {46, 0.2f, 3.145083f, 0.999998f},
        {47, -178.76f, -3.119950f, -0.999941f},
        {36, -178.76f, -3.119950f, -0.999941f},
        {46, 1.24f, -3.119950f, -0.999941f},
        // Just short of half a turn, sin(rz) is tiny; of six joints it is cleared, and rz comes out as +pi
        {36, -179.99989f, 3.141593f, 1},
        {47, -179.99989f, 3.141593f, -1},
        {46, 3e-5f, 3.141593f, 1},
    };
    Init_Sys_Data(46); // sets the tool transform for model 36
    for (const auto& [model, joint1, rz, z] : rows) {
        SCOPED_TRACE(::testing::Message() << model << ": " << joint1);
        const auto [p, q, e] = Forward_Kinematics(model, Joints{joint1}.data());
        EXPECT_NEAR(e.rz, rz, 1e-5);
        EXPECT_NEAR(q.z, z, 2e-6);
    }
    // 7e-7 rad count as zero, and twice as much do not.
    for (float degrees : {4e-5f, -4e-5f}) {
        const auto [p, q, e] = Forward_Kinematics(47, Joints{degrees}.data());
        EXPECT_TRUE(e.rz == 0 && q.z == 0);
        EXPECT_NE(Forward_Kinematics(47, Joints{2 * degrees}.data()).euler.rz, 0);
    }
}

// The product of the full link matrices is the judge of the fast chain.
struct PlainLink {
    int alpha; // quarter turns
    float a, d;
};

Matrix plain_link(bool modified, const PlainLink& link, float degrees)
{
    const float theta = degrees * 0.0174533f;
    const float s = static_cast<float>(std::sin(static_cast<double>(theta)));
    const float c = static_cast<float>(std::cos(static_cast<double>(theta)));
    const float sa = link.alpha, ca = link.alpha == 0, a = link.a, d = link.d;
    const auto times = [](float x, float right_angle) { return right_angle == 0 ? 0 : x * right_angle; };
    const float s_sa = times(s, sa), s_ca = times(s, ca), c_sa = times(c, sa), c_ca = times(c, ca);
    if (modified)
        return {4, 4, {{c, -s, 0, a}, {s_ca, c_ca, -sa, -sa * d}, {s_sa, c_sa, ca, ca * d}, {0, 0, 0, 1}}};
    return {4, 4, {{c, -s_ca, s_sa, 0}, {s, c_ca, -c_sa, 0}, {0, sa, ca, d}, {0, 0, 0, 1}}};
}

Matrix plain_chain(int model, const Joints& theta)
{
    const std::vector<PlainLink> links =
        model == 36   ? std::vector<PlainLink>{{0, 0, d1},  {1, a2, 0}, {0, a3, d3},
                                               {1, a4, d4}, {-1, 0, 0}, {-1, 0, lwt}}
        : model == 46 ? std::vector<PlainLink>{{0, 0, lsb}, {1, 0, 0},  {0, lse, d3},
                                               {1, 0, lew}, {-1, 0, 0}, {1, 0, lwt}}
                      : std::vector<PlainLink>{{-1, 0, dbs}, {1, 0, 0}, {-1, 0, dse}, {1, 0, d4},
                                               {-1, 0, dew}, {1, 0, 0}, {0, 0, lwt}};
    Matrix m = pos2matrix({{}, {}, {angleU, angleV, model == 46 ? angleZ : 0}});
    for (std::size_t i = 0; i < links.size(); ++i)
        m = matrix_m(m, plain_link(model != 47, links[i], theta[i]));
    return m;
}

// The same bits, or both NaN.
::testing::AssertionResult identical(const Matrix& fast, const Matrix& plain)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (const float got = fast.data[i][j], expected = plain.data[i][j];
                std::bit_cast<int>(got) != std::bit_cast<int>(expected) &&
                !(std::isnan(got) && std::isnan(expected)))
                return ::testing::AssertionFailure()
                       << i << ", " << j << ": " << got << " instead of " << expected;
    return ::testing::AssertionSuccess();
}

TEST_P(Forward, FastChainHasTheBitsOfThePlainProduct)
{
    for (int round = 0; round < 20000; ++round) {
        Joints theta = problems.anywhere();
        setAngle(0, 0, 0);
        if (round % 4 == 1) // installed at an angle
            setAngle(random.between(-3, 3), random.between(-3, 3), random.between(-3, 3));
        if (round % 4 == 2) // right angles leave elements near zero and zeros of either sign
            for (float& angle : theta)
                angle = 90 * std::round(angle / 90);
        if (round % 100 == 3) { // and what is no number reaches what the plain product lets it reach
            theta[round / 100 % arm.joints] = round % 200 == 3 ? nan_f : infinity_f;
            EXPECT_TRUE(all(Forward_Kinematics(model, theta.data()), [](float x) { return std::isnan(x); }));
        }
        ASSERT_TRUE(identical(Forward_Kinematics_e(model, theta.data()), plain_chain(model, theta)));
    }
}

TEST(ForwardOf, LinkMatricesOfTheSevenJointArmMultiplyToItsChain)
{
    const Joints theta = {10, -20, 30, -40, 50, -60, 70};
    Matrix links[7];
    Init_Sys_Data(47);
    Homogeneous_transformation_matrix(theta.data(), links);
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(KDL::Equal(frame_of(links[i]),
                               kdl_arms::arm(47).getSegment(i).pose(theta[i] * kdl_arms::degree), 1e-5))
            << i;
        EXPECT_EQ(links[i].rows * links[i].cols, 16);
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(links[i].data[3][j], j == 3);
    }
}

} // namespace
