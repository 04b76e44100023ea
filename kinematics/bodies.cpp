// The arm's bodies, as kx-controller's page draws them: tubes along the bones and drums about the joints where
// it bends, as capsules. Everything follows from the joints' axes while all joint angles are zero.
#include "kinematics/arithmetic.h"
#include "kx/arm_model.h"

#include <algorithm>

namespace kx {
namespace {

constexpr double thickest = 0.058,
                 thinner = 0.026; // radius of the first joint, and by how much the last is less
constexpr double straight = 0.02; // of an axis, for the arm to count as running along it
constexpr double least_tube = 1e-4, parallel = 1e-4, neighbours = 0.05;
constexpr double pedestal_width = 1.25, tube_width = 0.8;
// A drum as wide as the joint and 1.24 of its radii to either side lies inside this capsule.
constexpr double drum_length = 1.0, drum_width = 1.03, seam_width = 1.04;

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
    Bodies(const ARM_MODEL& arm, const float* joint, ARM_CAPSULE* capsules) : capsules_(capsules)
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
        add(0, bones[0].enter, bones[0].middle(), pedestal_width * radius(0));
        for (int i = 0; i < arm.joints; ++i) {
            const Bone& bone = bones[i];
            const double r_i = radius(i), reach = bone.is_straight() ? 0 : drum_length * r_i;
            const Vector& d = bone.axis.direction;
            add(i + 1, bone.heart() - reach * d, bone.heart() + reach * d,
                r_i * (bone.is_straight() ? seam_width : drum_width));
            Vector way[4] = {bone.heart(), bone.leave};
            int points = 2;
            if (i + 1 < arm.joints) way[2] = bones[i + 1].enter, way[3] = bones[i + 1].heart(), points = 4;
            tube(i + 1, way, points, tube_width * r_i, tube_width * radius(i + 1));
        }
    }
    int count() const { return count_; }

  private:
    // Through some points; it grows thinner on its way, and each piece is as wide as where it is thickest.
    void tube(int link, const Vector* points, int count, double from, double to)
    {
        double total = 0, done = 0;
        for (int i = 1; i < count; ++i)
            total += Bone::length(points[i] - points[i - 1]);
        for (int i = 1; i < count; ++i) {
            const double way = Bone::length(points[i] - points[i - 1]);
            if (way >= least_tube) add(link, points[i - 1], points[i], from + (to - from) * done / total);
            done += way;
        }
    }
    // Given where it is while all joints are at zero.
    void add(int link, const Vector& from, const Vector& to, double radius)
    {
        capsules_[count_++] = {link, moved(link, from), moved(link, to), static_cast<float>(radius)};
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
    int count_ = 0;
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
    return arm->joints > 0 ? Bodies(*arm, joint, capsules).count() : 0;
}

double Arm_Model_Clearance(const ARM_MODEL* arm, const float* joint)
{
    if (arm->joints <= 0) return INFINITY;
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
