#include "line/recorder.h"

#include <ctime>
#include <stdexcept>

#include "commands/json.h"
#include "recording/json_lines.h"

namespace kx::sim {

Recorder::Recorder(const std::string& file) : file_(file, std::ios::trunc)
{
    write(recording::json_lines_head(std::time(nullptr)));
    if (!file_) throw std::runtime_error("cannot write the recording " + file);
}

void Recorder::passed(double, int client, Direction direction, const std::string& line)
{
    constexpr const char* members[] = {"request", "reply", "event"}; // of Direction
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - began_;
    write(recording::json_line(
        passed.count(), {{"client", client},
                         {members[static_cast<int>(direction)],
                          direction == Direction::event ? Json(line) : recording::as_recorded(line)}}));
}

/** Whole lines only, so that the file is good whenever the program is ended. */
void Recorder::write(const std::string& line)
{
    file_ << line << std::flush;
}

} // namespace kx::sim
