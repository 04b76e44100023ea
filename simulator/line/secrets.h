// Passwords go nowhere: neither into a trace, nor into a recording, nor to the page.
#pragma once

#include <string>
#include <string_view>

namespace kx::sim {

/** Whether a text that cannot be read as JSON may hold a password, whose name may be written with escapes. */
bool may_hold_password(std::string_view text);

/** A line as it may be shown and kept. */
std::string without_secrets(const std::string& line);

/** What is shown in place of a text that may hold a password. */
inline constexpr const char* withheld = "(not shown, as it may hold a password)";

} // namespace kx::sim
