// The closed form of the six-joint arms (models 36 and 46), step by step, for one target or for several side by
// side: V is a double or a vector of them.
//
// Both are the same machine: an arm whose joints 2 and 3 are parallel, and a spherical wrist. The wrist
// centre hangs on joints 1 to 3 alone, which gives two shoulders of two elbows each; the wrist then takes the
// rest of the rotation in two ways, which makes eight candidates. Geometry and symbols are those of the Puma
// 560 in Craig, "Introduction to Robotics" (1986), chapters 3 and 4; Brandstoetter, Angerer and Hofbaur
// (2014) treat the whole family. Model 46 is the case a2 = a4 = d3 = 0.
//
// Seen from the base, turned by theta1 so that x points along the arm, the wrist centre stands at
//     x = a2 + a3 cos(theta2) + a4 cos(theta23) + d4 sin(theta23)        theta23 = theta2 + theta3
//     y = -d3
//     z = d1 + a3 sin(theta2) + a4 sin(theta23) - d4 cos(theta23)
// and the rotation left for the wrist is, with theta6 counted from another zero where the models differ,
//     Rz(theta4) Ry(theta5) Rz(theta6).
//
// Angles q are joint angles in radians, that is theta less the model's offset. Since every joint but the sixth has
// its limits within half a turn of q = 0, each angle has one value to consider. Arc tangents keep the conventions
// of my_atan2f, but not its way through the acos of a float, which loses half the digits near 0 and pi.
//
// Files for different processors include this; so nothing here has a name that they could share.
#pragma once

#include "kinematics/lanes.h"
#include "kinematics/target.h"

namespace kx {

// Metres, see above.
struct SixJointArm {
    double d1, a2, a3, d3, a4, d4, lwt;
    double offset[6];     // theta - q; theta6 as the wrist's rotation counts it
    float straight_wrist; // |q5| below which joints 4 and 6 share their turn, radians
    bool folds;           // joint 5 reaches +-180 degrees, where they share it as well
    double forearm;       // from elbow to wrist centre
};

SixJointArm six_joint_arm(const ARM_MODEL& model);

namespace {

// Cosines up to this pass for rounding of 1: of the classic function, which then leaves the wrist up to 39
// micrometres from its place, and of arm models, 4 at most.
constexpr double classic_bound = 1.0002f, rounding_bound = 1.00002;
// A sine below this counts as zero.
constexpr double vanishing = 5e-5f;
// A wrist centre this near to axis 1 (metres), or an elbow this near to stretched (radians): there a pose of
// single precision leaves theta1 open to more than 1e-5 radians, theta3 to more than 1e-4.
constexpr double near_axis = 0.03, near_stretched = 3e-3;
constexpr double nearly_stretched_cosine = 1 - near_stretched * near_stretched / 2;
// By how much, in radians, rounding alone may take an angle over a limit of its chain, over the seam at half a
// turn, or over a joint's own limit.
constexpr double limit_slack = 2e-5, seam_slack = 1.5e-5, inside_slack = 1.4e-5;

template <typename V>
struct Direction {
    V cosine, sine;
};

// An angle as q, within half a turn of 0. On the seam, where both ends of the turn are the same place, `side`
// tells which it is.
template <typename V>
FloatOf<V> as_joint(V angle, const V& side)
{
    if (any(abs(angle) > pi - seam_slack)) {
        angle = angle > pi ? angle - two_pi : angle;
        angle = angle < -pi ? angle + two_pi : angle;
        const auto other_end = (abs(angle) > pi - seam_slack) & (angle * side < 0);
        angle = other_end ? (angle < 0 ? angle + two_pi : angle - two_pi) : angle;
    }
    return rounded_off(angle);
}

// Which end that is: the reference's, unless the limits leave only the other.
template <typename V>
V side_within(float low, float high, const V& reference)
{
    return high < pi - seam_slack ? V{} - 1 : low > seam_slack - pi ? V{} + 1 : reference;
}

// The turn of an angle that is nearest to the reference.
template <typename V>
V nearest_turn(const V& angle, const V& reference)
{
    return angle + two_pi * rounded((reference - angle) * (1 / two_pi));
}

// The same for joint 6, inside the limits if it can be.
template <typename V>
FloatOf<V> turn_inside(const V& angle, const FloatOf<V>& reference, float low, float high)
{
    const FloatOf<V> at_most = reference > high ? FloatOf<V>{} + high : reference;
    const V q = nearest_turn(angle, widened(at_most < low ? FloatOf<V>{} + low : at_most));
    const auto inside = (q >= low - inside_slack) & (q <= high + inside_slack);
    return rounded_off(inside ? q : q > high ? q - two_pi : q + two_pi);
}

// theta1 turns (x, -d3) onto the wrist centre (cx, cy), with x to either side.
template <typename V>
struct Shoulders {
    V cx, cy, r2, x, scale;

    Shoulders(const SixJointArm& arm, const V& centre_x, const V& centre_y) : cx(centre_x), cy(centre_y)
    {
        const double d = arm.d3;
        r2 = cx * cx + cy * cy;
        x = r2 > d * d ? square_root(r2 - d * d) : V{};
        scale = 1 / (x > 0 ? r2 : square_root(r2) * (d < 0 ? -d : d));
    }
    Direction<V> theta1(const SixJointArm& arm, const V& side) const
    {
        return {cx * side - cy * arm.d3, cy * side + cx * arm.d3}; // times 1/scale
    }
};

// The elbow's turn from the upper arm (a3) to the line from elbow to wrist centre, by the law of cosines, for a
// wrist centre at x from joint 2 and z above it.
template <typename V>
V elbow_cosine(const SixJointArm& arm, const V& x, const V& z)
{
    const double L = arm.forearm;
    return (x * x + z * z - arm.a3 * arm.a3 - L * L) / (2 * arm.a3 * L);
}

template <typename V>
Direction<V> theta3_of(const SixJointArm& arm, const Direction<V>& elbow)
{
    const auto& [cosine, sine] = elbow;
    return {(arm.a4 * cosine - arm.d4 * sine) / arm.forearm, (arm.a4 * sine + arm.d4 * cosine) / arm.forearm};
}

template <typename V>
struct UpperArm {
    FloatOf<V> q2;
    V c23, s23;
};

// theta2 turns the vector from joint 2 to the wrist centre, as theta3 leaves it, onto (x, z).
template <typename V>
UpperArm<V> upper_arm_of(const SixJointArm& arm, const V& x, const V& z, const Direction<V>& theta3,
                         const V& side)
{
    const auto& [c3, s3] = theta3;
    const V along = arm.a3 + arm.a4 * c3 + arm.d4 * s3, across = arm.a4 * s3 - arm.d4 * c3;
    const V scale = 1 / square_root((x * x + z * z) * (along * along + across * across));
    const V c2 = (x * along + z * across) * scale, s2 = (z * along - x * across) * scale;
    return {as_joint<V>(arc_tangent(s2, c2) - arm.offset[1], side), c2 * c3 - s2 * s3, s2 * c3 + c2 * s3};
}

// The rotation that is left for joints 4 to 6.
template <typename V>
RotationOf<V> wrist_of(const RotationOf<V>& flange, const Direction<V>& theta1, const UpperArm<V>& upper)
{
    const auto& [c1, s1] = theta1;
    const auto& [q2, c23, s23] = upper;
    RotationOf<V> r;
    for (int j = 0; j < 3; ++j) {
        const V x1 = c1 * flange[0][j] + s1 * flange[1][j];
        const V y1 = c1 * flange[1][j] - s1 * flange[0][j];
        const V z1 = flange[2][j];
        r[0][j] = c23 * x1 + s23 * z1;
        r[1][j] = -y1;
        r[2][j] = s23 * x1 - c23 * z1;
    }
    return r;
}

// The rotation Rz(theta4) Ry(theta5) Rz(theta6) holds, with c and s for cosine and sine,
//     column 2: c4 s5, s4 s5, c5      row 2: -s5 c6, s5 s6, c5.
template <typename V>
V wrist_sine(const RotationOf<V>& wrist)
{
    return square_root(wrist[0][2] * wrist[0][2] + wrist[1][2] * wrist[1][2]);
}

template <typename V>
struct WristAngles {
    V theta4, theta5, theta6;

    WristAngles(const RotationOf<V>& wrist, const V& sine)
        : theta4(arc_tangent(wrist[1][2], wrist[0][2])), theta5(arc_tangent(sine, wrist[2][2])),
          theta6(arc_tangent(wrist[2][1], -wrist[2][0]))
    {
    }
};

} // namespace
} // namespace kx
