// How Python threads wait in the library: without the interpreter, ended by Ctrl-C, by a token and by the end of the
// interpreter.
#pragma once

#include "kx/arm.hpp"

#include <pybind11/pybind11.h>

#include <atomic>
#include <optional>
#include <type_traits>

namespace kx::python {

namespace py = pybind11;

// Ends the waits of whoever entered it: what a cancelled task does to the thread that works for it.
struct Token {
    std::atomic<bool> cancelled = false;
};

// Lets other Python threads run while this thread is in the library. An interpreter that has ended ends whoever asks for
// it again, and inside that would take the whole process along: so at its exit it waits until nobody is about to, and
// those who are still inside then, which can only be daemon threads, never come back.
class Waiting {
  public:
    Waiting();
    Waiting(const Waiting&) = delete;
    ~Waiting();

    // True when the wait shall end; then perhaps with a Python error.
    bool look();

    // Whether there is no interpreter to give away any more.
    static bool is_over();

    // What comes at the exit of the interpreter, and in a forked child.
    static void end_all();
    static void forget_others();

    // The token that the calling thread has entered.
    static thread_local Token* token;

  private:
    void look_here(Waiting* waiting);

    static thread_local Waiting* innermost;

    Waiting* const outer_ = innermost; // when a signal's handler waits
    PyThreadState* state_;
};

// Calls a function of the library that may wait. The Python error of a signal takes the place of Cancelled.
template <class Function>
auto waiting(const Function& function)
{
    std::optional<Error> error; // whose exception is thrown with the interpreter taken again
    using Outcome = decltype(function());
    const auto call = [&](auto& outcome) {
        Waiting waiting;
        try {
            if constexpr (std::is_void_v<Outcome>)
                function();
            else
                outcome.emplace(function());
        } catch (const Error& thrown) {
            error.emplace(thrown);
        }
    };
    std::optional<std::conditional_t<std::is_void_v<Outcome>, bool, Outcome>> outcome;
    call(outcome);
    if (PyErr_Occurred()) throw py::error_already_set();
    if (error) raise(error->command(), error->status().code(), error->reason());
    if constexpr (!std::is_void_v<Outcome>) return std::move(*outcome);
}

// How Python lets go of what was not closed: that may wait as well, and has nobody to raise an error to. What a signal
// raises meanwhile comes afterwards.
struct LetGo {
    template <class T>
    void operator()(T* object) const
    {
        run([](void* it) { delete static_cast<T*>(it); }, object);
    }

  private:
    static void run(void (*end)(void*), void* object);
};

// A method that may wait, for pybind11; `Self` is what Python has, if it is not the method's own class.
template <class Self = void, class Class, class Outcome, class... Arguments>
auto waits(Outcome (Class::*method)(Arguments...) const)
{
    using Known = std::conditional_t<std::is_void_v<Self>, Class, Self>;
    return [method](const Known& self, Arguments... arguments) -> Outcome {
        return waiting([&] { return (self.*method)(arguments...); });
    };
}

} // namespace kx::python
