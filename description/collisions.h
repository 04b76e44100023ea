// Which links of an arm need not be held against each other.
#pragma once

#include <string>
#include <vector>

namespace kx::description {

struct Excluded {
    std::string first, second; ///< links
    const char* reason;        ///< in the words of SRDF: Adjacent, Never or Always
};

/**
 * Pairs of links that a joint connects, that never come near each other, or that always touch, in ten thousand random
 * configurations within the limits.
 */
std::vector<Excluded> excluded_pairs(int model);

} // namespace kx::description
