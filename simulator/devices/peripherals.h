// Everything that the controller serves besides the arm, and how it acts on the arm.
#pragma once

#include "arm/world.h"
#include "devices/drag_teach.h"
#include "devices/end_effectors.h"
#include "devices/force.h"
#include "devices/io.h"
#include "devices/lift_and_base.h"
#include "devices/modbus.h"
#include "devices/system.h"

namespace kx::sim {

class Peripherals {
  public:
    /** @throws std::invalid_argument for surroundings that do not fit the arm */
    Peripherals(Arm& arm, World surroundings);
    Peripherals(const Peripherals&) = delete;

    World world;
    Io io{world};
    Gripper gripper{world, io};
    Hand hand{io};
    Pwm pwm;
    Modbus modbus{world};
    System system{world};
    Lift lift;
    Base base;
    DragTeach drag_teach;
    ForceSensing force;

    void set_power(bool on);

    /** Brings everything to a standstill, until the error is cleared. */
    void raise(Fault fault);

    void advance(double time);
    std::optional<double> next_event() const;

  private:
    Arm& arm_;
};

} // namespace kx::sim
