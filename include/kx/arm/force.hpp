/**
 * @file
 * Force sensing, control and guided targets. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_FORCE_HPP
#define KX_ARM_FORCE_HPP

#include "kx/arm/group.hpp"

#include <array>

namespace kx {

/** Force and torque at the flange, as whole newtons and newton metres come from the controller. */
struct Wrench {
    std::array<float, 3> force_newton = {};        /**< along x, y, z, N */
    std::array<float, 3> torque_newton_metre = {}; /**< about x, y, z, Nm */
};

/** Which sensor a force is held by. */
enum class Sensor { one_axis = 0, six_axis = 1 };

/** In which axes a force is held. */
enum class ForceFrame { base = 0, flange = 1 };

/** Along which axis a force is held, or about which a torque. */
enum class ForceAxis { x = 0, y = 1, z = 2, about_x = 3, about_y = 4, about_z = 5 };

/** A force to be held. */
struct ForceTarget {
    double newton = 0;                     /**< 0 to 200, N or Nm */
    ForceAxis axis = ForceAxis::z;         /**< along or about which axis */
    ForceFrame frame = ForceFrame::flange; /**< whose axes */
    Sensor sensor = Sensor::six_axis;      /**< measured by which sensor */
};

/** The force sensors, force-position control, and targets with a force to be held. */
template <class Errors>
class Force : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Force and torque; whole units. */
    Value<Errors, Wrench> wrench() const
    {
        float data[6] = {};
        const int status = Get_Force_Data(this->link(), data);
        return Base::outcome("Get_Force_Data", status,
                             Wrench{{data[0], data[1], data[2]}, {data[3], data[4], data[5]}});
    }

    /** Takes the present force data as zero. */
    Done<Errors> clear() const { return done(KX_NAMED(Clear_Force_Data), true); }

    /** Calibrates the force sensor automatically. */
    Done<Errors> calibrate() const { return done(KX_NAMED(Set_Force_Sensor), true); }

    /** Gives one of the four poses of the manual calibration: number 1 to 4, joints 1 to 6 in degrees, for arms with
     *  seven joints too; KX_NOT_FINITE for another number. */
    Done<Errors> calibrate_pose(int number, const std::array<float, 6>& degrees) const
    {
        if (number < 1 || number > 4) return Base::outcome("Manual_Set_Force", KX_NOT_FINITE);
        return done(KX_NAMED(Manual_Set_Force), number, degrees.data());
    }

    /** Breaks the calibration off. */
    Done<Errors> stop_calibration() const { return done(KX_NAMED(Stop_Set_Force_Sensor), true); }

    /** The one-axis sensor: force along the flange's z, N. */
    Value<Errors, float> fz_newton() const { return Base::template ask<float>(KX_NAMED(Get_Fz)); }

    /** Takes the one-axis sensor's present force as zero. */
    Done<Errors> clear_fz() const { return done(KX_NAMED(Clear_Fz), true); }

    /** Calibrates the one-axis sensor automatically. */
    Done<Errors> calibrate_fz() const { return done(KX_NAMED(Auto_Set_Fz), true); }

    /** Calibrates the one-axis sensor by two poses; see Manual_Set_Fz for the length of angles. */
    Done<Errors> calibrate_fz(const Degrees& first, const Degrees& second) const
    {
        return done(KX_NAMED(Manual_Set_Fz), first, second);
    }

    /** Switches force-position control on: whole newtons. */
    Done<Errors> hold(const ForceTarget& target) const
    {
        return done(KX_NAMED(Set_Force_Postion), static_cast<int>(target.sensor),
                    static_cast<int>(target.frame), static_cast<int>(target.axis), target.newton, 1);
    }

    /** Switches force-position control off. */
    Done<Errors> release() const { return done(KX_NAMED(Stop_Force_Postion), true); }

    /** Begins to follow targets with a force held. */
    Done<Errors> start_following() const { return done(KX_NAMED(Start_Force_Position_Move), true); }

    /** Sends a target at once and awaits nothing; the pushes tell what became of it. Positions are cut to whole metres
     *  and angles to whole radians on the way. */
    Done<Errors> follow_pose(const Pose& target, const ForceTarget& force) const
    {
        return done(KX_NAMED(Force_Position_Move_POSE), target, static_cast<int>(force.sensor),
                    static_cast<int>(force.frame), static_cast<int>(force.axis), force.newton, false);
    }

    /** The same with joint angles, cut to whole degrees on the way. */
    Done<Errors> follow_joints(const Degrees& target, const ForceTarget& force) const
    {
        return done(KX_NAMED(Force_Position_Move_Joint), target, static_cast<int>(force.sensor),
                    static_cast<int>(force.frame), static_cast<int>(force.axis), force.newton, false);
    }

    /** Ends following. */
    Done<Errors> stop_following() const { return done(KX_NAMED(Stop_Force_Postion_Move), true); }
};

} // namespace kx

#endif
