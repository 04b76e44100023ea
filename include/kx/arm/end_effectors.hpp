/**
 * @file
 * What the arm holds things with. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_END_EFFECTORS_HPP
#define KX_ARM_END_EFFECTORS_HPP

#include "kx/arm/group.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

namespace kx {

/** The two-finger gripper, on 24 V of the tool flange (Io::set_tool_voltage). Openings go to a tenth of a millimetre. */
template <class Errors>
class Gripper : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

    // Not a number, and what is beyond all numbers, fit nowhere, so that they are refused.
    static long tenths(double value) { return std::abs(value) < 1e8 ? std::lround(10 * value) : LONG_MAX; }

    // The controller answers when the fingers are at rest: has the thread wait for the whole way, if it does not keep a time
    // of its own.
    class Patience {
      public:
        explicit Patience(double speed_mm_s) : before_(KX_Link_Call_Timeout(0))
        {
            const double way_ms = 1000 * 100 / std::max(0.1, speed_mm_s); // where that is no number, too
            KX_Link_Call_Timeout(before_ > 0 ? before_ : static_cast<int>(way_ms) + 3000);
        }
        Patience(const Patience&) = delete;
        ~Patience() { KX_Link_Call_Timeout(before_); }

      private:
        const int before_;
    };

  public:
    using Base::Base;

    /** Sets the travel limits: openings, 0 to 100 mm. */
    Done<Errors> set_travel(double min_mm, double max_mm) const
    {
        return done(KX_NAMED(Set_Gripper_Route), tenths(min_mm), tenths(max_mm), true);
    }

    /** Opens it, and waits until the fingers are at rest; 0.1 to 100 mm/s. */
    Done<Errors> open(double speed_mm_s = 50) const
    {
        const Patience patience(speed_mm_s);
        return done(KX_NAMED(Set_Gripper_Release), tenths(speed_mm_s), true);
    }

    /** Closes it until the force is reached, 1 to 100 N, and waits for that; 0.1 to 100 mm/s. */
    Done<Errors> pick(double force_newton, double speed_mm_s = 50) const
    {
        const Patience patience(speed_mm_s);
        return done(KX_NAMED(Set_Gripper_Pick), tenths(speed_mm_s), tenths(force_newton), true);
    }

    /** Closes it and keeps up the force; otherwise as pick(). */
    Done<Errors> hold(double force_newton, double speed_mm_s = 50) const
    {
        const Patience patience(speed_mm_s);
        return done(KX_NAMED(Set_Gripper_Pick_On), tenths(speed_mm_s), tenths(force_newton), true);
    }

    /** Moves the fingers to an opening within the travel limits. */
    Done<Errors> move_to(double opening_mm) const
    {
        return done(KX_NAMED(Set_Gripper_Position), tenths(opening_mm), true);
    }
};

/** The postures stored in the hand. */
enum class Posture { open = 1, fist = 2, pinch = 3, point = 4, thumb_up = 5 };

/** The dexterous hand, on 24 V of the tool flange. */
template <class Errors>
class Hand : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Takes a posture. */
    Done<Errors> take(Posture posture) const
    {
        return done(KX_NAMED(Set_Hand_Posture), static_cast<int>(posture), true);
    }

    /** Runs a stored sequence: 1 grasp twice, 2 pinch twice, 3 show all postures. */
    Done<Errors> run_sequence(int number) const { return done(KX_NAMED(Set_Hand_Seq), number, true); }

    /** Moves the fingers, 0 bent to 1000 stretched: little, ring, middle and index finger, thumb bent, thumb turned. */
    Done<Errors> move_fingers(const std::array<int, 6>& thousandths) const
    {
        return done(KX_NAMED(Set_Hand_Angle), thousandths.data(), true);
    }

    /** Sets the fingers' speed, 1 to 1000 thousandths of a finger's way per second. */
    Done<Errors> set_speed(int thousandths_per_s) const
    {
        return done(KX_NAMED(Set_Hand_Speed), thousandths_per_s, true);
    }

    /** Sets the fingers' force, 1 to 1000 thousandths of the largest. */
    Done<Errors> set_force(int thousandths) const
    {
        return done(KX_NAMED(Set_Hand_Force), thousandths, true);
    }

    /** Starts the PWM output of the tool port: 1 to 100000 Hz, pulses no longer than the period. */
    Done<Errors> set_pwm(int hertz, int pulse_us) const
    {
        return done(KX_NAMED(Set_PWM), hertz, pulse_us, true);
    }
};

} // namespace kx

#endif
