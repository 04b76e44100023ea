// What all targets have in common.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/** What must hold for every input. */
inline void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "not true: %s\n", what);
    std::abort();
}

/** What each target is. */
void judge(std::string_view input);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    judge({reinterpret_cast<const char*>(data), size});
    return 0;
}

/** The pieces in which a stream arrives: as long as its first byte says. */
template <typename Take>
void in_pieces(std::string_view input, const Take& take)
{
    if (input.empty()) return;
    const std::size_t length = 1 + static_cast<unsigned char>(input[0]);
    for (input.remove_prefix(1); !input.empty(); input.remove_prefix(std::min(length, input.size())))
        if (!take(input.substr(0, length))) return;
}
