/**
 * @file
 * What may carry the arm. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_LIFT_AND_BASE_HPP
#define KX_ARM_LIFT_AND_BASE_HPP

#include "kx/arm/motion.hpp"

namespace kx {

/** State of the lift. */
struct LiftState {
    int height_mm = 0;           /**< mm */
    int current_milliampere = 0; /**< of its motor, mA */
    int error = 0;               /**< error code, 0 when healthy */
};

/** The vertical lift. */
template <class Errors>
class Lift : public Moving<Errors> {
    using Base = Moving<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Moves to a height, 0 to 1000 mm, with 1 to 200 mm/s. The end of an arm's motion on the same controller is taken
     *  for this one's, so do not move both at once. */
    Motion<Errors> move_to(int height_mm, int speed_mm_s) const
    {
        return Base::begin(KX_NAMED(Set_Lift_Height), height_mm, speed_mm_s);
    }

    /** Sends it to a height without awaiting its arrival. */
    Done<Errors> send_to(int height_mm, int speed_mm_s) const
    {
        return done(KX_NAMED(Set_Lift), height_mm, speed_mm_s, true);
    }

    /** Moves at a speed, -200 to 200 mm/s, downwards if negative; 0 stops. */
    Done<Errors> drive(int speed_mm_s) const { return done(KX_NAMED(Set_Lift_Speed), speed_mm_s, true); }

    /** Its state. */
    Value<Errors, LiftState> state() const
    {
        LiftState state;
        const int status =
            Get_Lift_State(this->link(), &state.height_mm, &state.current_milliampere, &state.error);
        return Base::outcome("Get_Lift_State", status, state);
    }
};

/** What the mobile base is doing. */
enum class BaseMode { standing = 0, driving = 1, on_the_way = 2, charging = 3 };

/** State of the mobile base. */
struct BaseState {
    int battery_percent = 0;            /**< charge */
    int voltage_millivolt = 0;          /**< mV */
    int current_milliampere = 0;        /**< mA, negative while charging */
    int error = 0;                      /**< error code, 0 when healthy */
    BaseMode mode = BaseMode::standing; /**< what it is doing */
    int station = 0;                    /**< at which station, 0 between stations */
};

/** The wheeled base that carries the arm. */
template <class Errors>
class MobileBase : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Drives: -1500 to 1500 mm/s, -2000 to 2000 mrad/s. */
    Done<Errors> drive(int mm_s, int mrad_s) const
    {
        return done(KX_NAMED(Set_Car_Move), mm_s, mrad_s, true);
    }

    /** Drives the carrying vehicle in the same units, where the controller knows one apart from the base. */
    Done<Errors> drive_vehicle(int mm_s, int mrad_s) const
    {
        return done(KX_NAMED(Set_Vehicle), mm_s, mrad_s, true);
    }

    /** Sends it to a station, 1 to 10; speed 1 to 1500 mm/s, or 0 for that of set_navigation_speed(). */
    Done<Errors> send_to(int station, int speed_mm_s = 0) const
    {
        return done(KX_NAMED(Set_Car_Station), station, speed_mm_s, true);
    }

    /** Sets the speed between stations, 1 to 1500 mm/s. */
    Done<Errors> set_navigation_speed(int mm_s) const
    {
        return done(KX_NAMED(Set_Car_Navigation_Speed), mm_s, true);
    }

    /** Chooses how it finds its way between stations, 0 or 1. */
    Done<Errors> set_navigation_mode(int mode) const
    {
        return done(KX_NAMED(Set_Car_Navigation_Mode), mode, true);
    }

    /** Tells it at which station it stands, 1 to 10. */
    Done<Errors> set_station(int station) const { return done(KX_NAMED(Set_Car_Station_Num), station, true); }

    /** Starts charging, which asks for station 1, or ends it. */
    Done<Errors> charge(bool on) const { return done(KX_NAMED(Set_Car_Charge), static_cast<int>(on), true); }

    /** Its state. */
    Value<Errors, BaseState> state() const
    {
        BaseState state;
        int mode = 0;
        const int status = Get_Car_State(this->link(), &state.battery_percent, &state.voltage_millivolt,
                                         &state.current_milliampere, &state.error, &mode, &state.station);
        state.mode = static_cast<BaseMode>(mode);
        return Base::outcome("Get_Car_State", status, state);
    }
};

} // namespace kx

#endif
