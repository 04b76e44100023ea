// What is in a recording of either form, one after the other.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "commands/json.h"

namespace kx::sim {

/** @param entry a line of the wire or an event, as JSON lines have them; or where the arm stands: {"stands":[degrees...]}
 *  @param time s since the begin */
using TakeEntry = std::function<void(const Json& entry, double time)>;

/** @throws std::runtime_error if it is no recording, or `take` refuses something, with the name and the place */
void read_entries(std::istream& recording, const std::string& name, const TakeEntry& take);

} // namespace kx::sim
