#include "recording/crc32.h"

#include <array>

namespace kx::recording {

namespace {

constexpr std::size_t lanes = 8; ///< bytes at a time

/** tables[n][b]: what a byte b adds that stands before n others (Kounavis and Berry, 2005). */
using Tables = std::array<std::array<std::uint32_t, 256>, lanes>;

constexpr Tables tables = [] {
    Tables made{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = remainder >> 1 ^ (remainder & 1 ? 0xEDB88320u : 0);
        made[0][byte] = remainder;
    }
    for (std::size_t n = 1; n < lanes; ++n)
        for (std::size_t byte = 0; byte < 256; ++byte)
            made[n][byte] = made[n - 1][byte] >> 8 ^ made[0][made[n - 1][byte] & 255];
    return made;
}();

} // namespace

std::uint32_t crc32(std::string_view bytes, std::uint32_t before)
{
    std::uint32_t crc = ~before;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    for (; bytes.size() >= lanes; bytes.remove_prefix(lanes)) {
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < lanes; ++i)
            sum ^= tables[lanes - 1 - i][byte(i) ^ (i < 4 ? crc >> 8 * i & 255 : 0)];
        crc = sum;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i)
        crc = crc >> 8 ^ tables[0][(crc ^ byte(i)) & 255];
    return ~crc;
}

} // namespace kx::recording
