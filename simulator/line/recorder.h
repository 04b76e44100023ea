// Keeps traffic in a file as JSON lines, written one by one.
#pragma once

#include <chrono>
#include <fstream>

#include "commands/tap.h"

namespace kx::sim {

class Recorder : public Tap {
  public:
    /** @throws std::runtime_error if the file cannot be written */
    explicit Recorder(const std::string& file);

    void passed(double time, int client, Direction direction, const std::string& line) override;

  private:
    void write(const std::string& line);

    std::ofstream file_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

} // namespace kx::sim
