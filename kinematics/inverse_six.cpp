// Inverse kinematics of the six-joint arms (models 36 and 46) for one target: the search among the candidates of
// the closed form, and what becomes of them in singular places. Angles are joint angles in radians.
#include "kinematics/arm_angle_search.h"
#include "kinematics/inverse.h"
#include "kinematics/shared_turn.h"
#include "kinematics/six_joints.h"

#include <algorithm>

namespace kx {
namespace {

// A sine that even a target's rounding may make of zero.
constexpr double coaxial = 3e-6;
// Near axis 1 and near a stretched elbow the reference's own angle will do, too, if it misses the wrist centre by
// no more than the pose's rounding (metres; a stretched elbow does), so that an arm at rest stays at rest.
constexpr double unnoticed = 5e-7;

// Of a few places, by one of their angles.
template <typename Place>
void put_nearest_first(Place* places, int count, float Place::*angle, float reference)
{
    for (int i = 1; i < count; ++i)
        for (int j = i;
             j > 0 && square(places[j].*angle - reference) < square(places[j - 1].*angle - reference); --j)
            std::swap(places[j], places[j - 1]);
}

class SixJoints {
  public:
    enum class Wanted { nearest, nearest_inside, all_inside };

    SixJoints(const ARM_MODEL& model, const float* reference_degrees, const Transform& flange_in_base,
              Wanted what)
        : arm(six_joint_arm(model)), flange(flange_in_base), chain(geometry(model.model)->chain), wanted(what)
    {
        for (int i = 0; i < 6; ++i) {
            best[i] = reference[i] = reference_degrees[i] * radians_per_degree;
            low[i] = model.lower[i] * radians_per_degree, high[i] = model.upper[i] * radians_per_degree;
            side[i] =
                wanted == Wanted::nearest ? reference[i] : side_within<double>(low[i], high[i], reference[i]);
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
        Direction<double> theta1;
        double x; // of the wrist centre
    };
    struct Elbow {
        float q3;
        Direction<double> theta3;
    };

    int shoulders(Shoulder found[4]);
    int elbows(const Shoulder&, Elbow found[3]);
    UpperArm<double> upper_arm(const Shoulder& shoulder, const Elbow& elbow) const
    {
        return upper_arm_of<double>(arm, shoulder.x - arm.a2, centre[2] - arm.d1, elbow.theta3, side[1]);
    }
    void try_elbow(const Shoulder&, const Elbow&, float distance);
    void try_wrist(const float arm_joints[3], const Rotation& wrist, float distance);
    void try_straight_wrist(const float arm_joints[3], const Rotation& wrist, float distance);
    void turn_about_axis_1();
    void turn_about_axis_1(const Elbow&, bool heed_limits);
    void consider(const float joint[6], const Rotation& wrist, float distance);
    void share_turn(const Rotation& wrist, float joint[6]) const;

    bool inside(int joint, double q) const
    {
        return q >= low[joint] - inside_slack && q <= high[joint] + inside_slack;
    }
    // Whether to go on with joint 1 or 3. A classic result goes by what was typed for the chain.
    bool admits(int joint, float q) const
    {
        if (wanted != Wanted::nearest) return inside(joint, q);
        const double theta = q + arm.offset[joint];
        return !(theta < chain[joint].lower - limit_slack || theta > chain[joint].upper + limit_slack);
    }
    double cosine_of_elbow(double x) const
    {
        return elbow_cosine<double>(arm, x - arm.a2, centre[2] - arm.d1);
    }
    // The limit, for an angle beyond it by no more than `slack`.
    float on_limit(int joint, float q, double slack) const
    {
        const float limit = std::clamp(q, low[joint], high[joint]);
        return std::fabs(q - limit) < slack ? limit : q;
    }
    float at_joint(int joint, double angle) const { return as_joint<double>(angle, side[joint]); }
    float sixth(double angle) const
    {
        return wanted == Wanted::nearest ? static_cast<float>(nearest_turn<double>(angle, reference[5]))
                                         : turn_inside<double>(angle, reference[5], low[5], high[5]);
    }

    const SixJointArm arm;
    const Transform flange;
    const Range* const chain; // limits of its angles
    const Wanted wanted;
    const double cosine_bound = wanted == Wanted::nearest ? classic_bound : rounding_bound;
    float reference[6], low[6], high[6]; // limits
    double side[6];                      // where a joint stands on the seam
    double centre[3];                    // of the wrist

    bool left_out = false;                                              // a solution, for a limit
    const float none_yet = wanted == Wanted::nearest ? 1000 : INFINITY; // a distance
    float best[6], best_distance = none_yet;
    Rotation best_wrist; // the rotation that joints 4 to 6 make
};

int SixJoints::shoulders(Shoulder found[4])
{
    const Shoulders<double> both(arm, centre[0], centre[1]);
    const auto [cx, cy, r2, x, scale] = both;
    if (!(arm.d3 * arm.d3 <= cosine_bound * cosine_bound * r2)) return 0;

    int n = 0;
    const auto add = [&](double angle, Direction<double> theta1, double along) {
        const float q1 = at_joint(0, angle - arm.offset[0]);
        if (admits(0, q1))
            found[n++] = {q1, theta1, along};
        else
            left_out |= std::fabs(cosine_of_elbow(along)) < cosine_bound;
    };
    if (x < near_axis && wanted != Wanted::all_inside) {
        const double theta = reference[0] + arm.offset[0], c = std::cos(theta), s = std::sin(theta);
        const double along = c * cx + s * cy, across = c * cy - s * cx;
        if (std::fabs(across + arm.d3) < unnoticed) add(std::remainder(theta, two_pi), {c, s}, along);
        if (std::fabs(across - arm.d3) < unnoticed) add(std::remainder(theta + pi, two_pi), {-c, -s}, -along);
    }
    for (double along : {x, -x}) {
        const auto [c, s] = both.theta1(arm, along);
        add(arc_tangent(s, c), {c * scale, s * scale}, along);
    }
    put_nearest_first(found, n, &Shoulder::q1, reference[0]);
    return n;
}

int SixJoints::elbows(const Shoulder& shoulder, Elbow found[3])
{
    const double c = cosine_of_elbow(shoulder.x);
    if (!(std::fabs(c) < cosine_bound)) return 0;

    int n = 0;
    const auto add = [&](double cosine, double sine) {
        const Direction theta3 = theta3_of<double>(arm, {cosine, sine});
        const float q3 = at_joint(2, arc_tangent(theta3.sine, theta3.cosine) - arm.offset[2]);
        if (admits(2, q3))
            found[n++] = {q3, theta3};
        else
            left_out = true;
    };
    if (c > nearly_stretched_cosine && wanted != Wanted::all_inside) {
        const double e = reference[2] + arm.offset[2] + arc_tangent(-arm.d4, arm.a4);
        if (std::fabs(e) < near_stretched) add(std::cos(e), std::sin(e));
    }
    const double cosine = std::clamp(c, -1.0, 1.0), sine = std::sqrt(1 - cosine * cosine);
    add(cosine, sine);
    add(cosine, -sine);
    put_nearest_first(found, n, &Elbow::q3, reference[2]);
    return n;
}

void SixJoints::try_elbow(const Shoulder& shoulder, const Elbow& elbow, float distance)
{
    const UpperArm<double> upper = upper_arm(shoulder, elbow);
    distance += square(upper.q2 - reference[1]);
    if (!(distance < best_distance)) return;
    const float arm_joints[3] = {shoulder.q1, upper.q2, elbow.q3};
    try_wrist(arm_joints, wrist_of(flange.r, shoulder.theta1, upper), distance);
}

void SixJoints::try_wrist(const float arm_joints[3], const Rotation& wrist, float distance)
{
    const double sine = wrist_sine<double>(wrist);
    if (sine < vanishing) return try_straight_wrist(arm_joints, wrist, distance);
    float joint[6] = {arm_joints[0], arm_joints[1], arm_joints[2]};
    const WristAngles<double> at(wrist, sine);
    for (double half_turn : {0.0, pi}) {
        joint[3] = at_joint(3, at.theta4 + half_turn);
        joint[4] = at_joint(4, half_turn == 0 ? at.theta5 : -at.theta5);
        joint[5] = sixth(at.theta6 + half_turn - arm.offset[5]);
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
        if (turn.share(folded ? joint[3] - joint[5] : joint[3] + joint[5]) == INFINITY) {
            left_out = true;
            return;
        }
        joint[3] = static_cast<float>(turn.angle[0]);
        joint[5] = static_cast<float>(folded ? -turn.angle[1] : turn.angle[1]);
    }
    const double bend = wrist[0][2] * std::cos(joint[3]) + wrist[1][2] * std::sin(joint[3]);
    const bool other_end = folded && bend * side[4] < 0; // folded back on itself is one place with both ends
    joint[4] = at_joint(4, other_end ? pi : arc_tangent(bend, wrist[2][2]));
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
        distance += square(joint[i] - reference[i]);
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
        for (int i = 0; i < elbow_count && (heed_limits || (best_distance == none_yet && count == 0)); ++i)
            turn_about_axis_1(elbow[i], heed_limits);
}

void SixJoints::turn_about_axis_1(const Elbow& elbow, bool heed_limits)
{
    const UpperArm<double> upper = upper_arm({0, {}, 0}, elbow);
    const auto& [q2, c23, s23] = upper;
    const Rotation ahead_of_it = wrist_of(flange.r, {1, 0}, upper);
    float near[6]; // the reference, but not more turns away than matter
    for (int i = 0; i < 6; ++i)
        near[i] = within_reason(reference[i] * degrees_per_radian) * radians_per_degree;
    float joint[6] = {near[0], q2, elbow.q3, near[3], near[4], near[5]};
    const auto offer = [&](bool only_if_straight = false) {
        float distance = 0;
        for (int i = 0; i < 3; ++i)
            distance += square(joint[i] - reference[i]);
        const auto [s1, c1] = sine_cosine<double>(joint[0]);
        const Rotation turned = wrist_of(flange.r, {c1, s1}, upper);
        if (square(turned[0][2]) + square(turned[1][2]) < square(vanishing))
            try_straight_wrist(joint, turned, distance);
        if (!only_if_straight) consider(joint, turned, distance);
    };

    const double sign = c23 < 0 ? 1 : -1; // joint 1 turns the other way if the forearm points down
    const double tilt = std::max(std::fabs(ahead_of_it[0][2]), std::fabs(ahead_of_it[1][2]));
    if (std::fabs(s23) < coaxial && tilt < coaxial) { // axes 1, 4 and 6 are one line
        const double none = 1000;
        SharedTurn turn;
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

    const auto forearm = rotor_of(in_pairs({{{c23, 0, s23}, {0, -1, 0}, {s23, 0, -c23}}}));
    const auto rotation = rotor_of(in_pairs(flange.r)), aside = turn_y(pair(pi / 2));
    const Pair zero = pair(0);
    const RotorOf<Pair> half_turn = {zero, zero, zero, pair(1)},
                        half_turn_back = {zero, zero, zero, pair(-1)};
    const RotorOf<Pair> wrist_rotor[] = {forearm * rotation, forearm * half_turn_back * rotation};
    const RotorOf<Pair> joint_1[] = {aside, half_turn * aside};

    // With joints 4 and 6 up to `slack` beyond their limits. False if there is no solution.
    const auto search = [&](double slack) {
        const auto least = [&](int i, double none) { return heed_limits ? low[i] - slack : none; };
        const auto most = [&](int i, double none) { return heed_limits ? high[i] + slack : none; };
        const Turn<Pair> outer(Pair{low[0], least(5, near[5] - pi)}, Pair{high[0], most(5, near[5] + pi)},
                               Pair{near[0], near[5]});
        const Turn<Pair> inner(Pair{-pi, least(3, -pi)}, Pair{pi, most(3, pi)}, Pair{0, near[3]});
        const JointGoals goals(outer, inner, Pair{pi / 2, near[4]}, Pair{0, least(4, -pi)},
                               Pair{pi, most(4, pi)}, pair(0), pair(INFINITY));
        const double ahead = std::remainder(near[0], two_pi);
        BallJoints<Pair> balls(joint_1, wrist_rotor);
        if (any(balls.nearly_stretched()))
            balls.pass_stretched_points(Pair{0, near[5] - near[3]}, ahead, false);
        Point<Pair> nearest;
        if (!nearest_arm_angle(balls, goals, ahead, pi, nearest)) return false;
        // Where the wrist is straight, joints 4 and 6 share their turn, which the search passes on one side only.
        const double straight =
            nearest_turn<double>(balls.nearest()[1], std::clamp(near[0], low[0], high[0]));
        joint[0] = on_limit(0, static_cast<float>(straight), coaxial);
        if (inside(0, joint[0])) offer(true);
        const auto off = nearest_branch(nearest, goals);
        double beyond = 0;
        const auto turned = [&](int i, double by) {
            const double q = near[i] + by, kept = heed_limits ? std::clamp<double>(q, low[i], high[i]) : q;
            beyond = slack > inside_slack ? q - kept : 0;
            return static_cast<float>(kept);
        };
        joint[4] = turned(4, off.middle[1]);
        joint[5] = turned(5, off.outer[1]);
        joint[3] = turned(3, off.inner[1] + beyond);
        joint[0] = turned(0, off.outer[0] + sign * beyond);
        if (beyond != 0) return false;
        offer();
        return true;
    };
    // Below an upright forearm a nearly straight wrist leaves to joint 4, and that to joint 1, what is beyond the limits of
    // joint 6: the target's rounding hides it.
    const bool is_upright = std::fabs(s23) < coaxial && unnoticed / tilt > inside_slack;
    if (!(is_upright && search(unnoticed / tilt)) && !search(inside_slack)) left_out = true;
}

// With a straight wrist axes 4 and 6 are one line, and only theta4 + theta6 counts; folded back on itself,
// theta4 - theta6 does. Joints 4 and 6 share that turn in such a way that the other combination stays the
// reference's.
void SixJoints::share_turn(const Rotation& wrist, float joint[6]) const
{
    const double sign = wrist[2][2] < 0 ? -1 : 1;
    const double q4 = reference[3], q6 = reference[5];
    const double angle = arc_tangent(sign * wrist[1][0] - wrist[0][1], wrist[1][1] + sign * wrist[0][0]);
    const double turn = nearest_turn<double>(angle - sign * arm.offset[5], q4 + sign * q6);
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
        const float to_shoulder = square(shoulder[i].q1 - reference[0]);
        if (!(to_shoulder < best_distance)) break;
        Elbow elbow[3];
        const int elbow_count = elbows(shoulder[i], elbow);
        for (int j = 0; j < elbow_count; ++j) {
            const float to_elbow = to_shoulder + square(elbow[j].q3 - reference[2]);
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

SixJointArm six_joint_arm(const ARM_MODEL& model)
{
    constexpr double right = pi / 2;
    const auto& [d1, a2, a3, d3, a4, d4] = geometry(model.model)->lengths;
    SixJointArm arm = {d1, a2, a3, d3, a4, d4, model.flange, {}, 0, false, 0};
    arm.forearm = std::sqrt(arm.a4 * arm.a4 + arm.d4 * arm.d4);
    arm.offset[1] = arm.offset[2] = right;
    arm.straight_wrist = 0.087f;
    if (model.model == 36) {
        arm.straight_wrist = 0.3f / degrees_per_radian;
        arm.folds = true;
        // Between joints 5 and 6 model 36 turns by -90 degrees where model 46 turns by +90:
        // Ry(theta5) Rx(180) Rz(theta6) = Ry(theta5 - 180) Rz(theta6 + 180).
        arm.offset[0] = arm.offset[5] = -right;
    }
    return arm;
}

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
