// Nearest solutions on hard targets: joints that are round, straight, stretched, at their limits or nearly so,
// wrist centres on axis 1, against an exhaustive search of the same geometry that knows where joints share a
// turn. One body serves the tests and the million of kinematics_sweep.
#pragma once

#include "kinematics/nearest_judges.h"

#include <random>
#include <vector>

namespace hard {

using kdl_arms::degree, kdl_arms::Joints;

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

// `solve` turns a reference into joints and tells whether it found any, whether they are inside the limits, and whether
// the pair of target and result is none to judge; `exhaustive` gives the nearest one's squared distance. A miss is by more
// than 0.05 rad^2; less is lost in the rounding of hard targets. Orientation may be off by what counts as a straight wrist.
struct Answer {
    bool found, inside = true, exempt = false;
};

template <typename Exhaustive, typename Solve>
Misses count(const ARM_MODEL& arm, const Exhaustive& exhaustive, const Solve& solve, long targets,
             bool is_hard, unsigned seed)
{
    Problems problems(arm, seed);
    Misses m;
    for (long n = 0; n < targets; ++n) {
        const Joints joint = is_hard ? problems.hard() : problems.anywhere(),
                     reference = problems.near(joint);
        const KinPose target = Arm_Model_Pose(&arm, joint.data());
        const KDL::Frame flange = kdl_arms::exact_frame(target);
        Joints result = reference;
        const auto [found, inside, exempt] = solve(result, target);
        if (exempt) continue;
        ++m.targets;
        judge::Angles radians;
        for (int i = 0; i < arm.joints; ++i)
            radians.push_back(reference[i] * degree);
        const double best = exhaustive(flange, radians);
        double distance = found ? 0 : best < INFINITY ? 1000 : 0;
        for (int i = 0; i < arm.joints && found; ++i)
            distance += std::pow(result[i] * degree - radians[i], 2);
        if (found) {
            const KDL::Twist off = KDL::diff(kdl_arms::forward(arm.model, result.data()), flange);
            m.wrong += !(off.vel.Norm() < 2e-5 && off.rot.Norm() < 6e-5) ||
                       (inside && Arm_Model_Beyond_Limits(&arm, result.data()) != 0);
        }
        m.misses += distance > best + 0.05;
        m.worst = std::max(m.worst, distance - best);
    }
    return m;
}

// Of Arm_Model_Inverse, which may write over its reference.
inline Misses count(int model, long targets, bool is_hard, unsigned seed)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    const auto exhaustive = [&, six = judge::Six(arm), limits = judge::limits_of(arm)](const auto&... of) {
        return model == 47 ? judge::Seven(limits, of...).nearest() : six.nearest(of...);
    };
    const auto solve = [&](Joints& joint, const KinPose& target) {
        return Answer{Arm_Model_Inverse(&arm, joint.data(), &target, 4, joint.data()) == ARM_SOLVED};
    };
    return count(arm, exhaustive, solve, targets, is_hard, seed);
}

} // namespace hard
