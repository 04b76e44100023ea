// The three arms: geometry and limits, and the exported parameters that loading a model writes. Computations
// take the constants, so that an application's variable of the same name changes nothing; installation angles
// and tool are the application's to set, and are read where they stand.
#include "kx/model.h"
#include "kinematics/arm.h"
#include "kx/kinematics.h"

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
constexpr float long_pi = 3.1415927f;
constexpr float short_pi = 3.14159f;

constexpr Geometry geometry_36 = {
    6,
    {0.172f, 0.086f, 0.38f, -0.0102f, -0.069f, 0.405f},
    {0.115f, 0.1352f, 0.1435f},
    {-90, 90, 90, 0, 180, 90},
    {{-180, 180}, {-180, 180}, {-150, 165}, {-180, 180}, {-180, 180}, {-360, 360}},
    {{-4.712389f, 1.5707964f},
     {-1.5707964f, 4.712389f},
     {-1.0367255f, 4.4516368f},
     {-long_pi, long_pi},
     {0, 2 * long_pi},
     {-4.712389f, 7.8539815f}},
};

constexpr Geometry geometry_46 = {
    6,
    {0.2405f, 0, 0.256f, 0, 0, 0.21f},
    {0.144f, 0.1642f, 0.1725f},
    {0, 90, 90},
    {{-180, 180}, {-130, 130}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}},
    {{-short_pi, short_pi},
     {-0.697433f, 3.839023f},
     {-0.7853975f, 3.9269876f},
     {-short_pi, short_pi},
     {-2.2336707f, 2.2336707f},
     {-2 * short_pi, 2 * short_pi}},
};

constexpr Geometry geometry_47 = {
    7,
    {0.2405f, 0, 0.256f, 0, 0, 0.21f},
    {0.144f, 0.1642f, 0.1725f},
    {},
    {{-180, 180}, {-130, 130}, {-180, 180}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}},
    {{-short_pi, short_pi},
     {-2.2689f, 2.2689f},
     {-short_pi, short_pi},
     {-2.3562f, 2.3562f},
     {-short_pi, short_pi},
     {-2.234f, 2.234f},
     {-2 * long_pi, 2 * long_pi}},
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

} // namespace

const Geometry* geometry(int model)
{
    switch (model) {
    case 36:
        return &geometry_36;
    case 46:
        return &geometry_46;
    case 47:
        return &geometry_47;
    }
    return nullptr;
}

// Loading has reset the angles of models 46 and 47, but none of them heeds all three.
ARM_MODEL loaded_arm(int model)
{
    const Geometry& g = *geometry(model);
    ARM_MODEL arm = {model,       g.joints, g.flange[0], {angleU, angleV, model == 46 ? angleZ : 0},
                     Tool_Matrix, {},       {}};
    for (int i = 0; i < g.joints; ++i)
        arm.lower[i] = g.joint[i].lower, arm.upper[i] = g.joint[i].upper;
    return arm;
}

} // namespace kx

using namespace kx;

// What a model does not name stays what it was: a seventh joint's limits for an arm of six, and the tool and
// the installation of model 36.
void Init_Sys_Data(int model)
{
    const Geometry* const g = geometry(model);
    if (!g) return;
    const auto& [d1_, a2_, a3_, d3_, a4_, d4_] = g->lengths;
    switch (model) {
    case 36:
        d1 = d1_, d3 = d3_, d4 = d4_, a2 = a2_, a3 = a3_, a4 = a4_;
        break;
    case 46:
        d1 = 0.149f, d4 = 0.405f, a2 = 0.082f, a3 = 0.38f, a4 = -0.069f; // which its chain does not use
        d3 = d3_, lsb = d1_, lse = a3_, lew = d4_;
        break;
    case 47:
        d4 = 0, dbs = d1_, dse = a3_, dew = d4_;
        break;
    }
    if (model != 36) {
        angleU = angleV = 0;
        Tool_Matrix = identity4;
    }
    dwt = lwt = g->flange[0], dwt_ZF = g->flange[1], dwt_SF = g->flange[2];
    for (int i = 0; i < g->joints; ++i) {
        *names[i].joint_lower = g->joint[i].lower;
        *names[i].joint_upper = g->joint[i].upper;
        *names[i].chain_lower = g->chain[i].lower;
        *names[i].chain_upper = g->chain[i].upper;
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
