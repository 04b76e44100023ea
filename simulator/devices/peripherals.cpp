#include "devices/peripherals.h"

#include <algorithm>
#include <stdexcept>

#include "arm/refused.h"

namespace kx::sim {

Peripherals::Peripherals(Arm& arm, World surroundings)
    : world(std::move(surroundings)), drag_teach(arm, world), force(arm, world, gripper), arm_(arm)
{
    for (const Joints& place : world.operator_way)
        if (place.size() != arm.joint_count())
            throw std::invalid_argument("the operator's way has other joints");
    arm.set_interlock([this] {
        if (system.fault() != Fault::none) throw Refused("the controller is in error");
        if (drag_teach.teaching()) throw Refused("the arm is being led by hand");
    });
}

void Peripherals::set_power(bool on)
{
    arm_.drives.set_power(on);
    if (on) return;
    drag_teach.break_off();
    force.stop_following();
}

void Peripherals::raise(Fault fault)
{
    system.raise(fault);
    arm_.stop("the controller is in error");
    drag_teach.break_off();
    force.stop_following();
    lift.stop("the controller is in error");
    base.stop();
    gripper.stop("the controller is in error");
}

void Peripherals::advance(double time)
{
    system.advance(time);
    gripper.advance(time);
    hand.advance(time);
    lift.advance(time);
    base.advance(time);
    drag_teach.advance(time);
    force.advance(time);
    if (force.overloaded()) raise(Fault::force_overload);
}

std::optional<double> Peripherals::next_event() const
{
    std::optional<double> next;
    for (const auto event :
         {gripper.next_event(), hand.next_event(), lift.next_event(), base.next_event(), force.next_event()})
        if (event && (!next || *event < *next)) next = event;
    return next;
}

} // namespace kx::sim
