// Keeps traffic in a file, the recording: one JSON object a line, the times are real seconds since it began.
//
//   {"recording":"kx-controller","version":1,"began":"2026-11-21T14:50:00Z"}
//   {"time":0.512034,"client":1,"event":"connected"}
//   {"time":0.562119,"client":1,"request":{"command":"get_joint_degree"}}
//   {"time":0.562401,"client":1,"reply":{"command":"joint_degree","joint":[0,0,0,0,0,0]}}
//   {"time":9.120077,"client":1,"event":"no more requests"}
//
// Events that concern no client, as faults on demand, are those of client 0. What is no JSON object, or would
// not read the same again, is kept as a text.
#pragma once

#include <chrono>
#include <fstream>
#include <string_view>

#include "commands/json.h"
#include "commands/tap.h"

namespace kx::sim {

/** A request or reply as recordings keep it. */
Json as_recorded(std::string_view line);

class Recorder : public Tap {
  public:
    /** @throws std::runtime_error if the file cannot be written */
    explicit Recorder(const std::string& file);

    void passed(double time, int client, Direction direction, const std::string& line) override;

  private:
    void write(const Json& entry);

    std::ofstream file_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

} // namespace kx::sim
