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
#include "kinematics/model.h"
#include "kinematics/trigonometry.h"

#include <algorithm>
#include <array>
#include <numbers>

namespace kx {
namespace {

using std::numbers::pi;
using Joints = std::array<double, 7>; // radians

// A target is rounded to floats. That may take a joint so far beyond its limit (radians), and the target so
// far off the pose of the joints it was computed from (metres, and radians of half a turn). Away from
// singularities the joints show little of it (radians).
constexpr double joint_rounding = 3e-6, wrist_rounding = 1e-6, turn_rounding = 1.5e-6, regular_change = 2e-5;
constexpr double elbow_rounding = 1e-6; // of the cosine; moves the wrist by 0.12 micrometres

// A target is reachable while the cosine of its elbow angle is not beyond this.
constexpr float cosine_bound = 1.001f;

constexpr Rotor half_turn_z = {0, 0, 0, 1};

double square(double x)
{
    return x * x;
}

struct Vector {
    double x, y, z;
};

double squared_distance(const Vector& a, const Vector& b)
{
    return square(a.x - b.x) + square(a.y - b.y) + square(a.z - b.z);
}

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
    double lift;           // from the upper arm to the line through shoulder and wrist

    explicit Elbow(double theta4) : angle(theta4)
    {
        const auto [sine, cosine] = sine_cosine<double>(theta4);
        forward = dew * sine;
        along = dse + dew * cosine;
        lift = arc_tangent(forward, along);
    }
};

struct Target {
    Rotor rotation;
    Vector wrist; // from the shoulder, metres

    explicit Target(const Transform& flange)
        : rotation(rotor_of(flange.r)), wrist{flange.p[0] - lwt * flange.r[0][2],
                                              flange.p[1] - lwt * flange.r[1][2],
                                              flange.p[2] - lwt * flange.r[2][2] - dbs}
    {
    }
    double elbow_cosine() const
    {
        const double upper_arm = dse, forearm = dew;
        return (squared_distance(wrist, {}) - square(upper_arm) - square(forearm)) /
               (2 * upper_arm * forearm);
    }
    // Turns z onto the line from shoulder to wrist, and x into the vertical plane through it, downwards.
    Rotor line() const
    {
        const double rho = std::sqrt(square(wrist.x) + square(wrist.y));
        return turn_z(rho > 0 ? arc_tangent(wrist.y, wrist.x) : 0) * turn_y(arc_tangent(rho, wrist.z));
    }
};

// The pose of the reference joints.
struct Reference {
    Joints joints;
    Rotor shoulder, rotation;
    Elbow elbow;

    explicit Reference(const Joints& r)
        : joints(r), shoulder(ball(r[0], r[1], r[2])),
          rotation(shoulder * turn_y(r[3]) * ball(r[4], r[5], r[6])), elbow(r[3])
    {
    }

    bool reaches(const Target& target) const
    {
        const Rotor off = conjugate(rotation) * target.rotation;
        const Vector wrist = turned(shoulder, elbow.forward, elbow.along);
        return squared_distance(wrist, target.wrist) < square(wrist_rounding) &&
               square(off.x) + square(off.y) + square(off.z) < square(turn_rounding);
    }

    // The arm angle, which counts from the vertical plane through the line from shoulder to wrist. An upright
    // line has no such plane, and near to it the plane turns quickly from one line to the next: then it is
    // the arm angle at which the elbow keeps its place.
    double arm_angle(const Rotor& target_line) const
    {
        constexpr double upright = 1e-3, next = 0.02, quickly = 0.1;
        const Rotor bent = shoulder * turn_y(elbow.lift);
        const Rotor line =
            elbow.angle < 0 ? bent * half_turn_z : bent; // its xz plane holds the elbow, at x < 0
        const Rotor off = conjugate(target_line) * line;
        const auto squared_sine = [](const Rotor& q) { // of the angle by which z turns
            return 4 * (q.w * q.w + q.z * q.z) * (q.x * q.x + q.y * q.y);
        };
        const double to_vertical = std::min(squared_sine(line), squared_sine(target_line));
        const double step = 4 * (square(off.x) + square(off.y)); // from line to line, squared
        if (to_vertical < square(upright) || (step < square(next) && step > square(quickly) * to_vertical))
            return 2 * std::atan2(off.z, off.w);
        return arc_tangent(line.z, line.w) - arc_tangent(-line.x, line.y);
    }
};

// All limits of this arm are symmetric. Those of the chain were typed with fewer digits than the joints' own
// and are up to 3e-5 radians narrower: a reference in between may stay there, and where the chain's leave
// nothing, the joints' own count.
struct Limits {
    Joints first, second;

    explicit Limits(const Joints& reference)
    {
        const auto chain = chain_limits(), joint = joint_limits();
        for (int i = 0; i < 7; ++i) {
            second[i] = std::max<double>(chain[i].upper, joint[i].upper * radians_per_degree);
            first[i] = std::clamp<double>(std::fabs(reference[i]), chain[i].upper, second[i]);
        }
    }
};

JointGoals goals(const Joints& reference, const Joints& limit, const Elbow& elbow)
{
    const auto pick = [](const Joints& joint, int shoulder, int wrist) {
        return Pair{joint[shoulder], joint[wrist]};
    };
    const auto full_turn = [&](int shoulder, int wrist) {
        const Pair upper = pick(limit, shoulder, wrist) + joint_rounding;
        return FullTurn(-upper, upper, pick(reference, shoulder, wrist));
    };
    return {full_turn(0, 6),
            full_turn(2, 4),
            pick(reference, 1, 5),
            pick(limit, 1, 5) + joint_rounding,
            {square(elbow.angle - reference[3]), square(-elbow.angle - reference[3])}};
}

struct Solution {
    double squared_distance = INFINITY;
    Joints theta = {};
};

// The nearest solution for arm angles up to `range` from the reference's.
Solution solve(const Target& target, const Elbow& elbow, const Reference& reference, double range)
{
    const Joints& r = reference.joints;
    const Rotor line = target.line(), lower = turn_y(-elbow.lift), unbend = turn_y(-elbow.angle);
    const Rotor shoulder[] = {line * lower, line * half_turn_z * lower}; // at psi = 0 and pi
    const Rotor wrist[] = {unbend * conjugate(shoulder[0]) * target.rotation,
                           unbend * conjugate(shoulder[1]) * target.rotation};
    const double psi_reference = reference.arm_angle(line);
    const BallJoints balls(shoulder, wrist, Pair{r[0] - r[2], r[6] - r[4]}, psi_reference);

    const Limits limits(r);
    for (const Joints& limit : {limits.first, limits.second}) {
        const JointGoals goal = goals(r, limit, elbow);
        const double psi = nearest_arm_angle(balls, goal, psi_reference, range);
        if (std::isnan(psi)) continue;

        const auto [branch, outer, middle, inner] = nearest_branch(balls, goal, psi);
        const double change[7] = {outer[0], middle[0], inner[0], 0, inner[1], middle[1], outer[1]};
        Solution s = {0, {}};
        for (int i = 0; i < 7; ++i)
            s.theta[i] = std::clamp(r[i] + change[i], -limit[i], limit[i]);
        s.theta[3] = branch.elbow ? -elbow.angle : elbow.angle; // its limits have no say in the arm angle
        for (int i = 0; i < 7; ++i)
            s.squared_distance += square(s.theta[i] - r[i]);
        return s;
    }
    return {};
}

} // namespace

int inverse_seven(const float* reference, const KINEMATIC& target_pose, float* result, unsigned char flag)
{
    const Target target(flange_target(target_pose, flag != 1));
    const double cosine = target.elbow_cosine();
    if (std::fabs(static_cast<float>(cosine)) > cosine_bound) return -1;
    if (std::isnan(cosine)) {
        std::fill(result, result + 7, NAN);
        return check_limits(result, 7, -5);
    }

    float degrees[7];
    clamp_reference(reference, 7, degrees);
    Joints r;
    for (int i = 0; i < 7; ++i)
        r[i] = degrees[i] * radians_per_degree;
    const Reference present(r);

    const double c = std::clamp(cosine, -1.0, 1.0), range = flag == 2 ? pi : 0.26;
    Solution best = solve(target, Elbow(arc_tangent(std::sqrt((1 - c) * (1 + c)), c)), present, range);
    // The rounding of a target does not tell a slightly bent elbow from a stretched one, which may be much
    // nearer: where joints 1 and 3, or 5 and 7, turn about one axis then.
    if (c > 1 - elbow_rounding)
        if (const Solution s = solve(target, Elbow(0), present, range);
            s.squared_distance < best.squared_distance - 0.01)
            best = s;

    // Near a singularity it would also drive the joints about; so an arm at rest stays at rest.
    const auto nearly = [](double a, double b) { return std::fabs(a - b) < regular_change; };
    const bool regular = std::equal(r.begin(), r.end(), best.theta.begin(), nearly);
    if (!regular && present.reaches(target) && check_limits(degrees, 7, -5) == 1) {
        std::copy(degrees, degrees + 7, result);
        return 1;
    }
    if (best.squared_distance == INFINITY) return -3;
    for (int i = 0; i < 7; ++i)
        result[i] = static_cast<float>(best.theta[i] * degrees_per_radian);
    return check_limits(result, 7, -5);
}

} // namespace kx
