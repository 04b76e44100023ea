// What is said to whoever runs the program.
#pragma once

#include <chrono>
#include <string>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace kx::sim {

/** A few lines a second at most, so that no client fills a disk; what goes beyond is counted. */
class Journal {
  public:
    explicit Journal(asio::io_context& loop) : second_(loop) {}
    void say(const std::string& text);

    /** Tells what it has counted, and begins anew. */
    void end_second();

  private:
    asio::steady_timer second_;
    int said_ = 0; ///< in this second, with what was not let through
};

} // namespace kx::sim
