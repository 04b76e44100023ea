#include "devices/force.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr double gravity = 9.81;         // m/s^2
constexpr double stiffness = 20000;      // N/m, of flange and table against each other
constexpr double overload = 500;         // N
constexpr double look_interval = 0.01;   // s
constexpr double calibration_speed = 30; // percent
constexpr double least_spread = 0.35; // rad by which two poses of a calibration must differ against gravity

const KDL::Vector mounted_at{0, 0, 0.1}; // centre of mass of what is mounted, m from the flange
const KDL::Wrench bias{{1.6, -0.9, 2.4}, {0.05, -0.03, 0.02}};

/** With the table, at a place, upwards. */
double contact(const World& world, const KDL::Vector& place)
{
    return world.table ? stiffness * std::max(0.0, *world.table / 1000 - place.z()) : 0;
}

} // namespace

void ForceSensing::clear(Sensor sensor)
{
    tare(sensor).zero += data(sensor);
}

void ForceSensing::calibrate(Sensor sensor)
{
    // Turns of the last two joints, towards the middle of their ranges.
    const Joints start = arm_.position();
    const std::size_t tilt = start.size() - 2, turn = start.size() - 1;
    std::vector<Joints> poses(4, start);
    for (std::size_t i = 0; i < poses.size(); ++i)
        poses[i][tilt] -= std::copysign(20.0 * static_cast<double>(i), start[tilt]);
    poses.back()[turn] -= std::copysign(90, start[turn]);
    calibrate(sensor, std::move(poses));
}

void ForceSensing::calibrate(Sensor sensor, std::vector<Joints> poses)
{
    if (calibrating_) throw Refused("calibration is running");
    arm_.check_ready();
    if (!arm_.standing()) throw Refused("the arm is moving");
    for (const Joints& pose : poses)
        arm_.drives.limits().check(pose);
    check_spread(poses);

    poses.push_back(arm_.position());
    for (std::size_t left = poses.size(); left-- > 0;)
        arm_.move_joints(poses[poses.size() - 1 - left], {calibration_speed},
                         [this, left](const std::string& broken_off) {
                             if (left == 0 && broken_off.empty()) tare(*calibrating_) = {bias, burden()};
                             if (left == 0) calibrating_.reset();
                         });
    calibrating_ = sensor;
}

void ForceSensing::give_pose(std::size_t index, const Joints& pose)
{
    if (calibrating_) throw Refused("calibration is running");
    arm_.drives.limits().check(pose);
    given_poses_[index] = pose;
    std::vector<Joints> poses;
    for (const auto& given : given_poses_)
        if (given) poses.push_back(*given);
    if (poses.size() < given_poses_.size()) return;
    given_poses_ = {};
    calibrate(Sensor::six_axis, std::move(poses));
}

void ForceSensing::stop_calibrating()
{
    if (!calibrating_) throw Refused("no calibration is running");
    arm_.stop("the calibration was stopped");
}

void ForceSensing::start_following()
{
    if (following_) throw Refused("the mode is on already");
    arm_.check_ready();
    if (!arm_.standing()) throw Refused("the arm is moving");
    following_ = true;
}

void ForceSensing::follow(const Joints& target, const ForceTarget& force)
{
    if (!following_) throw Refused("the mode is not on");
    arm_.drives.limits().check(target);
    const Joints from = arm_.position();
    const JointLine way(from, target);
    const auto too_much = [&](double s) { return towards(force, way.at(s)) > force.force; };

    // The whole way if that ends with little enough force, or at least with less; else up to where the force
    // is reached.
    double s = 1;
    if (too_much(1) && towards(force, target) >= towards(force, from)) {
        double low = 0, high = 1;
        while (high - low > 1e-6)
            (too_much((low + high) / 2) ? high : low) = (low + high) / 2;
        s = low;
    }
    arm_.pass_through(way.at(s));
}

bool ForceSensing::overloaded()
{
    return std::exchange(overloaded_, false);
}

void ForceSensing::advance(double time)
{
    time_ = time;
    const double pressed = contact(world_, arm_.frames.active().tool_of(arm_.flange()).p);
    if (pressed > overload && pressed > pressed_) overloaded_ = true;
    pressed_ = pressed;

    const double measured = control ? towards(*control, arm_.position()) : 0;
    if (control && measured > control->force && measured > pressed_at_control_ && !arm_.standing())
        arm_.stop("the set force was reached");
    pressed_at_control_ = measured;
}

std::optional<double> ForceSensing::next_event() const
{
    if (arm_.standing() || !(world_.table || control)) return std::nullopt;
    return time_ + look_interval;
}

/** What the gripper holds is at the active tool's tip, if there is a tool. */
ForceSensing::Burden ForceSensing::burden() const
{
    const KDL::Vector tip =
        arm_.frames.tools.reference_is_active() ? mounted_at : arm_.frames.active().tool.p;
    const double held = gripper_.held_mass();
    return {world_.payload + held, world_.payload * mounted_at + held * tip};
}

KDL::Wrench ForceSensing::data(Sensor sensor, const Joints& joints) const
{
    const KDL::Frame flange = arm_.model.flange(joints);
    const Tare& tare = tares_[static_cast<std::size_t>(sensor)];
    const KDL::Frame tool = arm_.frames.active().tool;
    const auto in_flange = [&flange](double x, double y, double z) {
        return flange.M.Inverse(KDL::Vector(x, y, z));
    };
    const KDL::Vector gravitation = in_flange(0, 0, -gravity);
    const Burden felt_burden = {burden().mass - tare.burden.mass, burden().moment - tare.burden.moment};
    const KDL::Vector contact_force = in_flange(0, 0, contact(world_, (flange * tool).p));
    const auto& [x, y, z] = world_.push;
    KDL::Wrench felt = bias - tare.zero;
    felt.force += felt_burden.mass * gravitation + contact_force + in_flange(x, y, z);
    felt.torque += felt_burden.moment * gravitation + tool.p * contact_force; // cross products
    return sensor == Sensor::six_axis ? felt : KDL::Wrench({0, 0, felt.force.z()}, KDL::Vector::Zero());
}

/** The size of the force, or torque, in a direction. */
double ForceSensing::towards(const ForceTarget& target, const Joints& joints) const
{
    KDL::Wrench felt = data(target.sensor, joints);
    if (!target.in_flange_frame) felt = arm_.model.flange(joints).M * felt;
    return std::abs(felt(target.direction));
}

/** Without a change of direction, weight and bias cannot be told apart. */
void ForceSensing::check_spread(const std::vector<Joints>& poses) const
{
    double spread = 0;
    const auto down = [&](const Joints& pose) {
        return arm_.model.flange(pose).M.Inverse(KDL::Vector(0, 0, -1));
    };
    for (const Joints& a : poses)
        for (const Joints& b : poses)
            spread = std::max(spread, std::acos(std::clamp(KDL::dot(down(a), down(b)), -1.0, 1.0)));
    if (spread < least_spread) throw Refused("the poses turn the sensor too little");
}

} // namespace kx::sim
