// What comes from a peer of a link, in pieces of any size: the lines are those of the whole.
#include "target.h"

#include "runtime/link/inbox.h"

#include <cstring>

using kx::link::Inbox;

void judge(std::string_view input)
{
    if (input.empty()) return;
    std::string_view rest = input.substr(1); // which a line feed alone cuts
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
                const std::string_view expected = rest.substr(0, rest.find('\n'));
                rest.remove_prefix(std::min(expected.size() + 1, rest.size()));
                const bool is_cut = expected.size() > Inbox::longest_line; // and told by its beginning
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
}
