// Whoever wants to see what passes between the controller and its clients: the trace, a recording, the page.
#pragma once

#include <string>
#include <string_view>

namespace kx::sim {

enum class Direction { request, reply, event };

class Tap {
  public:
    virtual ~Tap() = default;

    /**
     * @param time simulated seconds
     * @param client counted from 1; events that concern no client are those of client 0
     * @param line without secrets
     */
    virtual void passed(double time, int client, Direction direction, const std::string& line) = 0;
};

/** As traces, recordings and the page show it: "->", "<-" or "--". */
const char* arrow(Direction direction);

/** On one line of a terminal, where control characters would do harm. */
std::string printable(std::string_view text);

} // namespace kx::sim
