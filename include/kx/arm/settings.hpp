/**
 * @file
 * Groups of kx::Arm for what is set once: drives, arm, system, controller. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_SETTINGS_HPP
#define KX_ARM_SETTINGS_HPP

#include "kx/arm/group.hpp"

#include <chrono>
#include <optional>
#include <span>
#include <string>

namespace kx {

/** Settings of single joints, which count from 1: limits, enable state, zero, errors, calibration. */
template <class Errors>
class Drives : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::ask_joints, Base::done;

  public:
    using Base::Base;

    /** Sets the greatest speed of a joint. */
    Done<Errors> set_max_speed(int joint, double degrees_per_s) const
    {
        return done(KX_NAMED(Set_Joint_Speed), joint, degrees_per_s, true);
    }

    /** Sets the greatest acceleration of a joint. */
    Done<Errors> set_max_acceleration(int joint, double degrees_per_s2) const
    {
        return done(KX_NAMED(Set_Joint_Acc), joint, degrees_per_s2, true);
    }

    /** Sets the lower limit of a joint. */
    Done<Errors> set_lower_limit(int joint, double degrees) const
    {
        return done(KX_NAMED(Set_Joint_Min_Pos), joint, degrees, true);
    }

    /** Sets the upper limit of a joint. */
    Done<Errors> set_upper_limit(int joint, double degrees) const
    {
        return done(KX_NAMED(Set_Joint_Max_Pos), joint, degrees, true);
    }

    /** Enables or disables a joint. */
    Done<Errors> enable(int joint, bool on = true) const
    {
        return done(KX_NAMED(Set_Joint_EN_State), joint, on, true);
    }

    /** Makes a joint's present position its zero. */
    Done<Errors> set_zero(int joint) const { return done(KX_NAMED(Set_Joint_Zero_Pos), joint, true); }

    /** Clears a joint's error. */
    Done<Errors> clear_error(int joint) const { return done(KX_NAMED(Set_Joint_Err_Clear), joint, true); }

    /** Starts the calibration run. */
    Done<Errors> start_calibration() const { return done(KX_NAMED(Start_Calibrate), true); }

    /** Stops the calibration run. */
    Done<Errors> stop_calibration() const { return done(KX_NAMED(Stop_Calibrate), true); }

    /** The greatest speeds, degrees per second. */
    Value<Errors, PerJoint<float>> max_speeds_deg_s() const { return ask_joints(KX_NAMED(Get_Joint_Speed)); }

    /** The greatest accelerations, degrees per square second. */
    Value<Errors, PerJoint<float>> max_accelerations_deg_s2() const
    {
        return ask_joints(KX_NAMED(Get_Joint_Acc));
    }

    /** The lower limits. */
    Value<Errors, Degrees> lower_limits() const
    {
        return Base::template ask_joints<Degrees>(KX_NAMED(Get_Joint_Min_Pos));
    }

    /** The upper limits. */
    Value<Errors, Degrees> upper_limits() const
    {
        return Base::template ask_joints<Degrees>(KX_NAMED(Get_Joint_Max_Pos));
    }

    /** Which joints are enabled. */
    Value<Errors, PerJoint<bool>> enabled() const
    {
        return Base::template ask_joints<PerJoint<bool>>(KX_NAMED(Get_Joint_EN_State));
    }

    /** The joints' error codes, 0 when healthy. */
    Value<Errors, PerJoint<int>> errors() const
    {
        return Base::template ask_joints<PerJoint<int>>(KX_NAMED(Get_Joint_Err_Flag));
    }

    /** The joints' software versions, as Get_Joint_Software_Version gives them. */
    Value<Errors, PerJoint<float>> software_versions() const
    {
        return ask_joints(KX_NAMED(Get_Joint_Software_Version));
    }

    /** The joints' calibration states. */
    Value<Errors, PerJoint<float>> calibration_states() const
    {
        auto states = Base::template of_all_joints<PerJoint<float>>();
        unsigned short errors[7];
        int calibration = 0;
        const int status = Get_Calibrate_State(this->link(), states.data(), errors, &calibration);
        return Base::outcome("Get_Calibrate_State", status, states);
    }
};

/** Settings of the arm as a whole: the tool's limits, collision detection, geometry, servos, installation. */
template <class Errors>
class Settings : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

    template <class T, class Function>
    Value<Errors, T> ask(const char* name, Function function) const
    {
        return Base::template ask<T>(name, function);
    }

  public:
    using Base::Base;

    /** Sets the tool's greatest speed. */
    Done<Errors> set_line_speed(double m_per_s) const
    {
        return done(KX_NAMED(Set_Arm_Line_Speed), m_per_s, true);
    }

    /** Sets the tool's greatest acceleration. */
    Done<Errors> set_line_acceleration(double m_per_s2) const
    {
        return done(KX_NAMED(Set_Arm_Line_Acc), m_per_s2, true);
    }

    /** Sets the tool's greatest angular speed. */
    Done<Errors> set_angular_speed(double rad_per_s) const
    {
        return done(KX_NAMED(Set_Arm_Angular_Speed), rad_per_s, true);
    }

    /** Sets the tool's greatest angular acceleration. */
    Done<Errors> set_angular_acceleration(double rad_per_s2) const
    {
        return done(KX_NAMED(Set_Arm_Angular_Acc), rad_per_s2, true);
    }

    /** The tool's greatest speed, m/s. */
    Value<Errors, float> line_speed_m_s() const { return ask<float>(KX_NAMED(Get_Arm_Line_Speed)); }

    /** The tool's greatest acceleration, m/s^2. */
    Value<Errors, float> line_acceleration_m_s2() const { return ask<float>(KX_NAMED(Get_Arm_Line_Acc)); }

    /** The tool's greatest angular speed, rad/s. */
    Value<Errors, float> angular_speed_rad_s() const { return ask<float>(KX_NAMED(Get_Arm_Angular_Speed)); }

    /** The tool's greatest angular acceleration, rad/s^2. */
    Value<Errors, float> angular_acceleration_rad_s2() const
    {
        return ask<float>(KX_NAMED(Get_Arm_Angular_Acc));
    }

    /** Restores the arm's initial parameters. */
    Done<Errors> restore() const { return done(KX_NAMED(Set_Arm_Tip_Init), true); }

    /** Sets the stage of the collision detection, 0 off to 8 most sensitive. */
    Done<Errors> set_collision_stage(int stage) const
    {
        return done(KX_NAMED(Set_Collision_Stage), stage, true);
    }

    /** The stage of the collision detection. */
    Value<Errors, int> collision_stage() const { return ask<int>(KX_NAMED(Get_Collision_Stage)); }

    /** Sets the lengths of the arm's five links from the base on, to a tenth of a millimetre. */
    Done<Errors> set_link_lengths_mm(const std::array<float, 5>& mm) const
    {
        return done(KX_NAMED(Set_DH_Data), mm[0], mm[1], mm[2], mm[3], mm[4], true);
    }

    /** The lengths of the arm's five links from the base on. */
    Value<Errors, std::array<float, 5>> link_lengths_mm() const
    {
        std::array<float, 5> mm = {};
        const int status = Get_DH_Data(this->link(), &mm[0], &mm[1], &mm[2], &mm[3], &mm[4]);
        return Base::outcome("Get_DH_Data", status, mm);
    }

    /** Sets the zero offset of every joint. */
    Done<Errors> set_zero_offsets(const Degrees& offsets) const
    {
        return done(KX_NAMED(Set_Joint_Zero_Offset), offsets, true);
    }

    /** Sets the parameters of the arm's dynamic model: 12 values for six joints, 14 for seven, in the controller's
     *  order; another number is refused with KX_NOT_FINITE. */
    Done<Errors> set_dynamics(std::span<const float> parameters) const
    {
        if (parameters.size() != 2 * static_cast<size_t>(this->joint_count()))
            return Base::outcome("Set_Arm_Dynamic_Parm", KX_NOT_FINITE);
        return done(KX_NAMED(Set_Arm_Dynamic_Parm), parameters.data(), true);
    }

    /** The end tool's software version. */
    Value<Errors, int> tool_software_version() const { return ask<int>(KX_NAMED(Get_Tool_Software_Version)); }

    /** Switches the arm's servos. */
    Done<Errors> set_servos(bool on) const { return done(KX_NAMED(Set_Arm_Servo_State), on, true); }

    /** Switches the system's servo state. */
    Done<Errors> set_system_servos(bool on) const { return done(KX_NAMED(Set_System_State_Servo), on, true); }

    /** Tells under which angles about the base's x and y axis the arm is installed. */
    Done<Errors> set_installation(double x_degrees, double y_degrees) const
    {
        return done(KX_NAMED(Set_Install_Pose), x_degrees, y_degrees, true);
    }
};

/** The software versions of a controller. */
struct SoftwareVersions {
    std::string planner; /**< of the planner */
    std::string control; /**< of the control */
};

/** Power, errors, versions, run time. */
template <class Errors>
class System : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Switches the arm's power. */
    Done<Errors> set_power(bool on) const { return done(KX_NAMED(Set_Arm_Power), on, true); }

    /** Whether the arm has power. */
    Value<Errors, bool> powered() const { return Base::template ask<bool>(KX_NAMED(Get_Arm_Power_State)); }

    /** Clears the controller's error. */
    Done<Errors> clear_error() const { return done(KX_NAMED(Clear_System_Err), true); }

    /** Checks that the controller tells a hardware version. */
    Done<Errors> check_hardware_version() const
    {
        char untouched[16] = "";
        return done(KX_NAMED(Get_Arm_Hardware_Version), &untouched[0]);
    }

    /** The software versions. */
    Value<Errors, SoftwareVersions> software_versions() const
    {
        char planner[12] = "", control[12] = "";
        const int status = Get_Arm_Software_Version(this->link(), planner, control);
        return Base::outcome("Get_Arm_Software_Version", status, SoftwareVersions{planner, control});
    }

    /** Asks the controller to write its log file. */
    Done<Errors> write_log() const { return done(KX_NAMED(Get_Log_File), true); }

    /** How long the controller has run; none when it does not tell. */
    Value<Errors, std::optional<std::chrono::seconds>> run_time() const
    {
        char untouched[16] = "";
        int day = -1, hour = 0, minute = 0, second = 0;
        const int status = Get_System_Runtime(this->link(), untouched, &day, &hour, &minute, &second);
        std::optional<std::chrono::seconds> time;
        if (day >= 0)
            time = std::chrono::days(day) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
                   std::chrono::seconds(second);
        return Base::outcome("Get_System_Runtime", status, time);
    }

    /** Sets the run time back to zero. */
    Done<Errors> clear_run_time() const { return done(KX_NAMED(Clear_System_Runtime), true); }

    /** The joints' odometers: whole degrees to and fro added up. */
    Value<Errors, PerJoint<float>> odometers_deg() const
    {
        char untouched[16] = "";
        auto odometers = Base::template of_all_joints<PerJoint<float>>();
        const int status = Get_Joint_Odom(this->link(), untouched, odometers.data());
        return Base::outcome("Get_Joint_Odom", status, odometers);
    }

    /** Sets the odometers back to zero. */
    Done<Errors> clear_odometers() const { return done(KX_NAMED(Clear_Joint_Odom), true); }

    /** Switches the high-speed Ethernet. */
    Done<Errors> set_high_speed_ethernet(bool on) const
    {
        return done(KX_NAMED(Set_High_Speed_Eth), int(on), true);
    }
};

/** Supply and health of a controller. */
struct ControllerState {
    float voltage_volt = 0;        /**< V */
    float current_ampere = 0;      /**< A */
    float temperature_celsius = 0; /**< degrees Celsius */
    int error = 0;                 /**< error code, 0 when healthy */
};

/** The controller's own state and its network. The settings are sent and never answered, since the controller may drop
 *  the connection while it takes them. */
template <class Errors>
class Controller : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    using Base::Base;

    /** Supply and health. */
    Value<Errors, ControllerState> state() const
    {
        ControllerState state;
        unsigned short error = 0;
        const int status = Get_Controller_State(this->link(), &state.voltage_volt, &state.current_ampere,
                                                &state.temperature_celsius, &error);
        state.error = error;
        return Base::outcome("Get_Controller_State", status, state);
    }

    /** Sets up the controller's own WiFi access point. Name and password together take at most 230 bytes. */
    Done<Errors> set_access_point(const std::string& name, const std::string& password) const
    {
        return done(KX_NAMED(Set_WiFi_AP_Data), name, password);
    }

    /** Makes the controller join a WiFi. Name and password together take at most 230 bytes. */
    Done<Errors> join_wifi(const std::string& name, const std::string& password) const
    {
        return done(KX_NAMED(Set_WiFI_STA_Data), name, password);
    }

    /** Sets the baud rate of the USB port. */
    Done<Errors> set_usb_baud_rate(int bits_per_s) const { return done(KX_NAMED(Set_USB_Data), bits_per_s); }

    /** Sets the baud rate of the RS485 port. */
    Done<Errors> set_rs485_baud_rate(int bits_per_s) const { return done(KX_NAMED(Set_RS485), bits_per_s); }

    /** Switches the controller to Ethernet. */
    Done<Errors> use_ethernet() const { return done(KX_NAMED(Set_Ethernet)); }
};

} // namespace kx

#endif
