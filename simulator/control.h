// The control line: whoever stands beside the controller says what happens, line by line, on a port of this machine
// or on the standard input, and is told of each line whether it was understood.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <asio/posix/stream_descriptor.hpp>

#include "listener.h"

namespace kx::sim {

class Control {
  public:
    /** Does what a line says; returns what is wrong with it. */
    using Act = std::function<std::string(const std::string& line)>;

    /** @param where a port, 0 for a free one, or "-" for the standard input
     *  @param ended is called when the standard input has ended
     *  @throws std::exception if nothing can be heard there */
    Control(asio::io_context& loop, const std::string& where, Log log, Act act, std::function<void()> ended);

    /** None if it is the standard input. */
    std::optional<asio::ip::tcp::endpoint> endpoint() const;

  private:
    std::optional<Listener> listener_;
};

/** The standard input, without waiting in reads. A terminal is opened anew for that: its output, which shares what it was
 *  opened with, would not wait either, and lose lines. */
asio::posix::stream_descriptor standard_input(asio::io_context& loop);

} // namespace kx::sim
