// Recordings, and the requests that they answer: what they hold is asked for again.
#include "target.h"

#include <sstream>

#include "line/replay.h"

using namespace kx::sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream in(text), lines(text);
    try {
        Replay replay(in, "recording");
        const std::size_t all = replay.unused();
        for (std::string line; std::getline(lines, line);) {
            const Json entry = parsed(line);
            if (!entry.contains("request")) continue;
            const Json& request = entry["request"];
            const auto* answer =
                replay.answer(request.is_string() ? request.get<std::string>() : printed(request));
            for (const auto& reply : answer ? *answer : std::vector<Replay::Line>())
                require(reply.text.ends_with('\n'), "a reply is a line");
        }
        require(replay.unused() <= all, "asking leaves no more unused than there were");
    } catch (const std::runtime_error& wrong) {
        require(std::string_view(wrong.what()).find("recording") != std::string_view::npos, "it says where");
    }
    return 0;
}
