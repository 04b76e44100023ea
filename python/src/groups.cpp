// The groups of kx.Arm, and Modbus.
#include "module.h"
#include "values.h"

namespace kx::python {

namespace {

using Degs = std::optional<Degrees>;
using Rads = std::optional<Radians>;
using Three = std::array<float, 3>;

// A method that takes joint angles, in degrees or radians.
template <class Class, class Outcome>
auto takes_joints(Outcome (Class::*method)(const Degrees&) const)
{
    return [method](const Class& self, const Degs& deg, const Rads& rad) {
        const Degrees joints = angles(deg, rad);
        return waiting([&] { return (self.*method)(joints); });
    };
}

ForceTarget force_target(double newton, ForceAxis axis, ForceFrame frame, Sensor sensor)
{
    return {newton, axis, frame, sensor};
}

void bind_settings(py::module_& m)
{
    using Drives = kx::Drives<Throwing>;
    Class<Drives>(m, "Drives", "Settings of single joints, which count from 1.")
        .def("set_max_speed", waits(&Drives::set_max_speed), "joint"_a, "degrees_per_s"_a,
             "Sets the greatest speed of a joint.")
        .def("set_max_acceleration", waits(&Drives::set_max_acceleration), "joint"_a, "degrees_per_s2"_a,
             "Sets the greatest acceleration of a joint.")
        .def("set_lower_limit", waits(&Drives::set_lower_limit), "joint"_a, "degrees"_a,
             "Sets the lower limit of a joint.")
        .def("set_upper_limit", waits(&Drives::set_upper_limit), "joint"_a, "degrees"_a,
             "Sets the upper limit of a joint.")
        .def("enable", waits(&Drives::enable), "joint"_a, "on"_a = true, "Enables or disables a joint.")
        .def("set_zero", waits(&Drives::set_zero), "joint"_a, "Makes a joint's present position its zero.")
        .def("clear_error", waits(&Drives::clear_error), "joint"_a, "Clears a joint's error.")
        .def("start_calibration", waits(&Drives::start_calibration), "Starts the calibration run.")
        .def("stop_calibration", waits(&Drives::stop_calibration), "Stops the calibration run.")
        .def("max_speeds_deg_s", waits(&Drives::max_speeds_deg_s), "The greatest speeds.")
        .def("max_accelerations_deg_s2", waits(&Drives::max_accelerations_deg_s2),
             "The greatest accelerations.")
        .def("lower_limits_deg", waits(&Drives::lower_limits), "The lower limits.")
        .def("upper_limits_deg", waits(&Drives::upper_limits), "The upper limits.")
        .def("enabled", waits(&Drives::enabled), "Which joints are enabled.")
        .def("errors", waits(&Drives::errors), "The joints' error codes, 0 when healthy.")
        .def("software_versions", waits(&Drives::software_versions), "The joints' software versions.")
        .def("calibration_states", waits(&Drives::calibration_states), "The joints' calibration states.");

    using Settings = kx::Settings<Throwing>;
    Class<Settings>(
        m, "Settings",
        "Settings of the arm as a whole: the tool's limits, collision detection, geometry, servos.")
        .def("set_line_speed", waits(&Settings::set_line_speed), "m_per_s"_a,
             "Sets the tool's greatest speed.")
        .def("set_line_acceleration", waits(&Settings::set_line_acceleration), "m_per_s2"_a,
             "Sets the tool's greatest acceleration.")
        .def("set_angular_speed", waits(&Settings::set_angular_speed), "rad_per_s"_a,
             "Sets the tool's greatest angular speed.")
        .def("set_angular_acceleration", waits(&Settings::set_angular_acceleration), "rad_per_s2"_a,
             "Sets the tool's greatest angular acceleration.")
        .def("line_speed_m_s", waits(&Settings::line_speed_m_s), "The tool's greatest speed.")
        .def("line_acceleration_m_s2", waits(&Settings::line_acceleration_m_s2),
             "The tool's greatest acceleration.")
        .def("angular_speed_rad_s", waits(&Settings::angular_speed_rad_s),
             "The tool's greatest angular speed.")
        .def("angular_acceleration_rad_s2", waits(&Settings::angular_acceleration_rad_s2),
             "The tool's greatest angular acceleration.")
        .def("restore", waits(&Settings::restore), "Restores the arm's initial parameters.")
        .def("set_collision_stage", waits(&Settings::set_collision_stage), "stage"_a,
             "Sets the stage of the collision detection, 0 off to 8 most sensitive.")
        .def("collision_stage", waits(&Settings::collision_stage), "The stage of the collision detection.")
        .def("set_link_lengths_mm", waits(&Settings::set_link_lengths_mm), "mm"_a,
             "Sets the lengths of the arm's five links from the base on, to a tenth of a millimetre.")
        .def("link_lengths_mm", waits(&Settings::link_lengths_mm),
             "The lengths of the arm's five links from the base on.")
        .def("set_zero_offsets", takes_joints(&Settings::set_zero_offsets), py::kw_only(),
             "joints_deg"_a = py::none(), "joints_rad"_a = py::none(), "Sets the zero offset of every joint.")
        .def(
            "set_dynamics",
            [](const Settings& settings, const std::vector<float>& parameters) {
                waiting([&] { settings.set_dynamics(parameters); });
            },
            "parameters"_a,
            "Sets the parameters of the arm's dynamic model: 12 values for six joints, 14 for seven.")
        .def("tool_software_version", waits(&Settings::tool_software_version),
             "The end tool's software version.")
        .def("set_servos", waits(&Settings::set_servos), "on"_a, "Switches the arm's servos.")
        .def("set_system_servos", waits(&Settings::set_system_servos), "on"_a,
             "Switches the system's servo state.")
        .def("set_installation", waits(&Settings::set_installation), "x_degrees"_a, "y_degrees"_a,
             "Tells under which angles about the base's x and y axis the arm is installed.");

    using System = kx::System<Throwing>;
    Class<System>(m, "System", "Power, errors, versions, run time.")
        .def("set_power", waits(&System::set_power), "on"_a, "Switches the arm's power.")
        .def("powered", waits(&System::powered), "Whether the arm has power.")
        .def("clear_error", waits(&System::clear_error), "Clears the controller's error.")
        .def("check_hardware_version", waits(&System::check_hardware_version),
             "Checks that the controller tells a hardware version.")
        .def("software_versions", waits(&System::software_versions), "The software versions.")
        .def("write_log", waits(&System::write_log), "Asks the controller to write its log file.")
        .def("run_time", waits(&System::run_time),
             "How long the controller has run; None when it does not tell.")
        .def("clear_run_time", waits(&System::clear_run_time), "Sets the run time back to zero.")
        .def("odometers_deg", waits(&System::odometers_deg),
             "The joints' odometers: whole degrees to and fro added up.")
        .def("clear_odometers", waits(&System::clear_odometers), "Sets the odometers back to zero.")
        .def("set_high_speed_ethernet", waits(&System::set_high_speed_ethernet), "on"_a,
             "Switches the high-speed Ethernet.");

    using Controller = kx::Controller<Throwing>;
    Class<Controller>(
        m, "ControllerGroup",
        "The controller's own state, and its network, whose settings are sent and never answered.")
        .def("state", waits(&Controller::state), "Supply and health.")
        .def("set_access_point", waits(&Controller::set_access_point), "name"_a, "password"_a,
             "Sets up the controller's own WiFi access point.")
        .def("join_wifi", waits(&Controller::join_wifi), "name"_a, "password"_a,
             "Makes the controller join a WiFi.")
        .def("set_usb_baud_rate", waits(&Controller::set_usb_baud_rate), "bits_per_s"_a,
             "Sets the baud rate of the USB port.")
        .def("set_rs485_baud_rate", waits(&Controller::set_rs485_baud_rate), "bits_per_s"_a,
             "Sets the baud rate of the RS485 port.")
        .def("use_ethernet", waits(&Controller::use_ethernet), "Switches the controller to Ethernet.");
}

void bind_frames(py::module_& m)
{
    using Frames = kx::Frames<Throwing>;
    Class<Frames>(
        m, "Frames",
        "Frames that the controller stores by name (at most 9 characters), one of each kind in use; and "
        "the payload.")
        .def(
            "set_tool",
            [](const Frames& frames, const std::string& name, const Pose& pose, float kg,
               const Three& centre) { waiting([&] {
                                          frames.set_tool({name, pose, kg, centre});
                                      }); },
            "name"_a, "pose"_a, py::kw_only(), "payload_kg"_a = 0.0f, "centre_m"_a = Three{},
            "Stores a tool frame, relative to the flange.")
        .def("use_tool", waits(&Frames::use_tool), "name"_a, "Makes a stored tool frame the active one.")
        .def("delete_tool", waits(&Frames::delete_tool), "name"_a,
             "Deletes a stored tool frame; the active one is refused.")
        .def(
            "tool",
            [](const Frames& frames, const std::optional<std::string>& name) {
                return waiting([&] { return name ? frames.tool(*name) : frames.tool(); });
            },
            "name"_a = py::none(), "A stored tool frame, or the active one.")
        .def("tools", waits(&Frames::tools), "The names of all stored tool frames.")
        .def("teach_tool_point", waits(&Frames::teach_tool_point), "point"_a,
             "Takes the arm's present position as a teaching point (from 1) of a tool frame.")
        .def(
            "set_tool_from_points",
            [](const Frames& frames, const std::string& name, float kg, const Three& centre) {
                waiting([&] { frames.set_tool_from_points({name, {}, kg, centre}); });
            },
            "name"_a, py::kw_only(), "payload_kg"_a = 0.0f, "centre_m"_a = Three{},
            "Stores the tool frame that the taught points give.")
        .def(
            "set_work",
            [](const Frames& frames, const std::string& name, const Pose& pose) {
                waiting([&] { frames.set_work({name, pose, 0, {}}); });
            },
            "name"_a, "pose"_a, "Stores a work frame, relative to the base.")
        .def("use_work", waits(&Frames::use_work), "name"_a, "Makes a stored work frame the active one.")
        .def("delete_work", waits(&Frames::delete_work), "name"_a,
             "Deletes a stored work frame; the active one is refused.")
        .def(
            "work",
            [](const Frames& frames, const std::optional<std::string>& name) {
                return waiting([&] { return name ? frames.work(*name) : frames.work(); });
            },
            "name"_a = py::none(), "A stored work frame, or the active one.")
        .def("works", waits(&Frames::works), "The names of all stored work frames.")
        .def("teach_work_point", waits(&Frames::teach_work_point), "name"_a, "point"_a,
             "Takes the arm's present position as a teaching point (from 1) of a work frame.")
        .def("set_payload", waits(&Frames::set_payload), "kg"_a, "centre_m"_a = Three{},
             "Sets the payload at the tool: whole kilograms, 0 to 20, and its centre of mass.")
        .def("clear_payload", waits(&Frames::clear_payload), "Clears the payload.");
}

void bind_peripherals(py::module_& m)
{
    using Io = kx::Io<Throwing>;
    Class<Io>(m, "Io", "Inputs and outputs of the controller and of the tool flange. Channels count from 1.")
        .def("set_output", waits(&Io::set_output), "channel"_a, "on"_a, "Switches a digital output.")
        .def("output", waits(&Io::output), "channel"_a, "Whether a digital output is on.")
        .def("input", waits(&Io::input), "channel"_a, "Whether a digital input is on.")
        .def("set_analog_output", waits(&Io::set_analog_output), "channel"_a, "volts"_a,
             "Sets an analogue output, 0 to 10 V, in steps of a millivolt.")
        .def("inputs", waits(&Io::inputs), "All inputs.")
        .def("outputs", waits(&Io::outputs), "All outputs.")
        .def("set_tool_direction", waits(&Io::set_tool_direction), "channel"_a, "is_output"_a,
             "Makes a channel of the tool flange an output or an input.")
        .def("set_tool_output", waits(&Io::set_tool_output), "channel"_a, "on"_a,
             "Switches an output of the tool flange, without waiting for an answer: tool_channels() tells.")
        .def("tool_channels", waits(&Io::tool_channels), "All channels of the tool flange.")
        .def("set_tool_voltage", waits(&Io::set_tool_voltage), "volts"_a,
             "Sets the supply voltage of the tool flange: 0, 5, 12 or 24 V.")
        .def("tool_voltage_volt", waits(&Io::tool_voltage_volt), "The supply voltage of the tool flange.");

    using Gripper = kx::Gripper<Throwing>;
    Class<Gripper>(
        m, "Gripper",
        "The two-finger gripper, on 24 V of the tool flange. Openings go to a tenth of a millimetre.")
        .def("set_travel", waits(&Gripper::set_travel), "min_mm"_a, "max_mm"_a,
             "Sets the travel limits: openings, 0 to 100 mm.")
        .def("open", waits(&Gripper::open), "speed_mm_s"_a = 50.0,
             "Opens it, and waits until the fingers are at rest; 0.1 to 100 mm/s.")
        .def("pick", waits(&Gripper::pick), "force_newton"_a, "speed_mm_s"_a = 50.0,
             "Closes it until the force is reached, 1 to 100 N, and waits for that; 0.1 to 100 mm/s.")
        .def("hold", waits(&Gripper::hold), "force_newton"_a, "speed_mm_s"_a = 50.0,
             "Closes it and keeps up the force; otherwise as pick().")
        .def("move_to", waits(&Gripper::move_to), "opening_mm"_a,
             "Moves the fingers to an opening within the travel limits.");

    using Hand = kx::Hand<Throwing>;
    Class<Hand>(m, "Hand", "The dexterous hand, on 24 V of the tool flange.")
        .def("take", waits(&Hand::take), "posture"_a, "Takes a posture.")
        .def("run_sequence", waits(&Hand::run_sequence), "number"_a,
             "Runs a stored sequence: 1 grasp twice, 2 pinch twice, 3 show all postures.")
        .def("move_fingers", waits(&Hand::move_fingers), "thousandths"_a,
             "Moves the fingers, 0 bent to 1000 stretched: little, ring, middle and index finger, thumb "
             "bent, thumb "
             "turned.")
        .def("set_speed", waits(&Hand::set_speed), "thousandths_per_s"_a,
             "Sets the fingers' speed, 1 to 1000 thousandths of a finger's way per second.")
        .def("set_force", waits(&Hand::set_force), "thousandths"_a,
             "Sets the fingers' force, 1 to 1000 thousandths of the largest.")
        .def("set_pwm", waits(&Hand::set_pwm), "hertz"_a, "pulse_us"_a,
             "Starts the PWM output of the tool port: 1 to 100000 Hz, pulses no longer than the period.");

    using Force = kx::Force<Throwing>;
    Class<Force>(m, "Force",
                 "The force sensors, force-position control, and targets with a force to be held.")
        .def("wrench", waits(&Force::wrench), "Force and torque; whole units.")
        .def("clear", waits(&Force::clear), "Takes the present force data as zero.")
        .def("calibrate", waits(&Force::calibrate), "Calibrates the force sensor automatically.")
        .def("calibrate_pose", waits(&Force::calibrate_pose), "number"_a, "degrees"_a,
             "Gives one of the four poses of the manual calibration: number 1 to 4, joints 1 to 6.")
        .def("stop_calibration", waits(&Force::stop_calibration), "Breaks the calibration off.")
        .def("fz_newton", waits(&Force::fz_newton), "The one-axis sensor: force along the flange's z.")
        .def("clear_fz", waits(&Force::clear_fz), "Takes the one-axis sensor's present force as zero.")
        .def(
            "calibrate_fz", [](const Force& force) { waiting([&] { force.calibrate_fz(); }); },
            "Calibrates the one-axis sensor automatically.")
        .def(
            "calibrate_fz_by_poses",
            [](const Force& force, const Degrees& first, const Degrees& second) {
                waiting([&] { force.calibrate_fz(first, second); });
            },
            "first_deg"_a, "second_deg"_a, "Calibrates the one-axis sensor by two poses.")
        .def(
            "hold",
            [](const Force& force, double newton, ForceAxis axis, ForceFrame frame, Sensor sensor) {
                waiting([&] { force.hold(force_target(newton, axis, frame, sensor)); });
            },
            "newton"_a, py::kw_only(), "axis"_a = ForceAxis::z, "frame"_a = ForceFrame::flange,
            "sensor"_a = Sensor::six_axis,
            "Switches force-position control on: whole newtons or newton metres, 0 to 200.")
        .def("release", waits(&Force::release), "Switches force-position control off.")
        .def("start_following", waits(&Force::start_following), "Begins to follow targets with a force held.")
        .def(
            "follow_pose",
            [](const Force& force, const Pose& target, double newton, ForceAxis axis, ForceFrame frame,
               Sensor sensor) {
                waiting([&] { force.follow_pose(target, force_target(newton, axis, frame, sensor)); });
            },
            "target"_a, "newton"_a, py::kw_only(), "axis"_a = ForceAxis::z, "frame"_a = ForceFrame::flange,
            "sensor"_a = Sensor::six_axis,
            "Sends a target at once and awaits nothing. Positions are cut to whole metres and angles to "
            "whole radians on "
            "the way.")
        .def(
            "follow_joints",
            [](const Force& force, double newton, const Degs& deg, const Rads& rad, ForceAxis axis,
               ForceFrame frame, Sensor sensor) {
                const Degrees joints = angles(deg, rad);
                waiting([&] { force.follow_joints(joints, force_target(newton, axis, frame, sensor)); });
            },
            "newton"_a, py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "axis"_a = ForceAxis::z, "frame"_a = ForceFrame::flange, "sensor"_a = Sensor::six_axis,
            "The same with joint angles, cut to whole degrees on the way.")
        .def("stop_following", waits(&Force::stop_following), "Ends following.");

    using Modbus = kx::Modbus<Throwing>;
    Class<Modbus, std::unique_ptr<Modbus, LetGo>>(
        m, "Modbus",
        "A port of the controller that is open for Modbus. Devices are 1 to 247, addresses 0 to 65535.")
        .def(
            "close", [](Modbus& modbus) { waiting([&] { modbus.close(); }); }, "Closes the port.")
        .def("__enter__", [](py::object modbus) { return modbus; })
        .def("__exit__", [](Modbus& modbus, const py::args&) { waiting([&] { modbus.close(); }); })
        .def("read_coils", waits(&Modbus::read_coils), "device"_a, "address"_a, "count"_a,
             "Reads coils, 1 to 31.")
        .def("read_inputs", waits(&Modbus::read_inputs), "device"_a, "address"_a, "count"_a,
             "Reads discrete inputs, 1 to 31.")
        .def("read_register", waits(&Modbus::read_register), "device"_a, "address"_a,
             "Reads a holding register.")
        .def("read_input_register", waits(&Modbus::read_input_register), "device"_a, "address"_a,
             "Reads an input register.")
        .def("write_coil", waits(&Modbus::write_coil), "device"_a, "address"_a, "on"_a, "Writes a coil.")
        .def("write_coils", waits(&Modbus::write_coils), "device"_a, "address"_a, "coils"_a,
             "Writes coils; 272 always fit.")
        .def("write_register", waits(&Modbus::write_register), "device"_a, "address"_a, "value"_a,
             "Writes a register, 0 to 65535.")
        .def(
            "write_registers",
            [](const Modbus& modbus, int device, int address, const std::vector<uint8_t>& values) {
                waiting([&] { modbus.write_registers(device, address, values); });
            },
            "device"_a, "address"_a, "values"_a, "Writes registers with values of 0 to 255; 34 always fit.");
}

void bind_carriers(py::module_& m)
{
    using Lift = kx::Lift<Throwing>;
    Class<Lift>(m, "Lift", "The vertical lift.")
        .def("move_to", waits(&Lift::move_to), "height_mm"_a, "speed_mm_s"_a,
             "Moves to a height, 0 to 1000 mm, with 1 to 200 mm/s. Do not move the arm at the same time.")
        .def("send_to", waits(&Lift::send_to), "height_mm"_a, "speed_mm_s"_a,
             "Sends it to a height without awaiting its arrival.")
        .def("drive", waits(&Lift::drive), "speed_mm_s"_a,
             "Moves at a speed, -200 to 200 mm/s, downwards if negative; 0 stops.")
        .def("state", waits(&Lift::state), "Its state.");

    using MobileBase = kx::MobileBase<Throwing>;
    Class<MobileBase>(m, "MobileBase", "The wheeled base that carries the arm.")
        .def("drive", waits(&MobileBase::drive), "mm_s"_a, "mrad_s"_a,
             "Drives: -1500 to 1500 mm/s, -2000 to 2000 mrad/s.")
        .def("drive_vehicle", waits(&MobileBase::drive_vehicle), "mm_s"_a, "mrad_s"_a,
             "Drives the carrying vehicle, where the controller knows one apart from the base.")
        .def("send_to", waits(&MobileBase::send_to), "station"_a, "speed_mm_s"_a = 0,
             "Sends it to a station, 1 to 10; speed 1 to 1500 mm/s, or 0 for that of set_navigation_speed().")
        .def("set_navigation_speed", waits(&MobileBase::set_navigation_speed), "mm_s"_a,
             "Sets the speed between stations, 1 to 1500 mm/s.")
        .def("set_navigation_mode", waits(&MobileBase::set_navigation_mode), "mode"_a,
             "Chooses how it finds its way between stations, 0 or 1.")
        .def("set_station", waits(&MobileBase::set_station), "station"_a,
             "Tells it at which station it stands, 1 to 10.")
        .def("charge", waits(&MobileBase::charge), "on"_a,
             "Starts charging, which asks for station 1, or ends it.")
        .def("state", waits(&MobileBase::state), "Its state.");

    using Teaching = kx::Teaching<Throwing>;
    Class<Teaching>(m, "Teaching",
                    "Jogging until stopped, single steps, and the controller's list of waypoints.")
        .def("jog_joint", waits(&Teaching::jog_joint), "joint"_a, "direction"_a, "speed_percent"_a,
             "Moves a joint until stop_jogging().")
        .def("jog_position", waits(&Teaching::jog_position), "axis"_a, "direction"_a, "speed_percent"_a,
             "Moves the tool along an axis until stop_jogging().")
        .def("jog_rotation", waits(&Teaching::jog_rotation), "axis"_a, "direction"_a, "speed_percent"_a,
             "Turns the tool about an axis until stop_jogging().")
        .def("stop_jogging", waits(&Teaching::stop_jogging), "Ends jogging.")
        .def("step_joint", waits(&Teaching::step_joint), "joint"_a, "degrees"_a, "speed_percent"_a = 20,
             "Moves a joint by a step.")
        .def("step_position", waits(&Teaching::step_position), "axis"_a, "metres"_a, "speed_percent"_a = 20,
             "Moves the tool along an axis by a step, -3 to 3 m.")
        .def("step_rotation", waits(&Teaching::step_rotation), "axis"_a, "radians"_a, "speed_percent"_a = 20,
             "Turns the tool about an axis by a step, -3 to 3 rad.")
        .def("add_waypoint", takes_joints(&Teaching::add_waypoint), py::kw_only(),
             "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
             "Appends a waypoint to the controller's list.")
        .def("play_waypoints", waits(&Teaching::play_waypoints), "hertz"_a,
             "Plays the waypoints back, 1 to 1000 a second.")
        .def("stop_waypoints", waits(&Teaching::stop_waypoints), "Stops playing back.")
        .def("clear_waypoints", waits(&Teaching::clear_waypoints), "Empties the list of waypoints.");

    using Dragging = kx::Dragging<Throwing>;
    Class<Dragging>(m, "Dragging",
                    "Teaching by hand: start(), drag the arm, stop(), go_to_origin(), replay().")
        .def(
            "start",
            [](const Dragging& dragging, std::optional<DragAxes> axes) {
                waiting([&] { axes ? dragging.start(*axes) : dragging.start(); });
            },
            "axes"_a = py::none(),
            "Sets the arm free to be dragged, and records its path; or sets only some axes free.")
        .def("stop", waits(&Dragging::stop), "Ends dragging and recording.")
        .def("go_to_origin", waits(&Dragging::go_to_origin), "Moves to the first point of the recorded path.")
        .def("replay", waits(&Dragging::replay),
             "Replays the recorded path; the arm must stand at its origin.")
        .def("pause_replay", waits(&Dragging::pause_replay), "Pauses the replay.")
        .def("continue_replay", waits(&Dragging::continue_replay), "Continues a paused replay.")
        .def("stop_replay", waits(&Dragging::stop_replay), "Ends the replay.");
}

} // namespace

void bind_groups(py::module_& m)
{
    bind_settings(m);
    bind_frames(m);
    bind_peripherals(m);
    bind_carriers(m);
}

} // namespace kx::python
