// Inverse kinematics of the six-joint arms (models 36 and 46) in closed form.
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
// Angles below are joint angles q in radians, that is theta less the model's offset. Since every joint but
// the sixth has its limits within half a turn of q = 0, each angle has one value to consider. Arc tangents
// keep the conventions of my_atan2f, but not its way through the acos of a float, which loses half the digits
// near 0 and pi.
#include "kinematics/arm_angle_search.h"
#include "kinematics/inverse.h"
#include "kinematics/shared_turn.h"

#include <algorithm>

namespace kx {
namespace {

// Cosines up to this pass for rounding of 1: of the classic function, which then leaves the wrist up to 39
// micrometres from its place, and of arm models, 4 at most.
constexpr double classic_bound = 1.0002f, rounding_bound = 1.00002;
// A sine below this counts as zero; and one that even a target's rounding may make of zero.
constexpr double vanishing = 5e-5f, coaxial = 3e-6;
// A wrist centre this near to axis 1 (metres), or an elbow this near to stretched (radians): there a pose of
// single precision leaves theta1 open to more than 1e-5 radians, theta3 to more than 1e-4. The reference's
// own angle will do, too, if it misses the wrist centre by no more than the pose's rounding (`unnoticed`, metres;
// a stretched elbow does), so that an arm at rest stays at rest.
constexpr double near_axis = 0.03, near_stretched = 3e-3, unnoticed = 5e-7;
// By how much, in radians, rounding alone may take an angle over a limit of its chain, or over the seam at
// half a turn.
constexpr double limit_slack = 2e-5, seam_slack = 1.5e-5, inside_slack = 1.4e-5;

struct Arm {
    double d1, a2, a3, d3, a4, d4, lwt; // metres, see above
    double offset[6];                   // theta - q; theta6 as the wrist's rotation counts it
    float straight_wrist;               // |q5| below which joints 4 and 6 share their turn, radians
    bool folds;                         // joint 5 reaches +-180 degrees, where they share it as well
    double forearm = std::sqrt(a4 * a4 + d4 * d4); // from elbow to wrist centre
};

Arm arm_of(const ARM_MODEL& m)
{
    constexpr double right = pi / 2;
    const auto& [d1, a2, a3, d3, a4, d4] = geometry(m.model)->lengths;
    // Between joints 5 and 6 model 36 turns by -90 degrees where model 46 turns by +90:
    // Ry(theta5) Rx(180) Rz(theta6) = Ry(theta5 - 180) Rz(theta6 + 180).
    if (m.model == 36)
        return {d1,
                a2,
                a3,
                d3,
                a4,
                d4,
                m.flange,
                {-right, right, right, 0, 0, -right},
                0.3f / degrees_per_radian,
                true};
    return {d1, a2, a3, d3, a4, d4, m.flange, {0, right, right, 0, 0, 0}, 0.087f, false};
}

// The turn of an angle that is nearest to the reference.
double nearest_turn(double angle, double reference)
{
    return angle + two_pi * rounded((reference - angle) * (1 / two_pi));
}

float squared(float x)
{
    return x * x;
}

// Of a few places, by one of their angles.
template <typename Place>
void put_nearest_first(Place* places, int count, float Place::*angle, float reference)
{
    for (int i = 1; i < count; ++i)
        for (int j = i;
             j > 0 && squared(places[j].*angle - reference) < squared(places[j - 1].*angle - reference); --j)
            std::swap(places[j], places[j - 1]);
}

struct Direction {
    double cosine, sine;
};

class SixJoints {
  public:
    enum class Wanted { nearest, nearest_inside, all_inside };

    SixJoints(const ARM_MODEL& model, const float* reference_degrees, const Transform& flange_in_base,
              Wanted what)
        : arm(arm_of(model)), flange(flange_in_base), chain(chain_limits(model)), wanted(what)
    {
        for (int i = 0; i < 6; ++i) {
            best[i] = reference[i] = reference_degrees[i] * radians_per_degree;
            low[i] = model.lower[i] * radians_per_degree, high[i] = model.upper[i] * radians_per_degree;
        }
        const double origin[] = {flange.p.x, flange.p.y, flange.p.z};
        for (int i = 0; i < 3; ++i)
            centre[i] = origin[i] - arm.lwt * flange.r[i][2];
    }

    void solve();
    // What a classic result does in a nearly straight wrist.
    void straighten_wrist();

    // The joints nearest to the reference, radians; without any they are the reference.
    const float* nearest() const { return best; }
    Found found() const
    {
        return best_distance < none_yet ? Found::inside : left_out ? Found::outside_limits : Found::none;
    }

    int count = 0; // of all that were wanted
    float all[8][6];

  private:
    struct Shoulder {
        float q1;
        Direction theta1;
        double x; // of the wrist centre
    };
    struct Elbow {
        float q3;
        Direction theta3;
    };
    struct UpperArm {
        float q2;
        double c23, s23;
    };

    int shoulders(Shoulder found[4]);
    int elbows(const Shoulder&, Elbow found[3]);
    UpperArm upper_arm(const Shoulder&, const Elbow&) const;
    Rotation wrist(const Direction& theta1, const UpperArm&) const;
    void try_elbow(const Shoulder&, const Elbow&, float distance);
    void try_wrist(const float arm_joints[3], const Rotation& wrist, float distance);
    void try_straight_wrist(const float arm_joints[3], const Rotation& wrist, float distance);
    void turn_about_axis_1();
    void turn_about_axis_1(const Elbow&, bool heed_limits);
    void consider(const float joint[6], const Rotation& wrist, float distance);
    void share_turn(const Rotation& wrist, float joint[6]) const;

    bool admits(int joint, float q)
    {
        const double theta = q + arm.offset[joint];
        const bool kept =
            !(theta < chain[joint].lower - limit_slack || theta > chain[joint].upper + limit_slack);
        left_out |= !kept;
        return kept;
    }
    bool inside(int joint, double q) const
    {
        return q >= low[joint] - inside_slack && q <= high[joint] + inside_slack;
    }
    // The limit, for an angle beyond it by no more than `slack`.
    float on_limit(int joint, float q, double slack) const
    {
        const float limit = std::clamp(q, low[joint], high[joint]);
        return std::fabs(q - limit) < slack ? limit : q;
    }
    // Which end of its turn a joint takes on the seam, where both are the same place: the reference's, unless the
    // limits leave only the other.
    double side(int joint) const
    {
        if (wanted != Wanted::nearest && high[joint] < pi - seam_slack) return -1;
        if (wanted != Wanted::nearest && low[joint] > seam_slack - pi) return 1;
        return reference[joint];
    }
    // An angle as q, within half a turn of 0.
    float as_joint(int joint, double angle) const
    {
        if (angle > pi) angle -= two_pi;
        if (angle < -pi) angle += two_pi;
        if (std::fabs(angle) > pi - seam_slack && angle * side(joint) < 0)
            angle -= std::copysign(two_pi, angle);
        return static_cast<float>(angle);
    }
    // The turn of joint 6 that is nearest to the reference; inside the limits, if others do not count.
    float sixth(double angle) const
    {
        if (wanted == Wanted::nearest) return static_cast<float>(nearest_turn(angle, reference[5]));
        const double q = nearest_turn(angle, std::clamp(reference[5], low[5], high[5]));
        return static_cast<float>(inside(5, q) ? q : q > high[5] ? q - two_pi : q + two_pi);
    }

    const Arm arm;
    const Transform flange;
    const std::array<Range, 7> chain;
    const Wanted wanted;
    const double cosine_bound = wanted == Wanted::nearest ? classic_bound : rounding_bound;
    float reference[6], low[6], high[6]; // limits
    double centre[3];                    // of the wrist

    bool left_out = false;                                              // a solution, for a limit
    const float none_yet = wanted == Wanted::nearest ? 1000 : INFINITY; // a distance
    float best[6], best_distance = none_yet;
    Rotation best_wrist; // the rotation that joints 4 to 6 make
};

// theta1 turns (x, -d3) onto the wrist centre, with x to either side.
int SixJoints::shoulders(Shoulder found[4])
{
    const double cx = centre[0], cy = centre[1], d = arm.d3;
    const double r2 = cx * cx + cy * cy;
    if (d * d > cosine_bound * cosine_bound * r2) return 0;
    const double x = r2 > d * d ? std::sqrt(r2 - d * d) : 0;
    const double scale = 1 / (x > 0 ? r2 : std::sqrt(r2) * std::fabs(d));

    int n = 0;
    const auto add = [&](double angle, Direction theta1, double along) {
        const float q1 = as_joint(0, angle - arm.offset[0]);
        if (admits(0, q1)) found[n++] = {q1, theta1, along};
    };
    if (x < near_axis && wanted != Wanted::all_inside) {
        const double theta = reference[0] + arm.offset[0], c = std::cos(theta), s = std::sin(theta);
        const double along = c * cx + s * cy, across = c * cy - s * cx;
        if (std::fabs(across + d) < unnoticed) add(std::remainder(theta, two_pi), {c, s}, along);
        if (std::fabs(across - d) < unnoticed) add(std::remainder(theta + pi, two_pi), {-c, -s}, -along);
    }
    for (double side : {x, -x}) {
        const double c = cx * side - cy * d, s = cy * side + cx * d;
        add(arc_tangent(s, c), {c * scale, s * scale}, side);
    }
    put_nearest_first(found, n, &Shoulder::q1, reference[0]);
    return n;
}

// The elbow's turn e from the upper arm (a3) to the line from elbow to wrist centre, by the law of cosines.
int SixJoints::elbows(const Shoulder& shoulder, Elbow found[3])
{
    const double x = shoulder.x - arm.a2, z = centre[2] - arm.d1, L = arm.forearm;
    const double c = (x * x + z * z - arm.a3 * arm.a3 - L * L) / (2 * arm.a3 * L);
    if (!(std::fabs(c) < cosine_bound)) return 0;

    int n = 0;
    const auto add = [&](double cosine, double sine) {
        const Direction theta3 = {(arm.a4 * cosine - arm.d4 * sine) / L,
                                  (arm.a4 * sine + arm.d4 * cosine) / L};
        const float q3 = as_joint(2, arc_tangent(theta3.sine, theta3.cosine) - arm.offset[2]);
        if (admits(2, q3)) found[n++] = {q3, theta3};
    };
    if (c > 1 - near_stretched * near_stretched / 2 && wanted != Wanted::all_inside) {
        const double e = reference[2] + arm.offset[2] + arc_tangent(-arm.d4, arm.a4);
        if (std::fabs(e) < near_stretched) {
            add(std::cos(e), std::sin(e));
        }
    }
    const double cosine = std::clamp(c, -1.0, 1.0), sine = std::sqrt(1 - cosine * cosine);
    add(cosine, sine);
    add(cosine, -sine);
    put_nearest_first(found, n, &Elbow::q3, reference[2]);
    return n;
}

// theta2 turns the vector from joint 2 to the wrist centre, as theta3 leaves it, onto (x, z).
SixJoints::UpperArm SixJoints::upper_arm(const Shoulder& shoulder, const Elbow& elbow) const
{
    const auto [c3, s3] = elbow.theta3;
    const double along = arm.a3 + arm.a4 * c3 + arm.d4 * s3, across = arm.a4 * s3 - arm.d4 * c3;
    const double x = shoulder.x - arm.a2, z = centre[2] - arm.d1;
    const double scale = 1 / std::sqrt((x * x + z * z) * (along * along + across * across));
    const double c2 = (x * along + z * across) * scale, s2 = (z * along - x * across) * scale;
    const float q2 = as_joint(1, arc_tangent(s2, c2) - arm.offset[1]);
    return {q2, c2 * c3 - s2 * s3, s2 * c3 + c2 * s3};
}

Rotation SixJoints::wrist(const Direction& theta1, const UpperArm& upper) const
{
    const auto [c1, s1] = theta1;
    const auto [q2, c23, s23] = upper;
    Rotation r;
    for (int j = 0; j < 3; ++j) {
        const double x1 = c1 * flange.r[0][j] + s1 * flange.r[1][j];
        const double y1 = c1 * flange.r[1][j] - s1 * flange.r[0][j];
        const double z1 = flange.r[2][j];
        r[0][j] = c23 * x1 + s23 * z1;
        r[1][j] = -y1;
        r[2][j] = s23 * x1 - c23 * z1;
    }
    return r;
}

void SixJoints::try_elbow(const Shoulder& shoulder, const Elbow& elbow, float distance)
{
    const UpperArm upper = upper_arm(shoulder, elbow);
    distance += squared(upper.q2 - reference[1]);
    if (!(distance < best_distance)) return;
    const float arm_joints[3] = {shoulder.q1, upper.q2, elbow.q3};
    try_wrist(arm_joints, wrist(shoulder.theta1, upper), distance);
}

// The wrist's rotation Rz(theta4) Ry(theta5) Rz(theta6) holds, with c and s for cosine and sine,
//     column 2: c4 s5, s4 s5, c5      row 2: -s5 c6, s5 s6, c5.
void SixJoints::try_wrist(const float arm_joints[3], const Rotation& wrist, float distance)
{
    const double x = wrist[0][2], y = wrist[1][2], s5 = std::sqrt(x * x + y * y);
    if (s5 < vanishing) return try_straight_wrist(arm_joints, wrist, distance);
    float joint[6] = {arm_joints[0], arm_joints[1], arm_joints[2]};
    const double theta5 = arc_tangent(s5, wrist[2][2]);
    const double theta4 = arc_tangent(y, x);
    const double theta6 = arc_tangent(wrist[2][1], -wrist[2][0]);
    for (double half_turn : {0.0, pi}) {
        joint[3] = as_joint(3, theta4 + half_turn);
        joint[4] = as_joint(4, half_turn == 0 ? theta5 : -theta5);
        joint[5] = sixth(theta6 + half_turn - arm.offset[5]);
        consider(joint, wrist, distance);
    }
}

void SixJoints::try_straight_wrist(const float arm_joints[3], const Rotation& wrist, float distance)
{
    float joint[6] = {arm_joints[0], arm_joints[1], arm_joints[2]};
    const bool folded = wrist[2][2] < 0;
    share_turn(wrist, joint);
    if (wanted != Wanted::nearest && !(inside(3, joint[3]) && inside(5, joint[5]))) {
        SharedTurn turn; // joint 6 counts the other way round if the wrist is folded
        turn.add(reference[3], low[3], high[3]);
        turn.add(folded ? -reference[5] : reference[5], folded ? -high[5] : low[5],
                 folded ? -low[5] : high[5]);
        turn.share(folded ? joint[3] - joint[5] : joint[3] + joint[5]);
        joint[3] = static_cast<float>(turn.angle[0]);
        joint[5] = static_cast<float>(folded ? -turn.angle[1] : turn.angle[1]);
    }
    const double bend = wrist[0][2] * std::cos(joint[3]) + wrist[1][2] * std::sin(joint[3]);
    const bool other_end = folded && bend * side(4) < 0; // folded back on itself is one place with both ends
    joint[4] = as_joint(4, other_end ? pi : arc_tangent(bend, wrist[2][2]));
    if (wanted != Wanted::nearest && !folded) joint[4] = on_limit(4, joint[4], vanishing);
    consider(joint, wrist, distance);
}

void SixJoints::consider(const float joint[6], const Rotation& wrist, float distance)
{
    if (wanted != Wanted::nearest)
        for (int i = 0; i < 6; ++i)
            if (!inside(i, joint[i])) {
                left_out = true;
                return;
            }
    if (wanted == Wanted::all_inside) {
        std::copy_n(joint, 6, all[count++]);
        return;
    }
    for (int i = 3; i < 6; ++i)
        distance += squared(joint[i] - reference[i]);
    if (!(distance < best_distance)) return;
    best_distance = distance;
    std::copy_n(joint, 6, best);
    best_wrist = wrist;
}

// A wrist centre on axis 1 leaves theta1 open, and joints 4 to 6 turn with it: as an arm with a shoulder that
// turns about an upright line does, and theta1 is its arm angle. The search for that arm has a second ball,
// which here holds joint 1 alone: its outer joint; its other joints stand still.
void SixJoints::turn_about_axis_1()
{
    Elbow elbow[3];
    const int elbow_count = elbows({0, {}, 0}, elbow);
    for (bool heed_limits : {true, false})
        for (int i = 0; i < elbow_count && (heed_limits || best_distance == none_yet); ++i)
            turn_about_axis_1(elbow[i], heed_limits);
}

void SixJoints::turn_about_axis_1(const Elbow& elbow, bool heed_limits)
{
    const UpperArm upper = upper_arm({0, {}, 0}, elbow);
    const auto& [q2, c23, s23] = upper;
    const Rotation ahead_of_it = wrist({1, 0}, upper);
    float near[6]; // the reference, but not more turns away than matter
    for (int i = 0; i < 6; ++i)
        near[i] = within_reason(reference[i] * degrees_per_radian) * radians_per_degree;
    float joint[6] = {near[0], q2, elbow.q3, near[3], near[4], near[5]};
    const auto offer = [&](bool only_if_straight = false) {
        float distance = 0;
        for (int i = 0; i < 3; ++i)
            distance += squared(joint[i] - reference[i]);
        const auto [s1, c1] = sine_cosine<double>(joint[0]);
        const Rotation turned = wrist({c1, s1}, upper);
        if (square(turned[0][2]) + square(turned[1][2]) < square(vanishing))
            try_straight_wrist(joint, turned, distance);
        if (!only_if_straight) consider(joint, turned, distance);
    };

    const double tilt = std::max(std::fabs(ahead_of_it[0][2]), std::fabs(ahead_of_it[1][2]));
    if (std::fabs(s23) < coaxial && tilt < coaxial) { // axes 1, 4 and 6 are one line
        const double none = 1000, sign = c23 < 0 ? 1 : -1;
        SharedTurn turn; // joint 1 turns the other way if the forearm points down
        turn.add(sign * near[0], sign < 0 ? -high[0] : low[0], sign < 0 ? -low[0] : high[0]);
        for (int i : {3, 5})
            turn.add(near[i], heed_limits ? low[i] : -none, heed_limits ? high[i] : none);
        const double sum =
            arc_tangent(ahead_of_it[1][0] - ahead_of_it[0][1], ahead_of_it[1][1] + ahead_of_it[0][0]);
        if (turn.share(sum) == INFINITY) {
            left_out = true;
            return;
        }
        joint[0] = static_cast<float>(sign * turn.angle[0]);
        joint[3] = static_cast<float>(turn.angle[1]), joint[5] = static_cast<float>(turn.angle[2]);
        joint[4] = 0;
        return offer();
    }

    const Rotor forearm = rotor_of({{{c23, 0, s23}, {0, -1, 0}, {s23, 0, -c23}}});
    const Rotor half_turn_back = {0, 0, 0, -1}, half_turn = {0, 0, 0, 1}, aside = turn_y(pi / 2);
    const Rotor rotation = rotor_of(flange.r);
    const Rotor wrist_rotor[] = {forearm * rotation, forearm * half_turn_back * rotation};
    const Rotor joint_1[] = {aside, half_turn * aside};

    const auto least = [&](int i, double none) { return heed_limits ? low[i] - inside_slack : none; };
    const auto most = [&](int i, double none) { return heed_limits ? high[i] + inside_slack : none; };
    const Turn outer(Pair{low[0], least(5, near[5] - pi)}, Pair{high[0], most(5, near[5] + pi)},
                     Pair{near[0], near[5]});
    const Turn inner(Pair{-pi, least(3, -pi)}, Pair{pi, most(3, pi)}, Pair{0, near[3]});
    const JointGoals goals(outer, inner, Pair{pi / 2, near[4]}, Pair{0, least(4, -pi)}, Pair{pi, most(4, pi)},
                           0, INFINITY);
    const double ahead = std::remainder(near[0], two_pi);
    const BallJoints balls(joint_1, wrist_rotor, Pair{0, near[5] - near[3]}, ahead);
    const double theta1 = nearest_arm_angle(balls, goals, ahead, pi);
    if (std::isnan(theta1)) {
        left_out = true;
        return;
    }
    // Where the wrist is straight, joints 4 and 6 share their turn, which the search passes on one side only.
    const double straight = nearest_turn(balls.nearest()[1], std::clamp(near[0], low[0], high[0]));
    joint[0] = on_limit(0, static_cast<float>(straight), coaxial);
    if (inside(0, joint[0])) offer(true);
    const Deviations off = nearest_branch(balls, goals, theta1);
    const auto turned = [&](int i, double by) {
        const double q = near[i] + by;
        return static_cast<float>(heed_limits ? std::clamp<double>(q, low[i], high[i]) : q);
    };
    joint[0] = turned(0, off.outer[0]);
    joint[3] = turned(3, off.inner[1]), joint[4] = turned(4, off.middle[1]),
    joint[5] = turned(5, off.outer[1]);
    offer();
}

// With a straight wrist axes 4 and 6 are one line, and only theta4 + theta6 counts; folded back on itself,
// theta4 - theta6 does. Joints 4 and 6 share that turn in such a way that the other combination stays the
// reference's.
void SixJoints::share_turn(const Rotation& wrist, float joint[6]) const
{
    const double sign = wrist[2][2] < 0 ? -1 : 1;
    const double q4 = reference[3], q6 = reference[5];
    const double angle = arc_tangent(sign * wrist[1][0] - wrist[0][1], wrist[1][1] + sign * wrist[0][0]);
    const double turn = nearest_turn(angle - sign * arm.offset[5], q4 + sign * q6);
    joint[3] = static_cast<float>((q4 + turn - sign * q6) * 0.5);
    joint[5] = static_cast<float>((q6 + sign * (turn - q4)) * 0.5);
}

// A branch is left as soon as its joints so far are farther from the reference than the best solution found;
// the nearer of two branches goes first, so that this happens early.
void SixJoints::solve()
{
    if (arm.d3 == 0 && centre[0] * centre[0] + centre[1] * centre[1] < unnoticed * unnoticed)
        return turn_about_axis_1();
    Shoulder shoulder[4];
    const int shoulder_count = shoulders(shoulder);
    for (int i = 0; i < shoulder_count; ++i) {
        const float to_shoulder = squared(shoulder[i].q1 - reference[0]);
        if (!(to_shoulder < best_distance)) break;
        Elbow elbow[3];
        const int elbow_count = elbows(shoulder[i], elbow);
        for (int j = 0; j < elbow_count; ++j) {
            const float to_elbow = to_shoulder + squared(elbow[j].q3 - reference[2]);
            if (!(to_elbow < best_distance)) break;
            try_elbow(shoulder[i], elbow[j], to_elbow);
        }
    }
}

// Joints 4 and 6 of a nearly straight wrist share their turn as those of a straight one do, lest they spin.
void SixJoints::straighten_wrist()
{
    const float bend = std::fabs(best[4]);
    if (best[4] == 0) return; // they do
    if (bend < arm.straight_wrist || (arm.folds && bend > pi - arm.straight_wrist))
        share_turn(best_wrist, best);
}

} // namespace

Found nearest_six(const ARM_MODEL& arm, const float* reference, const Transform& flange, bool inside_only,
                  float* result)
{
    using Wanted = SixJoints::Wanted;
    SixJoints six(arm, reference, flange, inside_only ? Wanted::nearest_inside : Wanted::nearest);
    six.solve();
    if (!inside_only && six.found() == Found::inside) six.straighten_wrist();
    for (int i = 0; i < 6; ++i)
        result[i] = six.nearest()[i] * degrees_per_radian;
    return six.found();
}

int all_six(const ARM_MODEL& arm, const Transform& flange, float result[8][7])
{
    const float zero[6] = {};
    SixJoints six(arm, zero, flange, SixJoints::Wanted::all_inside);
    six.solve();
    for (int n = 0; n < six.count; ++n) {
        for (int i = 0; i < 6; ++i)
            result[n][i] = six.all[n][i] * degrees_per_radian;
        result[n][6] = 0;
        settle_on_limits(arm, result[n]);
    }
    return six.count;
}

} // namespace kx
