// What may carry the arm: a vertical lift and a wheeled base, which drives freely or from station to station.
#pragma once

#include "arm/axis.h"

namespace kx::sim {

/** Heights in mm, speeds in mm/s. */
class Lift {
  public:
    static constexpr int top = 1000, max_speed = 200;

    void go(int height, int speed, Axis::Ended ended) { axis_.go(height, speed, std::move(ended)); }

    /** Runs until told otherwise, or to the end. @param speed downwards if negative */
    void run(int speed);
    void stop(const std::string& why) { axis_.stop(why); }

    void advance(double time) { axis_.advance(time); }
    std::optional<double> next_event() const { return axis_.next_event(); }

    double height() const { return axis_.position(); }
    int current() const; ///< mA

  private:
    Axis axis_;
};

/** Speeds in mm/s and thousandths of a radian per s. The stations stand in a row along the x axis. */
class Base {
  public:
    static constexpr int stations = 10, max_speed = 1500, max_angular_speed = 2000;
    static constexpr double station_distance = 2; ///< m

    enum class State { standing = 0, driving = 1, navigating = 2, charging = 3 };

    /** Until told otherwise; two zeros stop. */
    void drive(int speed, int angular_speed);
    void go_to_station(int station, int speed); ///< straight; speed 0: the navigation speed
    void stop() { drive(0, 0); }

    /** Tells the base at which station it stands. */
    void set_station(int station);

    /** Only standing at the first station, and it does not drive meanwhile. */
    void set_charging(bool on);

    int navigation_speed = 500; ///< of drives to a station that name no speed of their own
    int navigation_mode = 0;    ///< how it avoids obstacles; on this floor there are none

    void advance(double time);
    std::optional<double> next_event() const { return destination_ ? std::optional(arrival_) : std::nullopt; }

    State state() const;
    int station() const { return station_; } ///< 0 between stations
    double x() const { return x_; }          ///< m
    double y() const { return y_; }
    double heading() const { return heading_; } ///< rad
    double charge() const { return charge_; }   ///< of the battery, 0 to 1
    double voltage() const;                     ///< V
    double current() const;                     ///< A, negative while charging

  private:
    double power() const;
    void check_can_drive() const;

    double x_ = station_distance, y_ = 0, heading_ = 0;
    double speed_ = 0, angular_speed_ = 0; ///< m/s, rad/s
    int station_ = 1, destination_ = 0;    ///< 0: none
    bool charging_ = false;
    double charge_ = 0.9;
    double time_ = 0, arrival_ = 0;
};

} // namespace kx::sim
