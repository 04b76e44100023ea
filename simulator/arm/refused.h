// What a command throws when the controller answers "no": nothing has been changed, the text says why.
#pragma once

#include <stdexcept>
#include <string>

namespace kx::sim {

struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace kx::sim
