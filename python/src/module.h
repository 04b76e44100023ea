// What the parts of the module kx._kx know of each other.
#pragma once

#include "kx/arm.hpp"

#include <pybind11/pybind11.h>

#include <unistd.h>

namespace kx::python {

// An arm of Python's. A forked child lets it be: it is the parent's, and may be in the middle of anything.
struct Arm : kx::Arm {
    using kx::Arm::Arm;
    const pid_t owner = getpid();
};

pybind11::object pushes_of(const Arm& arm, size_t capacity);
pybind11::object states_of(const Arm& arm, double hertz, size_t capacity);

void bind_groups(pybind11::module_& m);
void bind_arm(pybind11::module_& m);
void bind_model(pybind11::module_& m);
void bind_stream(pybind11::module_& m, pybind11::object arm);

} // namespace kx::python
