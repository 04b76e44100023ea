// JSON that comes from outside. Members keep the order in which they came, "command" first.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace kx::recording {

using Json = nlohmann::ordered_json;

/** Of brackets and braces within each other. Requests have three; what prints or copies a value calls itself
 * at every level. */
constexpr int max_depth = 32;

bool nested_too_deeply(std::string_view text);

/** The value of a text, discarded if it is no JSON or nested too deeply: for whatever comes from outside. */
Json parsed(std::string_view text);

/** On one line; bytes that are no UTF-8 are replaced. */
std::string printed(const Json& json);

} // namespace kx::recording
