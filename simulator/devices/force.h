// Force sensing at the flange, and motion that minds it: weight of what the arm carries and contact of
// the tool with the table show in the data of a sensor of six axes and of one along the flange's z axis.
//
// A sensor has a bias, and feels the weight of whatever hangs on it. Clearing takes the present data as zero;
// calibration leads the arm through several poses and finds bias and weight, which is then taken off in every
// pose. Forces are those that act on the flange, in its frame; N and Nm.
#pragma once

#include <array>

#include <kdl/frames.hpp>

#include "arm/arm.h"
#include "arm/world.h"
#include "devices/end_effectors.h"

namespace kx::sim {

enum class Sensor { single_axis = 0, six_axis = 1 };

/** A force to keep to in one direction. */
struct ForceTarget {
    Sensor sensor;
    bool in_flange_frame; ///< else in that of the base
    int direction;        ///< 0 to 2 force along x, y, z; 3 to 5 torque about them
    double force;         ///< N or Nm
};

class ForceSensing {
  public:
    ForceSensing(Arm& arm, const World& world, const Gripper& gripper)
        : arm_(arm), world_(world), gripper_(gripper)
    {
    }

    KDL::Wrench data(Sensor sensor) const { return data(sensor, arm_.position()); }
    void clear(Sensor sensor);

    /** Leads the arm through poses of its own choice. */
    void calibrate(Sensor sensor);
    void calibrate(Sensor sensor, std::vector<Joints> poses);

    /** One of the four poses of a calibration by hand; the last one to come starts it. */
    void give_pose(std::size_t index, const Joints& pose);

    /** Stops the arm; what was found before holds on. */
    void stop_calibrating();

    /** While it is set, a motion that presses harder ends where the force is reached. */
    std::optional<ForceTarget> control;

    // Force-position mode: targets are followed as far as the force allows.
    void start_following();
    void follow(const Joints& target, const ForceTarget& force);
    void stop_following() { following_ = false; }
    bool following() const { return following_; }

    /** The contact has become harder than the sensors bear; told once. */
    bool overloaded();

    void advance(double time);
    std::optional<double> next_event() const; ///< the next look at the forces

  private:
    /** What hangs on the flange: kg, and kg m from it. */
    struct Burden {
        double mass = 0;
        KDL::Vector moment = {};
    };

    /** What the user has told a sensor to take off. */
    struct Tare {
        KDL::Wrench zero;
        Burden burden = {};
    };

    Tare& tare(Sensor sensor) { return tares_[static_cast<std::size_t>(sensor)]; }
    KDL::Wrench data(Sensor sensor, const Joints& joints) const;
    double towards(const ForceTarget& target, const Joints& joints) const;
    Burden burden() const;
    void check_spread(const std::vector<Joints>& poses) const;

    Arm& arm_;
    const World& world_;
    const Gripper& gripper_;
    std::array<Tare, 2> tares_;
    std::array<std::optional<Joints>, 4> given_poses_;
    std::optional<Sensor> calibrating_;
    bool following_ = false;
    double time_ = 0;
    double pressed_ = 0, pressed_at_control_ = 0; ///< at the last look
    bool overloaded_ = false;
};

} // namespace kx::sim
