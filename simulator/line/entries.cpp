#include "line/entries.h"

#include <algorithm>
#include <istream>
#include <optional>
#include <stdexcept>

#include "commands/request.h"
#include "recording/messages.h"
#include "recording/reader.h"

namespace kx::sim {

namespace {

constexpr double longest = 1e9; // s

void read_lines(std::istream& recording, const std::string& name, const TakeEntry& take)
{
    std::string line;
    int number = 1;
    for (; std::getline(recording, line); ++number) {
        try {
            if (nested_too_deeply(line)) throw std::invalid_argument("nested too deeply");
            const Json entry = Json::parse(line);
            if (number > 1)
                take(entry, sim::number(entry.at("time"), "the time", 0, longest));
            else if (entry.at("recording") != "kx-controller" || entry.at("version") != 1)
                throw std::invalid_argument("another version");
        } catch (const std::exception& wrong) {
            throw std::runtime_error(name + ':' + std::to_string(number) +
                                     ": this is no line of a recording: " + wrong.what());
        }
    }
    if (number == 1 || !recording.eof()) throw std::runtime_error("cannot read the recording " + name);
}

Json entry_of(const recording::Channel& channel, const recording::Message& message)
{
    if (channel.topic != recording::joint_states().topic) return parsed(message.data);
    Json degrees = Json::array();
    for (const double radians : recording::decode_joint_state(message.data).positions)
        degrees.push_back(recording::degrees(radians));
    return {{"stands", degrees}};
}

/** A recording that was never finished will do. */
void read_mcap(std::istream& recording, const std::string& name, const TakeEntry& take)
{
    std::optional<std::uint64_t> begin;
    const std::string topics[] = {recording::wire().topic, recording::events().topic,
                                  recording::joint_states().topic};
    const auto visit = [&](const recording::Channel& channel, const recording::Message& message) {
        if (std::ranges::find(topics, channel.topic) == std::end(topics)) return;
        if (!begin) begin = message.log_time;
        try {
            const double time = static_cast<double>(std::max(message.log_time, *begin) - *begin) / 1e9;
            take(entry_of(channel, message), std::min(time, longest));
        } catch (const std::exception& wrong) {
            throw recording::Damaged(wrong.what());
        }
    };
    if (const auto account = recording::read(recording, visit); !account.damage.empty())
        throw std::runtime_error("the recording " + name + " is damaged " + account.damage);
}

} // namespace

void read_entries(std::istream& recording, const std::string& name, const TakeEntry& take)
{
    if (recording::is_mcap(recording))
        read_mcap(recording, name, take);
    else
        read_lines(recording, name, take);
}

} // namespace kx::sim
