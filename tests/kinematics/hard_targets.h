// Nearest solutions on hard targets: joints that are round, straight, stretched, at their limits or nearly so,
// wrist centres on axis 1, against an exhaustive search of the same geometry that knows where joints share a
// turn. One body serves the tests and the million of kinematics_sweep.
#pragma once

#include "kinematics/nearest_judges.h"

#include <random>
#include <vector>

namespace hard {

using kdl_arms::degree, kdl_arms::Joints;

class Random {
    std::mt19937 bits;

  public:
    explicit Random(unsigned seed) : bits(seed) {}

    int below(int n) { return static_cast<int>(bits() % n); }
    bool once_in(int n) { return below(n) == 0; }
    float between(double low, double high)
    {
        return static_cast<float>(low + (high - low) * (bits() / 4294967296.0));
    }

    // Within 1.5 m and with ry short of gimbal lock.
    KinPose pose()
    {
        const Euler e = {between(-3.1, 3.1), between(-1.5, 1.5), between(-3.1, 3.1)};
        return {{between(-1.5, 1.5), between(-1.5, 1.5), between(-1.5, 1.5)},
                euler2quaternion(e.rx, e.ry, e.rz),
                e};
    }
};

// Joints of a kind that leads to singular places, and references anywhere or near by.
class Problems : public Random {
    const ARM_MODEL& arm;

  public:
    Problems(const ARM_MODEL& model, unsigned seed) : Random(seed), arm(model) {}

    Joints anywhere()
    {
        Joints joint = {};
        for (int i = 0; i < arm.joints; ++i)
            joint[i] = between(arm.lower[i], arm.upper[i]);
        return joint;
    }

    Joints hard()
    {
        Joints joint = anywhere();
        for (int i = 0; i < arm.joints; ++i) {
            const float step = once_in(2) ? 90 : 15, limit = once_in(2) ? arm.lower[i] : arm.upper[i],
                        nearly_straight = std::pow(10.f, between(-6, 0)) * (once_in(2) ? 1.f : -1.f);
            const float some[] = {step * std::round(joint[i] / step), 0, nearly_straight,
                                  once_in(3) ? limit : joint[i], joint[i]};
            joint[i] = std::clamp(some[below(5)], arm.lower[i], arm.upper[i]);
        }
        if (arm.model == 36 && once_in(3)) joint[2] = 9.66867f; // stretched
        if (arm.model == 46 && once_in(3)) {                    // the wrist centre over joint 1
            const double sine = -0.256 / 0.21 * std::sin(joint[1] * degree),
                         q3 = std::asin(sine) / degree - joint[1];
            if (std::fabs(sine) < 0.99 && std::fabs(q3) < 135) joint[2] = static_cast<float>(q3);
        }
        return joint;
    }

    Joints near(const Joints& joint)
    {
        Joints reference = anywhere();
        if (once_in(3))
            for (int i = 0; i < arm.joints; ++i)
                reference[i] = joint[i] + reference[i] / 20;
        if (once_in(8)) reference[below(arm.joints)] *= 2; // beyond the limits, as references may be
        return reference;
    }
};

inline double squared_distance(const ARM_MODEL& arm, const Joints& a, const Joints& b) // rad^2
{
    double sum = 0;
    for (int i = 0; i < arm.joints; ++i)
        sum += std::pow((a[i] - b[i]) * degree, 2);
    return sum;
}

struct Misses {
    long targets = 0, misses = 0, wrong = 0; // wrong: off the pose, or beyond the limits
    double worst = 0;                        // rad^2
};

// Of Arm_Model_Inverse, which may write over its reference, with a range of the arm angle that may be too narrow for
// any solution. A miss is by more than 0.05 rad^2; less is lost in the rounding of hard targets. Orientation may be off
// by what counts as a straight wrist.
inline Misses count(int model, long targets, bool is_hard, unsigned seed, float range = 4)
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    const ARM_MODEL within = judge::arm_within_its_chain(model);
    // An upright line has no vertical plane from which arm angles could count, a stretched arm no elbow.
    const auto has_arm_angle = [](const KDL::Frame& flange) {
        const KDL::Vector w = judge::wrist_centre(flange);
        return std::hypot(w.x(), w.y()) > 0.1 * w.Norm() && w.Norm() < 0.465;
    };
    Problems problems(arm, seed);
    Misses m;
    for (long n = 0; n < targets; ++n) {
        const Joints joint = is_hard ? problems.hard() : problems.anywhere(),
                     reference = problems.near(joint);
        const KinPose target = Arm_Model_Pose(&arm, joint.data());
        const KDL::Frame flange = kdl_arms::frame_by_quaternion(target),
                         start = kdl_arms::forward(model, reference.data());
        if (range < M_PI && !(has_arm_angle(flange) && has_arm_angle(start))) continue;
        ++m.targets;
        Joints result = reference;
        const bool found =
            Arm_Model_Inverse(&arm, result.data(), &target, range, result.data()) == ARM_SOLVED;
        const double best = model == 47 ? judge::nearest_of_seven(within, flange, reference, range)
                                        : judge::nearest_of_six(within, flange, reference),
                     distance = found             ? squared_distance(arm, result, reference)
                                : best < INFINITY ? 1000
                                                  : 0;
        if (found) {
            const KDL::Twist off = KDL::diff(kdl_arms::forward(model, result.data()), flange);
            const double turned = judge::arm_angle(result.data()) - judge::arm_angle(reference.data());
            m.wrong += !(off.vel.Norm() < 2e-5 && off.rot.Norm() < 6e-5) ||
                       Arm_Model_Beyond_Limits(&arm, result.data()) != 0 ||
                       (range < M_PI && std::fabs(std::remainder(turned, 2 * M_PI)) > range + 1e-3);
        }
        m.misses += distance > best + 0.05;
        m.worst = std::max(m.worst, distance - best);
    }
    return m;
}

} // namespace hard
