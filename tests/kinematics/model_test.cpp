// The arms' parameters: what a model loads, what it leaves, and which settings survive.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace {

using Names = std::vector<float*>;

const Names lengths = {&d1,  &d3,  &d4,  &a2,  &a3,  &a4,     &lsb,    &lse,
                       &lew, &dbs, &dse, &dew, &dwt, &dwt_ZF, &dwt_SF, &lwt};
const Names lower = {&JOINT1_LOWER, &JOINT2_LOWER, &JOINT3_LOWER, &JOINT4_LOWER,
                     &JOINT5_LOWER, &JOINT6_LOWER, &JOINT7_LOWER};
const Names upper = {&JOINT1_UPPER, &JOINT2_UPPER, &JOINT3_UPPER, &JOINT4_UPPER,
                     &JOINT5_UPPER, &JOINT6_UPPER, &JOINT7_UPPER};
const Names theta_l = {&theta1_l, &theta2_l, &theta3_l, &theta4_l, &theta5_l, &theta6_l, &theta7_l};
const Names theta_u = {&theta1_u, &theta2_u, &theta3_u, &theta4_u, &theta5_u, &theta6_u, &theta7_u};

const Names every_name = [] {
    Names all = {&angleU, &angleV, &angleZ};
    for (const Names& names : {lengths, lower, upper, theta_l, theta_u})
        all.insert(all.end(), names.begin(), names.end());
    for (auto& row : Tool_Matrix.data)
        for (float& x : row)
            all.push_back(&x);
    return all;
}();

bool all_are(float value)
{
    return std::all_of(every_name.begin(), every_name.end(), [=](float* name) { return *name == value; });
}

// Every parameter is given this value first, so that what a model leaves alone shows.
constexpr float unchanged = 77.25f;

void mark_all()
{
    for (float* name : every_name)
        *name = unchanged;
    Tool_Matrix.rows = Tool_Matrix.cols = 2;
}

struct Parameters {
    int model;
    float length[16]; // in the order of `lengths`
    float degrees[7][2];
    std::uint32_t bits[7][2]; // limits of the chain angles
};

constexpr float u = unchanged;
constexpr std::uint32_t ub = std::bit_cast<std::uint32_t>(unchanged);

const Parameters models[] = {
    {36,
     {0.172f, -0.0102f, 0.405f, 0.086f, 0.38f, -0.069f, u, u, u, u, u, u, 0.115f, 0.1352f, 0.1435f, 0.115f},
     {{-180, 180}, {-180, 180}, {-150, 165}, {-180, 180}, {-180, 180}, {-360, 360}, {u, u}},
     {{0xC096CBE4, 0x3FC90FDB},
      {0xBFC90FDB, 0x4096CBE4},
      {0xBF84B36C, 0x408E73CF},
      {0xC0490FDB, 0x40490FDB},
      {0, 0x40C90FDB},
      {0xC096CBE4, 0x40FB53D1},
      {ub, ub}}},
    {46,
     {0.149f, 0, 0.405f, 0.082f, 0.38f, -0.069f, 0.2405f, 0.256f, 0.21f, u, u, u, 0.144f, 0.1642f, 0.1725f,
      0.144f},
     {{-180, 180}, {-130, 130}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}, {u, u}},
     {{0xC0490FD0, 0x40490FD0},
      {0xBF328AF8, 0x4075B28E},
      {0xBF490FD0, 0x407B53C4},
      {0xC0490FD0, 0x40490FD0},
      {0xC00EF476, 0x400EF476},
      {0xC0C90FD0, 0x40C90FD0},
      {ub, ub}}},
    {47,
     {u, u, 0, u, u, u, u, u, u, 0.2405f, 0.256f, 0.21f, 0.144f, 0.1642f, 0.1725f, 0.144f},
     {{-180, 180}, {-130, 130}, {-180, 180}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}},
     {{0xC0490FD0, 0x40490FD0},
      {0xC01135A8, 0x401135A8},
      {0xC0490FD0, 0x40490FD0},
      {0xC016CBFB, 0x4016CBFB},
      {0xC0490FD0, 0x40490FD0},
      {0xC00EF9DB, 0x400EF9DB},
      {0xC0C90FDB, 0x40C90FDB}}},
};

TEST(Model, LoadsItsParametersAndLeavesTheOthers)
{
    for (const Parameters& expected : models) {
        SCOPED_TRACE(expected.model);
        mark_all();
        Init_Sys_Data(expected.model);
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(*lengths[i], expected.length[i]) << "length " << i;
        for (int i = 0; i < 7; ++i) {
            SCOPED_TRACE(i + 1);
            EXPECT_EQ(*lower[i], expected.degrees[i][0]);
            EXPECT_EQ(*upper[i], expected.degrees[i][1]);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(*theta_l[i]), expected.bits[i][0]);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(*theta_u[i]), expected.bits[i][1]);
        }
        const bool resets = expected.model != 36;
        EXPECT_EQ(angleU, resets ? 0 : unchanged);
        EXPECT_EQ(angleV, resets ? 0 : unchanged);
        EXPECT_EQ(angleZ, unchanged);
        EXPECT_EQ(Tool_Matrix.rows, resets ? 4 : 2);
        EXPECT_EQ(Tool_Matrix.cols, resets ? 4 : 2);
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                EXPECT_EQ(Tool_Matrix.data[i][j], !resets ? unchanged : i == j ? 1 : 0);
    }
}

TEST(Model, UnknownCodesAndVariantsChangeNothing)
{
    mark_all();
    for (int model : {0, 35, 45, 48, 99, -46})
        Init_Sys_Data(model);
    for (int variant : {-1, 3})
        setLwt(variant);
    EXPECT_TRUE(all_are(unchanged));
    EXPECT_EQ(Tool_Matrix.rows, 2);
}

TEST(Model, FlangeVariantLastsUntilTheNextComputation)
{
    const float joints[7] = {};
    Init_Sys_Data(47);
    const float expected[] = {0.144f, 0.1642f, 0.1725f};
    for (int variant : {1, 2, 0}) {
        setLwt(variant);
        EXPECT_EQ(lwt, expected[variant]);
    }
    setLwt(1);
    EXPECT_FLOAT_EQ(Forward_Kinematics(47, joints).position.z, 0.2405f + 0.256f + 0.21f + 0.144f);
    EXPECT_EQ(lwt, 0.144f);
}

TEST(Model, IsZeroUntilLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs the statement in a fresh process
    EXPECT_EXIT(std::exit(all_are(0) && Tool_Matrix.rows == 0 && Tool_Matrix.cols == 0 ? 0 : 1),
                ::testing::ExitedWithCode(0), "");
}

} // namespace
