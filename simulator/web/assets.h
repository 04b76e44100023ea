// The files that the page consists of, built into the program by embed.cmake.
#pragma once

#include <span>
#include <string_view>

namespace kx::sim {

struct Asset {
    const char* path; ///< in the page's address, without the leading slash
    const char* type;
    std::string_view content; ///< compressed, as gzip does it
};

extern const std::span<const Asset> assets;

} // namespace kx::sim
