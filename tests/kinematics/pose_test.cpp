// Pose mathematics: product, inverse, and the conversions between angles, quaternions and transforms.
#include "kinematics/arithmetic.h"
#include "kinematics/kinematics_support.h"

#include <Eigen/Dense>

namespace {

Eigen::Matrix4d eigen(const Matrix& m)
{
    return Eigen::Map<const Eigen::Matrix<float, 4, 4, Eigen::RowMajor>>(m.data[0]).cast<double>();
}

const Matrix identity4 = {4, 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

// Every product is rounded to float, every sum is kept in double: each row would give something else with
// products in double or sums in float.
TEST(MatrixProduct, RoundsProductsToFloatAndSumsInDouble)
{
    const float above_one = 1 + 0x1p-23f, square = 1 + 0x1p-22f; // above_one squared, rounded to float
    Matrix a = {4, 4, {{above_one, -1, 0, 0}, {0x1p24f, 1, -0x1p24f, 0}}}, b = identity4;
    b.data[0][0] = above_one;
    b.data[1][0] = square;
    EXPECT_EQ(matrix_m(a, b).data[0][0], 0);
    const Matrix ones = {4, 4, {{1}, {1}, {1}, {1}}};
    EXPECT_EQ(matrix_m(a, ones).data[1][0], 1);
}

TEST(MatrixProduct, SmallMatricesStaySmall)
{
    const Matrix a = euler2matrix(0.1f, 0.2f, 0.3f), b = euler2matrix(-1, 0.5f, 2), product = matrix_m(a, b);
    EXPECT_TRUE(product.rows == 3 && product.cols == 3 && product.data[3][3] == 0);
    EXPECT_TRUE(eigen(product).isApprox(eigen(a) * eigen(b), 1e-6));
}

TEST(MatrixInverse, InvertsWhateverThePivotOrder)
{
    Random random;
    std::mt19937 order(seed());
    for (int n : {3, 4})
        for (int round = 0; round < 200; ++round) {
            // A few large entries, one in each row and column in some permutation, over smaller ones: pivots
            // lie off the diagonal.
            Matrix m = {n, n, {}};
            int large[] = {0, 1, 2, 3};
            std::shuffle(large, large + n, order);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    m.data[i][j] = large[i] != j ? random.between(-1, 1)
                                                 : random.between(5, 50) * (round % 2 ? 1.f : -1.f);
            const Matrix inverse = matrix_inv(m);
            EXPECT_TRUE(inverse.rows == n && inverse.cols == n);
            const Eigen::MatrixXd exact = eigen(m).topLeftCorner(n, n).inverse();
            EXPECT_TRUE(eigen(inverse).topLeftCorner(n, n).isApprox(exact, 1e-5)) << eigen(m);
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
    Random random;
    for (int round = 0; round < 1000; ++round) {
        const KinPose pose = random.pose();
        const auto& [position, quaternion, euler] = pose;
        const KinPose without = {position, {nan_f, nan_f, nan_f, nan_f}, euler}; // angles alone count
        EXPECT_TRUE(matches(pose, frame_of(pos2matrix(without)), 1e-6));
        EXPECT_TRUE(matches(matrix2pos(pos2matrix(pose)), frame_by_euler(pose)));
        EXPECT_TRUE(eigen(matrix_m(pos2matrix(pose), matrix_inv(pos2matrix(pose)))).isIdentity(1e-5));

        const double tolerance = 1e-6 / std::cos(euler.ry); // near gimbal lock rx and rz lose precision
        for (const Euler& e : {quaternion2euler(quaternion.w, quaternion.x, quaternion.y, quaternion.z),
                               matrix2pos(pos2matrix(pose)).euler}) {
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
        const Matrix m = {4, 4, {{0, 0, sign, 0}, {0, 1, 0, 0}, {-sign, 0, 0, 0}, {0, 0, 0, 1}}};
        const Euler e = matrix2pos(m).euler;
        EXPECT_EQ(e.rx, 0);
        EXPECT_FLOAT_EQ(e.ry, sign * static_cast<float>(M_PI_2));
        EXPECT_EQ(e.rz, std::atan2(0.0f, 0.0f));
    }
}

TEST(Conversions, QuaternionsAreNeitherTurnedNorClamped)
{
    const Quaternion q = euler2quaternion(0, 0, 0.5f), further = euler2quaternion(0, 0, 0.5f + 2 * M_PIf32);
    EXPECT_NEAR(further.w, -q.w, 1e-6);
    EXPECT_NEAR(further.z, -q.z, 1e-6);
    const auto [rx, ry, rz] = quaternion2euler(1, 0, 0, 0);
    EXPECT_TRUE(rx == 0 && ry == 0 && rz == 0);
    EXPECT_TRUE(std::isnan(quaternion2euler(1, 0, 1, 0).ry)) << "not of unit length";
}

TEST(ArcTangent, DiffersFromTheLibraryOnlyAtZeros)
{
    const float pi = static_cast<float>(M_PI);
    const struct {
        float y, x, expected;
    } rows[] = {
        {0.0f, -1, pi},   {-0.0f, -1, pi},     {0.0f, 1, 0},          {1, 0, pi / 2},
        {-1, 0, -pi / 2}, {1, -1, 3 * pi / 4}, {-1, -1, -3 * pi / 4},
    };
    for (const auto& [y, x, expected] : rows)
        EXPECT_FLOAT_EQ(my_atan2f(y, x), expected) << y << ", " << x;
    EXPECT_TRUE(std::isnan(my_atan2f(0, 0)));
}

TEST(ArcTangent, FastFormAgreesWithTheLibrary)
{
    const auto check = [](double y, double x) {
        EXPECT_NEAR(kx::arc_tangent(y, x), std::atan2(y, x), 1e-9) << y << ", " << x;
    };
    Random random;
    for (int round = 0; round < 100000; ++round)
        check(random.between(-1, 1), random.between(-1, 1));
    for (int sixteenth = -16; sixteenth < 16; ++sixteenth) // where one series meets the next
        for (double aside : {-1e-15, 0.0, 1e-15})
            check(std::sin(sixteenth * M_PI / 16 + aside), std::cos(sixteenth * M_PI / 16 + aside));
    for (double tiny : {1e-300, 1e-9, 1e-5})
        check(tiny, 1), check(-tiny, 1), check(tiny, -1), check(-tiny, -1), check(1, tiny), check(-1, -tiny);
    EXPECT_EQ(kx::arc_tangent(-0.0, -1), kx::two_pi / 2);
    for (const auto& [y, x] : {std::pair{0.f, 0.f}, {nan_f, 1.f}, {1.f, nan_f}})
        EXPECT_TRUE(std::isnan(kx::arc_tangent(y, x)));
}

// The kinematics' own sine and cosine, rounded to float, are those of the C library.
TEST(SineCosine, RoundToTheLibrarysFloats)
{
    const auto check = [](float angle) {
        const auto [sine, cosine] = kx::sine_cosine<float>(angle);
        EXPECT_EQ(sine, static_cast<float>(std::sin(static_cast<double>(angle)))) << angle;
        EXPECT_EQ(cosine, static_cast<float>(std::cos(static_cast<double>(angle)))) << angle;
    };
    Random random;
    for (int round = 0; round < 100000; ++round)
        check(random.between(-7, 7)), check(random.between(-1e5f, 1e5f));
    for (int quarter = -40; quarter <= 40; ++quarter) // where sine or cosine nearly vanish
        for (int ulps = -2; ulps <= 2; ++ulps)
            check(static_cast<float>(quarter * M_PI_2) * (1 + ulps * 0x1p-23f));
    for (float angle : {1e5f, 1e7f, -3e38f, 0x1p-149f})
        check(angle);
    EXPECT_TRUE(std::signbit(kx::sine_cosine<float>(-0.0f).sine));
    for (float angle : {nan_f, infinity_f})
        EXPECT_TRUE(std::isnan(kx::sine_cosine<double>(angle).sine));
}

} // namespace
