// The plain judge of the six-joint inverse kinematics: all eight solutions in double precision, with no
// regard for speed, from another derivation than the library's: Brandstoetter, Angerer and Hofbaur, "An
// Analytical Solution of the Inverse Kinematics Problem of Industrial Serial Manipulators with an
// Ortho-parallel Basis and a Spherical Wrist" (2014), in that paper's symbols.
#pragma once

#include "kinematics/kdl_arms.h"

namespace judge {

using Six = std::array<double, 6>;

inline KDL::Vector wrist_centre_of_six(int model, const KDL::Frame& flange)
{
    return flange.p - (model == 36 ? 0.115f : 0.144f) * flange.M.UnitZ();
}

// Where a pose of single precision does not tell the joints to 0.01 degrees: gimbal lock of its Euler angles,
// a wrist centre near axis 1, a stretched elbow, a straight or folded wrist, or a little of the last two, whose
// effects multiply.
inline bool near_singular(int model, const KDL::Frame& flange, const float* joint)
{
    const KDL::Vector centre = wrist_centre_of_six(model, flange);
    const double d3 = model == 36 ? 0.0102 : 0, stretched = model == 36 ? 9.67 : 0;
    const double to_axis =
        std::sqrt(std::max(0.0, centre.x() * centre.x() + centre.y() * centre.y() - d3 * d3));
    const double bend = std::fabs(joint[2] - stretched),
                 wrist = std::fabs(std::sin(joint[4] * kdl_arms::degree));
    return std::fabs(flange.M(2, 0)) > 1 - 1e-4 || to_axis < 0.005 || bend < 1 || wrist < 0.02 ||
           bend * wrist < 0.1;
}

// Radians, every joint within half a turn of zero; NaN where a branch is out of reach, its cosine beyond a bound.
inline std::array<Six, 8> solutions(int model, const KDL::Frame& flange, double bound)
{
    struct Geometry {
        double a1, a2, b, c1, c2, c3; // metres
        double more1, more6;          // what the paper's joints count more than the arm's, radians
    };
    const auto& [a1, a2, b, c1, c2, c3, more1, more6] =
        model == 36 ? Geometry{.086f, .069f, .0102f, .172f, .38f, .405f, -M_PI_2, M_PI_2}
                    : Geometry{0, 0, 0, .2405f, .256f, .21f, 0, M_PI};
    const KDL::Rotation& e = flange.M;
    const KDL::Vector c = wrist_centre_of_six(model, flange);
    const double nx1 = std::sqrt(c.x() * c.x() + c.y() * c.y() - b * b) - a1, z = c.z() - c1;
    const double s1 = std::hypot(nx1, z), s2 = std::hypot(nx1 + 2 * a1, z), k = std::hypot(a2, c3);
    const double aside = std::atan2(b, nx1 + a1);
    const auto arc_cosine = [=](double x) {
        return std::fabs(x) < bound ? std::acos(std::clamp(x, -1., 1.)) : NAN;
    };

    std::array<Six, 8> all;
    for (int i = 0; i < 8; ++i) {
        const bool back = i & 1;
        const double s = back ? s2 : s1, elbow = i & 2 ? 1 : -1;
        const double t1 = std::atan2(c.y(), c.x()) + (back ? aside - M_PI : -aside);
        const double t2 = elbow * arc_cosine((s * s + c2 * c2 - k * k) / (2 * s * c2)) +
                          (back ? -std::atan2(nx1 + 2 * a1, z) : std::atan2(nx1, z));
        const double t3 = -elbow * arc_cosine((s * s - c2 * c2 - k * k) / (2 * c2 * k)) - std::atan2(a2, c3);

        const KDL::Rotation wrist = (KDL::Rotation::RotZ(t1) * KDL::Rotation::RotY(t2 + t3)).Inverse() * e;
        const auto [t4, t5, t6] = kdl_arms::ball(wrist, i & 4 ? -1 : 1);
        all[i] = {t1 - more1, -t2, -t3, t4, -t5, t6 - more6}; // some turn the other way than the paper's
        for (double& angle : all[i])
            angle = std::remainder(angle, 2 * M_PI);
    }
    return all;
}

} // namespace judge
