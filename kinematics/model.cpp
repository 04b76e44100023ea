// The three arms: geometry, limits, installation angles and tool, kept in process-wide globals that every
// computation reloads.
#include "kinematics/model.h"
#include "kinematics/matrix.h"

float d1, d3, d4, a2, a3, a4;
float lsb, lse, lew;
float dbs, dse, dew;
float dwt, dwt_ZF, dwt_SF, lwt;
float JOINT1_LOWER, JOINT2_LOWER, JOINT3_LOWER, JOINT4_LOWER, JOINT5_LOWER, JOINT6_LOWER, JOINT7_LOWER;
float JOINT1_UPPER, JOINT2_UPPER, JOINT3_UPPER, JOINT4_UPPER, JOINT5_UPPER, JOINT6_UPPER, JOINT7_UPPER;
float theta1_l, theta2_l, theta3_l, theta4_l, theta5_l, theta6_l, theta7_l;
float theta1_u, theta2_u, theta3_u, theta4_u, theta5_u, theta6_u, theta7_u;
float angleU, angleV, angleZ;
Matrix Tool_Matrix;

namespace kx {
namespace {

// Both are the designers' pi. A limit is compared with angles computed from the same value, so neither may
// be corrected.
constexpr float pi = 3.1415927f;
constexpr float short_pi = 3.14159f;

struct Limits {
    Range joint; // degrees
    Range chain; // radians
};

constexpr Limits limits_36[] = {
    {{-180, 180}, {-4.712389f, 1.5707964f}},
    {{-180, 180}, {-1.5707964f, 4.712389f}},
    {{-150, 165}, {-1.0367255f, 4.4516368f}},
    {{-180, 180}, {-pi, pi}},
    {{-180, 180}, {0, 2 * pi}},
    {{-360, 360}, {-4.712389f, 7.8539815f}},
};

constexpr Limits limits_46[] = {
    {{-180, 180}, {-short_pi, short_pi}},     {{-130, 130}, {-0.697433f, 3.839023f}},
    {{-135, 135}, {-0.7853975f, 3.9269876f}}, {{-180, 180}, {-short_pi, short_pi}},
    {{-128, 128}, {-2.2336707f, 2.2336707f}}, {{-360, 360}, {-2 * short_pi, 2 * short_pi}},
};

constexpr Limits limits_47[] = {
    {{-180, 180}, {-short_pi, short_pi}}, {{-130, 130}, {-2.2689f, 2.2689f}},
    {{-180, 180}, {-short_pi, short_pi}}, {{-135, 135}, {-2.3562f, 2.3562f}},
    {{-180, 180}, {-short_pi, short_pi}}, {{-128, 128}, {-2.234f, 2.234f}},
    {{-360, 360}, {-2 * pi, 2 * pi}},
};

struct LimitNames {
    float *joint_lower, *joint_upper, *chain_lower, *chain_upper;
};

constexpr LimitNames names[] = {
    {&JOINT1_LOWER, &JOINT1_UPPER, &theta1_l, &theta1_u},
    {&JOINT2_LOWER, &JOINT2_UPPER, &theta2_l, &theta2_u},
    {&JOINT3_LOWER, &JOINT3_UPPER, &theta3_l, &theta3_u},
    {&JOINT4_LOWER, &JOINT4_UPPER, &theta4_l, &theta4_u},
    {&JOINT5_LOWER, &JOINT5_UPPER, &theta5_l, &theta5_u},
    {&JOINT6_LOWER, &JOINT6_UPPER, &theta6_l, &theta6_u},
    {&JOINT7_LOWER, &JOINT7_UPPER, &theta7_l, &theta7_u},
};

// A seventh joint's limits stay what they were for an arm of six.
template <std::size_t joints>
void load(const Limits (&limits)[joints])
{
    for (std::size_t i = 0; i < joints; ++i) {
        *names[i].joint_lower = limits[i].joint.lower;
        *names[i].joint_upper = limits[i].joint.upper;
        *names[i].chain_lower = limits[i].chain.lower;
        *names[i].chain_upper = limits[i].chain.upper;
    }
}

void load_36()
{
    d1 = 0.172f, d3 = -0.0102f, d4 = 0.405f;
    a2 = 0.086f, a3 = 0.38f, a4 = -0.069f;
    dwt = lwt = 0.115f, dwt_ZF = 0.1352f, dwt_SF = 0.1435f;
    load(limits_36);
}

// What models 46 and 47 have in common.
void load_common()
{
    dwt = lwt = 0.144f, dwt_ZF = 0.1642f, dwt_SF = 0.1725f;
    angleU = angleV = 0;
    Tool_Matrix = identity4;
}

void load_46()
{
    d1 = 0.149f, d3 = 0, d4 = 0.405f; // of these the chain uses d3 only
    a2 = 0.082f, a3 = 0.38f, a4 = -0.069f;
    lsb = 0.2405f, lse = 0.256f, lew = 0.21f;
    load_common();
    load(limits_46);
}

void load_47()
{
    d4 = 0;
    dbs = 0.2405f, dse = 0.256f, dew = 0.21f;
    load_common();
    load(limits_47);
}

} // namespace

std::array<Range, 7> joint_limits()
{
    std::array<Range, 7> limits;
    for (std::size_t i = 0; i < 7; ++i)
        limits[i] = {*names[i].joint_lower, *names[i].joint_upper};
    return limits;
}

std::array<Range, 7> chain_limits()
{
    std::array<Range, 7> limits;
    for (std::size_t i = 0; i < 7; ++i)
        limits[i] = {*names[i].chain_lower, *names[i].chain_upper};
    return limits;
}

} // namespace kx

void Init_Sys_Data(int model)
{
    switch (model) {
    case 36:
        return kx::load_36();
    case 46:
        return kx::load_46();
    case 47:
        return kx::load_47();
    }
}

void setAngle(float U, float V, float Z)
{
    angleU = U;
    angleV = V;
    angleZ = Z;
}

void setLwt(int variant)
{
    switch (variant) {
    case 0:
        lwt = dwt;
        break;
    case 1:
        lwt = dwt_ZF;
        break;
    case 2:
        lwt = dwt_SF;
        break;
    }
}
