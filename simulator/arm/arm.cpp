#include "arm/arm.h"

#include <algorithm>
#include <cmath>

#include "arm/corner.h"
#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr CartesianLimits max_cartesian_limits = {1, 10, 6, 60};
constexpr std::size_t max_waypoints = 10000;

std::vector<double> values(const POSE& pose)
{
    return {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz};
}

} // namespace

Arm::Arm(int modelcode)
    : model(modelcode), drives(model.lower, model.upper), motions_(Joints(model.lower.size())),
      zero_offset_(joint_count())
{
    settings.initial_pose = Joints(joint_count());
    settings.lengths = model.lengths;
}

void Arm::advance(double time)
{
    if (const auto why = drives.halted()) stop(*why);
    const Joints before = position();
    if (follower_.moving()) {
        const double until = follower_.advance(time);
        motions_.set_position(follower_.position(), until);
    }
    if (!follower_.moving()) motions_.advance(time);
    drives.advance(time, before, position());
    time_ = time;
}

std::optional<double> Arm::next_event() const
{
    return follower_.moving() ? follower_.next_event() : motions_.next_event();
}

POSE Arm::tool_pose() const
{
    if (frames.are_references()) return model.tool_pose(position()); // as applications compute it themselves
    const Frames active = frames.active();
    return active.pose_of(active.tool_of(flange()));
}

void Arm::set_zero_position(std::size_t joint)
{
    if (!standing()) throw Refused("the arm is moving");
    Joints moved = position();
    moved[joint] = 0;
    motions_.set_position(std::move(moved));
}

void Arm::set_zero_offset(const Joints& offset)
{
    if (!standing()) throw Refused("the arm is moving");
    Joints moved = position();
    for (std::size_t i = 0; i < moved.size(); ++i)
        moved[i] += offset[i] - zero_offset_[i];
    drives.limits().check(moved);
    zero_offset_ = offset;
    motions_.set_position(std::move(moved));
}

void Arm::set_initial_pose(const Joints& pose)
{
    drives.limits().check(pose);
    settings.initial_pose = pose;
}

void Arm::start_calibration()
{
    if (!standing()) throw Refused("the arm is moving");
    drives.start_calibration();
}

Joints Arm::velocity() const
{
    return follower_.moving() ? follower_.velocity() : motions_.velocity();
}

Joints Arm::currents() const
{
    // Enough to look alive: the joints that carry the arm hold it against gravity.
    const double reach = std::sin(position()[1] * 3.14159265358979 / 180);
    const double load = 1 + 0.1 * frames.tools.active().load.mass;
    return drives.currents(velocity(), 0.8 * load * std::abs(reach));
}

void Arm::move_joints(const Joints& target, Manner manner, Ended ended)
{
    plan_joints([target](const Joints&) { return target; }, manner, std::move(ended));
}

void Arm::step_joint(std::size_t joint, double degrees, double percent, Ended ended)
{
    const auto target = [joint, degrees](Joints position) {
        position[joint] += degrees;
        return position;
    };
    plan_joints(target, {percent}, std::move(ended));
}

void Arm::jog_joint(std::size_t joint, bool up, double percent)
{
    const auto limit = [this, joint, up](Joints position) {
        double& angle = position[joint];
        angle = up ? std::max(angle, drives.each()[joint].max_position)
                   : std::min(angle, drives.each()[joint].min_position);
        return position;
    };
    plan_joints(
        limit, {percent}, [](const std::string&) {}, true);
}

void Arm::stop_jogging()
{
    if (motions_.jogging()) motions_.drop_all("jogging was stopped");
}

void Arm::plan_joints(std::function<Joints(const Joints& from)> target, Manner manner, Ended ended,
                      bool is_jog)
{
    auto plan = [this, target, percent = manner.percent](const Joints& from) {
        const Joints to = target(from);
        check_ready();
        const JointLimits limits = drives.limits();
        limits.check(to);
        const Pace full = joint_line_pace(from, to, limits.max_speed, limits.max_acceleration);
        return laid({std::make_unique<JointLine>(from, to),
                     {full.speed * percent / 100, full.acceleration * percent / 100},
                     full.acceleration});
    };
    motions_.add({MotionKind::joint, target(motions_.end()), std::move(plan), std::move(ended), is_jog,
                  corner(MotionKind::joint, manner.radius)});
}

decltype(Motion::corner) Arm::corner(MotionKind kind, double radius) const
{
    if (radius == 0) return {};
    return [=, this, active = frames.active()](const Path& own, const Motion& next,
                                               const Path& path_of_next) -> std::optional<Corner> {
        if (next.kind == MotionKind::none) return {};
        const bool in_space = kind != MotionKind::joint && next.kind != MotionKind::joint;
        return Rounding{radius, model, active, drives.limits(), in_space}.between(own, path_of_next);
    };
}

void Arm::wait(double seconds)
{
    // A path without length, run at an even pace.
    auto plan = [seconds](const Joints& from) {
        const Pace pace = {1 / seconds, 1e6 / (seconds * seconds)};
        return laid({std::make_unique<JointLine>(from, from), pace, pace.acceleration});
    };
    motions_.add({MotionKind::none, position(), std::move(plan), [](const std::string&) {}});
}

void Arm::pass_through(const Joints& target)
{
    check_ready();
    drives.limits().check(target);
    if (follower_.playing()) throw Refused("waypoints are being played");
    if (!motions_.idle()) throw Refused("motions are planned");
    if (!follower_.moving()) {
        std::vector<Follower::Limits> limits;
        for (const Drive& drive : drives.each())
            limits.push_back({drive.max_speed, drive.max_acceleration});
        follower_.start(time_, position(), std::move(limits));
    }
    follower_.aim(target);
}

Joints Arm::joints_near(const POSE& target) const
{
    const Frames active = frames.active();
    return model.joints_for(active.flange_of(active.tool_in_base(target)), position(), Model::Elbow::near);
}

void Arm::add_waypoint(const Joints& position)
{
    drives.limits().check(position);
    if (waypoints_.size() >= max_waypoints) throw Refused("there is no room for another waypoint");
    waypoints_.push_back(position);
}

void Arm::clear_waypoints()
{
    if (follower_.playing()) throw Refused("waypoints are being played");
    waypoints_.clear();
}

void Arm::play_waypoints(double frequency)
{
    if (waypoints_.empty()) throw Refused("there are no waypoints");
    if (!standing()) throw Refused("the arm is moving");
    for (const Joints& waypoint : waypoints_)
        drives.limits().check(waypoint);
    pass_through(waypoints_.front());
    follower_.play(waypoints_, frequency);
}

void Arm::stop_waypoints()
{
    if (follower_.playing()) follower_.halt();
}

void Arm::stop(const std::string& why)
{
    motions_.drop_all(why);
    if (follower_.moving()) follower_.halt();
}

void Arm::lead_to(const Joints& position)
{
    const Joints before = motions_.position();
    motions_.set_position(position);
    drives.count_travel(before, position);
}

void Arm::move_joints_to(const POSE& target, Manner manner, Ended ended)
{
    const Frames active = frames.active();
    const KDL::Frame flange = active.flange_of(active.tool_in_base(target));
    move_joints(model.joints_for(flange, motions_.end(), Model::Elbow::anywhere), manner, std::move(ended));
}

void Arm::move_line(const POSE& target, Manner manner, Ended ended)
{
    const KDL::Frame to = frames.active().tool_in_base(target);
    move_tool(MotionKind::line, target, manner, std::move(ended),
              [to](const KDL::Frame& from) { return line(from, to); });
}

void Arm::move_circle(const POSE& via, const POSE& target, int whole_circles, Manner manner, Ended ended)
{
    const KDL::Vector over = frames.active().tool_in_base(via).p;
    const KDL::Frame to = frames.active().tool_in_base(target);
    move_tool(MotionKind::circle, target, manner, std::move(ended),
              [=](const KDL::Frame& from) { return circle(from, over, to, whole_circles); });
}

void Arm::step_tool(const KDL::Twist& step, double percent, Ended ended)
{
    const Frames active = frames.active();
    const auto stepped = [in_base = active.work.M * step](const KDL::Frame& from) {
        return KDL::addDelta(from, in_base);
    };
    const POSE target = active.pose_of(stepped(active.tool_of(model.flange(motions_.end()))));
    move_tool(MotionKind::line, target, {percent}, std::move(ended),
              [stepped](const KDL::Frame& from) { return line(from, stepped(from)); });
}

void Arm::jog_tool(const KDL::Twist& direction, double percent)
{
    constexpr double beyond_reach = 2, longest_turn = 3; // m, rad: a line turns less than half a turn
    auto plan = [this, percent, direction, active = frames.active()](const Joints& from) {
        check_ready();
        const KDL::Frame tool = active.tool_of(model.flange(from));
        const KDL::Twist in_base = active.work.M * direction;
        const auto course = [=, this, limits = drives.limits(),
                             tool_limits = cartesian_limits_](double length) {
            return follow(line(tool, KDL::addDelta(tool, in_base, length)), from, model, active, limits,
                          tool_limits, percent);
        };
        return farthest(course, direction.rot.Norm() > 0 ? longest_turn : beyond_reach);
    };
    const Frames active = frames.active();
    const POSE here = active.pose_of(active.tool_of(model.flange(motions_.end())));
    motions_.add({MotionKind::line, values(here), std::move(plan), [](const std::string&) {}, true});
}

/** @param lay gives the tool's path from a frame in the base */
template <typename LayPath>
void Arm::move_tool(MotionKind kind, const POSE& target, Manner manner, Ended ended, LayPath lay)
{
    auto plan = [this, percent = manner.percent, lay, active = frames.active()](const Joints& from) {
        check_ready();
        return follow(lay(active.tool_of(model.flange(from))), from, model, active, drives.limits(),
                      cartesian_limits_, percent);
    };
    motions_.add(
        {kind, values(target), std::move(plan), std::move(ended), false, corner(kind, manner.radius)});
}

void Arm::set_cartesian_limit(double CartesianLimits::*limit, double value)
{
    if (!(value >= finest_limit && value <= max_cartesian_limits.*limit))
        throw Refused("the limit must be above 0 and at most what the drives can do");
    cartesian_limits_.*limit = value;
}

void Arm::check_ready() const
{
    if (interlock_) interlock_();
    drives.check_ready();
}

} // namespace kx::sim
