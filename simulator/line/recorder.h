// Keeps traffic in a file as JSON lines, written one by one.
#pragma once

#include <chrono>
#include <fstream>

#include "commands/tap.h"
#include "commands/virtual_controller.h"

namespace kx::sim {

class Recorder : public Tap {
  public:
    /** @param log is told why nothing more is recorded, as when the disk is full
     *  @throws std::runtime_error if the file cannot be written */
    Recorder(const std::string& file, Log log);

    void passed(double time, int client, Direction direction, const std::string& line) override;

  private:
    bool write(const std::string& line);

    const std::string name_;
    const Log log_;
    std::ofstream file_;
    std::uintmax_t size_ = 0; ///< of its lines
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

} // namespace kx::sim
