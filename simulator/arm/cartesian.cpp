#include "arm/cartesian.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <kdl/path_circle.hpp>
#include <kdl/path_line.hpp>
#include <kdl/rotational_interpolation_sa.hpp>

#include "arm/refused.h"

namespace kx::sim {

namespace {

// Joint angles are computed at points of the tool's path no farther apart than this, and nearer together,
// down to some part of it, where joints that moved evenly in between would leave the path.
constexpr double longest_step = 5e-3; // m
constexpr double largest_turn = 0.05; // rad
constexpr double fewest_steps = 8;
constexpr double shortest_part = 1.0 / 1024;
constexpr double metres_per_radian = longest_step / largest_turn;
constexpr double off_position = 1e-5; // m
constexpr double off_rotation = 5e-4; // rad

// Joints that move more than this in the shortest step have come to another branch of solutions.
constexpr double jump = 1; // degrees

// The end of what the arm can follow is found to this part of the longest path.
constexpr double finest_end = 1.0 / 2048;

// Less is no path: the wire counts in micrometres and thousandths of a radian.
constexpr double no_length = 1e-6; // m
constexpr double no_turn = 1e-5;   // rad

// Three places are on one line if the second is no farther beside it.
constexpr double beside_line = 1e-4; // m

// Close to a singularity the joints run far for little of the tool's path. A motion may become so many times
// slower for it, not more.
constexpr double slowest = 20;

/** Joint angles at points along a path, and a smooth curve through them. */
class JointCurve : public Path {
  public:
    explicit JointCurve(Joints start) { knots_.push_back({0, std::move(start), {}}); }

    /** The next point, behind the last. */
    void add(double s, Joints joints) { knots_.push_back({s, std::move(joints), {}}); }

    /** After the last point, of at least three. */
    void finish();

    Joints at(double s) const override;

    /** Visits enough places to know the curve's extremes: s, a joint, and its first and second derivative. */
    template <typename Visit>
    void survey(Visit visit) const;

  private:
    struct Knot {
        double s;
        Joints joints;
        Joints slope; ///< per s, that of the parabola through this point and its neighbours
    };

    /** One joint between two knots, over x from 0 to 1. */
    struct Cubic {
        Cubic(const Knot& from, const Knot& to, std::size_t joint)
            : width(to.s - from.s), c0(from.joints[joint]), c1(from.slope[joint] * width)
        {
            const double rise = to.joints[joint] - c0, last = to.slope[joint] * width;
            c2 = 3 * rise - 2 * c1 - last;
            c3 = c1 + last - 2 * rise;
        }
        double value(double x) const { return c0 + x * (c1 + x * (c2 + x * c3)); }
        double first(double x) const { return (c1 + x * (2 * c2 + x * 3 * c3)) / width; }
        double second(double x) const { return (2 * c2 + x * 6 * c3) / (width * width); }

        double width, c0, c1, c2, c3;
    };

    std::vector<Knot> knots_;
};

void JointCurve::finish()
{
    const auto rise = [this](std::size_t k, std::size_t joint) {
        return (knots_[k + 1].joints[joint] - knots_[k].joints[joint]) / (knots_[k + 1].s - knots_[k].s);
    };
    const std::size_t last = knots_.size() - 1;
    for (std::size_t k = 0; k <= last; ++k) {
        const std::size_t middle = std::clamp<std::size_t>(k, 1, last - 1);
        const double before = knots_[middle].s - knots_[middle - 1].s,
                     after = knots_[middle + 1].s - knots_[middle].s;
        for (std::size_t i = 0; i < knots_[k].joints.size(); ++i) {
            const double first = rise(middle - 1, i), second = rise(middle, i);
            const double bend = (second - first) / (before + after); // half the parabola's second derivative
            const double slope = first + bend * before;              // in the middle
            knots_[k].slope.push_back(slope + 2 * bend * (knots_[k].s - knots_[middle].s));
        }
    }
}

Joints JointCurve::at(double s) const
{
    const double inside = std::clamp(s, 0.0, 1.0);
    const auto next = std::upper_bound(knots_.begin() + 1, knots_.end() - 1, inside,
                                       [](double value, const Knot& knot) { return value < knot.s; });
    const Knot &to = *next, &from = *(next - 1);
    Joints joints(from.joints.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
        joints[i] = Cubic(from, to, i).value((inside - from.s) / (to.s - from.s));
    return joints;
}

template <typename Visit>
void JointCurve::survey(Visit visit) const
{
    for (std::size_t k = 0; k + 1 < knots_.size(); ++k)
        for (std::size_t i = 0; i < knots_[k].joints.size(); ++i) {
            const Cubic cubic(knots_[k], knots_[k + 1], i);
            for (double x : {0.0, 0.25, 0.5, 0.75, 1.0})
                visit(knots_[k].s + x * cubic.width, i, std::abs(cubic.first(x)), std::abs(cubic.second(x)));
        }
}

double distance(const KDL::Rotation& a, const KDL::Rotation& b)
{
    return KDL::diff(a, b).Norm();
}

bool near(const KDL::Frame& a, const KDL::Frame& b)
{
    return (a.p - b.p).Norm() < off_position && distance(a.M, b.M) < off_rotation;
}

double largest_difference(const Joints& a, const Joints& b)
{
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

JointCurve joint_curve(const ToolPath& path, const Joints& from, const Model& model, const Frames& frames,
                       const JointLimits& limits)
{
    const auto flange = [&](double s) {
        return frames.flange_of(path.path->Pos(s * path.path->PathLength()));
    };
    const double steps =
        std::ceil(std::max({path.length / longest_step, path.turn / largest_turn, fewest_steps}));
    const double longest = 1 / steps;

    JointCurve curve(from);
    limits.check(from);
    Joints here = from;
    double step = longest;
    for (double s = 0; s < 1;) {
        const double next = s + 1.5 * step < 1 ? s + step : 1;
        const auto try_step = [&] {
            Joints there = model.joints_for(flange(next), here, Model::Elbow::near);
            limits.check(there);
            const Joints between = JointLine(here, there).at(0.5);
            if (!near(model.flange(between), flange((s + next) / 2)))
                throw Refused(largest_difference(here, there) > jump ? "the joints would have to jump"
                                                                     : "out of reach");
            return there;
        };
        try {
            here = try_step();
        } catch (const Refused& refused) {
            // A long step may also end in a limit because it has come to another branch of solutions.
            if (step < longest * shortest_part) throw Refused(refused.what() + std::string(" on the way"));
            step /= 2;
            continue;
        }
        curve.add(next, here);
        s = next;
        step = std::min(2 * step, longest);
    }
    curve.finish();
    return curve;
}

/** What a path's limits in space leave for the rate of its parameter. */
Pace tool_pace(const ToolPath& path, const CartesianLimits& limits)
{
    const double fastest_curve = std::sqrt(limits.acceleration * path.radius);
    return {
        std::min({limits.speed / path.length, fastest_curve / path.length, limits.angular_speed / path.turn}),
        std::min(limits.acceleration / path.length, limits.angular_acceleration / path.turn)};
}

/** The square of the highest speed that a motion from rest to rest has at a place. */
double squared_speed(const Pace& pace, double s)
{
    return std::min(pace.speed * pace.speed, 2 * pace.acceleration * std::min(s, 1 - s));
}

} // namespace

void JointLimits::check(const Joints& position) const
{
    for (std::size_t i = 0; i < position.size(); ++i)
        if (!(position[i] >= min_position[i] && position[i] <= max_position[i]))
            throw Refused("joint " + std::to_string(i + 1) + " would leave its limits");
}

ToolPath line(const KDL::Frame& from, const KDL::Frame& to)
{
    return {std::make_unique<KDL::Path_Line>(from, to, new KDL::RotationalInterpolation_SingleAxis,
                                             metres_per_radian),
            (to.p - from.p).Norm(), distance(from.M, to.M)};
}

ToolPath circle(const KDL::Frame& from, const KDL::Vector& via, const KDL::Frame& to, int whole_circles)
{
    // All seen from the start. The tool goes counterclockwise about the normal; the centre is that of the
    // triangle's circumscribed circle.
    const KDL::Vector a = via - from.p, b = to.p - from.p, normal = a * b; // cross product
    const double area = normal.Norm();
    if (!(area > beside_line * std::max({a.Norm(), b.Norm(), (a - b).Norm()})))
        throw Refused("the places are on one line");
    const KDL::Vector axis = normal / area;
    const KDL::Vector centre = (dot(a, a) * (b * axis) - dot(b, b) * (a * axis)) / (2 * area);

    const KDL::Vector start = -centre, end = b - centre;
    const double arc = std::atan2(dot(axis, start * end), dot(start, end));
    const double angle = arc + 2 * std::numbers::pi * (whole_circles + (arc < 0));
    const double radius = centre.Norm();
    return {std::make_unique<KDL::Path_Circle>(from, from.p + centre, from.p + centre + axis * start, to.M,
                                               angle, new KDL::RotationalInterpolation_SingleAxis,
                                               metres_per_radian),
            radius * angle, distance(from.M, to.M), radius};
}

Course follow(const ToolPath& path, const Joints& from, const Model& model, const Frames& frames,
              const JointLimits& joints, const CartesianLimits& cartesian, double percent)
{
    if (path.length < no_length && path.turn < no_turn)
        return {std::make_unique<JointLine>(from, from), Pace(), 0};
    auto curve = std::make_unique<JointCurve>(joint_curve(path, from, model, frames, joints));

    const Pace full = tool_pace(path, cartesian);
    Pace pace = {full.speed * percent / 100, full.acceleration * percent / 100};
    double slower = 1; // so that every joint can follow
    curve->survey([&](double s, std::size_t joint, double first, double second) {
        const double square = squared_speed(pace, s);
        const double speed = first * std::sqrt(square),
                     acceleration = first * pace.acceleration + second * square;
        slower = std::max({slower, speed / joints.max_speed[joint],
                           std::sqrt(acceleration / joints.max_acceleration[joint])});
    });
    if (slower > slowest) throw Refused("too close to a singularity for this speed");
    pace.speed /= slower;
    pace.acceleration /= slower * slower;

    double braking = full.acceleration;
    curve->survey([&](double s, std::size_t joint, double first, double second) {
        const double left = joints.max_acceleration[joint] - second * squared_speed(pace, s);
        braking = std::min(braking, left / first);
    });
    return {std::move(curve), pace, braking};
}

Course farthest(const std::function<Course(double length)>& course, double longest)
{
    // What can be followed to the end can be followed to any place before, so halving finds the last one.
    const double shortest = longest * finest_end;
    double possible = shortest;
    Course found = course(shortest);
    for (double step = longest / 2; step >= shortest; step /= 2)
        try {
            found = course(possible + step);
            possible += step;
        } catch (const Refused&) {
        }
    return found;
}

} // namespace kx::sim
