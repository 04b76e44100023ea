// Forward kinematics per pose, on the same random joints: the classic function, arm models one by one and in
// batches (position, quaternion and Euler angles), Orocos KDL (frame alone), and only the sines, cosines and arc
// tangents that a whole pose takes, by the C library; and Jacobians of arm models and of KDL.
#include "kinematics/kdl_arms.h"
#include "kx/arm_model.h"
#include "kx_base.h"

#include <benchmark/benchmark.h>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainjnttojacsolver.hpp>

#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Joints = std::array<float, 7>; // degrees

constexpr std::size_t poses = 10000;

std::vector<Joints> random_joints()
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> angle(-128, 128);
    std::vector<Joints> all(poses);
    for (Joints& joints : all)
        for (float& joint : joints)
            joint = angle(random);
    return all;
}

void forward_kx(benchmark::State& state, int model)
{
    Init_Sys_Data(46); // model 36 needs a tool transform
    const auto joints = random_joints();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Forward_Kinematics(model, joints[i].data()));
        i = i + 1 < poses ? i + 1 : 0;
    }
}

ARM_MODEL arm_model(int model)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    return arm;
}

void forward_model(benchmark::State& state, int model)
{
    const ARM_MODEL arm = arm_model(model);
    const auto joints = random_joints();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Arm_Model_Pose(&arm, joints[i].data()));
        i = i + 1 < poses ? i + 1 : 0;
    }
}

void forward_batch(benchmark::State& state, int model)
{
    const ARM_MODEL arm = arm_model(model);
    std::vector<float> joints;
    for (const Joints& joint : random_joints())
        joints.insert(joints.end(), joint.begin(), joint.begin() + arm.joints);
    std::vector<KinPose> found(poses);
    while (state.KeepRunningBatch(poses)) {
        Arm_Model_Poses(&arm, poses, joints.data(), found.data(), 1);
        benchmark::ClobberMemory();
    }
}

void jacobian_model(benchmark::State& state, int model)
{
    const ARM_MODEL arm = arm_model(model);
    const auto joints = random_joints();
    std::size_t i = 0;
    for (auto _ : state) {
        double jacobian[6][7];
        Arm_Model_Jacobian(&arm, joints[i].data(), ARM_BASE, jacobian);
        benchmark::DoNotOptimize(jacobian);
        i = i + 1 < poses ? i + 1 : 0;
    }
}

template <typename Compute>
void run_kdl(benchmark::State& state, int model, const Compute& compute)
{
    std::vector<KDL::JntArray> joints;
    for (const Joints& degrees : random_joints())
        joints.push_back(kdl_arms::radians(model, degrees.data()));
    std::size_t i = 0;
    for (auto _ : state) {
        compute(joints[i]);
        i = i + 1 < poses ? i + 1 : 0;
    }
}

void forward_kdl(benchmark::State& state, int model)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::ChainFkSolverPos_recursive solver(chain);
    run_kdl(state, model, [&](const KDL::JntArray& joint) {
        KDL::Frame frame;
        solver.JntToCart(joint, frame);
        benchmark::DoNotOptimize(frame);
    });
}

void jacobian_kdl(benchmark::State& state, int model)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::ChainJntToJacSolver solver(chain);
    KDL::Jacobian jacobian(chain.getNrOfJoints());
    run_kdl(state, model, [&](const KDL::JntArray& joint) {
        solver.JntToJac(joint, jacobian);
        benchmark::DoNotOptimize(jacobian.data.data());
    });
}

// Arguments are taken from the real poses, since the functions' time depends on them.
void forward_floor(benchmark::State& state, int model)
{
    struct Arguments {
        float radians[7];
        float y[3], x[3];
        float half_angle[3];
    };
    Init_Sys_Data(46);
    std::vector<Arguments> all;
    for (const Joints& degrees : random_joints()) {
        Arguments& a = all.emplace_back();
        for (int j = 0; j < 7; ++j)
            a.radians[j] = degrees[j] * 0.0174533f;
        const Euler e = Forward_Kinematics(model, degrees.data()).euler;
        const auto& m = euler2matrix(e.rx, e.ry, e.rz).data;
        const float y[] = {m[2][1], -m[2][0], m[1][0]};
        const float x[] = {m[2][2], std::hypot(m[2][1], m[2][2]), m[0][0]};
        const float half[] = {0.5f * e.rx, 0.5f * e.ry, 0.5f * e.rz};
        for (int j = 0; j < 3; ++j)
            a.y[j] = y[j], a.x[j] = x[j], a.half_angle[j] = half[j];
    }
    const auto both = [](float angle) {
        double sine, cosine;
        sincos(static_cast<double>(angle), &sine, &cosine);
        benchmark::DoNotOptimize(sine);
        benchmark::DoNotOptimize(cosine);
    };
    const int joints = model == 47 ? 7 : 6;
    std::size_t i = 0;
    for (auto _ : state) {
        const Arguments& a = all[i];
        for (int j = 0; j < joints; ++j)
            both(a.radians[j]);
        for (int j = 0; j < 3; ++j) {
            benchmark::DoNotOptimize(std::atan2(a.y[j], a.x[j]));
            both(a.half_angle[j]);
        }
        i = i + 1 < poses ? i + 1 : 0;
    }
}

const bool registered = [] {
    const struct {
        const char* name;
        void (*run)(benchmark::State&, int model);
    } rows[] = {{"forward_kx/", forward_kx},       {"forward_model/", forward_model},
                {"forward_batch/", forward_batch}, {"forward_kdl/", forward_kdl},
                {"forward_floor/", forward_floor}, {"jacobian_model/", jacobian_model},
                {"jacobian_kdl/", jacobian_kdl}};
    for (int model : {36, 46, 47})
        for (const auto& [name, run] : rows)
            benchmark::RegisterBenchmark((name + std::to_string(model)).c_str(), run, model)
                ->Repetitions(9)
                ->ReportAggregatesOnly();
    return true;
}();

} // namespace
