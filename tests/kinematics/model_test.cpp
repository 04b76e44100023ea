// The arms' exported parameters: what a model loads, what it leaves, and which settings survive.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <algorithm>

namespace {

using Names = std::vector<float*>;

const Names lengths = {&d1,  &d3,  &d4,  &a2,  &a3,  &a4,     &lsb,    &lse,
                       &lew, &dbs, &dse, &dew, &dwt, &dwt_ZF, &dwt_SF, &lwt};
const Names limits[] = {
    {&JOINT1_LOWER, &JOINT1_UPPER, &theta1_l, &theta1_u},
    {&JOINT2_LOWER, &JOINT2_UPPER, &theta2_l, &theta2_u},
    {&JOINT3_LOWER, &JOINT3_UPPER, &theta3_l, &theta3_u},
    {&JOINT4_LOWER, &JOINT4_UPPER, &theta4_l, &theta4_u},
    {&JOINT5_LOWER, &JOINT5_UPPER, &theta5_l, &theta5_u},
    {&JOINT6_LOWER, &JOINT6_UPPER, &theta6_l, &theta6_u},
    {&JOINT7_LOWER, &JOINT7_UPPER, &theta7_l, &theta7_u},
};

const Names every_name = [] {
    Names all = lengths;
    all.insert(all.end(), {&angleU, &angleV, &angleZ});
    for (const Names& names : limits)
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
constexpr float u = 77.25f;

void mark_all()
{
    for (float* name : every_name)
        *name = u;
    Tool_Matrix.rows = Tool_Matrix.cols = 2;
}

TEST(Model, LoadsItsParametersAndLeavesTheOthers)
{
    const struct {
        int model;
        float length[16];
    } rows[] = {
        {36,
         {0.172f, -0.0102f, 0.405f, 0.086f, 0.38f, -0.069f, u, u, u, u, u, u, 0.115f, 0.1352f, 0.1435f,
          0.115f}},
        {46,
         {0.149f, 0, 0.405f, 0.082f, 0.38f, -0.069f, 0.2405f, 0.256f, 0.21f, u, u, u, 0.144f, 0.1642f,
          0.1725f, 0.144f}},
        {47, {u, u, 0, u, u, u, u, u, u, 0.2405f, 0.256f, 0.21f, 0.144f, 0.1642f, 0.1725f, 0.144f}},
    };
    for (const auto& [model, length] : rows) {
        SCOPED_TRACE(model);
        mark_all();
        Init_Sys_Data(model);
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(*lengths[i], length[i]) << "length " << i;
        for (std::size_t i = 0; i < 7; ++i) {
            const bool has = i < kdl_arms::limits(model).size();
            for (int side : {0, 1}) {
                EXPECT_EQ(*limits[i][side], has ? kdl_arms::limits(model)[i][side] : u) << i + 1;
                EXPECT_EQ(*limits[i][2 + side], has ? kdl_arms::chain_limits(model)[i][side] : u) << i + 1;
            }
        }
        const bool resets = model != 36;
        EXPECT_EQ(angleU, resets ? 0 : u);
        EXPECT_EQ(angleV, resets ? 0 : u);
        EXPECT_EQ(angleZ, u);
        EXPECT_EQ(Tool_Matrix.rows, resets ? 4 : 2);
        EXPECT_EQ(Tool_Matrix.cols, resets ? 4 : 2);
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                EXPECT_EQ(Tool_Matrix.data[i][j], !resets ? u : i == j);
    }
}

TEST(Model, UnknownCodesAndVariantsChangeNothing)
{
    mark_all();
    for (int model : {0, 35, 45, 48, 99, -46})
        Init_Sys_Data(model);
    for (int variant : {-1, 3})
        setLwt(variant);
    EXPECT_TRUE(all_are(u));
    EXPECT_EQ(Tool_Matrix.rows, 2);
}

TEST(Model, FlangeVariantLastsUntilTheNextComputation)
{
    const float joints[7] = {};
    Init_Sys_Data(47);
    for (const auto& [variant, length] : {std::pair{2, &dwt_SF}, {0, &dwt}, {1, &dwt_ZF}}) {
        setLwt(variant);
        EXPECT_EQ(lwt, *length);
    }
    EXPECT_FLOAT_EQ(Forward_Kinematics(47, joints).position.z, dbs + dse + dew + dwt);
    EXPECT_EQ(lwt, dwt);
}

// Model 36 then has no tool transform either, until another model was loaded.
TEST(Model, IsZeroUntilLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs the statement in a fresh process
    const auto zeros = [] {
        if (!all_are(0) || Tool_Matrix.rows != 0 || Tool_Matrix.cols != 0) return false;
        const auto [p, q, e] = Forward_Kinematics(36, Joints{10, 20, 30, 40, 50, 60}.data());
        return p.x == 0 && p.y == 0 && p.z == 0 && q.w == 1 && q.x == 0 && q.y == 0 && q.z == 0 &&
               e.rx == 0 && e.ry == 0 && e.rz == 0;
    };
    EXPECT_EXIT(std::exit(zeros() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

} // namespace
