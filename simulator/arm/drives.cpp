#include "arm/drives.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr double top_speed = 360;         // degrees/s, what the drives can do at most
constexpr double top_acceleration = 3600; // degrees/s^2
constexpr double calibration_time = 1;    // s per joint

constexpr double room_temperature = 25; // degrees Celsius
constexpr double idle_warmth = 5;       // of a powered joint at rest, above the room
constexpr double cooling_time = 600;    // s, time constant
constexpr double warmth_per_degree =
    3e-4; // of travel: 40 degrees Celsius above the room at steady full speed

constexpr double supply_voltage = 48;    // V
constexpr double line_resistance = 0.05; // Ohm, from the supply to the joints

} // namespace

void JointLimits::check(const Joints& position) const
{
    for (std::size_t i = 0; i < position.size(); ++i)
        if (!(position[i] >= min_position[i] && position[i] <= max_position[i]))
            throw Refused("joint " + std::to_string(i + 1) + " would leave its limits");
}

Drives::Drives(Joints lower, Joints upper) : lower_(std::move(lower)), upper_(std::move(upper))
{
    for (std::size_t i = 0; i < lower_.size(); ++i)
        drives_.push_back({.min_position = lower_[i], .max_position = upper_[i]});
    calibration_ended_ = calibration_began_ + calibration_time * static_cast<double>(count());
}

JointLimits Drives::limits() const
{
    return {all(&Drive::min_position), all(&Drive::max_position), all(&Drive::max_speed),
            all(&Drive::max_acceleration)};
}

Joints Drives::temperatures() const
{
    Joints temperatures = all(&Drive::warmth);
    for (double& temperature : temperatures)
        temperature += room_temperature;
    return temperatures;
}

int Drives::error() const
{
    const auto faulty = std::ranges::find_if(drives_, [](const Drive& drive) { return drive.error != 0; });
    return faulty == drives_.end() ? 0 : faulty->error;
}

void Drives::set_max_speed(std::size_t joint, double speed)
{
    if (!(speed >= finest_limit && speed <= top_speed))
        throw Refused("speed must be above 0 and at most 360");
    drives_[joint].max_speed = speed;
}

void Drives::set_max_acceleration(std::size_t joint, double acceleration)
{
    if (!(acceleration >= finest_limit && acceleration <= top_acceleration))
        throw Refused("acceleration must be above 0 and at most 3600");
    drives_[joint].max_acceleration = acceleration;
}

void Drives::set_min_position(std::size_t joint, double position)
{
    if (!(position < drives_[joint].max_position))
        throw Refused("the lower limit must lie below the upper one");
    if (!(position >= lower_[joint])) throw Refused("beyond the joint's mechanical range");
    drives_[joint].min_position = position;
}

void Drives::set_max_position(std::size_t joint, double position)
{
    if (!(position > drives_[joint].min_position))
        throw Refused("the upper limit must lie above the lower one");
    if (!(position <= upper_[joint])) throw Refused("beyond the joint's mechanical range");
    drives_[joint].max_position = position;
}

void Drives::clear_travel()
{
    for (Drive& drive : drives_)
        drive.travel = 0;
}

void Drives::set_enabled(std::size_t joint, bool enabled)
{
    drives_[joint].enabled = enabled;
    if (!enabled) halted_ = "a joint was disabled";
}

void Drives::set_power(bool on)
{
    powered_ = on;
    if (!on) halted_ = "the power was switched off";
}

void Drives::set_servo(bool on)
{
    servo_ = on;
    if (!on) halted_ = "the servos were switched off";
}

void Drives::set_system_servo(bool on)
{
    system_servo_ = on;
    if (!on) halted_ = "the servos were switched off";
}

void Drives::fail(std::size_t joint, int code)
{
    drives_[joint].error = code;
    halted_ = "a joint has failed";
}

void Drives::check_ready() const
{
    if (!powered_) throw Refused("the arm's power is off");
    if (time_ < calibration_ended_) throw Refused("calibration is running");
    if (!servo_ || !system_servo_) throw Refused("the servos are off");
    for (std::size_t i = 0; i < count(); ++i) {
        const std::string joint = "joint " + std::to_string(i + 1);
        if (drives_[i].error) throw Refused(joint + " is in error");
        if (!drives_[i].enabled) throw Refused(joint + " is disabled");
    }
}

void Drives::start_calibration()
{
    if (time_ < calibration_ended_) throw Refused("calibration is running already");
    calibration_began_ = time_;
    calibration_ended_ = time_ + calibration_time * static_cast<double>(count());
}

void Drives::stop_calibration()
{
    calibration_ended_ = std::min(calibration_ended_, time_);
}

Calibration Drives::calibration(std::size_t joint) const
{
    const double done = calibration_began_ + calibration_time * static_cast<double>(joint + 1);
    if (done <= std::min(time_, calibration_ended_)) return Calibration::done;
    return time_ < calibration_ended_ && done - calibration_time <= time_ ? Calibration::running
                                                                          : Calibration::none;
}

void Drives::count_travel(const Joints& from, const Joints& to)
{
    for (std::size_t i = 0; i < count(); ++i)
        drives_[i].travel += std::abs(to[i] - from[i]);
}

void Drives::advance(double time, const Joints& from, const Joints& to)
{
    count_travel(from, to);
    const double kept = std::exp(-(time - time_) / cooling_time);
    for (std::size_t i = 0; i < count(); ++i) {
        double& warmth = drives_[i].warmth;
        warmth = idle_warmth + (warmth - idle_warmth) * kept + warmth_per_degree * std::abs(to[i] - from[i]);
    }
    time_ = time;
}

Joints Drives::currents(const Joints& velocity, double burden) const
{
    Joints currents(count());
    for (std::size_t i = 0; i < count(); ++i) {
        if (!powered_ || !drives_[i].enabled) continue;
        const bool carries = i == 1 || i == 2;
        currents[i] = 0.2 + (carries ? burden : 0.1) + 0.01 * std::abs(velocity[i]);
    }
    return currents;
}

Joints Drives::all(double Drive::*member) const
{
    Joints values;
    for (const Drive& drive : drives_)
        values.push_back(drive.*member);
    return values;
}

Joints voltages(const Joints& currents)
{
    const double total = std::accumulate(currents.begin(), currents.end(), 0.0);
    return Joints(currents.size(), supply_voltage - line_resistance * total);
}

} // namespace kx::sim
