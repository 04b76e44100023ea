// Pose mathematics: product, inverse, and the conversions between angles, quaternions and transforms.
#include "kinematics/arithmetic.h"
#include "kinematics/kinematics_support.h"

#include <Eigen/Dense>

namespace {

Eigen::Matrix4d eigen(const Matrix& m)
{
    return Eigen::Map<const Eigen::Matrix<float, 4, 4, Eigen::RowMajor>>(m.data[0]).cast<double>();
}

// Every product is rounded to float, every sum is kept in double: each row would give something else with
// products in double or sums in float.
TEST(MatrixProduct, RoundsProductsToFloatAndSumsInDouble)
{
    const float above_one = 1 + 0x1p-23f, square = 1 + 0x1p-22f; // above_one squared, rounded to float
    const Matrix a = {4, 4, {{above_one, -1, 0, 0}, {0x1p24f, 1, -0x1p24f, 0}}},
                 b = {4, 4, {{above_one, 1}, {square, 1}, {0, 1}, {0, 1}}}, product = matrix_m(a, b);
    EXPECT_EQ(product.data[0][0], 0);
    EXPECT_EQ(product.data[1][1], 1);
}

// Whatever the order of pivots; and of small matrices only what is in use.
TEST(MatrixInverse, AndProductAreEigens)
{
    Random random{seed()};
    for (int n : {3, 4})
        for (int round = 0; round < 200; ++round) {
            // A few large entries, one in each row and column in some permutation, over smaller ones: pivots
            // lie off the diagonal.
            Matrix m = {n, n, {}};
            int large[] = {0, 1, 2, 3};
            std::swap(large[random.below(n)], large[random.below(n)]);
            std::rotate(large, large + random.below(n), large + n);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    m.data[i][j] = large[i] != j ? random.between(-1, 1)
                                                 : random.between(5, 50) * (round % 2 ? 1.f : -1.f);
            const Matrix inverse = matrix_inv(m), product = matrix_m(m, m);
            EXPECT_TRUE(inverse.rows == n && inverse.cols == n && product.rows == n && product.cols == n);
            const Eigen::MatrixXd exact = eigen(m).topLeftCorner(n, n).inverse();
            EXPECT_TRUE(eigen(inverse).topLeftCorner(n, n).isApprox(exact, 1e-5)) << eigen(m);
            EXPECT_TRUE(eigen(product).isApprox(eigen(m) * eigen(m), 1e-5));
        }
}

// Whatever a size says, the sanitizers find nothing.
TEST(MatrixInverse, OfNoSizeReadsNothingAndSingularGivesNonFinite)
{
    for (const int32_t size : {INT32_MIN, -1, 0, INT32_MAX})
        EXPECT_NO_FATAL_FAILURE(matrix_inv(Matrix{size, size, {}}));
    const Matrix rank_two = {3, 3, {{1, 2, 3}, {2, 4, 6}, {0, 0, 1}}};
    for (const Matrix& singular : {Matrix{4, 4, {}}, rank_two})
        EXPECT_FALSE(eigen(matrix_inv(singular)).allFinite());
}

TEST(Conversions, AgreeWithKdlAndReturn)
{
    Random random{seed()};
    for (int round = 0; round < 1000; ++round) {
        const KinPose pose = random.pose();
        const auto& [position, q, euler] = pose;
        const KinPose without = {position, {nan_f, nan_f, nan_f, nan_f}, euler}; // angles alone count
        EXPECT_TRUE(matches(pose, frame_of(pos2matrix(without)), 1e-6));
        EXPECT_TRUE(matches(matrix2pos(pos2matrix(pose)), frame_by_euler(pose)));
        const double tolerance = 1e-6 / std::cos(euler.ry); // near gimbal lock rx and rz lose precision
        for (const Euler& e : {quaternion2euler(q.w, q.x, q.y, q.z), matrix2pos(pos2matrix(pose)).euler}) {
            EXPECT_NEAR(e.rx, euler.rx, tolerance);
            EXPECT_NEAR(e.ry, euler.ry, tolerance);
            EXPECT_NEAR(e.rz, euler.rz, tolerance);
        }
    }
}

// Looking straight up or down leaves rx and rz to their own arc tangents of (0, 0).
TEST(Conversions, GimbalLockGivesNoHelp)
{
    for (float sign : {1.0f, -1.0f}) {
        const Euler e =
            matrix2pos({4, 4, {{0, 0, sign, 0}, {0, 1, 0, 0}, {-sign, 0, 0, 0}, {0, 0, 0, 1}}}).euler;
        EXPECT_TRUE(e.rx == 0 && e.rz == 0);
        EXPECT_FLOAT_EQ(e.ry, sign * static_cast<float>(M_PI_2));
    }
}

TEST(Conversions, QuaternionsAreNeitherTurnedNorClamped)
{
    const Quaternion q = euler2quaternion(0, 0, 0.5f), further = euler2quaternion(0, 0, 0.5f + 2 * M_PIf32);
    EXPECT_NEAR(further.w, -q.w, 1e-6);
    EXPECT_NEAR(further.z, -q.z, 1e-6);
    EXPECT_TRUE(std::isnan(quaternion2euler(1, 0, 1, 0).ry)) << "not of unit length";
}

TEST(ArcTangent, DiffersFromTheLibraryOnlyAtZeros)
{
    for (float y : {0.0f, -0.0f, 1.0f, -1.0f})
        for (float x : {1.0f, y == 0 ? 2.0f : 0.0f, -1.0f})
            EXPECT_FLOAT_EQ(my_atan2f(y, x), std::atan2(y + 0.0f, x)) << y << ", " << x;
    EXPECT_TRUE(std::isnan(my_atan2f(0, 0)));
}

// Around the circle, mostly where one series meets the next.
TEST(ArcTangent, FastFormAgreesWithTheLibrary)
{
    Random random{seed()};
    for (int round = 0; round < 100000; ++round) {
        const double off = round % 4 == 0 ? random.between(-0.2, 0.2)
                                          : random.between(-1, 1) * std::pow(10, random.below(300) * -1.),
                     angle = random.below(16) * M_PI / 8 + off, y = std::sin(angle), x = std::cos(angle);
        ASSERT_NEAR(kx::arc_tangent(y, x), std::atan2(y, x), 1e-9) << y << ", " << x;
    }
    EXPECT_EQ(kx::arc_tangent(-0.0, -1), kx::two_pi / 2);
    for (const auto& [y, x] : {std::pair{0.f, 0.f}, {nan_f, 1.f}, {1.f, nan_f}})
        EXPECT_TRUE(std::isnan(kx::arc_tangent(y, x)));
}

} // namespace
