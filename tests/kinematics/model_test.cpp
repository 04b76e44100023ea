// The arms' exported parameters: what a model loads, what it leaves, and which settings survive.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

#include <algorithm>
#include <map>

namespace {

#define LIMITS(n)                                                                                            \
    {                                                                                                        \
        &JOINT##n##_LOWER, &JOINT##n##_UPPER, &theta##n##_l, &theta##n##_u                                   \
    }
float* const limits[][4] = {LIMITS(1), LIMITS(2), LIMITS(3), LIMITS(4), LIMITS(5), LIMITS(6), LIMITS(7)};

using Values = std::map<float*, float>;

Values every_name(float value)
{
    Values all;
    for (float* name : {&d1, &d3, &d4, &a2, &a3, &a4, &lsb, &lse, &lew, &dbs, &dse, &dew, &dwt, &dwt_ZF,
                        &dwt_SF, &lwt, &angleU, &angleV, &angleZ})
        all[name] = value;
    for (const auto& names : limits)
        for (float* name : names)
            all[name] = value;
    for (auto& row : Tool_Matrix.data)
        for (float& x : row)
            all[&x] = value;
    return all;
}

void expect_now(const Values& values)
{
    int number = 0;
    for (const auto& [name, value] : values)
        EXPECT_EQ(*name, value) << "name " << number++;
}

// Every parameter is given this value first, so that what a model leaves alone shows.
Values mark_all()
{
    Values all = every_name(77.25f);
    for (const auto& [name, value] : all)
        *name = value;
    Tool_Matrix.rows = Tool_Matrix.cols = 2;
    return all;
}

TEST(Model, LoadsItsParametersAndLeavesTheOthers)
{
    for (int model : {36, 46, 47}) {
        SCOPED_TRACE(model);
        Values expected = mark_all();
        const std::vector<kdl_arms::Link> link = kdl_arms::links(model);
        const auto set = [&](float& name, double value) { expected[&name] = static_cast<float>(value); };
        if (model == 36)
            set(d1, link[0].d), set(a2, link[1].a), set(a3, link[2].a), set(d3, link[2].d),
                set(a4, link[3].a), set(d4, link[3].d);
        if (model == 46) // the first five are of no chain
            set(d1, 0.149), set(d4, 0.405), set(a2, 0.082), set(a3, 0.38), set(a4, -0.069), set(d3, 0),
                set(lsb, link[0].d), set(lse, link[2].a), set(lew, link[3].d);
        if (model == 47) set(d4, 0), set(dbs, link[0].d), set(dse, link[2].d), set(dew, link[4].d);
        set(dwt, link.back().d), set(lwt, link.back().d);
        set(dwt_ZF, model == 36 ? 0.1352 : 0.1642), set(dwt_SF, model == 36 ? 0.1435 : 0.1725);
        for (std::size_t i = 0; i < link.size(); ++i)
            for (int side : {0, 1})
                set(*limits[i][side], kdl_arms::limits(model)[i][side]),
                    set(*limits[i][2 + side], kdl_arms::chain_limits(model)[i][side]);
        const bool resets = model != 36;
        if (resets) {
            set(angleU, 0), set(angleV, 0);
            for (int i = 0; i < 16; ++i)
                set(Tool_Matrix.data[i / 4][i % 4], i % 5 == 0);
        }
        Init_Sys_Data(model);
        expect_now(expected);
        EXPECT_EQ(Tool_Matrix.rows * Tool_Matrix.cols, resets ? 16 : 4);
    }
}

TEST(Model, UnknownCodesAndVariantsChangeNothing)
{
    const Values before = mark_all();
    for (int model : {0, 35, 45, 48, 99, -46})
        Init_Sys_Data(model);
    for (int variant : {-1, 3})
        setLwt(variant);
    expect_now(before);
    EXPECT_EQ(Tool_Matrix.rows, 2);
}

TEST(Model, FlangeVariantLastsUntilTheNextComputation)
{
    Init_Sys_Data(47);
    for (const auto& [variant, length] : {std::pair{2, &dwt_SF}, {0, &dwt}, {1, &dwt_ZF}}) {
        setLwt(variant);
        EXPECT_EQ(lwt, *length);
    }
    EXPECT_FLOAT_EQ(Forward_Kinematics(47, Joints{}.data()).position.z, dbs + dse + dew + dwt);
    EXPECT_EQ(lwt, dwt);
}

// Model 36 then has no tool transform either, until another model was loaded.
TEST(Model, IsZeroUntilLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs the statement in a fresh process
    const auto zeros = [] {
        expect_now(every_name(0));
        EXPECT_EQ(Tool_Matrix.rows + Tool_Matrix.cols, 0);
        EXPECT_TRUE(matches(Forward_Kinematics(36, Joints{10, 20, 30, 40, 50, 60}.data()),
                            KDL::Frame::Identity(), 0));
        std::exit(::testing::Test::HasFailure());
    };
    EXPECT_EXIT(zeros(), ::testing::ExitedWithCode(0), "");
}

} // namespace
