#include "devices/lift_and_base.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr double idle_power = 20, charger_power = 300; // W
constexpr double drive_power = 150, turn_power = 50;   // W per m/s, per rad/s
constexpr double capacity = 3.6e6;                     // J
constexpr double flat = 0.02;                          // of the charge, below which it does not drive

double station_x(int station)
{
    return Base::station_distance * station;
}

} // namespace

void Lift::run(int speed)
{
    if (speed == 0) return axis_.stop("the lift was stopped");
    axis_.go(speed > 0 ? top : 0, std::abs(speed));
}

int Lift::current() const
{
    constexpr int holding = 300, per_speed = 10; // mA, mA per mm/s; sinking needs no more than holding
    return holding + static_cast<int>(per_speed * std::max(0.0, axis_.velocity()));
}

void Base::drive(int speed, int angular_speed)
{
    const bool drives = speed || angular_speed;
    if (drives) check_can_drive();
    speed_ = speed / 1000.0;
    angular_speed_ = angular_speed / 1000.0;
    destination_ = 0;
    if (drives) station_ = 0;
}

void Base::go_to_station(int station, int speed)
{
    check_can_drive();
    const double dx = station_x(station) - x_, dy = -y_;
    speed_ = (speed ? speed : navigation_speed) / 1000.0;
    angular_speed_ = 0;
    arrival_ = time_ + std::hypot(dx, dy) / speed_;
    heading_ = std::atan2(dy, dx);
    station_ = 0;
    destination_ = station;
}

void Base::set_station(int station)
{
    if (state() == State::driving || state() == State::navigating) throw Refused("the base is driving");
    x_ = station_x(station);
    y_ = 0;
    station_ = station;
}

void Base::set_charging(bool on)
{
    if (on && station_ != 1) throw Refused("the charger is at station 1");
    charging_ = on;
}

void Base::advance(double time)
{
    const double seconds = time - time_;
    charge_ = std::clamp(charge_ - power() * seconds / capacity, 0.0, 1.0);
    const double turn = angular_speed_ * seconds, way = speed_ * seconds;
    // The chord of the arc lies half the turn off the heading before.
    const double chord = turn == 0 ? way : way * std::sin(turn / 2) / (turn / 2);
    x_ += chord * std::cos(heading_ + turn / 2);
    y_ += chord * std::sin(heading_ + turn / 2);
    heading_ += turn;
    time_ = time;
    if (!destination_ || time < arrival_) return;
    station_ = destination_;
    destination_ = 0;
    speed_ = 0;
    x_ = station_x(station_);
    y_ = 0;
}

Base::State Base::state() const
{
    if (charging_) return State::charging;
    if (destination_) return State::navigating;
    return speed_ != 0 || angular_speed_ != 0 ? State::driving : State::standing;
}

double Base::voltage() const
{
    return 42 + 10 * charge_;
}

double Base::current() const
{
    return power() / voltage();
}

double Base::power() const
{
    if (charging_) return idle_power - charger_power;
    return idle_power + drive_power * std::abs(speed_) + turn_power * std::abs(angular_speed_);
}

void Base::check_can_drive() const
{
    if (charging_) throw Refused("the base is charging");
    if (charge_ < flat) throw Refused("the battery is flat");
}

} // namespace kx::sim
