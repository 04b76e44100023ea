// The arms' exported parameters: what a model loads, what it leaves, and which settings survive.
#include "kinematics/kinematics_support.h"
#include "kx/model.h"

namespace {

constexpr float left = 77.25f; // of every parameter before, so that what a model leaves alone shows

struct Parameters {
    std::vector<float*> names;
    std::vector<float> of_36, of_46, of_47;
};

#define LIMITS(n)                                                                                            \
    {                                                                                                        \
        &JOINT##n##_LOWER, &JOINT##n##_UPPER, &theta##n##_l, &theta##n##_u                                   \
    }

std::vector<Parameters> parameters()
{
    constexpr float pi = 3.1415927f, pi_ = 3.14159f;
    const std::vector<float> none(6, left);
    return {
        {{&d1, &d3, &d4, &a2, &a3, &a4},
         {.172f, -.0102f, .405f, .086f, .38f, -.069f},
         {.149f, 0, .405f, .082f, .38f, -.069f},
         {left, left, 0, left, left, left}},
        {{&lsb, &lse, &lew}, none, {.2405f, .256f, .21f}, none},
        {{&dbs, &dse, &dew}, none, none, {.2405f, .256f, .21f}},
        {{&dwt, &lwt, &dwt_ZF, &dwt_SF},
         {.115f, .115f, .1352f, .1435f},
         {.144f, .144f, .1642f, .1725f},
         {.144f, .144f, .1642f, .1725f}},
        {{&angleU, &angleV, &angleZ}, none, {0, 0, left}, {0, 0, left}},
        // Degrees, and radians of the chain's angle, which counts from another zero.
        {LIMITS(1), {-180, 180, -4.712389f, 1.5707964f}, {-180, 180, -pi_, pi_}, {-180, 180, -pi_, pi_}},
        {LIMITS(2),
         {-180, 180, -1.5707964f, 4.712389f},
         {-130, 130, -.697433f, 3.839023f},
         {-130, 130, -2.2689f, 2.2689f}},
        {LIMITS(3),
         {-150, 165, -1.0367255f, 4.4516368f},
         {-135, 135, -.7853975f, 3.9269876f},
         {-180, 180, -pi_, pi_}},
        {LIMITS(4), {-180, 180, -pi, pi}, {-180, 180, -pi_, pi_}, {-135, 135, -2.3562f, 2.3562f}},
        {LIMITS(5), {-180, 180, 0, 2 * pi}, {-128, 128, -2.2336707f, 2.2336707f}, {-180, 180, -pi_, pi_}},
        {LIMITS(6),
         {-360, 360, -4.712389f, 7.8539815f},
         {-360, 360, -2 * pi_, 2 * pi_},
         {-128, 128, -2.234f, 2.234f}},
        {LIMITS(7), none, none, {-360, 360, -2 * pi, 2 * pi}},
    };
}

TEST(Model, LoadsItsParametersAndLeavesTheOthers)
{
    for (int model : {36, 46, 47, 0, 35, 45, 48, 99, -46}) {
        SCOPED_TRACE(model);
        for (const auto& group : parameters())
            for (float* name : group.names)
                *name = left;
        Tool_Matrix = {2, 3, {{left}}};
        Init_Sys_Data(model);
        for (int no_variant : {-1, 3})
            setLwt(no_variant);
        for (const auto& [names, of_36, of_46, of_47] : parameters())
            for (std::size_t i = 0; i < names.size(); ++i)
                EXPECT_EQ(*names[i], model == 36   ? of_36[i]
                                     : model == 46 ? of_46[i]
                                     : model == 47 ? of_47[i]
                                                   : left)
                    << "the " << i << "th of those that are " << ::testing::PrintToString(of_46);
        const bool has_tool = model == 46 || model == 47;
        EXPECT_TRUE(Tool_Matrix.rows == (has_tool ? 4 : 2) && Tool_Matrix.cols == (has_tool ? 4 : 3));
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(Tool_Matrix.data[i / 4][i % 4], has_tool ? i % 5 == 0 : i == 0 ? left : 0) << i;
    }
}

TEST(Model, FlangeVariantLastsUntilTheNextComputation)
{
    Init_Sys_Data(47);
    for (const auto& [variant, length] : {std::pair{2, dwt_SF}, {0, dwt}, {1, dwt_ZF}}) {
        setLwt(variant);
        EXPECT_EQ(lwt, length);
    }
    EXPECT_FLOAT_EQ(Forward_Kinematics(47, Joints{}.data()).position.z, dbs + dse + dew + dwt);
    EXPECT_EQ(lwt, dwt);
}

// Model 36 then has no tool transform either, until another model was loaded.
TEST(Model, IsZeroUntilLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs the statement in a fresh process
    const auto zeros = [] {
        for (const auto& group : parameters())
            for (const float* name : group.names)
                EXPECT_EQ(*name, 0);
        EXPECT_EQ(Tool_Matrix.rows + Tool_Matrix.cols, 0);
        EXPECT_TRUE(matches(Forward_Kinematics(36, Joints{10, 20, 30, 40, 50, 60}.data()),
                            KDL::Frame::Identity(), 0));
        std::exit(::testing::Test::HasFailure());
    };
    EXPECT_EXIT(zeros(), ::testing::ExitedWithCode(0), "");
}

} // namespace
