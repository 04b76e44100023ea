#include "commands/tap.h"

namespace kx::sim {

const char* arrow(Direction direction)
{
    switch (direction) {
    case Direction::request:
        return "->";
    case Direction::reply:
        return "<-";
    case Direction::event:
        break;
    }
    return "--";
}

std::string printable(std::string_view text)
{
    std::string out;
    for (char c : text)
        if (c != '\r' && c != '\n' && c != '\t') out += c >= ' ' && c != 127 ? c : '?';
    return out;
}

} // namespace kx::sim
