// Everything that the controller serves besides the arm, and how it acts on the arm.
#pragma once

#include "drag_teach.h"
#include "end_effectors.h"
#include "force.h"
#include "io.h"
#include "lift_and_base.h"
#include "modbus.h"
#include "system.h"
#include "world.h"

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
