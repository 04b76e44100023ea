// kx-controller: a virtual arm controller. It answers the controller's JSON line protocol and moves a
// simulated arm.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "server.h"

int main(int argc, char** argv)
{
    kx::sim::ServerOptions options;
    CLI::App app("Virtual controller of a robot arm: any number of clients, one simulated arm.",
                 "kx-controller");
    app.add_option("--host", options.host, "address to listen on")->capture_default_str();
    app.add_option("--port", options.port, "TCP port to listen on, 0 picks a free one")
        ->capture_default_str();
    app.add_option("--model", options.model, "arm model code")
        ->check(CLI::IsMember({36, 46, 47}))
        ->capture_default_str();
    app.add_option("--speed", options.speed, "simulated time runs this many times as fast as real time")
        ->check(CLI::Range(0.001, 1000.0))
        ->capture_default_str();
    app.add_flag("--trace", options.trace, "print every line in and out, with simulated seconds");
    CLI11_PARSE(app, argc, argv);

    try {
        kx::sim::serve(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kx-controller: %s:%hu: %s\n", options.host.c_str(), options.port, error.what());
        return 1;
    }
}
