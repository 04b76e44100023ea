// What pages are told of one arm: the lines on its wire, its state when that is another one, and now and then the time.
#pragma once

#include <chrono>
#include <deque>

#include "commands/json.h"
#include "commands/tap.h"

namespace kx::sim {

class News : public Tap {
  public:
    /** How much of it a page has been told. */
    struct Told {
        std::uint64_t states = 0, times = 0, lines = 0;
    };

    /** For a page that comes now: the last lines, and the state as soon as it is given again. */
    Told before_all();

    /** @param time simulated seconds
     *  @return the state is another one */
    bool take(double time, const Json& state);

    /** What is new, as events of a stream. */
    std::string since(Told& told) const;

    /** The last lines are kept for pages that come later. */
    void passed(double time, int client, Direction direction, const std::string& line) override;

  private:
    std::string lines_since(std::uint64_t told) const;

    std::string shown_, state_, time_; ///< the last state, and what tells it and the time
    std::chrono::steady_clock::time_point told_time_{};
    std::uint64_t states_ = 0, times_ = 0, line_count_ = 0; ///< ever
    std::deque<std::string> lines_;
};

/** An event of a stream. */
std::string event(const char* name, const std::string& data);

} // namespace kx::sim
