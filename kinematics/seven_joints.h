// Inverse kinematics of the seven-joint arm, step by step, for one target or for several side by side (see balls.h);
// after Shimizu, Kakuya, Yoon, Kitagaki and Kosuge, "Analytical inverse kinematic computation for 7-DOF redundant
// manipulators with joint limits and its application to redundancy resolution" (2008): the target fixes wrist and
// elbow angle, and the other joints follow from the arm angle psi, of which the best is searched.
//
// With rotations Ry, Rz, shoulder S = Rz(theta1) Ry(theta2) Rz(theta3) and wrist W = Rz(theta5) Ry(theta6)
// Rz(theta7), the chain says
//     target rotation = S Ry(theta4) W,   wrist centre = S (dew sin(theta4), 0, dse + dew cos(theta4)),
// the wrist centre seen from the shoulder. Turning S by psi about the wrist centre keeps the latter.
//
// Files for different processors include this; so nothing here has a name that they could share.
#pragma once

#include "kinematics/arm_angle_search.h"
#include "kinematics/target.h"

namespace kx {

// Radians.
struct SevenLimits {
    std::array<double, 7> lower, upper;
};

// Where they are the arm's own, those that were typed for the chain, with fewer digits: they are up to 3e-5 radians
// narrower. Where these leave nothing, the joints' own count.
SevenLimits limits_of_seven(const ARM_MODEL& arm, bool joints_own);

namespace {

// A target is rounded to floats. That may take a joint so far beyond its limit (radians), and the target so
// far off the pose of the joints it was computed from (metres, and radians of half a turn). Away from
// singularities the joints show little of it (radians).
constexpr double joint_rounding = 3e-6, wrist_rounding = 1e-6, turn_rounding = 1.5e-6, regular_change = 2e-5;
constexpr double elbow_rounding = 1e-6; // of the cosine; moves the wrist by 0.12 micrometres
constexpr double elbow_limit_rounding = 2e-6;

// Where the last column and `forward` times the first of a rotation matrix add up to.
template <typename V>
VectorOf<V> turned(const RotorOf<V>& q, const V& forward, const V& along)
{
    const auto& [w, x, y, z] = q;
    return {forward * (1 - 2 * (y * y + z * z)) + along * 2 * (x * z + w * y),
            forward * 2 * (x * y + w * z) + along * 2 * (y * z - w * x),
            forward * 2 * (x * z - w * y) + along * (1 - 2 * (x * x + y * y))};
}

// Sines and cosines of two angles at once, which are taken at one go.
template <typename V>
struct TwoAngles {
    SineCosine<V> first, second;

    TwoAngles(const V& a, const V& b)
    {
        const auto [sine, cosine] = sine_cosine_of(beside(a, b));
        first = {of_shoulder(sine), of_shoulder(cosine)}, second = {of_wrist(sine), of_wrist(cosine)};
    }
};

// The triangle of shoulder, elbow and wrist.
template <typename V>
struct Elbow {
    V angle;          // theta4
    V forward, along; // the wrist, seen from the shoulder: along x of joint 3, and along the upper arm
    RotorOf<V> bend;  // by theta4
    RotorOf<V> lift;  // from the upper arm to the line through shoulder and wrist

    Elbow(const Lengths& lengths, const V& theta4, const SineCosine<V>& half)
        : Elbow(lengths, theta4, sine_cosine_of(theta4), half)
    {
    }
    // Bent by at least 0.
    static Elbow of_cosine(const Lengths& lengths, const V& cosine)
    {
        const V one = all_of<V>(1), c = cosine < -1 ? -one : (cosine > 1 ? one : cosine);
        const V sine = square_root(V((1 - c) * (1 + c)));
        return {lengths,
                arc_tangent(sine, c),
                {sine, c},
                {square_root(V((1 - c) / 2)), square_root(V((1 + c) / 2))}};
    }

  private:
    Elbow(const Lengths& lengths, const V& theta4, const SineCosine<V>& whole, const SineCosine<V>& half)
        : angle(theta4), forward(lengths.d4 * whole.sine), along(lengths.a3 + lengths.d4 * whole.cosine),
          bend(turn_y(half)),
          lift(turn_y(half_angle(forward, along, square_root(V(square(forward) + square(along))))))
    {
    }
};

template <typename V>
struct WristCentre {
    VectorOf<V> wrist; // from the shoulder, metres
    V elbow_cosine;

    WristCentre(const ARM_MODEL& arm, const Lengths& lengths, const TransformOf<V>& flange)
        : wrist{flange.p.x - arm.flange * flange.r[0][2], flange.p.y - arm.flange * flange.r[1][2],
                flange.p.z - arm.flange * flange.r[2][2] - lengths.d1}
    {
        const double upper_arm = lengths.a3, forearm = lengths.d4;
        elbow_cosine = (wrist.x * wrist.x + wrist.y * wrist.y + wrist.z * wrist.z - upper_arm * upper_arm -
                        forearm * forearm) /
                       (2 * upper_arm * forearm);
    }
};

template <typename V>
struct SevenTarget : WristCentre<V> {
    RotorOf<V> rotation;

    SevenTarget(const ARM_MODEL& arm, const Lengths& lengths, const TransformOf<V>& flange)
        : WristCentre<V>(arm, lengths, flange), rotation(rotor_of(flange.r))
    {
    }
    // Turns z onto the line from shoulder to wrist, and x into the vertical plane through it, downwards.
    RotorOf<V> line() const
    {
        const auto& [x, y, z] = this->wrist;
        const V rho2 = square(x) + square(y), rho = square_root(rho2);
        const RotorOf<V> lean = turn_y(half_angle(rho, z, square_root(V(rho2 + square(z)))));
        const SineCosine<V> half = half_angle(y, x, rho);
        const auto upright = !(rho > 0);
        return turn_z(SineCosine<V>{upright ? V{} : half.sine, upright ? all_of<V>(1) : half.cosine}) * lean;
    }
};

// Shoulder and wrist at arm angle zero and half a turn.
template <typename V>
struct BallRotors {
    RotorOf<V> shoulder[2], wrist[2];

    BallRotors(const RotorOf<V>& line, const Elbow<V>& elbow, const RotorOf<V>& target)
    {
        const V zero = {};
        const RotorOf<V> lower = conjugate(elbow.lift), unbend = conjugate(elbow.bend);
        shoulder[0] = line * lower;
        shoulder[1] = line * RotorOf<V>{zero, zero, zero, all_of<V>(1)} * lower; // half a turn about z
        for (int i = 0; i < 2; ++i)
            wrist[i] = unbend * conjugate(shoulder[i]) * target;
    }
};

// The reference joints and their pose.
template <typename V>
struct Reference {
    V joints[7]; // radians
    Elbow<V> elbow;
    RotorOf<V> shoulder;

    Reference(const Lengths& lengths, const V (&r)[7])
        : Reference(lengths, r, TwoAngles<V>(r[0] / 2, r[2] / 2), TwoAngles<V>(r[1] / 2, r[3] / 2))
    {
    }

    Holds<V> is_at(const SevenTarget<V>& target) const
    {
        const VectorOf<V> at = turned(shoulder, elbow.forward, elbow.along);
        return square(V(at.x - target.wrist.x)) + square(V(at.y - target.wrist.y)) +
                   square(V(at.z - target.wrist.z)) <
               square(wrist_rounding);
    }
    Holds<V> reaches(const SevenTarget<V>& target) const
    {
        const RotorOf<V> wrist = turn_z(joints[4]) * turn_y(joints[5]) * turn_z(joints[6]);
        const RotorOf<V> rotation = shoulder * elbow.bend * wrist;
        const RotorOf<V> off = conjugate(rotation) * target.rotation;
        return is_at(target) & (square(off.x) + square(off.y) + square(off.z) < square(turn_rounding));
    }

    // Turns z onto the reference's own line from shoulder to wrist; its xz plane holds the elbow, at x < 0.
    RotorOf<V> line() const
    {
        const V zero = {}, one = all_of<V>(1);
        const auto negative = elbow.forward < 0;
        return shoulder * elbow.lift * RotorOf<V>{negative ? zero : one, zero, zero, negative ? one : zero};
    }

    // The arm angle counts from the vertical plane through the line from shoulder to wrist.
    V arm_angle() const
    {
        const RotorOf<V> own = line();
        const V angles = arc_tangent(beside<V>(own.z, -own.x), beside(own.w, own.y));
        return of_shoulder(angles) - of_wrist(angles);
    }
    // An upright line has no such plane, and near to it the plane turns quickly from one line to the next.
    Holds<V> has_no_plane(const RotorOf<V>& target_line) const
    {
        constexpr double upright = 1e-3, next = 0.02, quickly = 0.1;
        const RotorOf<V> own = line(), off = conjugate(target_line) * own;
        const auto squared_sine = [](const RotorOf<V>& q) -> V { // of the angle by which z turns
            return 4 * (q.w * q.w + q.z * q.z) * (q.x * q.x + q.y * q.y);
        };
        const V to_vertical = min(squared_sine(own), squared_sine(target_line));
        const V step = 4 * (square(off.x) + square(off.y)); // from line to line, squared
        return (to_vertical < square(upright)) |
               ((step < square(next)) & (step > square(quickly) * to_vertical));
    }

  private:
    Reference(const Lengths& lengths, const V (&r)[7], const TwoAngles<V>& outer, const TwoAngles<V>& middle)
        : joints{r[0], r[1], r[2], r[3], r[4], r[5], r[6]}, elbow(lengths, r[3], middle.second),
          shoulder(turn_z(outer.first) * turn_y(middle.first) * turn_z(outer.second))
    {
    }
};

// Joint 4 bent so costs this much; infinite beyond its limits, if they count.
template <typename V>
V elbow_cost(const V& reference, const SevenLimits& limits, const V& theta4, bool inside_only)
{
    const auto beyond =
        (theta4 < limits.lower[3] - elbow_limit_rounding) | (theta4 > limits.upper[3] + elbow_limit_rounding);
    const V cost = square(V(theta4 - reference));
    return inside_only ? (beyond ? all_of<V>(INFINITY) : cost) : cost;
}

template <typename V>
JointGoals<V> goals_of(const V (&reference)[7], const SevenLimits& limits, const V& theta4, bool inside_only)
{
    const auto asked = [&](int s, int w) { return beside(reference[s], reference[w]); };
    const auto lower = [&](int s, int w) -> V {
        return beside(all_of<V>(limits.lower[s]), all_of<V>(limits.lower[w])) - joint_rounding;
    };
    const auto upper = [&](int s, int w) -> V {
        return beside(all_of<V>(limits.upper[s]), all_of<V>(limits.upper[w])) + joint_rounding;
    };
    const auto turn = [&](int s, int w) { return Turn<V>(lower(s, w), upper(s, w), asked(s, w)); };
    return {turn(0, 6),
            turn(2, 4),
            asked(1, 5),
            lower(1, 5),
            upper(1, 5),
            elbow_cost<V>(reference[3], limits, theta4, inside_only),
            elbow_cost<V>(reference[3], limits, -theta4, inside_only)};
}

// The joints of the nearest branch at a point, radians.
template <typename V>
std::array<V, 7> joints_at(const Point<V>& point, const JointGoals<V>& goals, const V (&reference)[7],
                           const SevenLimits& limits, const V& theta4)
{
    const auto [branch, outer, middle, inner] = nearest_branch(point, goals);
    const V change[7] = {of_shoulder(outer), of_shoulder(middle), of_shoulder(inner), {},
                         of_wrist(inner),    of_wrist(middle),    of_wrist(outer)};
    std::array<V, 7> theta;
    for (int i = 0; i < 7; ++i) {
        const V angle = reference[i] + change[i];
        const V low = all_of<V>(limits.lower[i]), high = all_of<V>(limits.upper[i]);
        theta[i] = angle < low ? low : (angle > high ? high : angle);
    }
    theta[3] = branch.elbow ? -theta4 : theta4; // its limits have no say in the arm angle
    return theta;
}

} // namespace
} // namespace kx
