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
#include "kinematics/inverse.h"
#include "kinematics/matrix.h"
#include "kinematics/model.h"

#include <algorithm>
#include <array>

namespace kx {
namespace {

constexpr double pi = 3.141592653589793;

// Cosines up to this pass for rounding of 1.
constexpr double cosine_bound = 1.0002f;
// A sine below this counts as zero.
constexpr double vanishing = 5e-5f;
// A wrist centre this near to axis 1 (metres), or an elbow this near to stretched (radians): there a pose of
// single precision leaves theta1 open to more than 1e-5 radians, theta3 to more than 1e-4. The reference's
// own angle is kept if it misses the wrist centre by no more than the pose's rounding (`unnoticed`, metres; a
// stretched elbow does), so that an arm at rest stays at rest.
constexpr double near_axis = 0.03, near_stretched = 3e-3, unnoticed = 5e-7;
// By how much, in radians, rounding alone may take an angle over a limit of its chain, or over the seam at
// half a turn.
constexpr double limit_slack = 2e-5, seam_slack = 1.5e-5;

struct Arm {
    double d1, a2, a3, d3, a4, d4, lwt; // metres, see above
    double offset[6];                   // theta - q; theta6 as the wrist's rotation counts it
    float straight_wrist;               // |q5| below which joints 4 and 6 share their turn, radians
    bool folds;                         // joint 5 reaches +-180 degrees, where they share it as well
    double forearm = std::sqrt(a4 * a4 + d4 * d4); // from elbow to wrist centre
};

Arm loaded_arm(int model)
{
    constexpr double right = pi / 2;
    // Between joints 5 and 6 model 36 turns by -90 degrees where model 46 turns by +90:
    // Ry(theta5) Rx(180) Rz(theta6) = Ry(theta5 - 180) Rz(theta6 + 180).
    if (model == 36)
        return {d1,  a2, a3, d3, a4, d4, lwt, {-right, right, right, 0, 0, -right}, 0.3f / degrees_per_radian,
                true};
    return {lsb, 0, lse, d3, 0, lew, lwt, {0, right, right, 0, 0, 0}, 0.087f, false};
}

// An angle as q, within half a turn of 0. On the seam, where both ends are the same place, it takes the
// reference's.
float as_joint(double angle, float reference)
{
    if (angle > pi) angle -= two_pi;
    if (angle < -pi) angle += two_pi;
    if (std::fabs(angle) > pi - seam_slack && angle * reference < 0) angle -= std::copysign(two_pi, angle);
    return static_cast<float>(angle);
}

// The turn of an angle that is nearest to the reference.
double nearest_turn(double angle, double reference)
{
    constexpr double no_fraction = 0x1.8p52; // adding it leaves no bits for a fraction
    const double turns = ((reference - angle) * (1 / two_pi) + no_fraction) - no_fraction;
    return angle + two_pi * turns;
}

float squared(float x)
{
    return x * x;
}

bool nearer(float a, float b, float reference)
{
    return squared(a - reference) < squared(b - reference);
}

struct Direction {
    double cosine, sine;
};

using Rotation = std::array<std::array<double, 3>, 3>;

class SixJoints {
  public:
    SixJoints(int model, const float* reference_degrees, const Transform& flange_in_base)
        : arm(loaded_arm(model)), flange(flange_in_base), limits(chain_limits())
    {
        for (int i = 0; i < 6; ++i)
            best[i] = reference[i] = reference_degrees[i] * radians_per_degree;
        for (int i = 0; i < 3; ++i)
            centre[i] = flange.p[i] - arm.lwt * flange.r[i][2];
    }

    // The joints nearest to the reference, radians; false if there are none, and then they are the reference.
    bool solve(float joint[6]);

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

    int shoulders(Shoulder found[2]) const;
    int elbows(const Shoulder&, Elbow found[2]) const;
    void try_elbow(const Shoulder&, const Elbow&, float distance);
    void try_wrist(const float arm_joints[3], const Rotation& wrist, float distance);
    void consider(const float joint[6], const Rotation& wrist, float distance);
    void share_turn(const Rotation& wrist, float joint[6]) const;

    bool admits(int joint, float q) const
    {
        const double theta = q + arm.offset[joint];
        return !(theta < limits[joint].lower - limit_slack || theta > limits[joint].upper + limit_slack);
    }

    const Arm arm;
    const Transform flange;
    const std::array<Range, 7> limits;
    float reference[6];
    double centre[3]; // of the wrist

    float best[6], best_distance = 1000;
    Rotation best_wrist; // the rotation that joints 4 to 6 make
};

// theta1 turns (x, -d3) onto the wrist centre, with x to either side.
int SixJoints::shoulders(Shoulder found[2]) const
{
    const double cx = centre[0], cy = centre[1], d = arm.d3;
    const double r2 = cx * cx + cy * cy;
    if (d * d > cosine_bound * cosine_bound * r2) return 0;
    const double x = r2 > d * d ? std::sqrt(r2 - d * d) : 0;
    const double scale = 1 / (x > 0 ? r2 : std::sqrt(r2) * std::fabs(d));

    int n = 0;
    const auto add = [&](double angle, Direction theta1, double along) {
        const float q1 = as_joint(angle - arm.offset[0], reference[0]);
        if (admits(0, q1)) found[n++] = {q1, theta1, along};
    };
    if (x < near_axis) {
        const double theta = reference[0] + arm.offset[0], c = std::cos(theta), s = std::sin(theta);
        const double along = c * cx + s * cy, across = c * cy - s * cx;
        if (std::fabs(across + d) < unnoticed) add(std::remainder(theta, two_pi), {c, s}, along);
        if (std::fabs(across - d) < unnoticed) add(std::remainder(theta + pi, two_pi), {-c, -s}, -along);
    }
    for (double side : {x, -x}) {
        if (n == 2 || (n == 1 && found[0].x * side > 0)) continue;
        const double c = cx * side - cy * d, s = cy * side + cx * d;
        add(arc_tangent(s, c), {c * scale, s * scale}, side);
    }
    if (n == 2 && nearer(found[1].q1, found[0].q1, reference[0])) std::swap(found[0], found[1]);
    return n;
}

// The elbow's turn e from the upper arm (a3) to the line from elbow to wrist centre, by the law of cosines.
int SixJoints::elbows(const Shoulder& shoulder, Elbow found[2]) const
{
    const double x = shoulder.x - arm.a2, z = centre[2] - arm.d1, L = arm.forearm;
    const double c = (x * x + z * z - arm.a3 * arm.a3 - L * L) / (2 * arm.a3 * L);
    if (!(std::fabs(c) < cosine_bound)) return 0;

    int n = 0;
    const auto add = [&](double cosine, double sine) {
        const Direction theta3 = {(arm.a4 * cosine - arm.d4 * sine) / L,
                                  (arm.a4 * sine + arm.d4 * cosine) / L};
        const float q3 = as_joint(arc_tangent(theta3.sine, theta3.cosine) - arm.offset[2], reference[2]);
        if (admits(2, q3)) found[n++] = {q3, theta3};
    };
    if (c > 1 - near_stretched * near_stretched / 2) {
        const double e = reference[2] + arm.offset[2] + arc_tangent(-arm.d4, arm.a4);
        if (std::fabs(e) < near_stretched) {
            add(std::cos(e), std::sin(e));
            return n;
        }
    }
    const double cosine = std::clamp(c, -1.0, 1.0), sine = std::sqrt(1 - cosine * cosine);
    add(cosine, sine);
    add(cosine, -sine);
    if (n == 2 && nearer(found[1].q3, found[0].q3, reference[2])) std::swap(found[0], found[1]);
    return n;
}

void SixJoints::try_elbow(const Shoulder& shoulder, const Elbow& elbow, float distance)
{
    // theta2 turns the vector from joint 2 to the wrist centre, as theta3 leaves it, onto (x, z).
    const auto [c3, s3] = elbow.theta3;
    const double along = arm.a3 + arm.a4 * c3 + arm.d4 * s3, across = arm.a4 * s3 - arm.d4 * c3;
    const double x = shoulder.x - arm.a2, z = centre[2] - arm.d1;
    const double scale = 1 / std::sqrt((x * x + z * z) * (along * along + across * across));
    const double c2 = (x * along + z * across) * scale, s2 = (z * along - x * across) * scale;
    const float q2 = as_joint(arc_tangent(s2, c2) - arm.offset[1], reference[1]);
    distance += squared(q2 - reference[1]);
    if (!(distance < best_distance)) return;

    const double c1 = shoulder.theta1.cosine, s1 = shoulder.theta1.sine;
    const double c23 = c2 * c3 - s2 * s3, s23 = s2 * c3 + c2 * s3;
    Rotation wrist;
    for (int j = 0; j < 3; ++j) {
        const double x1 = c1 * flange.r[0][j] + s1 * flange.r[1][j];
        const double y1 = c1 * flange.r[1][j] - s1 * flange.r[0][j];
        const double z1 = flange.r[2][j];
        wrist[0][j] = c23 * x1 + s23 * z1;
        wrist[1][j] = -y1;
        wrist[2][j] = s23 * x1 - c23 * z1;
    }
    const float arm_joints[3] = {shoulder.q1, q2, elbow.q3};
    try_wrist(arm_joints, wrist, distance);
}

// The wrist's rotation Rz(theta4) Ry(theta5) Rz(theta6) holds, with c and s for cosine and sine,
//     column 2: c4 s5, s4 s5, c5      row 2: -s5 c6, s5 s6, c5.
void SixJoints::try_wrist(const float arm_joints[3], const Rotation& wrist, float distance)
{
    const double x = wrist[0][2], y = wrist[1][2], s5 = std::sqrt(x * x + y * y);
    float joint[6] = {arm_joints[0], arm_joints[1], arm_joints[2]};
    if (s5 < vanishing) {
        share_turn(wrist, joint);
        const double bend = x * std::cos(joint[3]) + y * std::sin(joint[3]);
        joint[4] = as_joint(arc_tangent(bend, wrist[2][2]), reference[4]);
        return consider(joint, wrist, distance);
    }
    const double theta5 = arc_tangent(s5, wrist[2][2]);
    const double theta4 = arc_tangent(y, x);
    const double theta6 = arc_tangent(wrist[2][1], -wrist[2][0]);
    for (double half_turn : {0.0, pi}) {
        joint[3] = as_joint(theta4 + half_turn, reference[3]);
        joint[4] = as_joint(half_turn == 0 ? theta5 : -theta5, reference[4]);
        joint[5] = static_cast<float>(nearest_turn(theta6 + half_turn - arm.offset[5], reference[5]));
        consider(joint, wrist, distance);
    }
}

void SixJoints::consider(const float joint[6], const Rotation& wrist, float distance)
{
    for (int i = 3; i < 6; ++i)
        distance += squared(joint[i] - reference[i]);
    if (!(distance < best_distance)) return;
    best_distance = distance;
    std::copy_n(joint, 6, best);
    best_wrist = wrist;
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
bool SixJoints::solve(float joint[6])
{
    Shoulder shoulder[2];
    const int shoulder_count = shoulders(shoulder);
    for (int i = 0; i < shoulder_count; ++i) {
        const float to_shoulder = squared(shoulder[i].q1 - reference[0]);
        if (!(to_shoulder < best_distance)) break;
        Elbow elbow[2];
        const int elbow_count = elbows(shoulder[i], elbow);
        for (int j = 0; j < elbow_count; ++j) {
            const float to_elbow = to_shoulder + squared(elbow[j].q3 - reference[2]);
            if (!(to_elbow < best_distance)) break;
            try_elbow(shoulder[i], elbow[j], to_elbow);
        }
    }
    const bool found = best_distance < 1000;
    const float bend = std::fabs(best[4]);
    if (found && (bend < arm.straight_wrist || (arm.folds && bend > pi - arm.straight_wrist)))
        share_turn(best_wrist, best);
    std::copy_n(best, 6, joint);
    return found;
}

} // namespace

int inverse_six(int model, const float* reference, const KINEMATIC& target, float* result, unsigned char flag)
{
    float joint[6];
    clamp_reference(reference, 6, joint);
    const bool found =
        SixJoints(model, joint, flange_target(target, flag == 0, model == 46 ? angleZ : 0)).solve(joint);
    for (int i = 0; i < 6; ++i)
        result[i] = joint[i] * degrees_per_radian;
    return found ? check_limits(result, 6, -3) : -9;
}

} // namespace kx
