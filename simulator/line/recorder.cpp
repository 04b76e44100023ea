#include "line/recorder.h"

#include <cmath>
#include <ctime>
#include <stdexcept>

namespace kx::sim {

Json as_recorded(std::string_view line)
{
    const auto end = line.find_last_not_of("\r\n");
    line = line.substr(0, end == line.npos ? 0 : end + 1);
    Json json = parsed(line);
    const bool is_laid_out = line.find_first_of("\n\t") != line.npos; // as the library does
    if (json.is_object() && (is_laid_out || printed(json) == line)) return json;
    return std::string(line);
}

Recorder::Recorder(const std::string& file) : file_(file, std::ios::trunc)
{
    char now[32];
    const std::time_t time = std::time(nullptr);
    std::strftime(now, sizeof now, "%FT%TZ", std::gmtime(&time));
    write({{"recording", "kx-controller"}, {"version", 1}, {"began", now}});
    if (!file_) throw std::runtime_error("cannot write the recording " + file);
}

void Recorder::passed(double, int client, Direction direction, const std::string& line)
{
    constexpr const char* members[] = {"request", "reply", "event"}; // of Direction
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - began_;
    write({{"time", std::round(passed.count() * 1e6) / 1e6},
           {"client", client},
           {members[static_cast<int>(direction)],
            direction == Direction::event ? Json(line) : as_recorded(line)}});
}

/** Whole lines only, so that the file is good whenever the program is ended. */
void Recorder::write(const Json& entry)
{
    file_ << printed(entry) + '\n' << std::flush;
}

} // namespace kx::sim
