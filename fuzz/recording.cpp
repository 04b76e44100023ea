// Recordings, MCAP or lines of JSON: whatever is in them, they are read to their end, each message lies in the file, and
// what they hold is asked for again.
#include "target.h"

#include <sstream>

#include "line/replay.h"
#include "recording/messages.h"
#include "recording/reader.h"

using namespace kx::recording;

void judge(std::string_view input)
{
    const std::string bytes(input);
    std::istringstream in(bytes), again(bytes), lines(bytes);
    std::size_t held = 0, shown = 0;
    try {
        const Account account = read(in, [&](const Channel& channel, const Message& message) {
            ++shown;
            held += message.data.size();
            require(channel.topic.size() + channel.schema_name.size() <= bytes.size(),
                    "names lie in the file");
            const JointState state = decode_joint_state(message.data);
            require(state.names.size() == state.positions.size(), "an angle for every joint");
            require(8 * state.positions.size() <= message.data.size(), "angles lie in the message");
        });
        require(account.messages == shown && held <= bytes.size(), "messages lie in the file");
    } catch (const Damaged&) {
        require(!bytes.starts_with(magic), "only what is no such file at all is refused");
    }
    try {
        kx::sim::Replay replay(again, "recording");
        const std::size_t all = replay.unused();
        require(all <= bytes.size(), "requests lie in the file");
        for (std::string line; std::getline(lines, line);) {
            const kx::sim::Json entry = kx::sim::parsed(line);
            if (!entry.contains("request")) continue;
            const kx::sim::Json& request = entry["request"];
            const auto* answer =
                replay.answer(request.is_string() ? request.get<std::string>() : kx::sim::printed(request));
            for (const auto& reply : answer ? *answer : std::vector<kx::sim::Replay::Line>())
                require(reply.text.ends_with('\n'), "a reply is a line");
        }
        require(replay.unused() <= all, "asking leaves no more unused than there were");
    } catch (const std::runtime_error& wrong) {
        require(std::string_view(wrong.what()).find("recording") != std::string_view::npos, "it says where");
    }
}
