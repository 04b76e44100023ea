#include "recording/json.h"

namespace kx::recording {

bool nested_too_deeply(std::string_view text)
{
    int depth = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') in_string = !in_string;
        if (in_string && c == '\\') ++i;
        if (in_string) continue;
        if (c == '[' || c == '{') ++depth;
        if (c == ']' || c == '}') --depth;
        if (depth > max_depth) return true;
    }
    return false;
}

Json parsed(std::string_view text)
{
    if (nested_too_deeply(text)) return Json(Json::value_t::discarded);
    return Json::parse(text, nullptr, false);
}

std::string printed(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace kx::recording
