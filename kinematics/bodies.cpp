// The arm's bodies: tubes along the bones and drums about the joints where it bends, as they are drawn, and as
// capsules around that. Everything follows from the joints' axes while all joint angles are zero.
#include "kinematics/arithmetic.h"
#include "kx/arm_model.h"

#include <algorithm>

namespace kx {
namespace {

constexpr double thickest = 0.058,
                 thinner = 0.026; // radius of the first joint, and by how much the last is less
constexpr double straight = 0.02; // of an axis, for the arm to count as running along it
constexpr double least_tube = 1e-4, parallel = 1e-4, neighbours = 0.05;
constexpr double foot_height = 0.018, half_seam = 0.007;
// In radii of the joint.
constexpr double foot_width = 1.7, pedestal_width = 1.25, pedestal_top = 1.02, tube_width = 0.8,
                 seam_width = 1.04;
constexpr double drum_half = 1.15, ring_end = 1.24, cap_end = 1.36, cap_from = 0.92, cap_to = 0.86;
constexpr double capsule_half = 1.0, capsule_width = 1.03; // a drum up to its rings lies inside

struct Axis {
    Vector point, direction;

    Vector along(double s) const { return point + s * direction; }
    Vector foot(const Vector& p) const { return along(dot(p - point, direction)); }
};

// Where the arm meets an axis, and where it leaves it for the next one along their common normal.
struct Bone {
    Axis axis;
    Vector enter, leave;

    Vector middle() const { return 0.5 * (enter + leave); }
    bool is_straight() const { return length(leave - enter) > straight; }
    Vector heart() const { return is_straight() ? middle() : leave; }
    static double length(const Vector& v) { return std::sqrt(dot(v, v)); }
};

Axis axis_of(const Matrix& m)
{
    const auto column = [&](int j) { return Vector{m.data[0][j], m.data[1][j], m.data[2][j]}; };
    return {column(3), column(2)};
}

// The feet of the common normal of two axes; for parallel ones the normal through a point.
void normal(const Axis& a, const Axis& b, const Vector& through, Vector& on_a, Vector& on_b)
{
    const Vector across = cross(a.direction, b.direction), apart = b.point - a.point;
    const double square_of = dot(across, across);
    if (square_of < square(parallel)) {
        on_a = a.foot(through), on_b = b.foot(on_a);
        return;
    }
    on_a = a.along(dot(cross(apart, b.direction), across) / square_of);
    on_b = b.along(dot(cross(apart, a.direction), across) / square_of);
}

void find_bones(const Matrix* frames, int joints, Bone* bones)
{
    Vector enter = axis_of(frames[0]).foot({0, 0, 0});
    for (int i = 0; i < joints; ++i) {
        const Axis axis = axis_of(frames[i]);
        bones[i] = {axis, enter, axis_of(frames[joints - 1]).point};
        if (i + 1 < joints) normal(axis, axis_of(frames[i + 1]), enter, bones[i].leave, enter);
    }
}

class Bodies {
  public:
    Bodies(const ARM_MODEL& arm, const float* joint, ARM_CAPSULE* capsules, ARM_BODY* bodies)
        : capsules_(capsules), bodies_(bodies)
    {
        ARM_MODEL upright = arm;
        upright.installation = {0, 0, 0};
        const float zero[7] = {};
        Arm_Model_Links(&upright, zero, rest_);
        Arm_Model_Links(&arm, joint, now_);
        // The base, as both see it: what joint 1 does not turn stands where its axis meets the ground.
        base_[0] = base_[1] = {4, 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
        const Rotation r = rotation_of(arm.installation);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                base_[1].data[i][j] = static_cast<float>(r[i][j]);

        Bone bones[7];
        find_bones(rest_, arm.joints, bones);
        const auto radius = [&](int i) {
            return thickest - thinner * std::min(i, arm.joints - 1) / (arm.joints - 1);
        };
        pedestal(bones[0], radius(0));
        for (int i = 0; i < arm.joints; ++i) {
            const Bone& bone = bones[i];
            bone.is_straight() ? seam(i + 1, bone, radius(i)) : drum(i + 1, bone, radius(i));
            Vector way[4] = {bone.heart(), bone.leave};
            int points = 2;
            if (i + 1 < arm.joints) way[2] = bones[i + 1].enter, way[3] = bones[i + 1].heart(), points = 4;
            tube(i + 1, way, points, tube_width * radius(i), tube_width * radius(i + 1));
        }
    }
    int capsules() const { return capsule_count_; }
    int bodies() const { return body_count_; }

  private:
    void pedestal(const Bone& bone, double r)
    {
        const Vector foot = bone.enter + foot_height * bone.axis.direction;
        draw(0, ARM_FOOT, bone.enter, foot, foot_width * r, foot_width * r);
        draw(0, ARM_SHELL, foot, bone.middle(), pedestal_width * r, pedestal_top * r);
        collide(0, bone.enter, bone.middle(), pedestal_width * r);
    }
    // Around the arm, where it turns about itself.
    void seam(int link, const Bone& bone, double r)
    {
        const Vector half = half_seam * bone.axis.direction;
        draw(link, ARM_SEAM, bone.heart() - half, bone.heart() + half, seam_width * r, seam_width * r);
        collide(link, bone.heart(), bone.heart(), seam_width * r);
    }
    // About the axis where the arm bends, with a ring and a cap at either side.
    void drum(int link, const Bone& bone, double r)
    {
        const auto at = [&](double radii) { return bone.heart() + radii * r * bone.axis.direction; };
        draw(link, ARM_DRUM, at(-drum_half), at(drum_half), r, r);
        for (const int side : {-1, 1}) {
            draw(link, ARM_SEAM, at(side * drum_half), at(side * ring_end), r, r);
            draw(link, ARM_SHELL, at(side * ring_end), at(side * cap_end), cap_from * r, cap_to * r);
        }
        collide(link, at(-capsule_half), at(capsule_half), capsule_width * r);
    }
    // Through some points, with a ball at each bend; it grows thinner on its way, and its capsules are as wide
    // as where they are thickest.
    void tube(int link, const Vector* points, int count, double from, double to)
    {
        double total = 0, done = 0;
        for (int i = 1; i < count; ++i)
            total += Bone::length(points[i] - points[i - 1]);
        for (int i = 1; i < count; ++i) {
            const double way = Bone::length(points[i] - points[i - 1]);
            const auto radius = [&](double s) { return from + (to - from) * s / total; };
            if (way >= least_tube) {
                collide(link, points[i - 1], points[i], radius(done));
                draw(link, ARM_SHELL, points[i - 1], points[i], radius(done), radius(done + way));
                draw(link, ARM_SHELL, points[i], points[i], radius(done + way), radius(done + way));
            }
            done += way;
        }
    }
    // Given where they are while all joints are at zero.
    void collide(int link, const Vector& from, const Vector& to, double radius)
    {
        if (capsules_)
            capsules_[capsule_count_++] = {link, moved(link, from), moved(link, to),
                                           static_cast<float>(radius)};
    }
    void draw(int link, ARM_SURFACE surface, const Vector& from, const Vector& to, double from_radius,
              double to_radius)
    {
        if (bodies_)
            bodies_[body_count_++] = {link,
                                      surface,
                                      moved(link, from),
                                      moved(link, to),
                                      static_cast<float>(from_radius),
                                      static_cast<float>(to_radius)};
    }
    Position moved(int link, const Vector& p) const
    {
        const auto& rest = (link ? rest_[link - 1] : base_[0]).data;
        const auto& now = (link ? now_[link - 1] : base_[1]).data;
        const Vector off = p - Vector{rest[0][3], rest[1][3], rest[2][3]};
        double own[3], world[3];
        for (int j = 0; j < 3; ++j)
            own[j] = rest[0][j] * off.x + rest[1][j] * off.y + rest[2][j] * off.z;
        for (int i = 0; i < 3; ++i)
            world[i] = now[i][0] * own[0] + now[i][1] * own[1] + now[i][2] * own[2] + now[i][3];
        return {static_cast<float>(world[0]), static_cast<float>(world[1]), static_cast<float>(world[2])};
    }

    ARM_CAPSULE* const capsules_;
    ARM_BODY* const bodies_;
    int capsule_count_ = 0, body_count_ = 0;
    Matrix rest_[7], now_[7], base_[2];
};

Vector vector(const Position& p)
{
    return {p.x, p.y, p.z};
}

// The least distance between two segments: where both lines are nearest, drawn back into the segments one
// after the other (Ericson, 2005).
double segment_distance(const ARM_CAPSULE& a, const ARM_CAPSULE& b)
{
    const Vector p = vector(a.from), u = vector(a.to) - p, q = vector(b.from), v = vector(b.to) - q,
                 w = p - q;
    const double uu = dot(u, u), vv = dot(v, v), uv = dot(u, v), uw = dot(u, w), vw = dot(v, w);
    const auto inside = [](double x) { return std::clamp(x, 0.0, 1.0); };
    const double square_of_sine = uu * vv - uv * uv;
    double s = square_of_sine > 1e-12 * uu * vv ? inside((uv * vw - uw * vv) / square_of_sine) : 0;
    const double t = vv > 0 ? inside((uv * s + vw) / vv) : 0;
    s = uu > 0 ? inside((uv * t - uw) / uu) : 0;
    const Vector apart = w + s * u - t * v;
    return std::sqrt(dot(apart, apart));
}

double distance(const ARM_CAPSULE& a, const ARM_CAPSULE& b)
{
    return segment_distance(a, b) - a.radius - b.radius;
}

} // namespace
} // namespace kx

using namespace kx;

int Arm_Model_Capsules(const ARM_MODEL* arm, const float* joint, ARM_CAPSULE capsules[ARM_CAPSULES])
{
    return arm->joints > 0 ? Bodies(*arm, joint, capsules, nullptr).capsules() : 0;
}

int Arm_Model_Bodies(const ARM_MODEL* arm, const float* joint, ARM_BODY bodies[ARM_BODIES])
{
    return arm->joints > 0 ? Bodies(*arm, joint, nullptr, bodies).bodies() : 0;
}

double Arm_Capsule_Distance(const ARM_CAPSULE* a, const ARM_CAPSULE* b)
{
    return distance(*a, *b);
}

double Arm_Model_Clearance(const ARM_MODEL* arm, const float* joint)
{
    if (arm->joints <= 0) return INFINITY;
    if (!std::all_of(joint, joint + arm->joints, [](float q) { return std::isfinite(q); })) return NAN;
    ARM_CAPSULE rest[ARM_CAPSULES], now[ARM_CAPSULES];
    const float zero[7] = {};
    Arm_Model_Capsules(arm, zero, rest);
    const int count = Arm_Model_Capsules(arm, joint, now);
    double least = INFINITY;
    for (int i = 0; i < count; ++i)
        for (int j = i + 1; j < count; ++j)
            if (now[i].link != now[j].link && distance(rest[i], rest[j]) >= neighbours)
                least = std::min(least, distance(now[i], now[j]));
    return least;
}
