#include "line/recorder.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include "commands/json.h"
#include "recording/json_lines.h"

namespace kx::sim {

Recorder::Recorder(const std::string& file, Log log)
    : name_(file), log_(std::move(log)), file_(file, std::ios::trunc)
{
    if (!write(recording::json_lines_head(std::time(nullptr))))
        throw std::runtime_error("cannot write the recording " + file);
}

void Recorder::passed(double, int client, Direction direction, const std::string& line)
{
    if (!file_) return;
    constexpr const char* members[] = {"request", "reply", "event"}; // of Direction
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - began_;
    const Json shown = direction == Direction::event ? Json(line) : recording::as_recorded(line);
    if (!write(recording::json_line(passed.count(),
                                    {{"client", client}, {members[static_cast<int>(direction)], shown}})))
        log_("cannot write " + name_ + ": " + std::strerror(errno));
}

/** Whole lines only, so that the file is good whenever the program is ended or the disk is full. */
bool Recorder::write(const std::string& line)
{
    if (file_ << line << std::flush) {
        size_ += line.size();
        return true;
    }
    const int error = errno;
    file_.close();
    std::error_code ignored;
    std::filesystem::resize_file(name_, size_, ignored);
    errno = error;
    return false;
}

} // namespace kx::sim
