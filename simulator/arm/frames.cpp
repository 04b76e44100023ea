#include "arm/frames.h"

#include <algorithm>
#include <cctype>

#include <Eigen/Dense>

namespace kx::sim {

namespace {

constexpr int tool_points = 6; // that can be taught
constexpr std::size_t fewest_tool_points = 3;
constexpr double finest_turn = 0.05;    // radians by which the taught orientations differ at least
constexpr double largest_error = 0.005; // m by which the taught points may miss each other
constexpr double shortest_side = 0.001; // m between the taught points of a work frame

KDL::Frame frame_of(const POSE& pose)
{
    return {KDL::Rotation::RPY(pose.rx, pose.ry, pose.rz), {pose.x, pose.y, pose.z}};
}

POSE pose_of_frame(const KDL::Frame& frame)
{
    double rx, ry, rz;
    frame.M.GetRPY(rx, ry, rz);
    const auto f = [](double value) { return static_cast<float>(value); };
    // As the library gives them: half a turn does not change its sign with the last bits.
    const auto angle = [](double value) {
        return static_cast<float>(value < -3.13 ? value + 2 * KDL::PI : value);
    };
    return {f(frame.p.x()), f(frame.p.y()), f(frame.p.z()), angle(rx), angle(ry), angle(rz)};
}

Eigen::Matrix3d matrix(const KDL::Rotation& rotation)
{
    return Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(rotation.data);
}

Eigen::Vector3d vector(const KDL::Vector& v)
{
    return {v.x(), v.y(), v.z()};
}

} // namespace

void check_frame_name(const std::string& name)
{
    const auto plain = [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-' || c == '.'; };
    if (name.empty() || name.size() > 9 || !std::ranges::all_of(name, plain))
        throw Refused("a frame's name has 1 to 9 letters, digits, points, dashes or underscores");
    if (name == "NULL") throw Refused("this name ends a list of names");
}

KDL::Frame Frames::tool_in_base(const POSE& pose) const
{
    return work * frame_of(pose);
}

POSE Frames::pose_of(const KDL::Frame& tool_in_base) const
{
    return pose_of_frame(work.Inverse() * tool_in_base);
}

Frames StoredFrames::active() const
{
    return {frame_of(tools.active().pose), frame_of(works.active())};
}

void StoredFrames::teach_tool(int point, const KDL::Frame& flange)
{
    if (point < 1 || point > tool_points) throw Refused("tool points are counted from 1 to 6");
    tool_points_[point] = flange;
}

// With flange poses (R_i, p_i) and the tip at t in the flange, the touched point is R_i t + p_i for all i; so
// (R_i - R_1) t = p_1 - p_i, which is solved for the least squares of the errors.
void StoredFrames::generate_tool(const std::string& name, const Load& load)
{
    if (tool_points_.size() < fewest_tool_points)
        throw Refused("at least three points must be taught before");
    const KDL::Frame& first = tool_points_.begin()->second;
    Eigen::Matrix3d squares = Eigen::Matrix3d::Zero();
    Eigen::Vector3d products = Eigen::Vector3d::Zero();
    for (const auto& [number, flange] : tool_points_) {
        const Eigen::Matrix3d turn = matrix(flange.M) - matrix(first.M);
        squares += turn.transpose() * turn;
        products += turn.transpose() * vector(first.p - flange.p);
    }
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(squares);
    if (solver.eigenvalues().minCoeff() < finest_turn * finest_turn)
        throw Refused("the orientations of the taught points are too much alike");
    const Eigen::Vector3d tip = squares.ldlt().solve(products);
    const KDL::Vector t(tip.x(), tip.y(), tip.z());
    for (const auto& [number, flange] : tool_points_)
        if ((flange * t - first * t).Norm() > largest_error)
            throw Refused("the taught points do not touch one point");

    tools.set(name, {pose_of_frame(KDL::Frame(t)), load});
    tool_points_.clear();
}

void StoredFrames::teach_work(const std::string& name, int point, const KDL::Frame& flange)
{
    if (point < 1 || point > 3) throw Refused("work frame points are counted from 1 to 3");
    check_frame_name(name);
    auto points = work_points_;
    points[point] = active().tool_of(flange).p;
    if (point == 3) {
        if (points.size() < 3) throw Refused("points 1 and 2 must be taught before point 3");
        KDL::Vector x = points[2] - points[1];
        KDL::Vector z = x * (points[3] - points[1]);
        if (x.Normalize() < shortest_side || z.Normalize() < shortest_side * shortest_side)
            throw Refused("the taught points lie too close to each other, or on one line");
        works.set(name, pose_of_frame({{x, z * x, z}, points[1]}));
        points.clear();
    }
    work_points_ = std::move(points);
}

} // namespace kx::sim
