// Inverse kinematics of the seven-joint arm for one target: the steps of seven_joints.h, and what else there is where joints
// turn about one line.
#include "kinematics/inverse.h"
#include "kinematics/seven_joints.h"
#include "kinematics/shared_turn.h"

#include <algorithm>
#include <array>

namespace kx {

SevenLimits limits_of_seven(const ARM_MODEL& arm, bool joints_own)
{
    const Geometry& g = *geometry(arm.model);
    SevenLimits limits;
    for (int i = 0; i < 7; ++i) {
        const double lower = arm.lower[i] * radians_per_degree, upper = arm.upper[i] * radians_per_degree;
        limits.lower[i] = arm.lower[i] > g.joint[i].lower ? lower : g.chain[i].lower;
        limits.upper[i] = arm.upper[i] < g.joint[i].upper ? upper : g.chain[i].upper;
        if (!joints_own) continue;
        limits.lower[i] = std::min(limits.lower[i], lower);
        limits.upper[i] = std::max(limits.upper[i], upper);
    }
    return limits;
}

namespace {

using Joints = std::array<double, 7>; // radians

// By how much another solution must be nearer, rad^2, to be worth what the rounding may hide.
constexpr double worth_rounding = 1e-5;

// A target is reachable while the cosine of its elbow angle is not beyond this: by the classic function, which
// then leaves the wrist up to 0.12 millimetres from its place, and by an arm model, 2 micrometres at most.
constexpr float classic_bound = 1.001f, rounding_bound = 1.00002f;

constexpr Rotor half_turn_z = {0, 0, 0, 1};

Rotor of_one(const RotorOf<Pair>& q)
{
    return {q.w[0], q.x[0], q.y[0], q.z[0]};
}

SevenTarget<Pair> target_of(const ARM_MODEL& arm, const Transform& flange)
{
    const auto& [x, y, z] = flange.p;
    return {arm, geometry(arm.model)->lengths, {in_pairs(flange.r), {pair(x), pair(y), pair(z)}}};
}

Reference<Pair> reference_of(const ARM_MODEL& arm, const Joints& joints)
{
    Pair pairs[7];
    for (int i = 0; i < 7; ++i)
        pairs[i] = pair(joints[i]);
    return {geometry(arm.model)->lengths, pairs};
}

bool keeps(const SevenLimits& limits, const Joints& joints)
{
    for (int i = 0; i < 7; ++i)
        if (!(joints[i] >= limits.lower[i] - joint_rounding && joints[i] <= limits.upper[i] + joint_rounding))
            return false;
    return true;
}

struct Solution {
    double squared_distance = INFINITY;
    Joints theta = {};
};

// The nearest solution where joints turn about one line and the arm angle alone does not tell all: the middle
// angle of a ball, of both, or of the elbow is zero.
class CoaxialJoints {
  public:
    // Where rounding may make zero of a middle angle, it may also be what it is: then that is tried, too, unless
    // only one of a family of solutions is wanted.
    CoaxialJoints(const Joints& reference, const SevenLimits& limits, bool one_of_a_family)
        : reference_(reference), limits_(limits), one_of_a_family_(one_of_a_family)
    {
    }

    int count = 0; // of the solutions considered last
    Joints found[9];

    // Rz(theta[outer]) Ry(theta[middle]) Rz(theta[inner]) is `rotation` for each ball, the elbow given.
    void consider_balls(const Rotor& shoulder, const Rotor& wrist, double theta4, double elbow_cost);
    // A stretched elbow: the arm is one line, which `line` points at, and joints 3 and 5 turn about it.
    void consider_stretched(const Rotor& rotation, const Vector& wrist, double elbow_cost);

    const Solution& best() const { return best_; }

  private:
    static constexpr double straight = 3e-6; // a middle angle that the target's rounding may make of zero

    enum class Way { as_it_is, turned, straight };
    static constexpr Way all_ways[] = {Way::as_it_is, Way::turned, Way::straight};
    bool possible(Way way, double middle) const
    {
        return way == Way::straight ? middle < straight : !(one_of_a_family_ && middle < straight);
    }

    struct Ball {
        double first, middle, last;
    };
    // Rz(first) Ry(middle) Rz(last)
    static Ball ball_of(const Rotor& q)
    {
        const double sum = 2 * std::atan2(q.z, q.w), difference = 2 * std::atan2(-q.x, q.y);
        const double sine2 = q.x * q.x + q.y * q.y, cosine2 = q.w * q.w + q.z * q.z;
        return {(sum + difference) / 2, 2 * std::atan2(std::sqrt(sine2), std::sqrt(cosine2)),
                (sum - difference) / 2};
    }

    // Takes joint i to an angle, given up to full turns; infinite if its limits do not allow it.
    double cost(int i, double angle)
    {
        SharedTurn alone;
        add(alone, i);
        const double c = alone.share(angle);
        theta_[i] = alone.angle[0];
        return c;
    }
    void add(SharedTurn& turn, int i) const
    {
        turn.add(reference_[i], limits_.lower[i] - joint_rounding, limits_.upper[i] + joint_rounding);
    }
    template <std::size_t n>
    double shared(const int (&joints)[n], double sum)
    {
        SharedTurn turn;
        for (int i : joints)
            add(turn, i);
        const double c = turn.share(sum);
        for (std::size_t k = 0; k < n; ++k)
            theta_[joints[k]] = turn.angle[k];
        return c;
    }
    double cost_of(const Ball& b, Way way, const int (&joints)[3])
    {
        const auto [first, middle, last] = joints;
        if (way == Way::straight) return cost(middle, 0) + shared({first, last}, b.first + b.last);
        const double half = way == Way::turned ? pi : 0;
        return cost(first, b.first + half) + cost(middle, way == Way::turned ? -b.middle : b.middle) +
               cost(last, b.last + half);
    }
    void offer(double squared_distance)
    {
        if (squared_distance < INFINITY) found[count++] = theta_;
        if (squared_distance < best_.squared_distance) best_ = {squared_distance, theta_};
    }

    const Joints& reference_;
    const SevenLimits& limits_;
    const bool one_of_a_family_;
    Joints theta_ = {};
    Solution best_;
};

void CoaxialJoints::consider_balls(const Rotor& shoulder, const Rotor& wrist, double theta4,
                                   double elbow_cost)
{
    theta_[3] = theta4, count = 0;
    const Ball s = ball_of(shoulder), w = ball_of(wrist);
    for (Way of_shoulder : all_ways)
        for (Way of_wrist : all_ways)
            if (possible(of_shoulder, s.middle) && possible(of_wrist, w.middle))
                offer(elbow_cost + cost_of(s, of_shoulder, {0, 1, 2}) + cost_of(w, of_wrist, {4, 5, 6}));
}

// Straight up, joint 1 shares its turn with 3 and 5; and so does joint 7 if the wrist is straight.
void CoaxialJoints::consider_stretched(const Rotor& rotation, const Vector& wrist, double elbow_cost)
{
    theta_[3] = 0, count = 0;
    const double rho = std::sqrt(square(wrist.x) + square(wrist.y)), tilt = std::atan2(rho, wrist.z);
    for (Way way : all_ways) {
        if (!possible(way, tilt)) continue;
        const bool upright = way == Way::straight;
        const double theta2 = upright ? 0 : way == Way::turned ? -tilt : tilt;
        const double theta1 = upright ? 0 : std::atan2(wrist.y, wrist.x) + (way == Way::turned ? pi : 0);
        const double of_shoulder = elbow_cost + cost(1, theta2) + (upright ? 0 : cost(0, theta1));
        const auto [first, middle, last] = ball_of(conjugate(turn_z(theta1) * turn_y(theta2)) * rotation);
        for (Way end : all_ways) {
            if (!possible(end, middle)) continue;
            const double half = end == Way::turned ? pi : 0;
            double rest;
            if (end == Way::straight)
                rest = cost(5, 0) +
                       (upright ? shared({0, 2, 4, 6}, first + last) : shared({2, 4, 6}, first + last));
            else
                rest = cost(5, end == Way::turned ? -middle : middle) + cost(6, last + half) +
                       (upright ? shared({0, 2, 4}, first + half) : shared({2, 4}, first + half));
            count = 0; // of these only the best is asked for
            offer(of_shoulder + rest);
        }
    }
}

// Arm angles at which a ball that is straight at `place` still counts as straight. The other one may turn so fast
// there that it keeps its limits in a window narrower than any rounding, so their arm angles are among them.
std::array<double, 13> still_straight(const BallJoints<Pair>& balls, int ball, double place,
                                      const SevenLimits& limits)
{
    constexpr double most = 2e-6, steps[] = {0, 1e-7, -1e-7, 1e-6, -1e-6, most, -most};
    std::array<double, 13> all;
    int count = 0;
    for (double step : steps)
        all[count++] = place + step;
    const int other = 1 - ball, outer = other == 0 ? 0 : 6, inner = other == 0 ? 2 : 4;
    for (int joint : {outer, inner})
        for (double limit : {pi, limits.lower[joint], limits.upper[joint]}) {
            double psi = place;
            for (int step = 0; step < 3; ++step) { // of Newton's
                BallAngles<Pair> at;
                balls.evaluate(ArmAngle<Pair>(pair(psi)), at);
                const double side = joint == outer ? 1 : -1;
                const double angle = (at.sum.value[other] + side * at.difference.value[other]) / 2,
                             rate = (at.sum.rate[other] + side * at.difference.rate[other]) / 2;
                psi += std::remainder(limit - angle, pi) / rate; // of the turned ball, too
            }
            all[count++] = std::fabs(psi - place) < most ? psi : place;
        }
    return all;
}

class SevenJoints {
  public:
    SevenJoints(const ARM_MODEL& arm, const SevenTarget<Pair>& target, const Reference<Pair>& reference,
                const Joints& reference_joints, double range, bool inside_only)
        : lengths_(geometry(arm.model)->lengths), arm_(arm), target_(target), reference_(reference),
          reference_joints_(reference_joints), line_(target.line()),
          bent_(Elbow<Pair>::of_cosine(lengths_, target.elbow_cosine)), psi_(arm_angle()), range_(range),
          inside_only_(inside_only)
    {
    }

    // The nearest solution for arm angles up to `range` from the reference's.
    Solution nearest() const
    {
        for (bool joints_own : {false, true}) {
            const SevenLimits limits = limits_of_seven(arm_, joints_own);
            Solution best = for_elbow(bent_, limits);
            // The rounding of a target does not tell a slightly bent elbow from a stretched one, which may be
            // much nearer: where joints 1 and 3, or 5 and 7, turn about one axis then.
            if (target_.elbow_cosine[0] > 1 - elbow_rounding) {
                if (const Solution s = stretched(limits);
                    s.squared_distance < best.squared_distance - worth_rounding)
                    best = s;
            }
            if (best.squared_distance < INFINITY) return best;
        }
        return {};
    }

  private:
    // Where the reference's own means nothing, it is the one at which the elbow keeps its place.
    double arm_angle() const
    {
        if (!any(reference_.has_no_plane(line_))) return reference_.arm_angle()[0];
        const Rotor off = of_one(conjugate(line_) * reference_.line());
        return 2 * std::atan2(off.z, off.w);
    }
    Solution for_elbow(const Elbow<Pair>& elbow, const SevenLimits& limits) const;
    Solution stretched(const SevenLimits& limits) const
    {
        if (range_ < pi) return for_elbow(Elbow<Pair>(lengths_, pair(0), {pair(0), pair(1)}), limits);
        CoaxialJoints coaxial(reference_joints_, limits, false);
        const auto& [x, y, z] = target_.wrist;
        coaxial.consider_stretched(of_one(target_.rotation), {x[0], y[0], z[0]},
                                   elbow_cost(reference_.joints[3], limits, pair(0), inside_only_)[0]);
        return coaxial.best();
    }

    const Lengths& lengths_;
    const ARM_MODEL& arm_;
    const SevenTarget<Pair>& target_;
    const Reference<Pair>& reference_;
    const Joints& reference_joints_;
    const RotorOf<Pair> line_;
    const Elbow<Pair> bent_;
    const double psi_, range_;
    const bool inside_only_;
};

Solution SevenJoints::for_elbow(const Elbow<Pair>& elbow, const SevenLimits& limits) const
{
    const BallRotors<Pair> rotors(line_, elbow, target_.rotation);
    const Joints& r = reference_joints_;
    const JointGoals<Pair> goals = goals_of(reference_.joints, limits, elbow.angle, inside_only_);
    const auto search = [&](const BallJoints<Pair>& balls) {
        Point<Pair> nearest;
        if (!nearest_arm_angle(balls, goals, psi_, range_, nearest)) return Solution{};
        const auto theta = joints_at(nearest, goals, reference_.joints, limits, elbow.angle);
        Solution s = {0, {}};
        for (int i = 0; i < 7; ++i) {
            s.theta[i] = theta[i][0];
            s.squared_distance += square(s.theta[i] - r[i]);
        }
        return s;
    };
    const BallJoints<Pair> as_computed(rotors.shoulder, rotors.wrist);
    if (!any(as_computed.nearly_stretched())) return search(as_computed);

    const Pair difference = {r[0] - r[2], r[6] - r[4]};
    BallJoints<Pair> balls = as_computed, other_side = as_computed;
    const auto straight = balls.pass_stretched_points(difference, psi_, false);
    Solution best = search(balls);
    if (straight[0] || straight[1]) {
        other_side.pass_stretched_points(difference, psi_, true);
        const Solution s = search(other_side);
        if (s.squared_distance < best.squared_distance - worth_rounding) best = s;
    }

    // Where a ball is straight, at one arm angle, its two outer joints share their turn. The search passes
    // there, but sees the other ball in one position only.
    const double theta4 = elbow.angle[0];
    for (int ball = 0; ball < 2; ++ball) {
        if (!straight[ball]) continue;
        const double place = psi_ + std::remainder(balls.nearest()[ball] - psi_, two_pi);
        if (!(std::fabs(place - psi_) <= range_)) continue;
        CoaxialJoints coaxial(r, limits, false);
        for (double psi : still_straight(balls, ball, place, limits)) {
            const Rotor shoulder = between(of_one(rotors.shoulder[0]), of_one(rotors.shoulder[1]), psi);
            const Rotor wrist = between(of_one(rotors.wrist[0]), of_one(rotors.wrist[1]), psi);
            coaxial.consider_balls(shoulder, wrist, theta4, goals.elbow_cost[0][0]);
            coaxial.consider_balls(shoulder * half_turn_z, conjugate(half_turn_z) * wrist, -theta4,
                                   goals.elbow_cost[1][0]);
        }
        if (coaxial.best().squared_distance < best.squared_distance - worth_rounding) best = coaxial.best();
    }
    return best;
}

} // namespace

Reach reach_of_seven(const ARM_MODEL& arm, const Transform& flange, bool classic)
{
    const double cosine = WristCentre<double>(arm, geometry(arm.model)->lengths, flange).elbow_cosine;
    if (std::fabs(static_cast<float>(cosine)) > (classic ? classic_bound : rounding_bound))
        return Reach::too_far;
    return std::isnan(cosine) ? Reach::unknown : Reach::reached;
}

Found nearest_seven(const ARM_MODEL& arm, const float* reference, const Transform& flange, double range,
                    bool inside_only, float* result)
{
    const SevenTarget<Pair> target = target_of(arm, flange);
    float degrees[7];
    Joints r;
    for (int i = 0; i < 7; ++i) {
        degrees[i] = within_reason(reference[i]);
        r[i] = degrees[i] * radians_per_degree;
    }
    const Reference<Pair> present = reference_of(arm, r);
    const Solution best = SevenJoints(arm, target, present, r, std::min(range, pi), inside_only).nearest();

    // Near a singularity rounding would also drive the joints about; so an arm at rest stays at rest.
    const auto nearly = [](double a, double b) { return std::fabs(a - b) < regular_change; };
    const bool regular = std::equal(r.begin(), r.end(), best.theta.begin(), nearly);
    if (!regular && present.reaches(target)[0] && keeps(limits_of_seven(arm, false), r)) {
        std::copy(degrees, degrees + 7, result);
        return Found::inside;
    }
    if (best.squared_distance == INFINITY) return Found::none;
    for (int i = 0; i < 7; ++i)
        result[i] = static_cast<float>(best.theta[i] * degrees_per_radian);
    return Found::inside;
}

double arm_angle_of(const ARM_MODEL& arm, const float* joint)
{
    Joints r;
    for (int i = 0; i < 7; ++i)
        r[i] = joint[i] * radians_per_degree;
    return std::remainder(reference_of(arm, r).arm_angle()[0], two_pi);
}

namespace {

// A target with its elbow bent by at least 0.
struct BentArm {
    Elbow<Pair> elbow;
    BallRotors<Pair> rotors;

    BentArm(const ARM_MODEL& arm, const SevenTarget<Pair>& target)
        : elbow(Elbow<Pair>::of_cosine(geometry(arm.model)->lengths, target.elbow_cosine)),
          rotors(target.line(), elbow, target.rotation)
    {
    }
};

} // namespace

int all_seven(const ARM_MODEL& arm, const Transform& flange, double arm_angle, float result[8][7])
{
    const auto [elbow, rotors] = BentArm(arm, target_of(arm, flange));
    const Rotor shoulder = between(of_one(rotors.shoulder[0]), of_one(rotors.shoulder[1]), arm_angle);
    const Rotor wrist = between(of_one(rotors.wrist[0]), of_one(rotors.wrist[1]), arm_angle);

    const Joints zero = {};
    const SevenLimits limits = limits_of_seven(arm, true);
    CoaxialJoints solutions(zero, limits, true);
    int count = 0;
    const auto take = [&](const Rotor& s, const Rotor& w, const Pair& theta) {
        solutions.consider_balls(s, w, theta[0], elbow_cost(pair(0), limits, theta, true)[0]);
        for (int n = 0; n < solutions.count; ++n, ++count) {
            for (int i = 0; i < 7; ++i)
                result[count][i] = static_cast<float>(solutions.found[n][i] * degrees_per_radian);
            settle_on_limits(arm, result[count]);
        }
    };
    take(shoulder, wrist, elbow.angle);
    take(shoulder * half_turn_z, conjugate(half_turn_z) * wrist, -elbow.angle);
    return count;
}

int arm_angles_of(const ARM_MODEL& arm, const Transform& flange, ARM_INTERVAL intervals[ARM_INTERVALS])
{
    const auto [elbow, rotors] = BentArm(arm, target_of(arm, flange));
    BallJoints<Pair> balls(rotors.shoulder, rotors.wrist);
    if (any(balls.nearly_stretched())) balls.pass_stretched_points(Pair{}, 0, false);
    const Pair zero[7] = {};
    return feasible_arm_angles(balls, goals_of(zero, limits_of_seven(arm, true), elbow.angle, true),
                               intervals);
}

} // namespace kx
