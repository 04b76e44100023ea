#include "devices/system.h"

#include <fstream>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr std::size_t log_lines = 1000;

} // namespace

void System::clear_fault()
{
    if (stop_pressed_) throw Refused("the emergency stop is pressed");
    fault_ = Fault::none;
}

void System::note(const std::string& line)
{
    log_.push_back(std::to_string(time_) + " s: " + line);
    if (log_.size() > log_lines) log_.pop_front();
}

void System::write_log() const
{
    if (world_.log_file.empty()) throw Refused("no file was given for the log");
    std::ofstream file(world_.log_file);
    for (const std::string& line : log_)
        file << line << '\n';
    if (!file.flush()) throw Refused("the log cannot be written");
}

} // namespace kx::sim
