// Inverse kinematics of the seven-joint arm, after Shimizu, Kakuya, Yoon, Kitagaki and Kosuge, "Analytical
// inverse kinematic computation for 7-DOF redundant manipulators with joint limits and its application to
// redundancy resolution" (2008): the target fixes wrist and elbow angle, and the other joints follow from the
// arm angle psi, of which the best is searched.
//
// With rotations Ry, Rz, shoulder S = Rz(theta1) Ry(theta2) Rz(theta3) and wrist W = Rz(theta5) Ry(theta6)
// Rz(theta7), the chain says
//     target rotation = S Ry(theta4) W,   wrist centre = S (dew sin(theta4), 0, dse + dew cos(theta4)),
// the wrist centre seen from the shoulder. Turning S by psi about the wrist centre keeps the latter.
#include "kinematics/arm_angle_search.h"
#include "kinematics/inverse.h"
#include "kinematics/shared_turn.h"

#include <algorithm>
#include <array>

namespace kx {
namespace {

using Joints = std::array<double, 7>; // radians

// A target is rounded to floats. That may take a joint so far beyond its limit (radians), and the target so
// far off the pose of the joints it was computed from (metres, and radians of half a turn). Away from
// singularities the joints show little of it (radians).
constexpr double joint_rounding = 3e-6, wrist_rounding = 1e-6, turn_rounding = 1.5e-6, regular_change = 2e-5;
constexpr double elbow_rounding = 1e-6; // of the cosine; moves the wrist by 0.12 micrometres
constexpr double elbow_limit_rounding = 2e-6;
// By how much another solution must be nearer, rad^2, to be worth what the rounding may hide.
constexpr double worth_rounding = 1e-5;

// A target is reachable while the cosine of its elbow angle is not beyond this: by the classic function, which
// then leaves the wrist up to 0.12 millimetres from its place, and by an arm model, 2 micrometres at most.
constexpr float classic_bound = 1.001f, rounding_bound = 1.00002f;

constexpr Rotor half_turn_z = {0, 0, 0, 1};

// Where the last column and `forward` times the first of a rotation matrix add up to.
Vector turned(const Rotor& q, double forward, double along)
{
    const auto& [w, x, y, z] = q;
    return {forward * (1 - 2 * (y * y + z * z)) + along * 2 * (x * z + w * y),
            forward * 2 * (x * y + w * z) + along * 2 * (y * z - w * x),
            forward * 2 * (x * z - w * y) + along * (1 - 2 * (x * x + y * y))};
}

Rotor ball(double first, double middle, double last)
{
    return turn_z(first) * turn_y(middle) * turn_z(last);
}

// The triangle of shoulder, elbow and wrist.
struct Elbow {
    double angle;          // theta4
    double forward, along; // the wrist, seen from the shoulder: along x of joint 3, and along the upper arm
    Rotor bend;            // by theta4
    Rotor lift;            // from the upper arm to the line through shoulder and wrist

    Elbow(const Lengths& lengths, double theta4)
        : Elbow(lengths, theta4, sine_cosine<double>(theta4), sine_cosine<double>(theta4 / 2))
    {
    }
    // Bent by at least 0.
    static Elbow of_cosine(const Lengths& lengths, double cosine)
    {
        const double c = std::clamp(cosine, -1.0, 1.0), sine = std::sqrt((1 - c) * (1 + c));
        return {lengths, arc_tangent(sine, c), {sine, c}, {std::sqrt((1 - c) / 2), std::sqrt((1 + c) / 2)}};
    }

  private:
    Elbow(const Lengths& lengths, double theta4, const SineCosine<double>& whole,
          const SineCosine<double>& half)
        : angle(theta4), forward(lengths.d4 * whole.sine), along(lengths.a3 + lengths.d4 * whole.cosine),
          bend(turn_y(half)),
          lift(turn_y(half_angle(forward, along, std::sqrt(square(forward) + square(along)))))
    {
    }
};

struct WristCentre {
    Vector wrist; // from the shoulder, metres
    double elbow_cosine;

    WristCentre(const ARM_MODEL& arm, const Lengths& lengths, const Transform& flange)
        : wrist{flange.p.x - arm.flange * flange.r[0][2], flange.p.y - arm.flange * flange.r[1][2],
                flange.p.z - arm.flange * flange.r[2][2] - lengths.d1}
    {
        const double upper_arm = lengths.a3, forearm = lengths.d4;
        elbow_cosine =
            (dot(wrist, wrist) - upper_arm * upper_arm - forearm * forearm) / (2 * upper_arm * forearm);
    }
};

struct Target : WristCentre {
    Rotor rotation;

    Target(const ARM_MODEL& arm, const Lengths& lengths, const Transform& flange)
        : WristCentre(arm, lengths, flange), rotation(rotor_of(flange.r))
    {
    }
    // Turns z onto the line from shoulder to wrist, and x into the vertical plane through it, downwards.
    Rotor line() const
    {
        const double rho2 = square(wrist.x) + square(wrist.y), rho = std::sqrt(rho2);
        const Rotor lean = turn_y(half_angle(rho, wrist.z, std::sqrt(rho2 + square(wrist.z))));
        return rho > 0 ? turn_z(half_angle(wrist.y, wrist.x, rho)) * lean : lean;
    }
};

// Shoulder and wrist at arm angle zero and half a turn.
struct BallRotors {
    Rotor shoulder[2], wrist[2];

    BallRotors(const Rotor& line, const Elbow& elbow, const Rotor& target)
    {
        const Rotor lower = conjugate(elbow.lift), unbend = conjugate(elbow.bend);
        shoulder[0] = line * lower;
        shoulder[1] = line * half_turn_z * lower;
        for (int i = 0; i < 2; ++i)
            wrist[i] = unbend * conjugate(shoulder[i]) * target;
    }
};

// The reference joints and their pose.
struct Reference {
    Joints joints;
    Elbow elbow;
    Rotor shoulder;

    Reference(const Lengths& lengths, const Joints& r)
        : joints(r), elbow(lengths, r[3]), shoulder(ball(r[0], r[1], r[2]))
    {
    }

    bool reaches(const Target& target) const
    {
        const Vector apart = turned(shoulder, elbow.forward, elbow.along) - target.wrist;
        if (!(dot(apart, apart) < square(wrist_rounding))) return false;
        const Rotor rotation = shoulder * elbow.bend * ball(joints[4], joints[5], joints[6]);
        const Rotor off = conjugate(rotation) * target.rotation;
        return square(off.x) + square(off.y) + square(off.z) < square(turn_rounding);
    }

    // Turns z onto the reference's own line from shoulder to wrist; its xz plane holds the elbow, at x < 0.
    Rotor line() const
    {
        const double negative = elbow.angle < 0; // or else by no turn: as likely, so without a branch
        return shoulder * elbow.lift * Rotor{1 - negative, 0, 0, negative};
    }

    // The arm angle, which counts from the vertical plane through the line from shoulder to wrist. An upright
    // line has no such plane, and near to it the plane turns quickly from one line to the next: then it is
    // the arm angle at which the elbow keeps its place.
    double arm_angle(const Rotor& target_line) const
    {
        constexpr double upright = 1e-3, next = 0.02, quickly = 0.1;
        const Rotor own = line(), off = conjugate(target_line) * own;
        const auto squared_sine = [](const Rotor& q) { // of the angle by which z turns
            return 4 * (q.w * q.w + q.z * q.z) * (q.x * q.x + q.y * q.y);
        };
        const double to_vertical = std::min(squared_sine(own), squared_sine(target_line));
        const double step = 4 * (square(off.x) + square(off.y)); // from line to line, squared
        if (to_vertical < square(upright) || (step < square(next) && step > square(quickly) * to_vertical))
            return 2 * std::atan2(off.z, off.w);
        return from_vertical(own);
    }
    double arm_angle_from_vertical() const { return from_vertical(line()); }

  private:
    static double from_vertical(const Rotor& own)
    {
        const Pair angles = arc_tangent(Pair{own.z, -own.x}, Pair{own.w, own.y});
        return angles[0] - angles[1];
    }
};

// Radians.
struct Limits {
    Joints lower, upper;
};

// The limits of the chain were typed with fewer digits than the joints' own and are up to 3e-5 radians
// narrower. Where they leave nothing, the joints' own count.
Limits limits_of(const ARM_MODEL& arm, bool joints_own)
{
    const auto chain = chain_limits(arm);
    Limits limits;
    for (int i = 0; i < 7; ++i) {
        limits.lower[i] = chain[i].lower, limits.upper[i] = chain[i].upper;
        if (!joints_own) continue;
        limits.lower[i] = std::min<double>(limits.lower[i], arm.lower[i] * radians_per_degree);
        limits.upper[i] = std::max<double>(limits.upper[i], arm.upper[i] * radians_per_degree);
    }
    return limits;
}

bool keeps(const Limits& limits, const Joints& joints)
{
    for (int i = 0; i < 7; ++i)
        if (!(joints[i] >= limits.lower[i] - joint_rounding && joints[i] <= limits.upper[i] + joint_rounding))
            return false;
    return true;
}

// Joint 4 bent so costs this much; infinite beyond its limits, if they count.
double elbow_cost(const Joints& reference, const Limits& limits, double theta4, bool inside_only)
{
    const bool kept =
        theta4 >= limits.lower[3] - elbow_limit_rounding && theta4 <= limits.upper[3] + elbow_limit_rounding;
    return kept || !inside_only ? square(theta4 - reference[3]) : INFINITY;
}

JointGoals goals_of(const Joints& reference, const Limits& limits, double theta4, bool inside_only)
{
    const auto pick = [](const Joints& joint, int shoulder, int wrist) {
        return Pair{joint[shoulder], joint[wrist]};
    };
    const auto lower = [&](int s, int w) { return pick(limits.lower, s, w) - joint_rounding; };
    const auto upper = [&](int s, int w) { return pick(limits.upper, s, w) + joint_rounding; };
    const auto turn = [&](int s, int w) { return Turn(lower(s, w), upper(s, w), pick(reference, s, w)); };
    return {turn(0, 6),
            turn(2, 4),
            pick(reference, 1, 5),
            lower(1, 5),
            upper(1, 5),
            elbow_cost(reference, limits, theta4, inside_only),
            elbow_cost(reference, limits, -theta4, inside_only)};
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
    CoaxialJoints(const Joints& reference, const Limits& limits, bool one_of_a_family)
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
    const Limits& limits_;
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
std::array<double, 13> still_straight(const BallJoints& balls, int ball, double place, const Limits& limits)
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
                BallAngles at;
                balls.evaluate(ArmAngle(psi), at);
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
    SevenJoints(const ARM_MODEL& arm, const Target& target, const Reference& reference, double range,
                bool inside_only)
        : lengths_(geometry(arm.model)->lengths), arm_(arm), target_(target), reference_(reference),
          line_(target.line()), bent_(Elbow::of_cosine(lengths_, target.elbow_cosine)),
          psi_(reference.arm_angle(line_)), range_(range), inside_only_(inside_only)
    {
    }

    // The nearest solution for arm angles up to `range` from the reference's.
    Solution nearest() const
    {
        for (bool joints_own : {false, true}) {
            const Limits limits = limits_of(arm_, joints_own);
            Solution best = for_elbow(bent_, limits);
            // The rounding of a target does not tell a slightly bent elbow from a stretched one, which may be
            // much nearer: where joints 1 and 3, or 5 and 7, turn about one axis then.
            if (target_.elbow_cosine > 1 - elbow_rounding) {
                if (const Solution s = stretched(limits);
                    s.squared_distance < best.squared_distance - worth_rounding)
                    best = s;
            }
            if (best.squared_distance < INFINITY) return best;
        }
        return {};
    }

  private:
    Solution for_elbow(const Elbow& elbow, const Limits& limits) const;
    Solution stretched(const Limits& limits) const
    {
        if (range_ < pi) return for_elbow(Elbow(lengths_, 0), limits);
        CoaxialJoints coaxial(reference_.joints, limits, false);
        coaxial.consider_stretched(target_.rotation, target_.wrist,
                                   elbow_cost(reference_.joints, limits, 0, inside_only_));
        return coaxial.best();
    }

    const Lengths& lengths_;
    const ARM_MODEL& arm_;
    const Target& target_;
    const Reference& reference_;
    const Rotor line_;
    const Elbow bent_;
    const double psi_, range_;
    const bool inside_only_;
};

Solution SevenJoints::for_elbow(const Elbow& elbow, const Limits& limits) const
{
    const double theta4 = elbow.angle;
    const BallRotors rotors(line_, elbow, target_.rotation);
    const Joints& r = reference_.joints;
    const JointGoals goals = goals_of(r, limits, theta4, inside_only_);
    const auto balls_of = [&](bool other_side) {
        return BallJoints(rotors.shoulder, rotors.wrist, Pair{r[0] - r[2], r[6] - r[4]}, psi_, other_side);
    };
    const auto search = [&](const BallJoints& balls) {
        Point nearest;
        if (!nearest_arm_angle(balls, goals, psi_, range_, nearest)) return Solution{};
        const auto [branch, outer, middle, inner] = nearest_branch(nearest, goals);
        const double change[7] = {outer[0], middle[0], inner[0], 0, inner[1], middle[1], outer[1]};
        Solution s = {0, {}};
        for (int i = 0; i < 7; ++i)
            s.theta[i] = std::clamp(r[i] + change[i], limits.lower[i], limits.upper[i]);
        s.theta[3] = branch.elbow ? -theta4 : theta4; // its limits have no say in the arm angle
        for (int i = 0; i < 7; ++i)
            s.squared_distance += square(s.theta[i] - r[i]);
        return s;
    };
    const BallJoints balls = balls_of(false);
    Solution best = search(balls);
    const auto straight = balls.straight();
    if (straight[0] || straight[1]) {
        const Solution s = search(balls_of(true));
        if (s.squared_distance < best.squared_distance - worth_rounding) best = s;
    }

    // Where a ball is straight, at one arm angle, its two outer joints share their turn. The search passes
    // there, but sees the other ball in one position only.
    for (int ball = 0; ball < 2; ++ball) {
        if (!straight[ball]) continue;
        const double place = psi_ + std::remainder(balls.nearest()[ball] - psi_, two_pi);
        if (!(std::fabs(place - psi_) <= range_)) continue;
        CoaxialJoints coaxial(r, limits, false);
        for (double psi : still_straight(balls, ball, place, limits)) {
            const Rotor shoulder = between(rotors.shoulder[0], rotors.shoulder[1], psi);
            const Rotor wrist = between(rotors.wrist[0], rotors.wrist[1], psi);
            coaxial.consider_balls(shoulder, wrist, theta4, goals.elbow_cost[0]);
            coaxial.consider_balls(shoulder * half_turn_z, conjugate(half_turn_z) * wrist, -theta4,
                                   goals.elbow_cost[1]);
        }
        if (coaxial.best().squared_distance < best.squared_distance - worth_rounding) best = coaxial.best();
    }
    return best;
}

} // namespace

Reach reach_of_seven(const ARM_MODEL& arm, const Transform& flange, bool classic)
{
    const double cosine = WristCentre(arm, geometry(arm.model)->lengths, flange).elbow_cosine;
    if (std::fabs(static_cast<float>(cosine)) > (classic ? classic_bound : rounding_bound))
        return Reach::too_far;
    return std::isnan(cosine) ? Reach::unknown : Reach::reached;
}

Found nearest_seven(const ARM_MODEL& arm, const float* reference, const Transform& flange, double range,
                    bool inside_only, float* result)
{
    const Lengths& lengths = geometry(arm.model)->lengths;
    const Target target(arm, lengths, flange);
    float degrees[7];
    Joints r;
    for (int i = 0; i < 7; ++i) {
        degrees[i] = within_reason(reference[i]);
        r[i] = degrees[i] * radians_per_degree;
    }
    const Reference present(lengths, r);
    const Solution best = SevenJoints(arm, target, present, std::min(range, pi), inside_only).nearest();

    // Near a singularity rounding would also drive the joints about; so an arm at rest stays at rest.
    const auto nearly = [](double a, double b) { return std::fabs(a - b) < regular_change; };
    const bool regular = std::equal(r.begin(), r.end(), best.theta.begin(), nearly);
    if (!regular && present.reaches(target) && keeps(limits_of(arm, false), r)) {
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
    return std::remainder(Reference(geometry(arm.model)->lengths, r).arm_angle_from_vertical(), two_pi);
}

int all_seven(const ARM_MODEL& arm, const Transform& flange, double arm_angle, float result[8][7])
{
    const Lengths& lengths = geometry(arm.model)->lengths;
    const Target target(arm, lengths, flange);
    const Elbow elbow = Elbow::of_cosine(lengths, target.elbow_cosine);
    const BallRotors rotors(target.line(), elbow, target.rotation);
    const Rotor shoulder = between(rotors.shoulder[0], rotors.shoulder[1], arm_angle);
    const Rotor wrist = between(rotors.wrist[0], rotors.wrist[1], arm_angle);

    const Joints zero = {};
    const Limits limits = limits_of(arm, true);
    CoaxialJoints solutions(zero, limits, true);
    int count = 0;
    const auto take = [&](const Rotor& s, const Rotor& w, double theta) {
        solutions.consider_balls(s, w, theta, elbow_cost(zero, limits, theta, true));
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
    const Lengths& lengths = geometry(arm.model)->lengths;
    const Target target(arm, lengths, flange);
    const Elbow elbow = Elbow::of_cosine(lengths, target.elbow_cosine);
    const BallRotors rotors(target.line(), elbow, target.rotation);
    const BallJoints balls(rotors.shoulder, rotors.wrist, Pair{}, 0);
    return feasible_arm_angles(balls, goals_of({}, limits_of(arm, true), elbow.angle, true), intervals);
}

} // namespace kx
