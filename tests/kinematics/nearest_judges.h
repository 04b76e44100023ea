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
using kdl_arms::degree;
using Angles = std::vector<double>; // radians

constexpr double limit_rounding = 2e-6, straight = 1e-6; // radians

struct Limits {
    Angles lower, upper;
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

// A solution's squared distance from the reference, joint by joint; infinite if one cannot stand within its limits.
class Candidate {
    const Limits& limits;
    const Angles& reference;

  public:
    double cost = 0;

    Candidate(const Limits& of_arm, const Angles& near_to) : limits(of_arm), reference(near_to) {}

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

    // Joints about one line share what they add up to, with signs, since they may turn about it the other way.
    Candidate& share(const std::vector<std::pair<std::size_t, int>>& joints, double sum)
    {
        // Each is shifted towards the sum by the same, as far as its limits let it; the shift is found by trial.
        const auto shifted = [&](double shift) {
            std::pair off_and_cost{-sum, 0.0};
            for (const auto& [i, sign] : joints) {
                const double q = std::clamp(reference[i] + sign * shift, limits.lower[i], limits.upper[i]);
                off_and_cost.first += sign * q, off_and_cost.second += std::pow(q - reference[i], 2);
            }
            return off_and_cost;
        };
        double least = INFINITY;
        for (double shift = -8; shift < 8; shift += 1e-2) {
            const auto [off, before] = shifted(shift);
            const auto [next, after] = shifted(shift + 1e-2);
            if (next > off && std::ceil(off / (2 * M_PI)) * 2 * M_PI <= next) // whole turns are between them
                least = std::min(least, std::max(before, after)); // within a little of the truth, above it
        }
        cost += least;
        return *this;
    }

    // Three joints of a ball, which share their turn where it is straight.
    Candidate& ball(const Rotation& r, std::size_t first, bool is_turned, bool may_share)
    {
        const auto angles = kdl_arms::ball(r, is_turned ? -1 : 1);
        if (may_share && std::fabs(angles.middle) < 3 * straight)
            return stands(first + 1, 0).share({{first, 1}, {first + 2, 1}}, std::atan2(r(1, 0), r(0, 0)));
        return stands(first, angles.first).stands(first + 1, angles.middle).stands(first + 2, angles.last);
    }
};

// --- six joints

inline Vector wrist_centre_of_six(int model, const Frame& flange)
{
    return flange.p - (model == 36 ? 0.115f : 0.144f) * flange.M.UnitZ();
}

// Where a pose of single precision does not tell the joints to 0.01 degrees: gimbal lock of its Euler angles, a wrist
// centre near axis 1, a stretched elbow, a straight or folded wrist, or a little of the last two, whose effects
// multiply.
inline bool near_singular(int model, const Frame& flange, const float* joint)
{
    const Vector centre = wrist_centre_of_six(model, flange);
    const double d3 = model == 36 ? 0.0102 : 0, stretched = model == 36 ? 9.67 : 0;
    const double to_axis =
        std::sqrt(std::max(0.0, std::pow(std::hypot(centre.x(), centre.y()), 2) - d3 * d3));
    const double bend = std::fabs(joint[2] - stretched), wrist = std::fabs(std::sin(joint[4] * degree));
    return std::fabs(flange.M(2, 0)) > 1 - 1e-4 || to_axis < 0.005 || bend < 1 || wrist < 0.02 ||
           bend * wrist < 0.1;
}

class Six {
    const int model;
    const Limits limits;
    const double cosine_bound; // beyond it a branch is out of reach

  public:
    explicit Six(const ARM_MODEL& m) : Six(m.model, limits_of(m), 1.00001) {}
    Six(int model_code, const Limits& other, double bound)
        : model(model_code), limits(other), cosine_bound(bound)
    {
    }

    // The least squared distance of all solutions inside the limits; infinite if there is none.
    double nearest(const Frame& flange, const Angles& reference) const
    {
        const Vector centre = wrist_centre_of_six(model, flange);
        if (model == 36 || std::hypot(centre.x(), centre.y()) > 4e-7) return at(flange, reference);
        // The wrist centre on axis 1 leaves joint 1 open. The geometry is told joint 1 by where the centre is.
        constexpr int steps = 720;
        double best = INFINITY;
        for (int i = 0; i < steps; ++i) {
            const double q1 = 2 * M_PI / steps * (i + 0.5);
            const Vector aside(1e-8 * std::cos(q1) - centre.x(), 1e-8 * std::sin(q1) - centre.y(), 0);
            best = std::min(best, at({flange.M, flange.p + aside}, reference));
        }
        return best;
    }

  private:
    double at(const Frame& flange, const Angles& reference) const
    {
        struct Geometry {
            double a1, a2, b, c1, c2, c3; // metres
            double more1, more6;          // what the paper's joints count more than the arm's, radians
        };
        const auto& [a1, a2, b, c1, c2, c3, more1, more6] =
            model == 36 ? Geometry{.086f, .069f, .0102f, .172f, .38f, .405f, -M_PI_2, M_PI_2}
                        : Geometry{0, 0, 0, .2405f, .256f, .21f, 0, M_PI};
        const Vector c = wrist_centre_of_six(model, flange);
        const double nx1 = std::sqrt(c.x() * c.x() + c.y() * c.y() - b * b) - a1, z = c.z() - c1;
        const double s1 = std::hypot(nx1, z), s2 = std::hypot(nx1 + 2 * a1, z), k = std::hypot(a2, c3);
        const double aside = std::atan2(b, nx1 + a1);
        const auto arc_cosine = [this](double x) {
            return std::fabs(x) < cosine_bound ? std::acos(std::clamp(x, -1., 1.)) : NAN;
        };
        double best = INFINITY;
        for (int i = 0; i < 8; ++i) {
            const bool back = i & 1;
            const double s = back ? s2 : s1, elbow = i & 2 ? 1 : -1;
            const double t1 = std::atan2(c.y(), c.x()) + (back ? aside - M_PI : -aside);
            const double t2 = elbow * arc_cosine((s * s + c2 * c2 - k * k) / (2 * s * c2)) +
                              (back ? -std::atan2(nx1 + 2 * a1, z) : std::atan2(nx1, z));
            const double t3 =
                -elbow * arc_cosine((s * s - c2 * c2 - k * k) / (2 * c2 * k)) - std::atan2(a2, c3);
            Candidate solution(limits, reference); // some joints turn the other way than the paper's
            solution.stands(0, t1 - more1).stands(1, -t2).stands(2, -t3);
            if (std::isnan(t3) || !(solution.cost < best)) continue;

            const Rotation wrist = (Rotation::RotZ(t1) * Rotation::RotY(t2 + t3)).Inverse() * flange.M;
            const auto [t4, t5, t6] = kdl_arms::ball(wrist, i & 4 ? -1 : 1);
            if (std::fabs(std::sin(t5)) > straight)
                solution.stands(3, t4).stands(4, -t5).stands(5, t6 - more6);
            else if (std::cos(t5) > 0)
                solution.stands(4, 0).share({{3, 1}, {5, 1}}, t4 + t6 - more6);
            else
                solution.stands(4, M_PI).share({{3, 1}, {5, -1}}, t4 - t6 + more6);
            best = std::min(best, solution.cost);
        }
        return best;
    }
};

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
    const Limits& limits;
    const Frame& flange;
    const Angles& reference;
    double theta4;
    Vector line; // from the shoulder to the wrist
    Rotation at_0;

    struct Balls {
        Rotation r03, r47;
    };
    Balls balls(double psi, bool is_bent_back) const
    {
        const Rotation r03 = Rotation::Rot(line, psi) * at_0 * Rotation::RotZ(is_bent_back ? M_PI : 0);
        return {r03, (r03 * Rotation::RotY(is_bent_back ? -theta4 : theta4)).Inverse() * flange.M};
    }

    double distance(double psi, int branch, bool may_share = false) const
    {
        const auto [r03, r47] = balls(psi, branch & 1);
        return Candidate(limits, reference)
            .stands(3, branch & 1 ? -theta4 : theta4)
            .ball(r03, 0, branch & 2, may_share)
            .ball(r47, 4, branch & 4, may_share)
            .cost;
    }

    // The arm angle at which shoulder or wrist comes straight; NaN if none. A cosine of the form
    // mean + c*cos(psi) + s*sin(psi).
    double straight_at(bool wrist) const
    {
        const auto of_ball = [&](double psi) {
            const auto [r03, r47] = balls(psi, false);
            return wrist ? r47 : r03;
        };
        const auto cosine = [&](double psi) { return of_ball(psi)(2, 2); };
        const double mean = (cosine(0) + cosine(M_PI)) / 2;
        const double psi = std::atan2(cosine(M_PI_2) - mean, cosine(0) - mean);
        const Rotation r = of_ball(psi);
        return std::hypot(r(0, 2), r(1, 2)) < straight && r(2, 2) > 0 ? psi : NAN;
    }

    // All of the arm up to the wrist is one line.
    double stretched() const
    {
        const double tilt = std::atan2(std::hypot(line.x(), line.y()), line.z());
        double best = INFINITY;
        for (int turned = 0; turned < 4; ++turned) {
            const double side = turned & 1 ? -1 : 1;
            const bool upright = tilt < straight;
            const double q1 = upright ? 0 : std::atan2(side * line.y(), side * line.x()),
                         q2 = upright ? 0 : side * tilt;
            const Rotation rest = (Rotation::RotZ(q1) * Rotation::RotY(q2)).Inverse() * flange.M;
            auto [sum, middle, last] = kdl_arms::ball(rest, turned & 2 ? -1 : 1);
            Candidate c(limits, reference);
            c.stands(1, q2).stands(3, 0);
            std::vector<std::pair<std::size_t, int>> coaxial = {{2, 1}, {4, 1}};
            if (upright)
                coaxial.push_back({0, 1});
            else
                c.stands(0, q1);
            if (std::fabs(middle) < straight) {
                coaxial.push_back({6, 1});
                middle = 0;
                sum = std::atan2(rest(1, 0), rest(0, 0));
            } else {
                c.stands(6, last);
            }
            best = std::min(best, c.stands(5, middle).share(coaxial, sum).cost);
        }
        return best;
    }

  public:
    Seven(const Limits& of_arm, const Frame& target, const Angles& near_to)
        : limits(of_arm), flange(target), reference(near_to)
    {
        line = wrist_centre(flange);
        const double cosine = (dot(line, line) - d_se * d_se - d_ew * d_ew) / (2 * d_se * d_ew);
        theta4 = std::acos(std::clamp(cosine, -1., 1.));
        const double lift = std::atan2(d_ew * std::sin(theta4), d_se + d_ew * std::cos(theta4));
        at_0 = reference_plane(line) * Rotation::RotY(-lift);
    }

    // The least squared distance for arm angles from `from` to `to`; infinite if there is no solution.
    double nearest(double from, double to, int steps) const
    {
        double best = INFINITY;
        std::vector<double> at(steps + 1);
        for (int branch = 0; branch < 8; ++branch) {
            const double width = (to - from) / steps;
            for (int i = 0; i <= steps; ++i)
                at[i] = distance(from + width * i, branch);
            for (int i = 0; i <= steps; ++i) {
                const int before = std::max(i - 1, 0), after = std::min(i + 1, steps);
                if (at[i] == INFINITY || at[i] > at[before] || at[i] > at[after]) continue;
                for (double a = from + width * before, b = from + width * after; b - a > 1e-8;) {
                    const double c = b - 0.618 * (b - a), d = a + 0.618 * (b - a); // by the golden section
                    const double at_c = distance(c, branch), at_d = distance(d, branch);
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
        if (theta4 < 1e-3) best = std::min(best, stretched());
        // A ball that is straight at some arm angle: there it shares its turn, whatever the other one does.
        for (bool wrist : {false, true})
            if (const double psi = straight_at(wrist); !std::isnan(psi))
                for (int branch = 0; branch < 8; ++branch)
                    best = std::min(best, distance(psi, branch, true));
        return best;
    }
};

} // namespace judge
