// Runs controllers, each of an arm and on a TCP port of its own, on the calling thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "arm/world.h"

namespace kx::sim {

struct ServerOptions {
    std::string host = "127.0.0.1";
    std::vector<int> models = {46};             ///< of the arms
    std::vector<unsigned short> ports = {8080}; ///< one for each arm; 0 picks a free one
    double speed = 1;                           ///< of simulated time against real time
    bool trace = false;                         ///< print every line in and out
    std::chrono::milliseconds spacing{30};      ///< between two lines to one client; see outbox.h
    World world;
    std::string web_host = "127.0.0.1";
    std::optional<unsigned short> web_port; ///< where the page is served, if at all; 0 picks a free one
    std::string modbus_tcp; ///< HOST:PORT of a slave behind the controller's ports, instead of simulated ones

    std::vector<std::string> faults; ///< from the start; see faults.h
    std::string script;              ///< file; see script.h
    std::string control;             ///< port, or - for the standard input; see control.h
    bool until_eof = false;          ///< serve only until the standard input ends
    unsigned seed = 1;               ///< of faults that strike by chance
    std::string record;              ///< file into which all traffic is recorded
    std::string replay;              ///< file of a recording that answers instead of the arm
    std::string proxy;               ///< HOST:PORT of a controller that answers instead of the arm
};

/** Serves until SIGINT or SIGTERM, or as the options say. @throws std::exception if it cannot listen */
void serve(const ServerOptions& options);

} // namespace kx::sim
