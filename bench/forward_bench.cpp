// Forward kinematics per pose, on the same random joints: this library (position, quaternion and Euler
// angles), Orocos KDL (frame alone), and only the sines, cosines and arc tangents that a whole pose takes, by
// the C library.
#include "kinematics/kdl_arms.h"
#include "kx_base.h"

#include <benchmark/benchmark.h>
#include <kdl/chainfksolverpos_recursive.hpp>

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

void forward_kdl(benchmark::State& state, int model)
{
    const KDL::Chain chain = kdl_arms::arm(model);
    KDL::ChainFkSolverPos_recursive solver(chain);
    std::vector<KDL::JntArray> joints;
    for (const Joints& degrees : random_joints()) {
        KDL::JntArray& radians = joints.emplace_back(chain.getNrOfJoints());
        for (unsigned j = 0; j < chain.getNrOfJoints(); ++j)
            radians(j) = degrees[j] * kdl_arms::degree;
    }
    KDL::Frame frame;
    std::size_t i = 0;
    for (auto _ : state) {
        solver.JntToCart(joints[i], frame);
        benchmark::DoNotOptimize(frame);
        i = i + 1 < poses ? i + 1 : 0;
    }
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
    } rows[] = {
        {"forward_kx/", forward_kx}, {"forward_kdl/", forward_kdl}, {"forward_floor/", forward_floor}};
    for (int model : {36, 46, 47})
        for (const auto& [name, run] : rows)
            benchmark::RegisterBenchmark((name + std::to_string(model)).c_str(), run, model)
                ->Repetitions(9)
                ->ReportAggregatesOnly();
    return true;
}();

} // namespace
