#include "recording/json_lines.h"

#include <cmath>

namespace kx::recording {

Json as_recorded(std::string_view line)
{
    const auto end = line.find_last_not_of("\r\n");
    line = line.substr(0, end == line.npos ? 0 : end + 1);
    Json json = parsed(line);
    const auto without_blanks = [](std::string text) {
        std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
        return text;
    };
    const bool is_laid_out =
        line.find_first_of("\n\t") != line.npos; // as the library does, whose numbers are longer
    if (json.is_object() &&
        (is_laid_out || without_blanks(printed(json)) == without_blanks(std::string(line))))
        return json;
    return std::string(line);
}

std::string json_lines_head(std::time_t began)
{
    char text[32];
    std::strftime(text, sizeof text, "%FT%TZ", std::gmtime(&began));
    return printed({{"recording", "kx-controller"}, {"version", 1}, {"began", text}}) + '\n';
}

std::string json_line(double seconds, const Json& entry)
{
    Json line = {{"time", std::round(seconds * 1e6) / 1e6}};
    line.update(entry);
    return printed(line) + '\n';
}

} // namespace kx::recording
