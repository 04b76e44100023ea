// Keeps traffic in an MCAP file, and where the arm is.
#pragma once

#include "commands/tap.h"
#include "commands/virtual_controller.h"
#include "recording/recorder.h"

namespace kx::sim {

class McapRecorder : public Tap {
  public:
    /** @throws std::system_error if the file cannot be written */
    McapRecorder(const std::string& file, int model);

    void passed(double time, int client, Direction direction, const std::string& line) override;

    /** Where the arm is now. */
    void sample(Controller& controller);

    /** Once, why nothing more is written. */
    std::string trouble();

  private:
    recording::Recorder recorder_;
    bool is_in_trouble_ = false;
};

} // namespace kx::sim
