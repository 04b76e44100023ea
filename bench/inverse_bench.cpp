// Inverse kinematics per target, on the same random joints: the classic function and arm models, one by one and in
// batches (nearest solution, limits checked), beside the iterative solvers of Orocos KDL, which find one solution and check nothing, and the floor: the
// sines and cosines of the target's Euler angles and one arc tangent per joint, which no closed form can do
// without. `far` starts from other random joints, `near` from joints about five degrees off.
#include "kinematics/kdl_arms.h"
#include "kx/arm_model.h"
#include "kx/model.h"
#include "kx_base.h"

#include <benchmark/benchmark.h>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainiksolverpos_lma.hpp>
#include <kdl/chainiksolverpos_nr.hpp>
#include <kdl/chainiksolvervel_pinv.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Joints = std::array<float, 7>; // degrees

constexpr std::size_t targets = 10000;

struct Problem {
    KinPose target;
    Joints reference;
};

enum class Start { near, far };

// Targets come from joints inside the limits, and references lie inside them too.
std::vector<Problem> problems(int model, Start start)
{
    Init_Sys_Data(46); // model 36 needs a tool transform
    Init_Sys_Data(model);
    const float lower[] = {JOINT1_LOWER, JOINT2_LOWER, JOINT3_LOWER, JOINT4_LOWER,
                           JOINT5_LOWER, JOINT6_LOWER, JOINT7_LOWER};
    const float upper[] = {JOINT1_UPPER, JOINT2_UPPER, JOINT3_UPPER, JOINT4_UPPER,
                           JOINT5_UPPER, JOINT6_UPPER, JOINT7_UPPER};
    std::mt19937 random(1);
    const auto angle = [&](int i) {
        return std::uniform_real_distribution<float>(lower[i], upper[i])(random);
    };
    std::normal_distribution<float> step(0, 5);

    const int joints = model == 47 ? 7 : 6;
    std::vector<Problem> all(targets);
    for (auto& [target, reference] : all) {
        Joints joint{};
        for (int i = 0; i < joints; ++i) {
            joint[i] = angle(i);
            reference[i] =
                start == Start::far ? angle(i) : std::clamp(joint[i] + step(random), lower[i], upper[i]);
        }
        target = Forward_Kinematics(model, joint.data());
    }
    return all;
}

void inverse_kx(benchmark::State& state, int model, Start start, unsigned char flag)
{
    const auto all = problems(model, start);
    std::size_t i = 0, solved = 0;
    for (auto _ : state) {
        float joint[7];
        solved += inverse_kinematics(model, all[i].reference.data(), &all[i].target, joint, flag) == 1;
        benchmark::DoNotOptimize(joint);
        i = i + 1 < targets ? i + 1 : 0;
    }
    state.counters["solved"] = static_cast<double>(solved) / static_cast<double>(state.iterations());
}

void inverse_model(benchmark::State& state, int model, Start start)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    const auto all = problems(model, start);
    std::size_t i = 0, solved = 0;
    for (auto _ : state) {
        float joint[7];
        solved += Arm_Model_Inverse(&arm, all[i].reference.data(), &all[i].target, 4, joint) == ARM_SOLVED;
        benchmark::DoNotOptimize(joint);
        i = i + 1 < targets ? i + 1 : 0;
    }
    state.counters["solved"] = static_cast<double>(solved) / static_cast<double>(state.iterations());
}

void inverse_batch(benchmark::State& state, int model, Start start)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    std::vector<KinPose> target;
    std::vector<float> reference;
    for (const Problem& p : problems(model, start)) {
        target.push_back(p.target);
        reference.insert(reference.end(), p.reference.begin(), p.reference.begin() + arm.joints);
    }
    std::vector<float> found(reference.size());
    std::vector<int> codes(targets);
    while (state.KeepRunningBatch(targets)) {
        Arm_Model_Inverses(&arm, targets, reference.data(), target.data(), 4, found.data(), codes.data(), 1);
        benchmark::ClobberMemory();
    }
}

void inverse_floor(benchmark::State& state, int model)
{
    const auto all = problems(model, Start::far);
    const int joints = model == 47 ? 7 : 6;
    std::size_t i = 0;
    for (auto _ : state) {
        const auto& [target, reference] = all[i];
        for (float angle : {target.euler.rx, target.euler.ry, target.euler.rz}) {
            double sine, cosine;
            sincos(static_cast<double>(angle), &sine, &cosine);
            benchmark::DoNotOptimize(sine);
            benchmark::DoNotOptimize(cosine);
        }
        for (int j = 0; j < joints; ++j) { // of random directions
            const double y = reference[j], x = reference[(j + 1) % joints];
            benchmark::DoNotOptimize(std::atan2(y, x));
        }
        i = i + 1 < targets ? i + 1 : 0;
    }
}

template <typename Solver>
void run_kdl(benchmark::State& state, const KDL::Chain& chain, int model, Start start, Solver& solver)
{
    struct Prepared {
        KDL::Frame target;
        KDL::JntArray reference;
    };
    std::vector<Prepared> all;
    for (const auto& [target, degrees] : problems(model, start)) {
        const auto& [position, quaternion, e] = target;
        KDL::JntArray reference(chain.getNrOfJoints());
        for (unsigned j = 0; j < reference.rows(); ++j)
            reference(j) = degrees[j] * kdl_arms::degree;
        all.push_back(
            {{KDL::Rotation::RPY(e.rx, e.ry, e.rz), {position.x, position.y, position.z}}, reference});
    }
    KDL::JntArray joint(chain.getNrOfJoints());
    std::size_t i = 0, solved = 0;
    for (auto _ : state) {
        solved += solver.CartToJnt(all[i].reference, all[i].target, joint) >= 0;
        benchmark::DoNotOptimize(joint.data.data());
        i = i + 1 < targets ? i + 1 : 0;
    }
    state.counters["solved"] = static_cast<double>(solved) / static_cast<double>(state.iterations());
}

void inverse_kdl_lma(benchmark::State& state, int model, Start start)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::ChainIkSolverPos_LMA solver(chain);
    run_kdl(state, chain, model, start, solver);
}

void inverse_kdl_nr(benchmark::State& state, int model, Start start)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::ChainFkSolverPos_recursive forward(chain);
    KDL::ChainIkSolverVel_pinv velocity(chain);
    KDL::ChainIkSolverPos_NR solver(chain, forward, velocity, 100, 1e-6);
    run_kdl(state, chain, model, start, solver);
}

const bool registered = [] {
    const auto add = [](const std::string& name, auto run, auto... arguments) {
        benchmark::RegisterBenchmark(name.c_str(), run, arguments...)->Repetitions(5)->ReportAggregatesOnly();
    };
    for (int model : {36, 46, 47}) {
        add("inverse_floor/" + std::to_string(model), inverse_floor, model);
        for (Start start : {Start::near, Start::far}) {
            const std::string suffix = (start == Start::near ? "near/" : "far/") + std::to_string(model);
            for (int flag = 0; flag < (model == 47 ? 3 : 2); ++flag)
                add("inverse_kx/flag" + std::to_string(flag) + "/" + suffix, inverse_kx, model, start, flag);
            add("inverse_model/" + suffix, inverse_model, model, start);
            add("inverse_batch/" + suffix, inverse_batch, model, start);
            add("inverse_kdl_lma/" + suffix, inverse_kdl_lma, model, start);
            add("inverse_kdl_nr/" + suffix, inverse_kdl_nr, model, start);
        }
    }
    return true;
}();

} // namespace
