// The controller itself: power of the arm, error, run time, log, Ethernet mode.
#pragma once

#include <deque>
#include <string>

#include "arm/world.h"

namespace kx::sim {

/** What can be wrong with the controller as a whole. */
enum class Fault { none = 0, emergency_stop = 1, force_overload = 2, collision = 3 };

class System {
  public:
    static constexpr const char* hardware_version = "kx-controller 1";
    static constexpr int plan_version = 400, control_version = 400;

    explicit System(const World& world) : world_(world) {}

    Fault fault() const { return fault_; } ///< stays until it is cleared
    void raise(Fault fault) { fault_ = fault, stop_pressed_ |= fault == Fault::emergency_stop; }

    /** @throws Refused while the emergency stop is pressed */
    void clear_fault();
    void release_emergency_stop() { stop_pressed_ = false; }

    bool high_speed_ethernet = false;

    double runtime() const { return time_ - counted_from_; } ///< s
    void clear_runtime() { counted_from_ = time_; }

    /** Keeps a line for the log; the oldest give way. */
    void note(const std::string& line);

    /** @throws Refused if there is no file for it */
    void write_log() const;

    void advance(double time) { time_ = time; }

  private:
    const World& world_;
    Fault fault_ = Fault::none;
    bool stop_pressed_ = false;
    double time_ = 0, counted_from_ = 0;
    std::deque<std::string> log_;
};

} // namespace kx::sim
