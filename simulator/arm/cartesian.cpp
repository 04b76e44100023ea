#include "arm/cartesian.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <kdl/path_circle.hpp>
#include <kdl/path_line.hpp>
#include <kdl/rotational_interpolation_sa.hpp>

#include "arm/joint_curve.h"
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

/** Lays the joints' curve point by point, then finds how fast it can be run and how hard broken off. */
class Following : public Planner {
  public:
    Following(ToolPath path, const Joints& from, const Model& model, const Frames& frames,
              const JointLimits& limits, const CartesianLimits& cartesian, double percent)
        : path_(std::move(path)), model_(model), frames_(frames), limits_(limits),
          full_(tool_pace(path_, cartesian)), pace_{full_.speed * percent / 100,
                                                    full_.acceleration * percent / 100},
          braking_(full_.acceleration),
          longest_(1 / std::ceil(
                           std::max({path_.length / longest_step, path_.turn / largest_turn, fewest_steps}))),
          step_(longest_), here_(from), curve_(std::make_unique<JointCurve>(from))
    {
        limits_.check(from);
    }

    std::optional<Course> lay(int& effort) override
    {
        for (; s_ < 1; effort -= point) {
            if (effort <= 0) return {};
            next_point();
        }
        if (!each_piece(slowed_, effort, [this](auto... place) { heed_speed(place...); })) return {};
        if (!slowed_down_) slow_down();
        if (!each_piece(braked_, effort, [this](auto... place) { heed_braking(place...); })) return {};
        return Course{std::move(curve_), pace_, braking_};
    }

  private:
    KDL::Frame flange(double s) const
    {
        return frames_.flange_of(path_.path->Pos(s * path_.path->PathLength()));
    }

    void next_point()
    {
        const double next = s_ + 1.5 * step_ < 1 ? s_ + step_ : 1;
        try {
            here_ = joints_at(next);
        } catch (const Refused& refused) {
            // A long step may also end in a limit because it has come to another branch of solutions.
            if (step_ < longest_ * shortest_part) throw Refused(refused.what() + std::string(" on the way"));
            step_ /= 2;
            return;
        }
        curve_->add(next, here_);
        s_ = next;
        step_ = std::min(2 * step_, longest_);
    }

    Joints joints_at(double next) const
    {
        Joints there = model_.joints_for(flange(next), here_, Model::Elbow::near);
        limits_.check(there);
        const Joints between = JointLine(here_, there).at(0.5);
        if (!near(model_.flange(between), flange((s_ + next) / 2)))
            throw Refused(largest_difference(here_, there) > jump ? "the joints would have to jump"
                                                                  : "out of reach");
        return there;
    }

    /** @param piece the first one that is not yet looked at; returns false if some are left */
    template <typename Visit>
    bool each_piece(std::size_t& piece, int& effort, Visit visit) const
    {
        for (; piece < curve_->pieces(); ++piece, --effort) {
            if (effort <= 0) return false;
            curve_->survey(piece, visit);
        }
        return true;
    }

    void heed_speed(double s, std::size_t joint, double first, double second)
    {
        const double square = squared_speed(pace_, s);
        const double speed = first * std::sqrt(square),
                     acceleration = first * pace_.acceleration + second * square;
        slower_ = std::max({slower_, speed / limits_.max_speed[joint],
                            std::sqrt(acceleration / limits_.max_acceleration[joint])});
    }

    void slow_down()
    {
        if (slower_ > slowest) throw Refused("too close to a singularity for this speed");
        pace_.speed /= slower_;
        pace_.acceleration /= slower_ * slower_;
        slowed_down_ = true;
    }

    void heed_braking(double s, std::size_t joint, double first, double second)
    {
        const double left = limits_.max_acceleration[joint] - second * squared_speed(pace_, s);
        braking_ = std::min(braking_, left / first);
    }

    const ToolPath path_;
    const Model& model_;
    const Frames frames_;
    const JointLimits limits_;
    const Pace full_;
    Pace pace_;
    double braking_;

    const double longest_;
    double step_;
    double s_ = 0; ///< laid so far
    Joints here_;  ///< there
    std::unique_ptr<JointCurve> curve_;

    double slower_ = 1; ///< so that every joint can follow
    bool slowed_down_ = false;
    std::size_t slowed_ = 0, braked_ = 0; ///< pieces
};

/** Halves the step to the next course that is tried: what can be followed to the end can be followed to any
 *  place before. */
class Farthest : public Planner {
  public:
    Farthest(std::function<std::unique_ptr<Planner>(double length)> course, double longest)
        : course_(std::move(course)), shortest_(longest * finest_end), step_(longest),
          trial_(course_(shortest_))
    {
    }

    std::optional<Course> lay(int& effort) override
    {
        while (trial_) {
            try {
                auto laid = trial_->lay(effort);
                if (!laid) return {};
                possible_ = found_ ? possible_ + step_ : shortest_;
                found_ = std::move(laid);
            } catch (const Refused&) {
                if (!found_) throw;
            }
            step_ /= 2;
            trial_ = step_ >= shortest_ ? course_(possible_ + step_) : nullptr;
        }
        return std::move(found_);
    }

  private:
    const std::function<std::unique_ptr<Planner>(double length)> course_;
    const double shortest_;
    double step_, possible_ = 0; ///< lengths
    std::unique_ptr<Planner> trial_;
    std::optional<Course> found_;
};

} // namespace

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

std::unique_ptr<Planner> follow(ToolPath path, const Joints& from, const Model& model, const Frames& frames,
                                const JointLimits& joints, const CartesianLimits& cartesian, double percent)
{
    if (path.length < no_length && path.turn < no_turn)
        return laid({std::make_unique<JointLine>(from, from), Pace(), 0});
    return std::make_unique<Following>(std::move(path), from, model, frames, joints, cartesian, percent);
}

std::unique_ptr<Planner> farthest(std::function<std::unique_ptr<Planner>(double length)> course,
                                  double longest)
{
    return std::make_unique<Farthest>(std::move(course), longest);
}

} // namespace kx::sim
