// What comes from a peer of a link, in pieces of any size: the lines are those of the whole.
#include "target.h"

#include "runtime/link/inbox.h"

#include <cstring>
#include <string>

namespace {

using kx::link::Inbox;

/** Cuts at line feeds alone; a line that is too long is told by its beginning. */
std::string next_line(std::string_view& rest, bool& is_cut)
{
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    is_cut = line.size() > Inbox::longest_line;
    return std::string(line);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::string_view rest = input.substr(1);
    Inbox inbox;
    in_pieces(input, [&](std::string_view piece) {
        while (!piece.empty()) {
            std::size_t room;
            char* bytes = inbox.room(room);
            require(bytes && room > 0, "there is room");
            const std::size_t taken = std::min(room, piece.size());
            std::memcpy(bytes, piece.data(), taken);
            inbox.received(taken);
            piece.remove_prefix(taken);
            for (Inbox::Line line = inbox.next(); line.text; line = inbox.next()) {
                bool is_cut;
                const std::string expected = next_line(rest, is_cut);
                require(line.is_cut == is_cut, "a line is cut when it is too long");
                require(expected.compare(0, line.length, line.text, line.length) == 0,
                        "the line that was sent");
                require(is_cut || line.length == expected.size(), "all of it");
                require(line.text[line.length] == '\0', "it ends");
            }
        }
        return true;
    });
    require(rest.find('\n') == rest.npos, "every line was told");
    inbox.free_room();
    return 0;
}
