// Nearest solutions on hard targets: joints that are round, straight, stretched, at their limits or nearly so,
// wrist centres on axis 1, against an exhaustive search of the same geometry that knows where joints share a
// turn. One body serves the tests and the million of kinematics_sweep.
#pragma once

#include "kinematics/seven_joint_judge.h"
#include "kinematics/six_joint_judge.h"
#include "kx/arm_model.h"

#include <random>
#include <vector>

namespace hard {

using Joints = std::array<float, 7>; // degrees
using kdl_arms::degree;

constexpr double limit_rounding = 2e-6, straight = 1e-6; // radians

struct Limits {
    std::vector<double> lower, upper; // radians
};

inline Limits limits_of(const ARM_MODEL& arm)
{
    Limits limits;
    const kdl_arms::Limits chain = kdl_arms::chain_limits(arm.model);
    for (int i = 0; i < arm.joints; ++i) {
        limits.lower.push_back(arm.model == 47 ? chain[i][0] : arm.lower[i] * degree);
        limits.upper.push_back(arm.model == 47 ? chain[i][1] : arm.upper[i] * degree);
    }
    if (arm.model == 36) limits.lower[2] = chain[2][0] - M_PI_2; // narrower than its joint's
    return limits;
}

// Joints, of which some turn about one line and share what they add up to, the others stand at an angle.
class Candidate {
    const Limits& limits;
    const std::vector<double>& reference;

  public:
    double cost = 0;

    Candidate(const Limits& of_arm, const std::vector<double>& near_to) : limits(of_arm), reference(near_to)
    {
    }

    Candidate& stands(std::size_t i, double angle)
    {
        double least = INFINITY;
        for (int turn = -2; turn <= 2; ++turn)
            if (const double q = angle + 2 * M_PI * turn;
                q >= limits.lower[i] - limit_rounding && q <= limits.upper[i] + limit_rounding)
                least = std::min(least, std::pow(q - reference[i], 2));
        cost += least;
        return *this;
    }

    // With signs, since joints may turn about the line the other way.
    Candidate& share(const std::vector<std::pair<std::size_t, int>>& joints, double sum)
    {
        // Each is shifted towards the sum by the same, as far as its limits let it; the shift is found by trial.
        double least = INFINITY;
        for (double shift = -8; shift < 8; shift += 1e-2) {
            const auto at = [&](double s, double& c) {
                double total = 0;
                c = 0;
                for (const auto& [i, sign] : joints) {
                    const double q = std::clamp(reference[i] + sign * s, limits.lower[i], limits.upper[i]);
                    total += sign * q, c += std::pow(q - reference[i], 2);
                }
                return total;
            };
            double c0, c1;
            const double t0 = at(shift, c0) - sum, t1 = at(shift + 1e-2, c1) - sum;
            for (int turn = -4; turn <= 4; ++turn)
                if (const double wanted = 2 * M_PI * turn; t0 <= wanted && wanted <= t1 && t1 > t0)
                    least = std::min(least, std::max(c0, c1)); // within a little of the truth, above it
        }
        cost += least;
        return *this;
    }
};

// The least squared distance of all solutions inside the limits; infinite if there is none.
class SixJudge {
    const int model;
    const Limits limits;
    const double cosine_bound;

  public:
    explicit SixJudge(const ARM_MODEL& m) : SixJudge(m.model, limits_of(m), 1.00001) {}
    SixJudge(int model_code, const Limits& other, double bound)
        : model(model_code), limits(other), cosine_bound(bound)
    {
    }

    double nearest(const KDL::Frame& flange, const std::vector<double>& reference) const
    {
        const KDL::Vector centre = judge::wrist_centre_of_six(model, flange);
        if (model == 36 || std::hypot(centre.x(), centre.y()) > 4e-7) return at(flange, reference);
        // The wrist centre on axis 1 leaves joint 1 open. The geometry is told joint 1 by where the centre is.
        const auto turned = [&](double q1) {
            KDL::Frame aside = flange;
            aside.p +=
                1e-8 * KDL::Vector(std::cos(q1), std::sin(q1), 0) - KDL::Vector(centre.x(), centre.y(), 0);
            return at(aside, reference);
        };
        constexpr int steps = 720;
        double best = INFINITY;
        for (int i = 0; i < steps; ++i)
            best = std::min(best, turned(2 * M_PI / steps * (i + 0.5) - M_PI));
        return best;
    }

  private:
    double at(const KDL::Frame& flange, const std::vector<double>& reference) const
    {
        double best = INFINITY;
        for (const judge::Six& q : judge::solutions(model, flange, cosine_bound)) {
            Candidate c(limits, reference);
            for (int i : {0, 1, 2})
                c.stands(i, q[i]);
            if (std::isnan(q[2]) || !(c.cost < best)) continue;
            if (std::fabs(std::sin(q[4])) > straight)
                c.stands(3, q[3]).stands(4, q[4]).stands(5, q[5]);
            else if (std::cos(q[4]) > 0)
                c.stands(4, 0).share({{3, 1}, {5, 1}}, q[3] + q[5]);
            else
                c.stands(4, M_PI).share({{3, 1}, {5, -1}}, q[3] - q[5]);
            best = std::min(best, c.cost);
        }
        return best;
    }
};

class SevenJudge {
    const Limits limits;

  public:
    explicit SevenJudge(const ARM_MODEL& model) : limits(limits_of(model)) {}

    double nearest(const KDL::Frame& flange, const std::vector<double>& reference) const
    {
        judge::Seven near;
        std::copy_n(reference.begin(), 7, near.begin());
        const judge::Redundancy all(flange);
        double best = all.nearest(near, -M_PI, M_PI, 400);
        if (all.bend() < 1e-3) best = std::min(best, stretched(flange, reference));
        // A ball that is straight at some arm angle: there it shares its turn, whatever the other one does.
        for (int branch : {0, 1})
            for (bool wrist : {false, true})
                if (const double psi = all.straight_at(wrist, straight); !std::isnan(psi)) {
                    const auto [r03, r47] = all.balls(psi, branch);
                    const double bend = branch ? -all.bend() : all.bend();
                    for (int turned = 0; turned < 4; ++turned) {
                        Candidate c(limits, reference);
                        ball(c.stands(3, bend), r03, {0, 1, 2}, turned & 1);
                        ball(c, r47, {4, 5, 6}, turned & 2);
                        best = std::min(best, c.cost);
                    }
                }
        return best;
    }

  private:
    static void ball(Candidate& c, const KDL::Rotation& r, const std::array<std::size_t, 3>& joint,
                     bool turned)
    {
        const auto [first, middle, last] = kdl_arms::ball(r, turned ? -1 : 1);
        if (std::fabs(middle) < 3 * straight)
            c.stands(joint[1], 0).share({{joint[0], 1}, {joint[2], 1}}, std::atan2(r(1, 0), r(0, 0)));
        else
            c.stands(joint[0], first).stands(joint[1], middle).stands(joint[2], last);
    }

    // All of the arm up to the wrist is one line.
    double stretched(const KDL::Frame& flange, const std::vector<double>& reference) const
    {
        using KDL::Rotation;
        const KDL::Vector w = judge::wrist_centre(flange);
        const double tilt = std::atan2(std::hypot(w.x(), w.y()), w.z());
        double best = INFINITY;
        for (int turned = 0; turned < 4; ++turned) {
            const double side = turned & 1 ? -1 : 1, end = turned & 2 ? -1 : 1;
            const bool upright = tilt < straight;
            const double q1 = upright ? 0 : std::atan2(side * w.y(), side * w.x()),
                         q2 = upright ? 0 : side * tilt;
            const Rotation rest = (Rotation::RotZ(q1) * Rotation::RotY(q2)).Inverse() * flange.M;
            auto [sum, middle, last] = kdl_arms::ball(rest, end);
            Candidate c(limits, reference);
            c.stands(1, q2).stands(3, 0);
            std::vector<std::pair<std::size_t, int>> coaxial = {{2, 1}, {4, 1}};
            if (upright)
                coaxial.push_back({0, 1});
            else
                c.stands(0, q1);
            if (std::fabs(middle) < straight) {
                coaxial.push_back({6, 1});
                c.stands(5, 0);
                sum = std::atan2(rest(1, 0), rest(0, 0));
            } else {
                c.stands(5, middle).stands(6, last);
            }
            best = std::min(best, c.share(coaxial, sum).cost);
        }
        return best;
    }
};

// Joints of a kind that leads to singular places, and references anywhere or near by.
class Problems {
    const ARM_MODEL& arm;
    std::mt19937 bits;

  public:
    Problems(const ARM_MODEL& model, unsigned seed) : arm(model), bits(seed) {}

    double between(double low, double high) { return low + (high - low) * (bits() / 4294967296.0); }
    bool once_in(int n) { return bits() % n == 0; }

    Joints anywhere()
    {
        Joints joint = {};
        for (int i = 0; i < arm.joints; ++i)
            joint[i] = static_cast<float>(between(arm.lower[i], arm.upper[i]));
        return joint;
    }

    Joints hard()
    {
        Joints joint = anywhere();
        for (int i = 0; i < arm.joints; ++i) {
            const double step = once_in(2) ? 90 : 15;
            switch (bits() % 5) {
            case 0:
                joint[i] = static_cast<float>(step * std::round(joint[i] / step));
                break;
            case 1:
                joint[i] = 0;
                break;
            case 2: // nearly straight
                joint[i] = static_cast<float>(std::pow(10, between(-6, 0)) * (once_in(2) ? 1 : -1));
                break;
            case 3:
                if (once_in(3)) joint[i] = once_in(2) ? arm.lower[i] : arm.upper[i];
                break;
            }
            joint[i] = std::clamp(joint[i], arm.lower[i], arm.upper[i]);
        }
        if (arm.model == 36 && once_in(3)) joint[2] = 9.66867f; // stretched
        if (arm.model == 46 && once_in(3)) {                    // the wrist centre over joint 1
            const double sine = -0.256 / 0.21 * std::sin(joint[1] * degree);
            if (std::fabs(sine) < 0.99) joint[2] = static_cast<float>(std::asin(sine) / degree - joint[1]);
        }
        return joint;
    }

    Joints near(const Joints& joint)
    {
        Joints reference = anywhere();
        if (once_in(3))
            for (int i = 0; i < arm.joints; ++i)
                reference[i] = joint[i] + reference[i] / 20;
        return reference;
    }
};

struct Misses {
    long targets = 0, misses = 0, wrong = 0; // wrong: off the pose, or inside limits that do not hold
    double worst = 0;                        // rad^2
};

// A miss is by more than 0.05 rad^2; less is lost in the rounding of hard targets. Orientation may be off by what
// counts as a straight wrist. `solve` writes joints and tells whether it found any, and whether the pair of target
// and result is none to judge.
struct Answer {
    bool found, inside = true, exempt = false;
};

template <typename Judge, typename Solve>
Misses count(const ARM_MODEL& arm, const Judge& exhaustive, const Solve& solve, long targets, bool is_hard,
             unsigned seed)
{
    Problems problems(arm, seed);
    Misses m;
    for (long n = 0; n < targets; ++n) {
        const Joints joint = is_hard ? problems.hard() : problems.anywhere(),
                     reference = problems.near(joint);
        const KinPose target = Arm_Model_Pose(&arm, joint.data());
        const KDL::Frame flange = kdl_arms::exact_frame(target);
        Joints result = reference;
        const auto [found, inside, exempt] = solve(reference, target, result);
        if (exempt) continue;
        ++m.targets;
        std::vector<double> radians;
        for (int i = 0; i < arm.joints; ++i)
            radians.push_back(reference[i] * degree);
        const double best = exhaustive.nearest(flange, radians);
        double distance = best < INFINITY ? 1000 : 0;
        if (found) {
            distance = 0;
            for (int i = 0; i < arm.joints; ++i)
                distance += std::pow(result[i] * degree - radians[i], 2);
            const KDL::Twist off = KDL::diff(kdl_arms::forward(arm.model, result.data()), flange);
            m.wrong += !(off.vel.Norm() < 2e-5 && off.rot.Norm() < 6e-5) ||
                       (inside && Arm_Model_Beyond_Limits(&arm, result.data()) != 0);
        }
        m.misses += distance > best + 0.05;
        m.worst = std::max(m.worst, distance - best);
    }
    return m;
}

// Of Arm_Model_Inverse.
inline Misses count(int model, long targets, bool is_hard, unsigned seed)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    const auto solve = [&](const Joints& reference, const KinPose& target, Joints& result) {
        return Answer{Arm_Model_Inverse(&arm, reference.data(), &target, 4, result.data()) == ARM_SOLVED};
    };
    return model == 47 ? count(arm, SevenJudge(arm), solve, targets, is_hard, seed)
                       : count(arm, SixJudge(arm), solve, targets, is_hard, seed);
}

} // namespace hard
