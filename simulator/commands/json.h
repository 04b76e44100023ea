// The JSON type of the virtual controller: members keep the order in which they were added, "command" first.
#pragma once

#include <nlohmann/json.hpp>

namespace kx::sim {

using Json = nlohmann::ordered_json;

} // namespace kx::sim
