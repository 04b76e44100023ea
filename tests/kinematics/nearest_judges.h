// The plain judges of the inverse kinematics: the nearest of all solutions, searched for exhaustively in double
// precision with no regard for speed, and with singular places, where joints share a turn. Other derivations than the
// library's: for six joints Brandstoetter, Angerer and Hofbaur, "An Analytical Solution of the Inverse Kinematics
// Problem of Industrial Serial Manipulators with an Ortho-parallel Basis and a Spherical Wrist" (2014), for seven
// Shimizu, Kakuya, Yoon, Kitagaki and Kosuge (2008), each in its symbols.
#pragma once

#include "kinematics/kdl_arms.h"
#include "kx/arm_model.h"

namespace judge {

using KDL::Frame, KDL::Rotation, KDL::Vector;
using kdl_arms::degree, kdl_arms::Joints;

constexpr double limit_rounding = 2e-6, straight = 1e-6; // radians

// An arm limited to where it may stand: within its joints' limits and its chain's, which were typed with fewer
// digits.
inline ARM_MODEL arm_within_its_chain(int model)
{
    constexpr float of_seven[] = {179.9997f, 129.998f, 179.9997f, 135, 179.9997f, 127.998f, 360};
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    for (int i = 0; i < 7 && model == 47; ++i)
        arm.upper[i] = of_seven[i], arm.lower[i] = -of_seven[i];
    return arm;
}

// A solution's squared distance from the reference, rad^2, joint by joint; infinite if one cannot stand within its
// limits.
class Candidate {
    const ARM_MODEL& arm;
    const Joints& reference;

  public:
    double cost = 0;

    Candidate(const ARM_MODEL& within, const Joints& near_to) : arm(within), reference(near_to) {}

    Candidate& stands(int i, double angle)
    {
        double least = INFINITY;
        for (int turn = -2; turn <= 2; ++turn)
            if (const double q = angle + 2 * M_PI * turn;
                q >= arm.lower[i] * degree - limit_rounding && q <= arm.upper[i] * degree + limit_rounding)
                least = std::min(least, std::pow(q - reference[i] * degree, 2));
        cost += least;
        return *this;
    }

    // Two joints about one line share what they add up to, the second with a sign, since it may turn about it the other
    // way: each is shifted towards the sum by the same, as far as its limits let it.
    Candidate& share(int first, int second, int sign, double sum)
    {
        double least = INFINITY;
        for (int turn = -3; turn <= 3; ++turn) {
            double low = -40, high = 40, off = 0, squared = 0;
            for (int halvings = 0; halvings < 50; ++halvings) {
                const double shift = (low + high) / 2;
                off = -sum - 2 * M_PI * turn, squared = 0;
                for (const auto& [i, way] : {std::pair{first, 1}, {second, sign}}) {
                    const double start = reference[i] * degree;
                    const double q =
                        std::clamp(start + way * shift, arm.lower[i] * degree, arm.upper[i] * degree);
                    off += way * q, squared += std::pow(q - start, 2);
                }
                (off < 0 ? low : high) = shift;
            }
            if (std::fabs(off) < limit_rounding) least = std::min(least, squared);
        }
        cost += least;
        return *this;
    }

    // Three joints of a ball, of which two share their turn where it is straight.
    Candidate& ball(const Rotation& r, int first, bool is_turned, bool may_share)
    {
        const auto angles = kdl_arms::ball(r, is_turned ? -1 : 1);
        if (may_share && std::fabs(angles.middle) < straight)
            return stands(first + 1, 0).share(first, first + 2, 1, std::atan2(r(1, 0), r(0, 0)));
        return stands(first, angles.first).stands(first + 1, angles.middle).stands(first + 2, angles.last);
    }
};

// --- six joints

// The least squared distance of all solutions inside the limits; infinite if there is none.
inline double nearest_of_six(const ARM_MODEL& arm, const Frame& flange, const Joints& reference)
{
    struct Geometry {
        double a1, a2, b, c1, c2, c3, c4; // metres
        double more1, more6;              // what the paper's joints count more than the arm's, radians
    };
    const auto& [a1, a2, b, c1, c2, c3, c4, more1, more6] =
        arm.model == 36 ? Geometry{.086f, .069f, .0102f, .172f, .38f, .405f, .115f, -M_PI_2, M_PI_2}
                        : Geometry{0, 0, 0, .2405f, .256f, .21f, .144f, 0, M_PI};
    const Vector c = flange.p - c4 * flange.M.UnitZ();
    const double to_axis_1 = std::hypot(c.x(), c.y());
    const double nx1 = std::sqrt(to_axis_1 * to_axis_1 - b * b) - a1, z = c.z() - c1;
    const double s1 = std::hypot(nx1, z), s2 = std::hypot(nx1 + 2 * a1, z), k = std::hypot(a2, c3);
    const double aside = std::atan2(b, nx1 + a1);
    const auto arc_cosine = [](double x) {
        return std::acos(std::fabs(x) < 1.00001 ? std::clamp(x, -1., 1.) : NAN);
    };
    double best = INFINITY;
    const int steps = to_axis_1 > 4e-7 ? 1 : 720; // a wrist centre on axis 1 leaves joint 1 open
    for (int i = 0; i < 8 * steps; ++i) {
        const double ahead = steps == 1 ? std::atan2(c.y(), c.x()) : 2 * M_PI / steps * (i / 8 + 0.5);
        const bool back = i & 1;
        const double s = back ? s2 : s1, elbow = i & 2 ? 1 : -1;
        const double t1 = ahead + (back ? aside - M_PI : -aside);
        const double t2 = elbow * arc_cosine((s * s + c2 * c2 - k * k) / (2 * s * c2)) +
                          (back ? -std::atan2(nx1 + 2 * a1, z) : std::atan2(nx1, z));
        const double t3 = -elbow * arc_cosine((s * s - c2 * c2 - k * k) / (2 * c2 * k)) - std::atan2(a2, c3);
        Candidate solution(arm, reference); // some joints turn the other way than the paper's
        solution.stands(0, t1 - more1).stands(1, -t2).stands(2, -t3);
        if (std::isnan(t3) || !(solution.cost < best)) continue;

        const Rotation wrist = (Rotation::RotZ(t1) * Rotation::RotY(t2 + t3)).Inverse() * flange.M;
        const auto [t4, t5, t6] = kdl_arms::ball(wrist, i & 4 ? -1 : 1);
        if (std::fabs(std::sin(t5)) > straight)
            solution.stands(3, t4).stands(4, -t5).stands(5, t6 - more6);
        else if (std::cos(t5) > 0)
            solution.stands(4, 0).share(3, 5, 1, t4 + t6 - more6);
        else
            solution.stands(4, M_PI).share(3, 5, -1, t4 - t6 + more6);
        best = std::min(best, solution.cost);
    }
    return best;
}

// --- seven joints

inline constexpr double d_bs = 0.2405f, d_se = 0.256f, d_ew = 0.21f, d_wt = 0.144f; // metres

inline Vector wrist_centre(const Frame& flange) // seen from the shoulder
{
    return flange.p - d_wt * flange.M.UnitZ() - Vector(0, 0, d_bs);
}

// Turns z onto a line from the shoulder and x into the vertical plane through it.
inline Rotation reference_plane(const Vector& line)
{
    return Rotation::RotZ(std::atan2(line.y(), line.x())) *
           Rotation::RotY(std::atan2(std::hypot(line.x(), line.y()), line.z()));
}

// The arm angle of joints, from where their elbow is.
inline double arm_angle(const float* joint)
{
    const Rotation upper_arm = Rotation::RotZ(joint[0] * degree) * Rotation::RotY(joint[1] * degree);
    const Vector elbow =
        reference_plane(wrist_centre(kdl_arms::forward(47, joint))).Inverse() * upper_arm.UnitZ();
    return std::atan2(-elbow.y(), -elbow.x());
}

// All branches at any arm angle by rotation matrices, and a fine sweep of the arm angle in every branch.
class Seven {
    const ARM_MODEL& arm;
    const Frame& flange;
    const Joints& reference;
    const Vector line; // from the shoulder to the wrist
    double theta4;
    Rotation at_0; // the shoulder's, at arm angle zero

    void bend_elbow(double angle)
    {
        theta4 = angle;
        const double lift = std::atan2(d_ew * std::sin(angle), d_se + d_ew * std::cos(angle));
        at_0 = reference_plane(line) * Rotation::RotY(-lift);
    }

    struct Balls {
        Rotation r03, r47;
    };
    Balls balls(double psi, bool is_bent_back) const
    {
        const Rotation r03 = Rotation::Rot(line, psi) * at_0 * Rotation::RotZ(is_bent_back ? M_PI : 0);
        return {r03, (r03 * Rotation::RotY(is_bent_back ? -theta4 : theta4)).Inverse() * flange.M};
    }

    double distance(double psi, int branch, bool may_share) const
    {
        const auto [r03, r47] = balls(psi, branch & 1);
        return Candidate(arm, reference)
            .stands(3, branch & 1 ? -theta4 : theta4)
            .ball(r03, 0, branch & 2, may_share)
            .ball(r47, 4, branch & 4, may_share)
            .cost;
    }

    // The arm angle at which shoulder or wrist is bent least: its cosine is mean + c*cos(psi) + s*sin(psi).
    double straightest(bool wrist) const
    {
        const auto cosine = [&](double psi) {
            const auto [r03, r47] = balls(psi, false);
            return (wrist ? r47 : r03)(2, 2);
        };
        const double mean = (cosine(0) + cosine(M_PI)) / 2;
        return std::atan2(cosine(M_PI_2) - mean, cosine(0) - mean);
    }

  public:
    Seven(const ARM_MODEL& within, const Frame& target, const Joints& near_to)
        : arm(within), flange(target), reference(near_to), line(wrist_centre(target))
    {
        const double cosine = (dot(line, line) - d_se * d_se - d_ew * d_ew) / (2 * d_se * d_ew);
        bend_elbow(std::acos(std::clamp(cosine, -1., 1.)));
    }

    // The least squared distance for arm angles from `from` to `to`; infinite if there is no solution.
    double nearest(double from, double to, int steps, bool may_share = false) const
    {
        double best = INFINITY;
        std::vector<double> at(steps + 1);
        for (int branch = 0; branch < 8; ++branch) {
            const double width = (to - from) / steps;
            for (int i = 0; i <= steps; ++i)
                at[i] = distance(from + width * i, branch, may_share);
            for (int i = 0; i <= steps; ++i) {
                const int before = std::max(i - 1, 0), after = std::min(i + 1, steps);
                if (at[i] == INFINITY || at[i] > at[before] || at[i] > at[after]) continue;
                for (double a = from + width * before, b = from + width * after; b - a > 1e-8;) {
                    const double c = b - 0.618 * (b - a), d = a + 0.618 * (b - a); // by the golden section
                    const double at_c = distance(c, branch, may_share), at_d = distance(d, branch, may_share);
                    best = std::min({best, at_c, at_d});
                    (at_c < at_d ? b = d : a = c);
                }
            }
        }
        return best;
    }

    double nearest() const
    {
        double best = nearest(-M_PI, M_PI, 400);
        // A ball that is straight at some arm angle shares its turn there, whatever the other one does; in a stretched
        // arm a ball may be so at all of them.
        for (int i = 0; i < 16; ++i)
            best = std::min(best, distance(straightest(i & 8), i, true));
        if (theta4 > 1e-3) return best;
        Seven stretched = *this;
        stretched.bend_elbow(0);
        return std::min(best, stretched.nearest(-M_PI, M_PI, 60, true));
    }
};

// With arm angles within a range around the reference's; pi or more: anywhere.
inline double nearest_of_seven(const ARM_MODEL& arm, const Frame& flange, const Joints& reference,
                               double range)
{
    const Seven seven(arm, flange, reference);
    const double psi = arm_angle(reference.data());
    return range < M_PI ? seven.nearest(psi - range, psi + range, 200) : seven.nearest();
}

} // namespace judge
