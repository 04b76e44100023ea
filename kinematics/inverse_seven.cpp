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
    Rotor shoulder, rotation;
    Elbow elbow;

    explicit Reference(const Joints& r)
        : shoulder(ball(r[0], r[1], r[2])), rotation(shoulder * turn_y(r[3]) * ball(r[4], r[5], r[6])),
          elbow(r[3])
    {
    }

    bool reaches(const Target& target) const
    {
        const Rotor off = conjugate(rotation) * target.rotation;
        const Vector wrist = turned(shoulder, elbow.forward, elbow.along);
        return squared_distance(wrist, target.wrist) < square(wrist_rounding) &&
               square(off.x) + square(off.y) + square(off.z) < square(turn_rounding);
    }

    // The arm angle, which counts from the vertical plane through the line from shoulder to wrist. Where that
    // plane changes quickly or is not defined, because the line is upright or near to one that is, it is the
    // arm angle at which the elbow keeps its place for the target's line.
    double arm_angle(const Rotor& target_line) const
    {
        constexpr double upright = 1e-3, near = 0.1;
        const Rotor bent = shoulder * turn_y(elbow.lift);
        const Rotor line =
            elbow.angle < 0 ? bent * half_turn_z : bent; // its xz plane holds the elbow, at x < 0
        const Rotor off = conjugate(target_line) * line;
        const auto squared_sine_to_vertical = [](const Rotor& q) {
            return 4 * (q.w * q.w + q.z * q.z) * (q.x * q.x + q.y * q.y);
        };
        if (square(off.x) + square(off.y) < square(near / 2) ||
            squared_sine_to_vertical(line) < square(upright) ||
            squared_sine_to_vertical(target_line) < square(upright))
            return 2 * std::atan2(off.z, off.w);
        return arc_tangent(line.z, line.w) - arc_tangent(-line.x, line.y);
    }
};

// All limits of this arm are symmetric. Those of the chain were typed with fewer digits than the joints' own
// and are up to 3e-5 radians narrower.
struct Limits {
    Joints chain, joint;

    Limits()
    {
        const auto chains = chain_limits(), joints = joint_limits();
        for (int i = 0; i < 7; ++i) {
            chain[i] = chains[i].upper;
            joint[i] = std::max<double>(chain[i], joints[i].upper * radians_per_degree);
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

// The solution nearest to the reference joints r, with arm angles up to `range` from theirs; false if there
// is none.
bool solve(const Target& target, const Joints& r, const Reference& present, double range, Joints& theta)
{
    const double cosine = std::clamp(target.elbow_cosine(), -1.0, 1.0);
    const Elbow elbow(arc_tangent(std::sqrt((1 - cosine) * (1 + cosine)), cosine));
    const Rotor line = target.line(), lower = turn_y(-elbow.lift), unbend = turn_y(-elbow.angle);
    const Rotor shoulder[] = {line * lower, line * half_turn_z * lower}; // at psi = 0 and pi
    const Rotor wrist[] = {unbend * conjugate(shoulder[0]) * target.rotation,
                           unbend * conjugate(shoulder[1]) * target.rotation};
    const double psi_reference = present.arm_angle(line);
    const BallJoints balls(shoulder, wrist, Pair{r[0] - r[2], r[6] - r[4]}, psi_reference);

    // A reference between the limits of chain and joint may stay there; and where the chain's leave nothing,
    // the joints' own count.
    const Limits limits;
    Joints limit;
    for (int i = 0; i < 7; ++i)
        limit[i] = std::clamp(std::fabs(r[i]), limits.chain[i], limits.joint[i]);
    double psi = nearest_arm_angle(balls, goals(r, limit, elbow), psi_reference, range);
    if (std::isnan(psi)) {
        limit = limits.joint;
        psi = nearest_arm_angle(balls, goals(r, limit, elbow), psi_reference, range);
    }
    if (std::isnan(psi)) return false;

    const auto [branch, outer, middle, inner] = nearest_branch(balls, goals(r, limit, elbow), psi);
    const double change[7] = {outer[0], middle[0], inner[0], 0, inner[1], middle[1], outer[1]};
    for (int i = 0; i < 7; ++i)
        theta[i] = std::clamp(r[i] + change[i], -limit[i], limit[i]);
    theta[3] =
        branch.elbow ? -elbow.angle : elbow.angle; // whatever the arm angle: its limits have no say in it
    return true;
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
    Joints r, theta;
    for (int i = 0; i < 7; ++i)
        r[i] = degrees[i] * radians_per_degree;
    const Reference present(r);
    const bool solved = solve(target, r, present, flag == 2 ? pi : 0.26, theta);

    // Near a singularity the rounding of a target would drive the joints about; so an arm at rest stays at
    // rest.
    const auto nearly = [](double a, double b) { return std::fabs(a - b) < regular_change; };
    const bool regular = solved && std::equal(r.begin(), r.end(), theta.begin(), nearly);
    if (!regular && present.reaches(target) && check_limits(degrees, 7, -5) == 1) {
        std::copy(degrees, degrees + 7, result);
        return 1;
    }
    if (!solved) return -3;
    for (int i = 0; i < 7; ++i)
        result[i] = static_cast<float>(theta[i] * degrees_per_radian);
    return check_limits(result, 7, -5);
}

} // namespace kx
