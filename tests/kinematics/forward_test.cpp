// Forward kinematics against Orocos KDL, and its fast chain against the plain product, bit by bit.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <kdl/chainfksolverpos_recursive.hpp>

#include <bit>

namespace {

const int models[] = {36, 46, 47};

int joint_count(int model)
{
    return model == 47 ? 7 : 6;
}

Joints random_joints(Random& random, int model)
{
    Init_Sys_Data(model);
    const float* const limits[7][2] = {
        {&JOINT1_LOWER, &JOINT1_UPPER}, {&JOINT2_LOWER, &JOINT2_UPPER}, {&JOINT3_LOWER, &JOINT3_UPPER},
        {&JOINT4_LOWER, &JOINT4_UPPER}, {&JOINT5_LOWER, &JOINT5_UPPER}, {&JOINT6_LOWER, &JOINT6_UPPER},
        {&JOINT7_LOWER, &JOINT7_UPPER},
    };
    Joints joints = {};
    for (int i = 0; i < joint_count(model); ++i)
        joints[i] = random.between(*limits[i][0], *limits[i][1]);
    return joints;
}

KDL::Frame kdl_forward(int model, const Joints& joints)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::JntArray radians(joint_count(model));
    for (int i = 0; i < joint_count(model); ++i)
        radians(i) = joints[i] * kdl_arms::degree;
    KDL::Frame frame;
    KDL::ChainFkSolverPos_recursive(chain).JntToCart(radians, frame);
    return frame;
}

// Degrees become radians by the factor 0.0174533, which is 4e-7 too large: this is the most it may cost.
constexpr double tolerance = 2e-5;

class Forward : public ::testing::Test {
  protected:
    Random random;

    void SetUp() override
    {
        Init_Sys_Data(46); // sets the tool transform for model 36
        setAngle(0, 0, 0);
    }
};

TEST_F(Forward, AgreesWithKdl)
{
    for (int model : models)
        for (int round = 0; round < 2000; ++round) {
            const Joints joints = random_joints(random, model);
            const KinPose pose = Forward_Kinematics(model, joints.data());
            ASSERT_TRUE(matches(pose, kdl_forward(model, joints), tolerance)) << model;
            for (float angle : {pose.euler.rx, pose.euler.ry, pose.euler.rz})
                ASSERT_TRUE(angle >= -3.13f && angle <= 3.1532f) << angle;
        }
}

// Model 36 turns by Ry(V)*Rx(U), model 46 by Rz(Z) alone, model 47 not at all.
TEST_F(Forward, InstallationAnglesTurnTheBase)
{
    const float U = 0.1f, V = 0.2f, Z = 0.3f;
    for (int model : models) {
        const Joints joints = random_joints(random, model);
        setAngle(U, V, Z);
        const KDL::Frame base(model == 36   ? KDL::Rotation::RPY(U, V, 0)
                              : model == 46 ? KDL::Rotation::RotZ(Z)
                                            : KDL::Rotation::Identity());
        const KinPose pose = Forward_Kinematics(model, joints.data());
        EXPECT_TRUE(matches(pose, base * kdl_forward(model, joints), tolerance)) << model;
    }
}

TEST_F(Forward, ToolIsAppendedForModel36AndResetForTheOthers)
{
    const KinPose tool = random.pose();
    for (int model : models) {
        const Joints joints = random_joints(random, model);
        Tool_Matrix = pos2matrix(tool);
        const KDL::Frame appended = model == 36 ? frame_by_euler(tool) : KDL::Frame::Identity();
        const KinPose pose = Forward_Kinematics(model, joints.data());
        EXPECT_TRUE(matches(pose, kdl_forward(model, joints) * appended, tolerance)) << model;
    }
}

TEST_F(Forward, Model36HasAZeroToolUntilAnotherModelWasLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs the statement in a fresh process
    const auto origin = [] {
        Tool_Matrix = {};
        const Joints joints = {10, 20, 30, 40, 50, 60};
        const auto [p, q, e] = Forward_Kinematics(36, joints.data());
        return p.x == 0 && p.y == 0 && p.z == 0 && q.w == 1 && q.x == 0 && q.y == 0 && q.z == 0 &&
               e.rx == 0 && e.ry == 0 && e.rz == 0;
    };
    EXPECT_EXIT(std::exit(origin() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST_F(Forward, StretchedSevenJointArmIsExact)
{
    const Joints zeros = {};
    const auto [p, q, e] = Forward_Kinematics(47, zeros.data());
    EXPECT_EQ(p.x, 0);
    EXPECT_EQ(p.y, 0);
    EXPECT_FLOAT_EQ(p.z, 0.8505f);
    for (float x : {q.x, q.y, q.z, e.rx, e.ry, e.rz})
        EXPECT_EQ(x, 0);
    EXPECT_EQ(q.w, 1);
}

// Just short of half a turn back, sin(rz) is -5e-7: without it rz comes out as +pi instead of -pi.
TEST_F(Forward, SixJointArmsClearTinyElementsBeforeTheArcTangents)
{
    const Joints half_turn = {-179.99989f}, from_half_turn = {3e-5f};
    EXPECT_NEAR(Forward_Kinematics(36, half_turn.data()).quaternion.z, 1, 1e-6);
    EXPECT_NEAR(Forward_Kinematics(47, half_turn.data()).quaternion.z, -1, 1e-6);
    EXPECT_EQ(Forward_Kinematics(46, from_half_turn.data()).euler.rz, static_cast<float>(M_PI));
}

TEST_F(Forward, TinyAnglesBecomeZero)
{
    for (float degrees : {4e-5f, -4e-5f}) { // 7e-7 rad
        const Joints tiny = {degrees}, small = {2 * degrees};
        EXPECT_EQ(Forward_Kinematics(47, tiny.data()).euler.rz, 0);
        EXPECT_EQ(Forward_Kinematics(47, tiny.data()).quaternion.z, 0);
        EXPECT_NE(Forward_Kinematics(47, small.data()).euler.rz, 0);
    }
}

TEST_F(Forward, UnknownModelGivesZerosAndLoadsNothing)
{
    const Joints joints = {10, 20, 30, 40, 50, 60, 70};
    lwt = 7;
    const auto [p, q, e] = Forward_Kinematics(99, joints.data());
    for (float x : {p.x, p.y, p.z, q.w, q.x, q.y, q.z, e.rx, e.ry, e.rz})
        EXPECT_EQ(x, 0);
    EXPECT_EQ(lwt, 7);
    EXPECT_EQ(Forward_Kinematics_e(99, joints.data()).data[3][3], 0);
}

// With all other joints at zero, joint 1 alone gives rz; model 46 starts from half a turn.
TEST_F(Forward, AnglesBelowTheThresholdAreWrapped)
{
    const struct {
        int model;
        float joint1, rz, quaternion_sign; // the sign relative to the quaternion of the angles returned
    } rows[] = {
        {36, -179.8f, 3.145083f, -1},  {47, -179.8f, 3.145083f, -1},  {46, 0.2f, 3.145083f, 1},
        {47, -178.76f, -3.119950f, 1}, {36, -178.76f, -3.119950f, 1}, {46, 1.24f, -3.119950f, 1},
    };
    for (const auto& [model, joint1, rz, sign] : rows) {
        SCOPED_TRACE(::testing::Message() << model << ": " << joint1);
        const Joints joints = {joint1};
        const auto [p, q, e] = Forward_Kinematics(model, joints.data());
        EXPECT_NEAR(e.rz, rz, 1e-5);
        const Quaternion of_angles = euler2quaternion(e.rx, e.ry, e.rz);
        EXPECT_NEAR(q.w, sign * of_angles.w, 1e-6);
        EXPECT_NEAR(q.z, sign * of_angles.z, 1e-6);
    }
}

// A plainly written product of the full link matrices is the judge of the fast chain.
using Square = std::array<std::array<float, 4>, 4>;

Square plain_product(const Square& a, const Square& b)
{
    Square product;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double sum = 0;
            for (int k = 0; k < 4; ++k) {
                const volatile float term = a[i][k] * b[k][j];
                sum += static_cast<double>(term);
            }
            product[i][j] = static_cast<float>(sum);
        }
    return product;
}

struct PlainLink {
    int alpha; // quarter turns
    float a, d;
};

Square plain_link(bool modified, const PlainLink& link, float degrees)
{
    const float theta = degrees * 0.0174533f;
    const float s = static_cast<float>(std::sin(static_cast<double>(theta)));
    const float c = static_cast<float>(std::cos(static_cast<double>(theta)));
    const float sa = link.alpha, ca = link.alpha == 0, a = link.a, d = link.d;
    const auto times = [](float x, float right_angle) { return right_angle == 0 ? 0 : x * right_angle; };
    const float s_sa = times(s, sa), s_ca = times(s, ca), c_sa = times(c, sa), c_ca = times(c, ca);
    if (modified)
        return {{{c, -s, 0, a}, {s_ca, c_ca, -sa, -sa * d}, {s_sa, c_sa, ca, ca * d}, {0, 0, 0, 1}}};
    return {{{c, -s_ca, s_sa, 0}, {s, c_ca, -c_sa, 0}, {0, sa, ca, d}, {0, 0, 0, 1}}};
}

Square plain_chain(int model, const Joints& theta)
{
    const std::vector<PlainLink> links =
        model == 36   ? std::vector<PlainLink>{{0, 0, d1},  {1, a2, 0}, {0, a3, d3},
                                               {1, a4, d4}, {-1, 0, 0}, {-1, 0, lwt}}
        : model == 46 ? std::vector<PlainLink>{{0, 0, lsb}, {1, 0, 0},  {0, lse, d3},
                                               {1, 0, lew}, {-1, 0, 0}, {1, 0, lwt}}
                      : std::vector<PlainLink>{{-1, 0, dbs}, {1, 0, 0}, {-1, 0, dse}, {1, 0, d4},
                                               {-1, 0, dew}, {1, 0, 0}, {0, 0, lwt}};
    const Matrix base = euler2matrix(angleU, angleV, model == 46 ? angleZ : 0);
    Square m = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] = base.data[i][j];
    m[3][3] = 1;
    for (std::size_t i = 0; i < links.size(); ++i)
        m = plain_product(m, plain_link(model != 47, links[i], theta[i]));
    return m;
}

// The same bits, or both NaN.
::testing::AssertionResult identical(const Matrix& fast, const Square& plain)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const float got = fast.data[i][j], expected = plain[i][j];
            if (std::bit_cast<int>(got) != std::bit_cast<int>(expected) &&
                !(std::isnan(got) && std::isnan(expected)))
                return ::testing::AssertionFailure()
                       << i << ", " << j << ": " << got << " instead of " << expected;
        }
    return ::testing::AssertionSuccess();
}

TEST_F(Forward, FastChainHasTheBitsOfThePlainProduct)
{
    for (int model : models)
        for (int round = 0; round < 20000; ++round) {
            Joints theta = random_joints(random, model);
            if (round % 4 == 1) // installed at an angle
                setAngle(random.between(-3, 3), random.between(-3, 3), random.between(-3, 3));
            if (round % 4 == 2) // right angles leave elements near zero and zeros of either sign
                for (float& angle : theta)
                    angle = 90 * std::round(angle / 90);
            ASSERT_TRUE(identical(Forward_Kinematics_e(model, theta.data()), plain_chain(model, theta)))
                << model;
            setAngle(0, 0, 0);
        }
}

TEST_F(Forward, NonFiniteJointsReachWhatThePlainProductLetsThemReach)
{
    for (int model : models)
        for (int joint = 0; joint < joint_count(model); ++joint)
            for (float bad : {nan_f, infinity_f}) {
                Joints joints = random_joints(random, model);
                joints[joint] = bad;
                EXPECT_TRUE(identical(Forward_Kinematics_e(model, joints.data()), plain_chain(model, joints)))
                    << model << " joint " << joint + 1;
                const auto [p, q, e] = Forward_Kinematics(model, joints.data());
                for (float x : {p.x, p.y, p.z, q.w, q.x, q.y, q.z, e.rx, e.ry, e.rz})
                    EXPECT_TRUE(std::isnan(x)) << model << " joint " << joint + 1;
            }
}

TEST_F(Forward, LinkMatricesOfTheSevenJointArmMultiplyToItsChain)
{
    const Joints theta = random_joints(random, 47);
    Matrix links[7];
    Homogeneous_transformation_matrix(theta.data(), links);
    KDL::Frame product;
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(KDL::Equal(frame_of(links[i]),
                               kdl_arms::arm(47).getSegment(i).pose(theta[i] * kdl_arms::degree), 1e-5))
            << i;
        EXPECT_EQ(links[i].rows, 4);
        EXPECT_EQ(links[i].cols, 4);
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(links[i].data[3][j], j == 3);
    }
}

} // namespace
