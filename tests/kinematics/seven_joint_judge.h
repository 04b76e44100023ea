// The plain judge of the seven-joint inverse kinematics: all branches at any arm angle by rotation matrices,
// in the symbols of Shimizu, Kakuya, Yoon, Kitagaki and Kosuge (2008), and the nearest solution by a fine
// sweep of the arm angle in every branch.
#pragma once

#include "kinematics/kdl_arms.h"

namespace judge {

using Seven = std::array<double, 7>;
using KDL::Frame, KDL::Rotation, KDL::Vector;
using kdl_arms::degree;

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

class Redundancy {
    const Rotation target;
    double theta4;
    Rotation a_s, b_s, c_s; // of the shoulder: a_s*sin(psi) + b_s*cos(psi) + c_s

    static Rotation sum(double f, const Rotation& a, double g, const Rotation& b, double h, const Rotation& c)
    {
        Rotation r;
        for (int i = 0; i < 9; ++i)
            r.data[i] = f * a.data[i] + g * b.data[i] + h * c.data[i];
        return r;
    }

  public:
    explicit Redundancy(const Frame& flange) : target(flange.M)
    {
        const Vector w = wrist_centre(flange);
        const double cosine = (dot(w, w) - d_se * d_se - d_ew * d_ew) / (2 * d_se * d_ew);
        theta4 = std::acos(std::clamp(cosine, -1., 1.));
        const double lift = std::atan2(d_ew * std::sin(theta4), d_se + d_ew * std::cos(theta4));
        const Rotation at_0 = reference_plane(w) * Rotation::RotY(-lift);
        const Vector u = reference_plane(w).UnitZ();
        const Rotation cross(0, -u.z(), u.y(), u.z(), 0, -u.x(), -u.y(), u.x(), 0);
        a_s = cross * at_0;
        b_s = sum(-1, cross * a_s, 0, {}, 0, {});
        c_s = sum(1, at_0, -1, b_s, 0, {});
    }

    double bend() const { return theta4; } // of the elbow, at least 0

    struct Balls {
        Rotation r03, r47;
    };
    Balls balls(double psi, int elbow_bent_back) const
    {
        const double elbow = elbow_bent_back ? -1 : 1;
        const Rotation r03 =
            sum(std::sin(psi), a_s, std::cos(psi), b_s, 1, c_s) * Rotation::RotZ(elbow < 0 ? M_PI : 0);
        return {r03, (r03 * Rotation::RotY(elbow * theta4)).Inverse() * target};
    }

    // The arm angle at which shoulder or wrist comes straight, to within a tolerance; NaN if none. A cosine of
    // the form mean + c*cos(psi) + s*sin(psi).
    double straight_at(bool wrist, double tolerance) const
    {
        const auto cosine = [&](double psi) {
            const auto [r03, r47] = balls(psi, 0);
            return wrist ? r47(2, 2) : r03(2, 2);
        };
        const double mean = (cosine(0) + cosine(M_PI)) / 2;
        const double psi = std::atan2(cosine(M_PI_2) - mean, cosine(0) - mean);
        const auto [r03, r47] = balls(psi, 0);
        const Rotation& r = wrist ? r47 : r03;
        return std::hypot(r(0, 2), r(1, 2)) < tolerance && r(2, 2) > 0 ? psi : NAN;
    }

    // Radians, of one of the eight branches, each joint within its chain's limits and as near to the
    // reference as whole turns allow; NaN if it cannot be.
    Seven joints(double psi, int branch, const Seven& reference) const
    {
        const double elbow = branch & 1 ? -1 : 1, s = branch & 2 ? -1 : 1, w = branch & 4 ? -1 : 1;
        const auto& [r03, r47] = balls(psi, branch & 1);
        const auto shoulder = kdl_arms::ball(r03, s), hand = kdl_arms::ball(r47, w);
        Seven joint = {shoulder.first, shoulder.middle, shoulder.last, elbow * theta4,
                       hand.first,     hand.middle,     hand.last};
        static const kdl_arms::Limits limits = kdl_arms::chain_limits(47);
        for (int i = 0; i < 7; ++i) {
            constexpr double rounding = 3e-6;
            double nearest = NAN;
            for (double turn : {-2 * M_PI, 0., 2 * M_PI})
                if (const double angle = joint[i] + turn; std::fabs(angle) <= limits[i][1] + rounding)
                    if (!(std::fabs(nearest - reference[i]) <= std::fabs(angle - reference[i])))
                        nearest = angle;
            joint[i] = nearest;
        }
        return joint;
    }

    double squared_distance(double psi, int branch, const Seven& reference) const // infinite if there is none
    {
        const Seven joint = joints(psi, branch, reference);
        double sum_of_squares = 0;
        for (int i = 0; i < 7; ++i)
            sum_of_squares += (joint[i] - reference[i]) * (joint[i] - reference[i]);
        return std::isnan(sum_of_squares) ? INFINITY : sum_of_squares;
    }

    // The least squared distance for arm angles from `from` to `to`; infinite if there is no solution.
    double nearest(const Seven& reference, double from, double to, int steps) const
    {
        double best = INFINITY;
        std::vector<double> at(steps + 1);
        for (int branch = 0; branch < 8; ++branch) {
            const double width = (to - from) / steps;
            for (int i = 0; i <= steps; ++i)
                at[i] = squared_distance(from + width * i, branch, reference);
            for (int i = 0; i <= steps; ++i)
                if (at[i] < INFINITY && at[i] <= at[std::max(i - 1, 0)] &&
                    at[i] <= at[std::min(i + 1, steps)])
                    best = std::min(best,
                                    golden_section(from + width * std::max(i - 1, 0),
                                                   from + width * std::min(i + 1, steps), branch, reference));
        }
        return best;
    }

  private:
    double golden_section(double a, double b, int branch, const Seven& reference) const
    {
        const double ratio = 0.618033988749895;
        double c = b - ratio * (b - a), d = a + ratio * (b - a);
        double at_c = squared_distance(c, branch, reference), at_d = squared_distance(d, branch, reference);
        double best = squared_distance((a + b) / 2, branch, reference);
        for (int i = 0; i < 50; ++i) {
            best = std::min({best, at_c, at_d});
            if (at_c < at_d) {
                b = d, d = c, at_d = at_c;
                at_c = squared_distance(c = b - ratio * (b - a), branch, reference);
            } else {
                a = c, c = d, at_c = at_d;
                at_d = squared_distance(d = a + ratio * (b - a), branch, reference);
            }
        }
        return best;
    }
};

} // namespace judge
