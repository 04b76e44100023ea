#include "line/recording.h"

#include <cmath>
#include <ctime>
#include <stdexcept>

namespace kx::sim {

namespace {

std::string printed(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/** Blots out every password in it; whether there was one. */
bool blot(Json& json)
{
    bool found = false;
    for (auto item = json.begin(); item != json.end(); ++item) {
        const bool is_password = json.is_object() && item.key().find("password") != std::string::npos;
        if (is_password)
            *item = "***";
        else if (!item->is_structured() || !blot(*item))
            continue;
        found = true;
    }
    return found;
}

} // namespace

bool has_password(const std::string& line)
{
    return line.find("password") != line.npos;
}

std::string without_secrets(const std::string& line)
{
    Json json = Json::parse(line, nullptr, false);
    if (json.is_discarded()) return has_password(line) ? "(not shown, as it may hold a password)" : line;
    return json.is_structured() && blot(json) ? printed(json) : line;
}

Json as_recorded(std::string_view line)
{
    const auto end = line.find_last_not_of("\r\n");
    line = line.substr(0, end == line.npos ? 0 : end + 1);
    Json json = Json::parse(line, nullptr, false);
    const bool is_laid_out = line.find_first_of("\n\t") != line.npos; // as the library does
    if (json.is_object() && (is_laid_out || printed(json) == line)) return json;
    return std::string(line);
}

Recording::Recording(const std::string& file) : file_(file, std::ios::trunc)
{
    char now[32];
    const std::time_t time = std::time(nullptr);
    std::strftime(now, sizeof now, "%FT%TZ", std::gmtime(&time));
    write({{"recording", "kx-controller"}, {"version", 1}, {"began", now}});
    if (!file_) throw std::runtime_error("cannot write the recording " + file);
}

void Recording::add(int client, const char* kind, Json what)
{
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - began_;
    write({{"time", std::round(passed.count() * 1e6) / 1e6}, {"client", client}, {kind, std::move(what)}});
}

/** Whole lines only, so that the file is good whenever the program is ended. */
void Recording::write(const Json& entry)
{
    file_ << printed(entry) + '\n' << std::flush;
}

} // namespace kx::sim
