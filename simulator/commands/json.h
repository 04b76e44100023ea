// JSON, as the whole virtual controller reads and writes it.
#pragma once

#include "recording/json.h"

namespace kx::sim {

using recording::Json, recording::max_depth, recording::nested_too_deeply, recording::parsed,
    recording::printed;

} // namespace kx::sim
