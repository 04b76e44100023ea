#include "line/secrets.h"

#include <algorithm>
#include <cctype>

#include "commands/json.h"

namespace kx::sim {

namespace {

bool names_password(std::string_view text)
{
    constexpr std::string_view name = "password";
    const auto same = [](unsigned char c, char lower) { return std::tolower(c) == lower; };
    return std::search(text.begin(), text.end(), name.begin(), name.end(), same) != text.end();
}

/** Blots out every password in it; whether there was one. */
bool blot(Json& json)
{
    bool found = false;
    for (auto item = json.begin(); item != json.end(); ++item) {
        if (json.is_object() && names_password(item.key()))
            *item = "***";
        else if (!item->is_structured() || !blot(*item))
            continue;
        found = true;
    }
    return found;
}

} // namespace

bool may_hold_password(std::string_view text)
{
    return text.find('\\') != text.npos || names_password(text);
}

std::string without_secrets(const std::string& line)
{
    Json json = parsed(line);
    if (json.is_discarded()) return may_hold_password(line) ? withheld : line;
    return json.is_structured() && blot(json) ? printed(json) : line;
}

} // namespace kx::sim
