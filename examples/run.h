// What the examples share: they connect as their arguments say, and whatever is not as it should be ends them with status 1.
#pragma once

#include "kx/arm.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

using namespace std::chrono_literals;

// Ends the example unless it is as expected.
inline void expect(bool is_as_expected, const std::string& what)
{
    if (!is_as_expected) throw std::runtime_error("not as expected: " + what);
}

// Runs an example with an arm of a controller on this machine. Port and model, 46 if not given, come first.
template <class Example>
int run(int argc, char** argv, Example example, const char* arguments = "PORT [MODEL]", int most = 2)
{
    const int port = argc > 1 ? atoi(argv[1]) : 0, model = argc > 2 ? atoi(argv[2]) : 46;
    if (port < 1 || argc > most + 1) {
        fprintf(stderr, "usage: %s %s\n", argv[0], arguments);
        return 2;
    }
    try {
        const kx::Arm arm("127.0.0.1", port, model);
        example(arm);
        return 0;
    } catch (const std::exception& fault) {
        fprintf(stderr, "%s\n", fault.what());
        return 1;
    }
}
