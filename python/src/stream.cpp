// kx.Stream.
#include "module.h"
#include "values.h"

#include <functional>

namespace kx::python {

namespace {

using Stream = kx::Stream<Throwing>;
using Degs = std::optional<Degrees>;
using Rads = std::optional<Radians>;
using PerJointOrAll = std::optional<Floats>;

// One number for all joints, or one for each.
void set(float (&limits)[7], const PerJointOrAll& values, int joints)
{
    if (!values) return;
    const py::ssize_t count = values->size();
    if (count != 1 && count != joints)
        throw py::value_error("a limit is one number, or one for each of the " + std::to_string(joints) +
                              " joints");
    for (int i = 0; i < joints; ++i)
        limits[i] = values->data()[count == 1 ? 0 : i];
}

template <class T>
void set(T& option, const std::optional<double>& value)
{
    if (value) option = static_cast<T>(*value);
}

std::optional<Time> time_of(std::optional<double> time_s)
{
    if (!time_s) return std::nullopt;
    if (!(std::abs(*time_s) < 9e9)) throw py::value_error("a time is seconds of time.monotonic()");
    return Time(std::chrono::duration_cast<Time::duration>(std::chrono::duration<double>(*time_s)));
}

// Waits until a stream has ended, for the last target or after a stop; returns what KX_Stream_Wait does. In short steps,
// since what a thread looks at while it waits on a link, it does not look at here.
int wait_for_end(const Stream& stream, std::optional<double> timeout_s)
{
    using Duration = Time::duration;
    constexpr Duration none{}, period = std::chrono::milliseconds(50);
    const auto until = timeout_s ? Stream::now() + milliseconds(*timeout_s) : Time::max();
    int status = KX_TIMED_OUT;
    {
        Waiting waiting;
        while (status == KX_TIMED_OUT) {
            const Duration left = until - Stream::now();
            const auto step = std::chrono::ceil<std::chrono::milliseconds>(std::clamp(left, none, period));
            status = KX_Stream_Wait(stream.handle(), static_cast<int>(step.count()));
            if (left <= none) break;
            if (status == KX_TIMED_OUT && waiting.look()) status = KX_CANCELLED;
        }
    }
    if (PyErr_Occurred()) throw py::error_already_set();
    return status;
}

bool finish(const Stream& stream, std::optional<double> timeout_s)
{
    const int status = wait_for_end(stream, timeout_s);
    if (status != KX_SUCCESS && status != KX_ENDED) raise("KX_Stream_Wait", status, "");
    return status == KX_SUCCESS;
}

py::object cycle_of(const KX_STREAM_CYCLE& cycle, int joints)
{
    const auto angles = [joints](const float* degrees) { return py::array_t<float>(joints, degrees); };
    return record("StreamCycle", "time_s"_a = cycle.time, "target_deg"_a = angles(cycle.target),
                  "sent_deg"_a = angles(cycle.sent), "measured_deg"_a = angles(cycle.measured),
                  "measured_s"_a = cycle.measured_at, "is_limited"_a = cycle.is_limited);
}

py::object counters_of(const KX_STREAM_COUNTERS& c)
{
    return record("StreamCounters", "priority"_a = c.priority, "targets"_a = c.targets,
                  "ignored"_a = c.ignored, "late_targets"_a = c.late_targets, "cycles"_a = c.cycles,
                  "late_cycles"_a = c.late_cycles, "limited_cycles"_a = c.limited_cycles,
                  "pushes"_a = c.pushes, "jitter_median_ms"_a = c.jitter_median,
                  "jitter_p99_ms"_a = c.jitter_p99, "jitter_most_ms"_a = c.jitter_most,
                  "lag_median_ms"_a = c.lag_median, "lag_p99_ms"_a = c.lag_p99,
                  "following_error_deg"_a = c.following_error, "following_most_deg"_a = c.following_most);
}

// A stream that Python closes when it likes.
struct Open {
    std::optional<Stream> stream;
    int joints;

    const Stream& operator*() const
    {
        if (!stream) raise("KX_Stream_Close", KX_BAD_DESCRIPTOR, "the stream was closed");
        return *stream;
    }

    // A wait that is cancelled leaves it braking.
    void close()
    {
        if (!stream) return;
        stream->stop();
        const int status = wait_for_end(*stream, std::nullopt);
        if (status == KX_CANCELLED) raise("KX_Stream_Close", status, "");
        waiting([&] { stream.reset(); });
    }
};

std::unique_ptr<Open, LetGo>
open(const Arm& arm, std::optional<double> rate_hz, std::optional<double> look_ahead_s,
     std::optional<double> watchdog_s, std::optional<double> silence_s, const PerJointOrAll& velocity,
     const PerJointOrAll& acceleration, const PerJointOrAll& jerk, std::optional<double> tool_velocity,
     std::optional<double> tool_acceleration, std::optional<double> tool_jerk,
     std::optional<double> following_error, std::optional<int> priority, const Model* model)
{
    KX_STREAM_OPTIONS options = stream_options();
    set(options.rate, rate_hz);
    set(options.look_ahead, look_ahead_s);
    set(options.watchdog, watchdog_s);
    set(options.silence, silence_s);
    set(options.velocity, velocity, arm.joint_count());
    set(options.acceleration, acceleration, arm.joint_count());
    set(options.jerk, jerk, arm.joint_count());
    set(options.tool_velocity, tool_velocity);
    set(options.tool_acceleration, tool_acceleration);
    set(options.tool_jerk, tool_jerk);
    set(options.following_error, following_error);
    if (priority) options.priority = *priority;
    options.arm = model ? &model->c() : nullptr;
    return waiting([&] {
        return std::unique_ptr<Open, LetGo>(new Open{arm.stream(options), arm.joint_count()});
    });
}

} // namespace

void bind_stream(py::module_& m, py::object arm)
{
    Class<Open, std::unique_ptr<Open, LetGo>>(
        m, "Stream",
        "A stream of targets to an arm, with a sender of its own that interpolates and keeps the "
        "limits. Best as a "
        "context: leaving it waits until the arm stands, leaving it by an exception brakes.")
        .def(
            "joints",
            [](const Open& open, const Degs& deg, const Rads& rad, std::optional<double> time_s) {
                const Degrees target = angles(deg, rad);
                const auto time = time_of(time_s);
                return waiting([&] { return time ? (*open).joints(target, *time) : (*open).joints(target); });
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(), "time_s"_a = py::none(),
            "Gives the next target, passed the look-ahead after its time, which is one of time.monotonic(); "
            "without a "
            "time goes for it at once. False, and not taken, once the stream has ended.")
        .def(
            "pose",
            [](const Open& open, const Pose& target, std::optional<double> time_s) {
                const auto time = time_of(time_s);
                return waiting([&] { return time ? (*open).pose(target, *time) : (*open).pose(target); });
            },
            "target"_a, py::kw_only(), "time_s"_a = py::none(),
            "The same with a pose of the tool, reached in the arm's present posture.")
        .def(
            "play", [](const Open& open, const std::string& path) { waiting([&] { (*open).play(path); }); },
            "path"_a, "Plays a file of rows `time, joint 1, ...` in s and degrees.")
        .def(
            "set_speed", [](const Open& open, double factor) { (*open).set_speed(factor); }, "factor"_a,
            "Sets the speed along the path, 0 to 1.5.")
        .def(
            "pause", [](const Open& open) { (*open).pause(); }, "Brakes on the path and waits there.")
        .def(
            "resume", [](const Open& open) { (*open).resume(); }, "Goes on after pause().")
        .def(
            "stop", [](const Open& open) { (*open).stop(); },
            "Brakes as fast as the limits allow, and ends the stream.")
        .def(
            "finish",
            [](const Open& open, std::optional<double> timeout_s) { return finish(*open, timeout_s); },
            "timeout_s"_a = py::none(),
            "Says that no more targets follow, and waits until the arm stands at the last one. False: it "
            "ended "
            "otherwise, end_words tells why. Raises TimedOut when it is still on its way.")
        .def_property_readonly(
            "runs", [](const Open& open) { return open.stream && open.stream->end() == KX_STREAM_RUNS; },
            "whether it has not ended")
        .def_property_readonly(
            "end_words", [](const Open& open) { return (*open).end_words(); }, "why it has ended")
        .def(
            "cycle", [](const Open& open) { return cycle_of((*open).cycle(), open.joints); },
            "The last cycle: where targets lead, what was sent, what the arm told.")
        .def(
            "counters", [](const Open& open) { return counters_of((*open).counters()); }, "What it has done.")
        .def("close", &Open::close, "Brakes and closes it.")
        .def("__enter__", [](py::object stream) { return stream; })
        .def(
            "__exit__",
            [](Open& open, const py::object& type, const py::object&, const py::object&) {
                try {
                    if (type.is_none() && open.stream) finish(*open, std::nullopt);
                } catch (...) {
                    open.close();
                    throw;
                }
                open.close();
            },
            "type"_a, "error"_a, "traceback"_a);

    const py::object none = py::none();
    arm.attr("stream") = py::cpp_function(
        open, py::name("stream"), py::is_method(arm), py::kw_only(), "rate_hz"_a = none,
        "look_ahead_s"_a = none, "watchdog_s"_a = none, "silence_s"_a = none, "velocity_deg_s"_a = none,
        "acceleration_deg_s2"_a = none, "jerk_deg_s3"_a = none, "tool_velocity_m_s"_a = none,
        "tool_acceleration_m_s2"_a = none, "tool_jerk_m_s3"_a = none, "following_error_deg"_a = none,
        "priority"_a = none, "model"_a = py::none(), py::keep_alive<0, 1>(),
        "Opens a stream of targets, one at a time. What is not given is as the library has it; limits of "
        "joints are one "
        "number, or one for each.");
}

} // namespace kx::python
