// Forward kinematics: its fast chain against the plain product, bit by bit, and its angles. That it agrees with Orocos
// KDL, wherever base and tool are, is seen with the inverse.
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
        // 7e-7 rad count as zero, and twice as much do not.
        {47, 4e-5f, 0, 0},
        {47, -4e-5f, 0, 0},
        {47, 8e-5f, 1.4e-6f, 7e-7f},
        {47, -8e-5f, -1.4e-6f, -7e-7f},
    };
    Init_Sys_Data(46); // sets the tool transform for model 36
    for (const auto& [model, joint1, rz, z] : rows) {
        SCOPED_TRACE(::testing::Message() << model << ": " << joint1);
        const auto [p, q, e] = Forward_Kinematics(model, Joints{joint1}.data());
        const bool is_small = std::fabs(rz) < 1;
        EXPECT_NEAR(e.rz, rz, is_small ? std::fabs(rz) / 100 : 1e-5);
        EXPECT_NEAR(q.z, z, is_small ? std::fabs(z) / 100 : 2e-6);
    }
}

// The product of the full link matrices, of the exported lengths as they stand, is the judge of the fast chain.
struct PlainLink {
    int alpha; // quarter turns
    float a, d;
};

std::vector<PlainLink> plain_links(int model)
{
    if (model == 36) return {{0, 0, d1}, {1, a2, 0}, {0, a3, d3}, {1, a4, d4}, {-1, 0, 0}, {-1, 0, lwt}};
    if (model == 46) return {{0, 0, lsb}, {1, 0, 0}, {0, lse, d3}, {1, 0, lew}, {-1, 0, 0}, {1, 0, lwt}};
    return {{-1, 0, dbs}, {1, 0, 0}, {-1, 0, dse}, {1, 0, d4}, {-1, 0, dew}, {1, 0, 0}, {0, 0, lwt}};
}

Matrix plain_matrix(int model, const PlainLink& link, float degrees)
{
    const float theta = degrees * 0.0174533f;
    const float s = static_cast<float>(std::sin(static_cast<double>(theta)));
    const float c = static_cast<float>(std::cos(static_cast<double>(theta)));
    const float sa = link.alpha, ca = link.alpha == 0, a = link.a, d = link.d;
    const auto times = [](float x, float right_angle) { return right_angle == 0 ? 0 : x * right_angle; };
    const float s_sa = times(s, sa), s_ca = times(s, ca), c_sa = times(c, sa), c_ca = times(c, ca);
    if (model != 47)
        return {4, 4, {{c, -s, 0, a}, {s_ca, c_ca, -sa, -sa * d}, {s_sa, c_sa, ca, ca * d}, {0, 0, 0, 1}}};
    return {4, 4, {{c, times(-s, ca), s_sa, 0}, {s, c_ca, times(-c, sa), 0}, {0, sa, ca, d}, {0, 0, 0, 1}}};
}

void expect_same_bits_or_both_nan(const Matrix& fast, const Matrix& plain)
{
    for (int i = 0; i < 16; ++i) {
        const float got = fast.data[i / 4][i % 4], expected = plain.data[i / 4][i % 4];
        ASSERT_TRUE(std::bit_cast<int>(got) == std::bit_cast<int>(expected) ||
                    (std::isnan(got) && std::isnan(expected)))
            << i << ": " << got << " instead of " << expected;
    }
}

TEST_P(Forward, FastChainHasTheBitsOfThePlainProduct)
{
    for (int round = 0; round < 20000; ++round) {
        Joints theta = problems.anywhere();
        setAngle(0, 0, 0);
        if (round % 4 == 1) // installed at an angle
            setAngle(problems.between(-3, 3), problems.between(-3, 3), problems.between(-3, 3));
        for (float& angle : theta)
            if (round % 4 == 2) // right angles leave elements near zero and zeros of either sign
                angle = 90 * std::round(angle / 90);
            else if (round % 16 == 3) // many turns
                angle *= std::pow(10.f, problems.between(0, 30));
        if (round % 100 == 7) { // and what is no number reaches what the plain product lets it reach
            theta[round / 100 % arm.joints] = round % 200 == 7 ? nan_f : infinity_f;
            EXPECT_TRUE(all(Forward_Kinematics(model, theta.data()), [](float x) { return std::isnan(x); }));
        }
        for (float* length : {&d1, &d3, &d4, &a2, &a3, &a4, &lsb, &lse, &lew, &dbs, &dse, &dew, &lwt})
            *length = problems.between(-1, 1);
        Matrix of_seven[7], plain = pos2matrix({{}, {}, {angleU, angleV, model == 46 ? angleZ : 0}});
        Homogeneous_transformation_matrix(theta.data(), of_seven);
        for (int i = 0; const PlainLink& link : plain_links(model)) {
            const Matrix matrix = plain_matrix(model, link, theta[i]);
            plain = matrix_m(plain, matrix);
            if (model == 47) expect_same_bits_or_both_nan(of_seven[i], matrix);
            ++i;
        }
        expect_same_bits_or_both_nan(Forward_Kinematics_e(model, theta.data()), plain);
        if (HasFailure()) return;
    }
}

} // namespace
