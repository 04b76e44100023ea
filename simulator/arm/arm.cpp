#include "arm/arm.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr double max_joint_speed = 360;         // degrees/s, what the drives can do at most
constexpr double max_joint_acceleration = 3600; // degrees/s^2
constexpr CartesianLimits max_cartesian_limits = {1, 10, 6, 60};
constexpr double finest_limit = 0.001; // the wire's resolution
constexpr double calibration_time = 1; // s per joint
constexpr std::size_t max_waypoints = 10000;

constexpr double room_temperature = 25; // degrees Celsius
constexpr double idle_warmth = 5;       // of a powered joint at rest, above the room
constexpr double cooling_time = 600;    // s, time constant
constexpr double warmth_per_degree =
    3e-4;                                // of travel: 40 degrees Celsius above the room at steady full speed
constexpr double supply_voltage = 48;    // V
constexpr double line_resistance = 0.05; // Ohm, from the supply to the joints

std::vector<double> values(const POSE& pose)
{
    return {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz};
}

} // namespace

Arm::Arm(int model_code) : model_(model_code), motions_(Joints(model_.lower.size()))
{
    for (std::size_t i = 0; i < model_.lower.size(); ++i)
        joints_.push_back({.min_position = model_.lower[i], .max_position = model_.upper[i]});
    calibration_ended_ = calibration_began_ + calibration_time * static_cast<double>(joints_.size());
    settings_.lengths = model_.lengths;
    settings_.zero_offset = Joints(joints_.size());
}

void Arm::advance(double time)
{
    const Joints before = position();
    if (follower_.moving()) {
        const double until = follower_.advance(time);
        motions_.set_position(follower_.position(), until);
    }
    if (!follower_.moving()) motions_.advance(time);
    const double kept = std::exp(-(time - time_) / cooling_time);
    for (std::size_t i = 0; i < joints_.size(); ++i)
        joints_[i].warmth = idle_warmth + (joints_[i].warmth - idle_warmth) * kept +
                            warmth_per_degree * std::abs(position()[i] - before[i]);
    count_travel(before);
    time_ = time;
}

std::optional<double> Arm::next_event() const
{
    return follower_.moving() ? follower_.next_event() : motions_.next_event();
}

POSE Arm::tool_pose() const
{
    if (frames_.are_references())
        return model_.tool_pose(position()); // as applications compute it themselves
    const Frames frames = frames_.active();
    return frames.pose_of(frames.tool_of(flange()));
}

int Arm::error() const
{
    const auto faulty = std::ranges::find_if(joints_, [](const Joint& joint) { return joint.error != 0; });
    return faulty == joints_.end() ? 0 : faulty->error;
}

void Arm::set_max_speed(std::size_t joint, double speed)
{
    if (!(speed >= finest_limit && speed <= max_joint_speed))
        throw Refused("speed must be above 0 and at most 360");
    joints_[joint].max_speed = speed;
}

void Arm::set_max_acceleration(std::size_t joint, double acceleration)
{
    if (!(acceleration >= finest_limit && acceleration <= max_joint_acceleration))
        throw Refused("acceleration must be above 0 and at most 3600");
    joints_[joint].max_acceleration = acceleration;
}

void Arm::set_min_position(std::size_t joint, double position)
{
    if (!(position < joints_[joint].max_position))
        throw Refused("the lower limit must lie below the upper one");
    if (!(position >= model_.lower[joint])) throw Refused("beyond the joint's mechanical range");
    joints_[joint].min_position = position;
}

void Arm::set_max_position(std::size_t joint, double position)
{
    if (!(position > joints_[joint].min_position))
        throw Refused("the upper limit must lie above the lower one");
    if (!(position <= model_.upper[joint])) throw Refused("beyond the joint's mechanical range");
    joints_[joint].max_position = position;
}

void Arm::set_enabled(std::size_t joint, bool enabled)
{
    joints_[joint].enabled = enabled;
    if (!enabled) stop("a joint was disabled");
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
        moved[i] += offset[i] - settings_.zero_offset[i];
    joint_limits().check(moved);
    settings_.zero_offset = offset;
    motions_.set_position(std::move(moved));
}

void Arm::set_initial_pose(const Joints& pose)
{
    joint_limits().check(pose);
    for (std::size_t i = 0; i < joints_.size(); ++i)
        joints_[i].initial_position = pose[i];
}

void Arm::raise_error(std::size_t joint, int code)
{
    joints_[joint].error = code;
    stop("a joint has failed");
}

void Arm::clear_error(std::size_t joint)
{
    joints_[joint].error = 0;
}

void Arm::set_power(bool on)
{
    powered_ = on;
    if (!on) stop("the power was switched off");
}

void Arm::clear_travel()
{
    for (Joint& joint : joints_)
        joint.travel = 0;
}

void Arm::start_calibration()
{
    if (!standing()) throw Refused("the arm is moving");
    if (time_ < calibration_ended_) throw Refused("calibration is running already");
    calibration_began_ = time_;
    calibration_ended_ = time_ + calibration_time * static_cast<double>(joints_.size());
}

void Arm::stop_calibration()
{
    calibration_ended_ = std::min(calibration_ended_, time_);
}

Calibration Arm::calibration(std::size_t joint) const
{
    const double done = calibration_began_ + calibration_time * static_cast<double>(joint + 1);
    if (done <= std::min(time_, calibration_ended_)) return Calibration::done;
    return time_ < calibration_ended_ && done - calibration_time <= time_ ? Calibration::running
                                                                          : Calibration::none;
}

Joints Arm::temperatures() const
{
    Joints temperatures = each(&Joint::warmth);
    for (double& temperature : temperatures)
        temperature += room_temperature;
    return temperatures;
}

Joints Arm::currents() const
{
    // Enough to look alive: the joints that carry the arm hold it against gravity, and all draw more when
    // they run.
    const Joints velocity = follower_.moving() ? follower_.velocity() : motions_.velocity();
    Joints currents(joints_.size());
    for (std::size_t i = 0; i < currents.size(); ++i) {
        if (!powered_ || !joints_[i].enabled) continue;
        const double reach = std::sin(position()[1] * 3.14159265358979 / 180);
        const double load = 1 + 0.1 * frames_.tools.active().load.mass;
        const double holding = i == 1 || i == 2 ? 0.8 * load * std::abs(reach) : 0.1;
        currents[i] = 0.2 + holding + 0.01 * std::abs(velocity[i]);
    }
    return currents;
}

Joints Arm::voltages() const
{
    const Joints drawn = currents();
    double total = 0;
    for (double current : drawn)
        total += current;
    return Joints(joints_.size(), supply_voltage - line_resistance * total);
}

void Arm::move_joints(const Joints& target, double percent, Ended ended)
{
    plan_joints([target](const Joints&) { return target; }, percent, std::move(ended));
}

void Arm::step_joint(std::size_t joint, double degrees, double percent, Ended ended)
{
    const auto target = [joint, degrees](Joints position) {
        position[joint] += degrees;
        return position;
    };
    plan_joints(target, percent, std::move(ended));
}

void Arm::jog_joint(std::size_t joint, bool up, double percent)
{
    const auto limit = [this, joint, up](Joints position) {
        double& angle = position[joint];
        angle =
            up ? std::max(angle, joints_[joint].max_position) : std::min(angle, joints_[joint].min_position);
        return position;
    };
    plan_joints(
        limit, percent, [](const std::string&) {}, true);
}

void Arm::stop_jogging()
{
    if (motions_.jogging()) motions_.drop_all("jogging was stopped");
}

void Arm::plan_joints(std::function<Joints(const Joints& from)> target, double percent, Ended ended,
                      bool is_jog)
{
    auto plan = [this, target, percent](const Joints& from) {
        const Joints to = target(from);
        check_ready();
        const JointLimits limits = joint_limits();
        limits.check(to);
        const Pace full = joint_line_pace(from, to, limits.max_speed, limits.max_acceleration);
        return Course{std::make_unique<JointLine>(from, to),
                      {full.speed * percent / 100, full.acceleration * percent / 100},
                      full.acceleration};
    };
    motions_.add({MotionKind::joint, target(motions_.end()), std::move(plan), std::move(ended), is_jog});
}

void Arm::wait(double seconds)
{
    // A path without length, run at an even pace.
    auto plan = [seconds](const Joints& from) {
        const Pace pace = {1 / seconds, 1e6 / (seconds * seconds)};
        return Course{std::make_unique<JointLine>(from, from), pace, pace.acceleration};
    };
    motions_.add({MotionKind::none, position(), std::move(plan), [](const std::string&) {}});
}

void Arm::pass_through(const Joints& target)
{
    check_ready();
    joint_limits().check(target);
    if (follower_.playing()) throw Refused("waypoints are being played");
    if (!motions_.idle()) throw Refused("motions are planned");
    if (!follower_.moving()) {
        std::vector<Follower::Limits> limits;
        for (const Joint& joint : joints_)
            limits.push_back({joint.max_speed, joint.max_acceleration});
        follower_.start(time_, position(), std::move(limits));
    }
    follower_.aim(target);
}

Joints Arm::joints_near(const POSE& target) const
{
    const Frames frames = frames_.active();
    return model_.joints_for(frames.flange_of(frames.tool_in_base(target)), position(), Model::Elbow::near);
}

void Arm::add_waypoint(const Joints& position)
{
    joint_limits().check(position);
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
        joint_limits().check(waypoint);
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
    count_travel(before);
}

void Arm::move_joints_to(const POSE& target, double percent, Ended ended)
{
    const Frames frames = frames_.active();
    const KDL::Frame flange = frames.flange_of(frames.tool_in_base(target));
    move_joints(model_.joints_for(flange, motions_.end(), Model::Elbow::anywhere), percent, std::move(ended));
}

void Arm::move_line(const POSE& target, double percent, Ended ended)
{
    const KDL::Frame to = frames_.active().tool_in_base(target);
    move_tool(MotionKind::line, target, percent, std::move(ended),
              [to](const KDL::Frame& from) { return line(from, to); });
}

void Arm::move_circle(const POSE& via, const POSE& target, int whole_circles, double percent, Ended ended)
{
    const KDL::Vector over = frames_.active().tool_in_base(via).p;
    const KDL::Frame to = frames_.active().tool_in_base(target);
    move_tool(MotionKind::circle, target, percent, std::move(ended),
              [=](const KDL::Frame& from) { return circle(from, over, to, whole_circles); });
}

void Arm::step_tool(const KDL::Twist& step, double percent, Ended ended)
{
    const Frames frames = frames_.active();
    const auto stepped = [in_base = frames.work.M * step](const KDL::Frame& from) {
        return KDL::addDelta(from, in_base);
    };
    const POSE target = frames.pose_of(stepped(frames.tool_of(model_.flange(motions_.end()))));
    move_tool(MotionKind::line, target, percent, std::move(ended),
              [stepped](const KDL::Frame& from) { return line(from, stepped(from)); });
}

void Arm::jog_tool(const KDL::Twist& direction, double percent)
{
    constexpr double beyond_reach = 2, longest_turn = 3; // m, rad: a line turns less than half a turn
    auto plan = [this, percent, direction, frames = frames_.active()](const Joints& from) {
        check_ready();
        const KDL::Frame tool = frames.tool_of(model_.flange(from));
        const KDL::Twist in_base = frames.work.M * direction;
        const auto course = [&](double length) {
            return follow(line(tool, KDL::addDelta(tool, in_base, length)), from, model_, frames,
                          joint_limits(), cartesian_limits_, percent);
        };
        return farthest(course, direction.rot.Norm() > 0 ? longest_turn : beyond_reach);
    };
    const Frames frames = frames_.active();
    const POSE here = frames.pose_of(frames.tool_of(model_.flange(motions_.end())));
    motions_.add({MotionKind::line, values(here), std::move(plan), [](const std::string&) {}, true});
}

/** @param lay gives the tool's path from a frame in the base */
template <typename LayPath>
void Arm::move_tool(MotionKind kind, const POSE& target, double percent, Ended ended, LayPath lay)
{
    auto plan = [this, percent, lay, frames = frames_.active()](const Joints& from) {
        check_ready();
        const ToolPath path = lay(frames.tool_of(model_.flange(from)));
        return follow(path, from, model_, frames, joint_limits(), cartesian_limits_, percent);
    };
    motions_.add({kind, values(target), std::move(plan), std::move(ended)});
}

void Arm::set_cartesian_limit(double CartesianLimits::*limit, double value)
{
    if (!(value >= finest_limit && value <= max_cartesian_limits.*limit))
        throw Refused("the limit must be above 0 and at most what the drives can do");
    cartesian_limits_.*limit = value;
}

void Arm::check_ready() const
{
    if (!powered_) throw Refused("the arm's power is off");
    if (interlock_) interlock_();
    if (time_ < calibration_ended_) throw Refused("calibration is running");
    if (!settings_.arm_servo || !settings_.system_servo) throw Refused("the servos are off");
    for (std::size_t i = 0; i < joints_.size(); ++i) {
        const std::string joint = "joint " + std::to_string(i + 1);
        if (joints_[i].error) throw Refused(joint + " is in error");
        if (!joints_[i].enabled) throw Refused(joint + " is disabled");
    }
}

JointLimits Arm::joint_limits() const
{
    return {each(&Joint::min_position), each(&Joint::max_position), each(&Joint::max_speed),
            each(&Joint::max_acceleration)};
}

void Arm::count_travel(const Joints& before)
{
    for (std::size_t i = 0; i < joints_.size(); ++i)
        joints_[i].travel += std::abs(position()[i] - before[i]);
}

Joints Arm::each(double Joint::*member) const
{
    Joints values;
    for (const Joint& joint : joints_)
        values.push_back(joint.*member);
    return values;
}

} // namespace kx::sim
