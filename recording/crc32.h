// The checksum of recordings: CRC-32 of ISO 3309, the one of gzip and PNG.
#pragma once

#include <cstdint>
#include <string_view>

namespace kx::recording {

/** @param before the checksum of what stands before these bytes */
std::uint32_t crc32(std::string_view bytes, std::uint32_t before = 0);

} // namespace kx::recording
