#include "line/playback.h"

#include <fstream>
#include <memory>

#include <asio/steady_timer.hpp>

#include "commands/command.h"

namespace kx::sim {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds longest(1e9); // what is far beyond does not fit into a clock's numbers

Replay read(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    return {in, file};
}

} // namespace

Playback::Playback(asio::io_context& loop, const std::string& file, double speed, Log log)
    : loop_(loop), replay_(read(file)), speed_(speed), log_(std::move(log))
{
}

void Playback::answer(const Request& request, const ClientHandle& client)
{
    const auto* lines = replay_.answer(request.text);
    if (!lines) {
        ++not_recorded_;
        log_("not in the recording");
        return client->reply(reply_line({{"error", "not in the recording"}}));
    }
    for (const Replay::Line& line : *lines) {
        const auto timer = std::make_shared<asio::steady_timer>(loop_);
        const Seconds after = std::min(Seconds(line.after) / speed_, longest);
        timer->expires_after(std::chrono::ceil<asio::steady_timer::duration>(after));
        timer->async_wait([timer, client, text = line.text](auto) { client->reply(text); });
    }
}

std::string Playback::differences() const
{
    return "replay: " + std::to_string(replay_.unused()) + " recorded requests did not come, " +
           std::to_string(not_recorded_) + " came that are not recorded";
}

} // namespace kx::sim
