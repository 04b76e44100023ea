// The plain judge of the six-joint inverse kinematics: all eight solutions in double precision, with no
// regard for speed, from another derivation than the library's: Brandstoetter, Angerer and Hofbaur, "An
// Analytical Solution of the Inverse Kinematics Problem of Industrial Serial Manipulators with an
// Ortho-parallel Basis and a Spherical Wrist" (2014), in that paper's symbols. Forward, it is an Orocos KDL
// chain.
#pragma once

#include "kinematics/kdl_arms.h"

#include <kdl/chainfksolverpos_recursive.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace judge {

using Six = std::array<double, 6>;
using kdl_arms::degree;

struct Limits {
    double joint[6][2];          // degrees
    double theta1[2], theta3[2]; // chain angles, radians
};

// Model 36's theta3 lets joint 3 down to -149.4 degrees only.
inline const Limits& limits(int model)
{
    static const Limits of_36 = {
        {{-180, 180}, {-180, 180}, {-150, 165}, {-180, 180}, {-180, 180}, {-360, 360}},
        {-4.712389, 1.5707964},
        {-1.0367255, 4.4516368}};
    static const Limits of_46 = {
        {{-180, 180}, {-130, 130}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}},
        {-3.14159, 3.14159},
        {-0.7853975, 3.9269876}};
    return model == 36 ? of_36 : of_46;
}

inline double distance_to_limits(int model, const Six& joint) // degrees, of the joint nearest to a limit
{
    double nearest = 360;
    for (int i = 0; i < 6; ++i)
        for (double limit : limits(model).joint[i])
            nearest = std::min(nearest, std::fabs(joint[i] / degree - limit));
    return nearest;
}

// Where a pose of single precision does not tell the joints to 0.01 degrees: gimbal lock of its Euler angles,
// a wrist centre near axis 1, a stretched elbow, a straight or folded wrist.
inline bool near_singular(int model, const KDL::Frame& flange, const float* joint)
{
    const KDL::Vector centre = flange.p - (model == 36 ? 0.115 : 0.144) * flange.M.UnitZ();
    const double d3 = model == 36 ? 0.0102 : 0, stretched = model == 36 ? 9.67 : 0;
    const double to_axis =
        std::sqrt(std::max(0.0, centre.x() * centre.x() + centre.y() * centre.y() - d3 * d3));
    return std::fabs(flange.M(2, 0)) > 1 - 1e-4 || to_axis < 0.005 || std::fabs(joint[2] - stretched) < 1 ||
           std::fabs(std::sin(joint[4] * degree)) < 0.02;
}

class Arm {
    struct Geometry {
        double a1, a2, b, c1, c2, c3, c4; // metres
        double theta1, theta6;            // what the paper's joints count more than the arm's, radians
    };

    const int model;
    const Geometry geometry;
    const KDL::Chain chain;
    KDL::ChainFkSolverPos_recursive solver;
    KDL::JntArray radians{6};

  public:
    explicit Arm(int model_code)
        : model(model_code),
          geometry(model == 36 ? Geometry{.086f, .069f, .0102f, .172f, .38f, .405f, .115f, -M_PI_2, M_PI_2}
                               : Geometry{0, 0, 0, .2405f, .256f, .21f, .144f, 0, M_PI}),
          chain(kdl_arms::arm(model)), solver(chain)
    {
    }
    Arm(const Arm&) = delete;

    KDL::Frame forward(const float* joint) // degrees
    {
        KDL::Frame flange;
        for (int i = 0; i < 6; ++i)
            radians(i) = joint[i] * degree;
        solver.JntToCart(radians, flange);
        return flange;
    }

    // Radians, every joint within half a turn of zero; NaN where a branch is out of reach.
    std::array<Six, 8> solutions(const KDL::Frame& flange) const
    {
        const auto& [a1, a2, b, c1, c2, c3, c4, more1, more6] = geometry;
        const KDL::Rotation& e = flange.M;
        const KDL::Vector c = flange.p - c4 * e.UnitZ();
        const double nx1 = std::sqrt(c.x() * c.x() + c.y() * c.y() - b * b) - a1, z = c.z() - c1;
        const double s1 = std::hypot(nx1, z), s2 = std::hypot(nx1 + 2 * a1, z), k = std::hypot(a2, c3);
        const double aside = std::atan2(b, nx1 + a1);
        const auto arc_cosine = [](double x) {
            return std::fabs(x) < 1.0002 ? std::acos(std::clamp(x, -1., 1.)) : NAN;
        };

        std::array<Six, 8> all;
        for (int i = 0; i < 8; ++i) {
            const bool back = i & 1, turned = i & 4;
            const double s = back ? s2 : s1, elbow = i & 2 ? 1 : -1;
            const double t1 = std::atan2(c.y(), c.x()) + (back ? aside - M_PI : -aside);
            const double t2 = elbow * arc_cosine((s * s + c2 * c2 - k * k) / (2 * s * c2)) +
                              (back ? -std::atan2(nx1 + 2 * a1, z) : std::atan2(nx1, z));
            const double t3 =
                -elbow * arc_cosine((s * s - c2 * c2 - k * k) / (2 * c2 * k)) - std::atan2(a2, c3);

            // The flange's axes in the frame of the forearm.
            const double sin1 = std::sin(t1), cos1 = std::cos(t1);
            const double sin23 = std::sin(t2 + t3), cos23 = std::cos(t2 + t3);
            const auto x = [&](int j) { return (e(0, j) * cos1 + e(1, j) * sin1) * cos23 - e(2, j) * sin23; };
            const auto y = [&](int j) { return e(1, j) * cos1 - e(0, j) * sin1; };
            const auto m = [&](int j) { return (e(0, j) * cos1 + e(1, j) * sin1) * sin23 + e(2, j) * cos23; };
            const double t4 = std::atan2(y(2), x(2)), t6 = std::atan2(m(1), -m(0));
            const double t5 = std::atan2(std::hypot(x(2), y(2)), m(2));

            // The paper's joints 2, 3 and 5 turn the other way than the arm's.
            const double half = turned ? M_PI : 0;
            all[i] = {t1 - more1, -t2, -t3, t4 + half, turned ? t5 : -t5, t6 - half - more6};
            for (double& angle : all[i])
                angle = std::remainder(angle, 2 * M_PI);
        }
        return all;
    }

    struct Choice {
        Six joint;              // radians
        double distance = 1000; // sum of squares to the reference
        int code = -9;
    };

    // The nearest solution to a reference (degrees) whose theta1 and theta3 keep their limits.
    Choice nearest(const KDL::Frame& flange, const float* reference) const
    {
        const double offset1 = model == 36 ? -M_PI_2 : 0, offset3 = M_PI_2;
        const auto& [of_joints, theta1, theta3] = limits(model);
        Choice best;
        for (Six q : solutions(flange)) {
            if (!(theta1[0] <= q[0] + offset1 && q[0] + offset1 <= theta1[1])) continue;
            if (!(theta3[0] <= q[2] + offset3 && q[2] + offset3 <= theta3[1])) continue;
            q[5] = reference[5] * degree + std::remainder(q[5] - reference[5] * degree, 2 * M_PI);
            double distance = 0;
            for (int i = 0; i < 6; ++i)
                distance += std::pow(q[i] - reference[i] * degree, 2);
            if (distance < best.distance) best = {q, distance, 1};
        }
        for (int i = 5; i >= 0; --i)
            if (const double q = best.joint[i] / degree; best.code != -9)
                if (q > of_joints[i][1] || q < of_joints[i][0]) best.code = -3 - i;
        return best;
    }
};

} // namespace judge
