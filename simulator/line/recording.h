// Traffic kept in a file: one JSON object a line, the times are real seconds since the recording began.
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
#include <string>
#include <string_view>

#include "commands/json.h"

namespace kx::sim {

bool has_password(const std::string& line);

/** A line as it may be shown and kept: passwords go nowhere. */
std::string without_secrets(const std::string& line);

/** A request or reply as recordings keep it. */
Json as_recorded(std::string_view line);

class Recording {
  public:
    /** @throws std::runtime_error if the file cannot be written */
    explicit Recording(const std::string& file);

    /** @param line without secrets */
    void request(int client, std::string_view line) { add(client, "request", as_recorded(line)); }
    void reply(int client, std::string_view line) { add(client, "reply", as_recorded(line)); }
    void event(int client, const std::string& what) { add(client, "event", what); }

  private:
    void add(int client, const char* kind, Json what);
    void write(const Json& entry);

    std::ofstream file_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

} // namespace kx::sim
