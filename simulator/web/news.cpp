#include "web/news.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kx::sim {

namespace {

constexpr auto time_interval =
    std::chrono::seconds(1); // between two tellings of the time, while nothing else is told
constexpr std::size_t kept_lines = 400;
constexpr std::size_t lines_at_once = 40; // to one page
constexpr std::size_t longest_line = 1000;

} // namespace

std::string event(const char* name, const std::string& data)
{
    return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

News::Told News::before_all()
{
    shown_.clear(); // it may be as old as the last page
    return {states_, times_, 0};
}

bool News::take(double time, const Json& state)
{
    const auto now = std::chrono::steady_clock::now();
    const std::string told = event("time", Json(std::round(time * 1e3) / 1e3).dump());
    std::string shown = printed(state);
    const bool changes = shown != shown_;
    if (changes) {
        shown_ = std::move(shown);
        state_ = told + event("state", shown_);
        ++states_;
        told_time_ = now;
    } else if (now - told_time_ >= time_interval) {
        time_ = told;
        ++times_;
        told_time_ = now;
    }
    return changes;
}

std::string News::since(Told& told) const
{
    std::string text = lines_since(told.lines);
    if (told.states != states_)
        text += state_;
    else if (told.times != times_)
        text += time_;
    told = {states_, times_, line_count_};
    return text;
}

std::string News::lines_since(std::uint64_t told) const
{
    if (line_count_ == told) return "";
    const std::size_t fresh =
        std::min<std::uint64_t>({line_count_ - told, lines_.size(), told ? lines_at_once : kept_lines});
    std::string text = "[";
    for (std::size_t i = lines_.size() - fresh; i < lines_.size(); ++i)
        text += lines_[i] + (i + 1 < lines_.size() ? "," : "]");
    return event("wire", text);
}

void News::passed(double time, int client, Direction direction, const std::string& line)
{
    const Json entry = {++line_count_, std::round(time * 1e3) / 1e3, client, arrow(direction),
                        printable(line).substr(0, longest_line)};
    lines_.push_back(printed(entry));
    if (lines_.size() > kept_lines) lines_.pop_front();
}

} // namespace kx::sim
