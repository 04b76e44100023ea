// kx.Arm.
#include "module.h"
#include "values.h"

namespace kx::python {

namespace {

struct LeaveToParent {
    void operator()(Arm* arm) const
    {
        if (arm->owner == getpid()) LetGo()(arm);
    }
};

const Arm& here(const Arm& arm)
{
    if (arm.owner != getpid()) raise("KX_Link_State", KX_BAD_DESCRIPTOR, "the arm is the parent process's");
    return arm;
}

// Settings that a link makes again on each later connection.
struct SetUp {
    int link;
};

struct Timeout {
    std::chrono::milliseconds timeout;
    int before = 0;
};

std::chrono::milliseconds or_default(std::optional<double> time_s)
{
    return time_s ? milliseconds(*time_s) : std::chrono::milliseconds(0);
}

std::unique_ptr<Arm, LeaveToParent> connect(const std::string& host, int port, int model,
                                            std::optional<double> connect_timeout_s,
                                            std::optional<double> reply_timeout_s,
                                            std::optional<double> late_reply_s,
                                            std::optional<double> silence_s, bool reconnect)
{
    Options options;
    options.connect_timeout = or_default(connect_timeout_s);
    options.reply_timeout = or_default(reply_timeout_s);
    options.late_reply = or_default(late_reply_s);
    options.silence = or_default(silence_s);
    options.reconnect = reconnect;
    return waiting([&] { return std::unique_ptr<Arm, LeaveToParent>(new Arm(host, port, model, options)); });
}

using Degs = std::optional<Degrees>;
using Rads = std::optional<Radians>;

} // namespace

void bind_arm(py::module_& m)
{
    Class<SetUp>(m, "SetUp", "As a context: registers the settings that are made in it.")
        .def("__enter__",
             [](const SetUp& set_up) {
                 Throwing::done(set_up.link, "KX_Link_Begin_Setup", KX_Link_Begin_Setup(set_up.link));
             })
        .def("__exit__", [](const SetUp& set_up, const py::args&) { KX_Link_End_Setup(set_up.link); });

    Class<Timeout>(m, "CallTimeout", "As a context: how long this thread waits for answers, on whatever arm.")
        .def(py::init([](double timeout_s) { return Timeout{milliseconds(timeout_s)}; }), "timeout_s"_a)
        .def("__enter__",
             [](Timeout& t) { t.before = KX_Link_Call_Timeout(static_cast<int>(t.timeout.count())); })
        .def("__exit__", [](const Timeout& t, const py::args&) { KX_Link_Call_Timeout(t.before); });

    Class<Arm, std::unique_ptr<Arm, LeaveToParent>> type(
        m, "Arm",
        "An arm, connected until it is closed, best as a context: `with kx.Arm(\"192.0.2.10\", 8080, "
        "model=46) as "
        "arm:`. Any number of threads may call any of its methods at once.");

    type.def(py::init(&connect), "host"_a, "port"_a, "model"_a, py::kw_only(),
             "connect_timeout_s"_a = py::none(), "reply_timeout_s"_a = py::none(),
             "late_reply_s"_a = py::none(), "silence_s"_a = py::none(), "reconnect"_a = false,
             "Connects to a controller. The model is 36, 46 (six joints) or 47 (seven).")
        .def(
            "close", [](Arm& arm) { waiting([&] { here(arm), arm.close(); }); },
            "Closes the connection. Whoever waits on it gets Cancelled; the arm itself goes on with what it "
            "was doing.")
        .def("__enter__", [](py::object arm) { return arm; })
        .def("__exit__", [](Arm& arm, const py::args&) { waiting([&] { here(arm), arm.close(); }); })
        .def("_repr_html_",
             [](const py::object& arm) { return py::module_::import("kx.display").attr("arm")(arm); })
        .def_property_readonly("handle", &kx::Arm::handle, "for the functions of the C interface")
        .def_property_readonly("model", &kx::Arm::model, "36, 46 or 47")
        .def_property_readonly("joint_count", &kx::Arm::joint_count, "six or seven");

    // Motion.
    type.def(
            "move_joints",
            [](const Arm& arm, const Degs& deg, const Rads& rad, int speed, float blend) {
                const Degrees target = angles(deg, rad);
                return waiting([&] { return arm.move_joints(target, {speed, blend}); });
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(), "speed_percent"_a = 20,
            "blend_m"_a = 0.0f, "Moves all joints to a target, arriving together.")
        .def(
            "move_to",
            [](const Arm& arm, const Pose& target, int speed, float blend) {
                return waiting([&] { return arm.move_to(target, {speed, blend}); });
            },
            "target"_a, py::kw_only(), "speed_percent"_a = 20, "blend_m"_a = 0.0f,
            "Moves all joints such that the tool arrives at a pose.")
        .def(
            "move_line",
            [](const Arm& arm, const Pose& target, int speed, float blend) {
                return waiting([&] { return arm.move_line(target, {speed, blend}); });
            },
            "target"_a, py::kw_only(), "speed_percent"_a = 20, "blend_m"_a = 0.0f,
            "Moves the tool along a straight line to a pose.")
        .def(
            "move_circle",
            [](const Arm& arm, const Pose& via, const Pose& target, int speed, float blend, int repeats) {
                return waiting([&] { return arm.move_circle(via, target, {speed, blend}, repeats); });
            },
            "via"_a, "target"_a, py::kw_only(), "speed_percent"_a = 20, "blend_m"_a = 0.0f, "repeats"_a = 0,
            "Moves the tool along the circle through two poses, to the second one, and `repeats` times more.")
        .def("stop", waits<Arm>(&kx::Arm::stop), "Stops the arm and drops all planned motions.")
        .def("pause", waits<Arm>(&kx::Arm::pause), "Pauses the running motion.")
        .def("resume", waits<Arm>(&kx::Arm::resume), "Continues a paused motion.")
        .def("drop_motion", waits<Arm>(&kx::Arm::drop_motion), "Drops the running motion.")
        .def("drop_all_motions", waits<Arm>(&kx::Arm::drop_all_motions), "Drops all planned motions.")
        .def(
            "wait_between_motions",
            [](const Arm& arm, double time_s) {
                const auto time = milliseconds(time_s);
                waiting([&] { arm.wait_between_motions(time); });
            },
            "time_s"_a, "Lets the controller wait between two motions, 1 ms to 1 h.")
        .def("motion_kind", waits<Arm>(&kx::Arm::motion_kind), "The kind of the running motion.")
        .def("plan_number", waits<Arm>(&kx::Arm::plan_number), "The number of the running plan.")
        .def(
            "send_joints",
            [](const Arm& arm, const Degs& deg, const Rads& rad) {
                const Degrees target = angles(deg, rad);
                waiting([&] { arm.send_joints(target); });
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "Sends joint angles straight to the drives; awaits nothing. Each must lie close to the one "
            "before, 200 a "
            "second; pushes() tell what became of them.")
        .def("send_pose", waits<Arm>(&kx::Arm::send_pose), "target"_a, "The same with a pose.");

    // State.
    type.def("state", waits<Arm>(&kx::Arm::state), "Joint angles, tool pose and error codes.")
        .def("joints_deg", waits<Arm>(&kx::Arm::joints), "The joint angles.")
        .def(
            "joints_rad", [](const Arm& arm) { return waiting([&] { return Radians(arm.joints()); }); },
            "The joint angles.")
        .def("health", waits<Arm>(&kx::Arm::health),
             "Temperatures, voltages, currents and error codes of the joints: two questions.")
        .def(
            "set_home",
            [](const Arm& arm, const Degs& deg, const Rads& rad) {
                const Degrees joints = angles(deg, rad);
                waiting([&] { arm.set_home(joints); });
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "Sets the arm's initial joint position.")
        .def("home_deg", waits<Arm>(&kx::Arm::home), "The arm's initial joint position.")
        .def(
            "pushes", [](const Arm& arm, size_t capacity) { return pushes_of(here(arm), capacity); },
            "capacity"_a = 256, py::keep_alive<0, 1>(),
            "Every push from now on, in a queue of its own. When it is full the oldest goes, and is counted.")
        .def(
            "states",
            [](const Arm& arm, double hertz, size_t capacity) {
                return states_of(here(arm), hertz, capacity);
            },
            "hz"_a, "capacity"_a = 16, py::keep_alive<0, 1>(),
            "The state at a rate, up to 1000 Hz, in a queue; ends what was subscribed before.")
        .def(
            "unsubscribe", [](const Arm& arm) { waiting([&] { here(arm).unsubscribe(); }); },
            "Ends states().");

    // Groups.
    type.def_readonly("drives", &kx::Arm::drives, "settings of single joints")
        .def_readonly("settings", &kx::Arm::settings, "settings of the arm as a whole")
        .def_readonly("system", &kx::Arm::system, "power, errors, versions")
        .def_readonly("controller", &kx::Arm::controller, "supply, network")
        .def_readonly("frames", &kx::Arm::frames, "tool and work frames, payload")
        .def_readonly("io", &kx::Arm::io, "inputs and outputs")
        .def_readonly("gripper", &kx::Arm::gripper, "two fingers")
        .def_readonly("hand", &kx::Arm::hand, "five fingers")
        .def_readonly("force", &kx::Arm::force, "force sensing and control")
        .def_readonly("lift", &kx::Arm::lift, "vertical lift")
        .def_readonly("base", &kx::Arm::base, "mobile base")
        .def_readonly("teaching", &kx::Arm::teaching, "jogging, steps, waypoints")
        .def_readonly("dragging", &kx::Arm::dragging, "teaching by hand")
        .def(
            "modbus",
            [](const Arm& arm, ModbusPort port, int bits_per_s, double timeout_s) {
                const auto timeout = milliseconds(timeout_s);
                return waiting([&] {
                    return std::unique_ptr<Modbus<Throwing>, LetGo>(
                        new Modbus<Throwing>(arm.modbus(port, bits_per_s, timeout)));
                });
            },
            "port"_a, "bits_per_s"_a = 115200, "timeout_s"_a = 1.0, py::keep_alive<0, 1>(),
            "Opens a port for Modbus; best as a context, which closes it.");

    // Connection.
    type.def("cancel", &kx::Arm::cancel,
             "Ends all present waits of all threads on this arm with Cancelled. This stops no arm.")
        .def("connection", &kx::Arm::connection, "How the connection is.")
        .def(
            "wait_until_ready",
            [](const Arm& arm, double timeout_s) {
                const auto timeout = milliseconds(timeout_s);
                waiting([&] { arm.wait_until_ready(timeout); });
            },
            "timeout_s"_a, "Waits until the connection is ready, after a loss with reconnect=True.")
        .def(
            "set_up", [](const Arm& arm) { return SetUp{arm.handle()}; },
            "As a context: settings made in it are made now, and again on each later connection before the "
            "arm is "
            "ready. Only settings and questions are allowed in it.")
        .def(
            "set_timeout", [](const Arm& arm, double timeout_s) { arm.set_timeout(milliseconds(timeout_s)); },
            "timeout_s"_a, "Sets how long answers are waited for.")
        .def("counters", &kx::Arm::counters, "What the connection has done.")
        .def("reason", &kx::Arm::reason,
             "What the controller said when it last refused something that this thread had waited for.");
}

} // namespace kx::python
