// The module kx._kx: kx::Arm and kx::Model for Python. What Python programs see is the package kx around it.
#include "module.h"

#include "values.h"

#include <pthread.h>

#include <charconv>
#include <cstring>

namespace kx::python {

namespace {

py::array_t<float> numbers(std::initializer_list<float> values)
{
    return py::array_t<float>(static_cast<py::ssize_t>(values.size()), values.begin());
}

std::string repr(const Pose& pose)
{
    std::string text = "kx.Pose.m_rad(";
    for (const float number : {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz}) {
        char digits[32];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr).append(", ");
    }
    text.replace(text.size() - 2, 2, ")");
    return text;
}

Pose from_quaternion(const std::array<float, 3>& position, const std::array<float, 4>& wxyz)
{
    const Euler euler = quaternion2euler(wxyz[0], wxyz[1], wxyz[2], wxyz[3]);
    return {position[0], position[1], position[2], euler.rx, euler.ry, euler.rz};
}

Pose from_matrix(const Floats& rows)
{
    if (rows.ndim() != 2 || rows.shape(0) != 4 || rows.shape(1) != 4)
        throw py::value_error("the matrix of a pose is 4 x 4");
    Matrix matrix = {4, 4, {}};
    std::memcpy(matrix.data, rows.data(), sizeof matrix.data);
    return Pose::of(matrix2pos(matrix));
}

py::array_t<float> matrix_of(const Pose& pose)
{
    const Matrix matrix = pos2matrix(pose.kinematic());
    return py::array_t<float>({4, 4}, &matrix.data[0][0]);
}

void bind_pose(py::module_& m)
{
    Class<Pose>(
        m, "Pose",
        "Where a tool is, or a frame: position, then the angles of Rz(rz) Ry(ry) Rx(rx). Does not change.")
        .def_static("m_rad", &Pose::m_rad, "x"_a, "y"_a, "z"_a, "rx"_a = 0, "ry"_a = 0, "rz"_a = 0,
                    "A pose of metres and radians.")
        .def_static("mm_deg", &Pose::mm_deg, "x"_a, "y"_a, "z"_a, "rx"_a = 0, "ry"_a = 0, "rz"_a = 0,
                    "A pose of millimetres and degrees.")
        .def_static("from_quaternion", from_quaternion, "position_m"_a, "quaternion_wxyz"_a,
                    "A pose of metres and a unit quaternion, scalar first.")
        .def_static("from_matrix", from_matrix, "matrix"_a, "The pose of a rigid 4 x 4 transform.")
        .def_readonly("x", &Pose::x, "m")
        .def_readonly("y", &Pose::y, "m")
        .def_readonly("z", &Pose::z, "m")
        .def_readonly("rx", &Pose::rx, "rad")
        .def_readonly("ry", &Pose::ry, "rad")
        .def_readonly("rz", &Pose::rz, "rad")
        .def_property_readonly(
            "position_m",
            [](const Pose& pose) {
                return numbers({pose.x, pose.y, pose.z});
            },
            "x, y, z")
        .def_property_readonly(
            "euler_rad",
            [](const Pose& pose) {
                return numbers({pose.rx, pose.ry, pose.rz});
            },
            "rx, ry, rz")
        .def_property_readonly(
            "quaternion_wxyz",
            [](const Pose& pose) {
                const Quaternion q = pose.kinematic().quaternion;
                return numbers({q.w, q.x, q.y, q.z});
            },
            "unit quaternion, scalar first")
        .def_property_readonly("matrix", matrix_of, "4 x 4 transform")
        .def("__matmul__", &Pose::operator*, "inner"_a,
             "A pose given in the axes of this one, in the axes in which this one is given.")
        .def("inverse", &Pose::inverse, "The pose that undoes this one.")
        .def(
            "__eq__", [](const Pose& a, const Pose& b) { return a == b; }, py::is_operator())
        .def("__hash__",
             [](const Pose& p) { return py::hash(py::make_tuple(p.x, p.y, p.z, p.rx, p.ry, p.rz)); })
        .def("__repr__", repr)
        .def("_repr_html_",
             [](const py::object& pose) { return py::module_::import("kx.display").attr("pose")(pose); })
        .def(py::pickle([](const Pose& p) { return py::make_tuple(p.x, p.y, p.z, p.rx, p.ry, p.rz); },
                        [](const py::tuple& t) {
                            const auto n = t.cast<std::array<float, 6>>();
                            return Pose{n[0], n[1], n[2], n[3], n[4], n[5]};
                        }));
}

using Moved = Motion<Throwing>;

bool wait_for(const Moved& motion, std::optional<double> timeout_s)
{
    if (!timeout_s) {
        waiting([&] { motion.wait(); });
        return true;
    }
    const auto timeout = milliseconds(*timeout_s);
    return waiting([&] { return motion.wait_for(timeout); });
}

// Whatever goes wrong in the block, or while its end waits, stops the arm.
bool leave(const Moved& motion, const py::object& type, const py::object&, const py::object&)
{
    if (!type.is_none()) {
        waiting([&] { motion.stop(); });
        return false;
    }
    try {
        wait_for(motion, std::nullopt);
    } catch (...) {
        try {
            waiting([&] { motion.stop(); });
        } catch (const Error&) { // the first one tells what happened
        }
        throw;
    }
    return false;
}

void bind_motion(py::module_& m)
{
    Class<Moved>(
        m, "Motion",
        "A motion that the controller has been given: it runs, or waits behind earlier ones, whether "
        "this is kept or not. As a context it is waited for at the end, and stopped when the block is "
        "left by an exception.")
        .def("wait", wait_for, "timeout_s"_a = py::none(),
             "Waits until the arm has arrived: True; False when it has not in time. Raises Refused when it "
             "will not "
             "arrive, Cancelled when a stop took the motion back.")
        .def("done", waits(&Moved::done), "Whether the arm has arrived; otherwise as wait().")
        .def("stop", waits(&Moved::stop), "Stops the arm and drops this and all other planned motions.")
        .def_property_readonly("ticket", &Moved::ticket, "for KX_Link_Await of the C interface")
        .def("__enter__", [](py::object motion) { return motion; })
        .def("__exit__", leave, "type"_a, "error"_a, "traceback"_a);
}

// A queue that is being filled.
template <class T>
class Source {
  public:
    Source(std::shared_ptr<Queue<T>> queue, int link, std::function<void()> end)
        : queue_(std::move(queue)), link_(link), end_(std::move(end))
    {
    }

    // None when there is none in time, or will be none.
    std::optional<T> next(std::optional<double> timeout_s)
    {
        constexpr Time::duration none{}, period = std::chrono::milliseconds(50);
        const auto now = std::chrono::steady_clock::now;
        const auto until = timeout_s ? now() + milliseconds(*timeout_s) : Time::max();
        std::optional<T> item;
        int why = KX_SUCCESS;
        Queue<T>& queue = here();
        {
            Waiting waiting;
            for (;;) {
                const Time::duration left = until - now();
                item =
                    queue.next(std::chrono::ceil<std::chrono::milliseconds>(std::clamp(left, none, period)));
                if (item || left <= none || queue.closed()) break;
                if (waiting.look()) why = KX_CANCELLED;
                const KX_LINK_STATE state = KX_Link_State(link_);
                if (state == KX_LINK_DOWN) why = KX_LOST;
                if (why != KX_SUCCESS || state == KX_LINK_CLOSED) break;
            }
        }
        if (PyErr_Occurred()) throw py::error_already_set();
        if (why != KX_SUCCESS) raise("KX_Link_State", why, "");
        return item;
    }

    T next_or_stop()
    {
        std::optional<T> item = next(std::nullopt);
        if (!item) throw py::stop_iteration();
        return *item;
    }

    // A forked child has the queue as it was, and perhaps locked.
    Queue<T>& here() const
    {
        if (owner_ != getpid()) raise("KX_Link_State", KX_BAD_DESCRIPTOR, "the arm is the parent process's");
        return *queue_;
    }

    void close()
    {
        if (here().closed()) return;
        waiting([&] { end_(); });
        queue_->close();
    }

  private:
    std::shared_ptr<Queue<T>> queue_;
    int link_;
    std::function<void()> end_;
    const pid_t owner_ = getpid();
};

template <class T>
void bind_source(py::module_& m, const char* name, const char* doc)
{
    using Items = Source<T>;
    Class<Items>(m, name, doc)
        .def("__iter__", [](py::object items) { return items; })
        .def("__next__", &Items::next_or_stop)
        .def("next", &Items::next, "timeout_s"_a = py::none(),
             "Takes the oldest; waits for one. None when none came in time, or none will come any more.")
        .def(
            "latest", [](Items& items) { return items.here().latest(); },
            "Takes the newest and drops those before it; None when there is none.")
        .def_property_readonly(
            "lost", [](const Items& items) { return items.here().lost(); },
            "how many were lost because the queue was full")
        .def_property_readonly(
            "closed", [](const Items& items) { return items.here().closed(); },
            "whether nothing more will come")
        .def("__len__", [](const Items& items) { return items.here().size(); })
        .def("close", &Items::close, "Ends it; what is in it can still be taken.")
        .def("__enter__", [](py::object items) { return items; })
        .def("__exit__", [](Items& items, const py::args&) { items.close(); });
}

void raise_in_python(const char* name, const Error& error)
{
    const py::object type = py::module_::import("kx.errors").attr(name);
    const py::object exception = type(error.command(), error.status().code(), error.status().words(),
                                      error.reason(), error.status().advice());
    PyErr_SetObject(type.ptr(), exception.ptr());
}

void translate(std::exception_ptr thrown)
{
    try {
        std::rethrow_exception(thrown);
    } catch (const Refused& error) {
        raise_in_python("Refused", error);
    } catch (const Lost& error) {
        raise_in_python("Lost", error);
    } catch (const TimedOut& error) {
        raise_in_python("TimedOut", error);
    } catch (const Cancelled& error) {
        raise_in_python("Cancelled", error);
    } catch (const BadArgument& error) {
        raise_in_python("BadArgument", error);
    } catch (const Error& error) {
        raise_in_python("Error", error);
    }
}

} // namespace

py::object pushes_of(const Arm& arm, size_t capacity)
{
    return py::cast(Source<Push>(arm.pushes(capacity), arm.handle(), [] {}));
}

py::object states_of(const Arm& arm, double hertz, size_t capacity)
{
    auto queue = waiting([&] { return arm.states(hertz, capacity); });
    return py::cast(Source<State>(std::move(queue), arm.handle(), [&arm] { arm.unsubscribe(); }));
}

} // namespace kx::python

PYBIND11_MODULE(_kx, m)
{
    using namespace kx::python;
    m.doc() = "The compiled part of kx.";

    py::register_exception_translator(translate);
    m.def("status_words", KX_Status_Words, "status"_a, "What a status code says.");
    m.def("status_advice", KX_Status_Advice, "status"_a, "What to do about a status code.");

    bind_pose(m);
    bind_motion(m);
    bind_source<kx::Push>(m, "Pushes",
                          "What the controller pushes, oldest first; ends when the arm is closed.");
    bind_source<kx::State>(
        m, "States",
        "The states of an arm, oldest first; ends when the arm is closed, or with the next call of "
        "states().");
    bind_groups(m);
    bind_arm(m);
    bind_model(m);
    bind_stream(m, m.attr("Arm"));

    Class<Token>(m, "Token", "Ends the waits of the threads that entered it.")
        .def(py::init())
        .def("cancel", [](Token& token) { token.cancelled = true; })
        .def("__enter__", [](Token& token) { Waiting::token = &token; })
        .def("__exit__", [](Token&, const py::args&) { Waiting::token = nullptr; });

    py::module_::import("atexit").attr("register")(py::cpp_function(Waiting::end_all));
    pthread_atfork(nullptr, nullptr, Waiting::forget_others);
}
