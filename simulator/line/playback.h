// Has the clients answered from a recording, in the times that the recorded controller took.
#pragma once

#include <string>

#include <asio/io_context.hpp>

#include "commands/virtual_controller.h"
#include "line/answerer.h"
#include "line/replay.h"

namespace kx::sim {

class Playback : public Answerer {
  public:
    /** @param speed against the recorded one
     *  @throws std::runtime_error if the file is no recording */
    Playback(asio::io_context& loop, const std::string& file, double speed, Log log);

    void answer(const Request& request, const ClientHandle& client) override;

    /** How the requests differed from the recorded ones. */
    std::string differences() const;

  private:
    asio::io_context& loop_;
    Replay replay_;
    const double speed_;
    const Log log_;
    int not_recorded_ = 0;
};

} // namespace kx::sim
