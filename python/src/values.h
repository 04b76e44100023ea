// What Python gives and gets for the values of kx::Arm: numpy arrays for numbers of joints, words for enumerations, the
// records of kx/records.py for structs.
#pragma once

#include "waiting.h"

#include <pybind11/chrono.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <string_view>

namespace kx::python {

using namespace py::literals;

// A class of the module. Its own class is `type`, as for those written in Python, since it has no static properties.
template <class T, class... Options>
struct Class : py::class_<T, Options...> {
    Class(py::module_& m, const char* name, const char* doc)
        : py::class_<T, Options...>(m, name, doc, py::metaclass(reinterpret_cast<PyObject*>(&PyType_Type)))
    {
    }
};

// Arrays of single precision, made from whatever can be turned into one.
using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;

template <class T>
py::array_t<T> array_of(const PerJoint<T>& values)
{
    return py::array_t<T>(values.size(), values.data());
}

// Joint angles given in degrees or in radians, whichever of the two is there.
inline Degrees angles(const std::optional<Degrees>& joints_deg, const std::optional<Radians>& joints_rad)
{
    if (joints_deg.has_value() == joints_rad.has_value())
        throw py::type_error("joint angles are given either by joints_deg or by joints_rad");
    return joints_deg ? *joints_deg : Degrees(*joints_rad);
}

// Times in Python are seconds; in the library they are whole milliseconds, not 0 for what is a time.
inline std::chrono::milliseconds milliseconds(double seconds)
{
    if (!(seconds >= 0)) throw py::value_error("a time is 0 s or more");
    return std::chrono::milliseconds(static_cast<int>(std::ceil(std::min(1000 * seconds, 2e9))));
}

inline double seconds(Time time)
{
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

// The words for the values of an enumeration, from the first value on.
template <class Enumeration>
struct Words;

#define KX_WORDS(enumeration, first_value, ...)                                                              \
    template <>                                                                                              \
    struct Words<enumeration> {                                                                              \
        static constexpr int first = first_value;                                                            \
        static constexpr std::string_view words[] = {__VA_ARGS__};                                           \
    }

KX_WORDS(Direction, 0, "negative", "positive");
KX_WORDS(Axis, 0, "x", "y", "z");
KX_WORDS(DragAxes, 0, "all", "position", "orientation");
KX_WORDS(Posture, 1, "open", "fist", "pinch", "point", "thumb_up");
KX_WORDS(Sensor, 0, "one_axis", "six_axis");
KX_WORDS(ForceFrame, 0, "base", "flange");
KX_WORDS(ForceAxis, 0, "x", "y", "z", "about_x", "about_y", "about_z");
KX_WORDS(ModbusPort, 0, "controller", "flange");
KX_WORDS(BaseMode, 0, "standing", "driving", "on_the_way", "charging");
KX_WORDS(ARM_CTRL_MODES, 0, "none", "joint", "line", "circle");
KX_WORDS(KX_LINK_STATE, 0, "closed", "down", "connecting", "ready");
KX_WORDS(ARM_FRAME, 0, "world", "base", "tool");
#undef KX_WORDS

template <class T>
concept HasWords = requires
{
    Words<T>::first;
};

// A record of kx/records.py.
template <class... Fields>
py::object record(const char* name, Fields&&... fields)
{
    return py::module_::import("kx.records").attr(name)(std::forward<Fields>(fields)...);
}

inline py::object of(const State& state)
{
    return record("State", "joints_deg"_a = array_of(state.joints), "pose"_a = state.pose,
                  "arm_error"_a = state.arm_error, "controller_error"_a = state.controller_error,
                  "asked_s"_a = seconds(state.asked), "answered_s"_a = seconds(state.answered),
                  "status"_a = state.status);
}

inline py::object of(const JointHealth& health)
{
    return record("JointHealth", "temperature_celsius"_a = array_of(health.temperature_celsius),
                  "voltage_volt"_a = array_of(health.voltage_volt),
                  "current_ampere"_a = array_of(health.current_ampere), "error"_a = array_of(health.error),
                  "controller_error"_a = health.controller_error);
}

inline py::object of(const Push& push)
{
    return record("Push", "type"_a = push.type, "result"_a = push.result,
                  "joints_deg"_a = array_of(push.joints), "pose"_a = push.pose,
                  "received_s"_a = seconds(push.received));
}

inline py::object of(const Frame& frame)
{
    return record("Frame", "name"_a = frame.name, "pose"_a = frame.pose, "payload_kg"_a = frame.payload_kg,
                  "centre_m"_a = py::tuple(py::cast(frame.centre_m)));
}

inline py::object of(const Channels& channels)
{
    return record("Channels", "digital"_a = channels.digital, "volts"_a = channels.volts);
}

inline py::object of(const ToolChannel& channel)
{
    return record("ToolChannel", "is_output"_a = channel.is_output, "is_on"_a = channel.is_on);
}

inline py::object of(const Wrench& wrench)
{
    return record("Wrench", "force_newton"_a = py::array_t<float>(3, wrench.force_newton.data()),
                  "torque_newton_metre"_a = py::array_t<float>(3, wrench.torque_newton_metre.data()));
}

inline py::object of(const LiftState& state)
{
    return record("LiftState", "height_mm"_a = state.height_mm,
                  "current_milliampere"_a = state.current_milliampere, "error"_a = state.error);
}

inline py::object of(const BaseState& state)
{
    return record("BaseState", "battery_percent"_a = state.battery_percent,
                  "voltage_millivolt"_a = state.voltage_millivolt,
                  "current_milliampere"_a = state.current_milliampere, "error"_a = state.error,
                  "mode"_a = state.mode, "station"_a = state.station);
}

inline py::object of(const ControllerState& state)
{
    return record("ControllerState", "voltage_volt"_a = state.voltage_volt,
                  "current_ampere"_a = state.current_ampere,
                  "temperature_celsius"_a = state.temperature_celsius, "error"_a = state.error);
}

inline py::object of(const SoftwareVersions& versions)
{
    return record("SoftwareVersions", "planner"_a = versions.planner, "control"_a = versions.control);
}

inline py::object of(const Solution& solution)
{
    return record("Solution", "code"_a = int(solution.code),
                  "joints_deg"_a = solution ? py::object(array_of(solution.joints)) : py::none());
}

inline py::object of(const ARM_DEXTERITY& dexterity)
{
    return record("Dexterity", "manipulability"_a = dexterity.manipulability,
                  "distance"_a = dexterity.distance, "condition"_a = dexterity.condition);
}

inline py::object of(const KX_LINK_COUNTERS& c)
{
    return record("Counters", "sent"_a = c.sent, "received"_a = c.received, "answered"_a = c.answered,
                  "refused"_a = c.refused, "pushes"_a = c.pushes, "timed_out"_a = c.timed_out,
                  "late"_a = c.late, "foreign"_a = c.foreign, "dropped"_a = c.dropped,
                  "callbacks_lost"_a = c.callbacks_lost, "states_missed"_a = c.states_missed,
                  "losses"_a = c.losses, "reconnects"_a = c.reconnects, "waiting"_a = c.waiting,
                  "outbox"_a = c.outbox, "round_trips"_a = py::tuple(py::cast(std::to_array(c.round_trips))));
}

template <class T>
concept HasRecord = requires(const T& value)
{
    of(value);
};

} // namespace kx::python

namespace pybind11::detail {

template <kx::python::HasWords T>
struct type_caster<T> {
    PYBIND11_TYPE_CASTER(T, const_name("str"));
    using Words = kx::python::Words<T>;

    bool load(handle source, bool)
    {
        if (!isinstance<str>(source)) return false;
        const auto word = source.cast<std::string>();
        std::string wanted;
        for (int i = 0; i < int(std::size(Words::words)); ++i) {
            if (Words::words[i] == word) {
                value = static_cast<T>(Words::first + i);
                return true;
            }
            wanted += (i ? ", " : "") + std::string(Words::words[i]);
        }
        throw value_error("'" + word + "' is none of " + wanted);
    }

    static handle cast(T value, return_value_policy, handle)
    {
        const auto i = static_cast<size_t>(static_cast<int>(value) - Words::first);
        return str(i < std::size(Words::words) ? std::string(Words::words[i]) : "unknown").release();
    }
};

template <kx::python::HasRecord T>
struct type_caster<T> {
    PYBIND11_TYPE_CASTER(T, const_name("record"));
    bool load(handle, bool) { return false; }
    static handle cast(const T& value, return_value_policy, handle)
    {
        return kx::python::of(value).release();
    }
};

template <class T>
struct type_caster<kx::PerJoint<T>> {
    PYBIND11_TYPE_CASTER(kx::PerJoint<T>, const_name("numpy.ndarray"));
    bool load(handle, bool) { return false; }
    static handle cast(const kx::PerJoint<T>& values, return_value_policy, handle)
    {
        return kx::python::array_of(values).release();
    }
};

// Joint angles are taken from whatever six or seven numbers can be taken from.
template <class Angles>
requires std::same_as<Angles, kx::Degrees> || std::same_as<Angles, kx::Radians>
struct type_caster<Angles> {
    PYBIND11_TYPE_CASTER(Angles, const_name("numpy.ndarray"));
    bool load(handle source, bool)
    {
        const auto numbers = kx::python::Floats::ensure(source);
        if (!numbers) {
            PyErr_Clear();
            return false;
        }
        if (numbers.ndim() != 1 || (numbers.size() != 6 && numbers.size() != 7))
            throw value_error("joint angles are six or seven numbers");
        value = Angles(std::span<const float>(numbers.data(), static_cast<size_t>(numbers.size())));
        return true;
    }
    static handle cast(const Angles& values, return_value_policy, handle)
    {
        return kx::python::array_of(values).release();
    }
};

} // namespace pybind11::detail
