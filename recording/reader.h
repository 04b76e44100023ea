// Reads MCAP files from their begin, finished or not: whatever chunks are whole.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "recording/mcap.h"

namespace kx::recording {

/** What became of reading a file. */
struct Account {
    std::uint64_t messages = 0;
    bool finished = false; ///< whoever wrote it has finished it
    std::string damage;    ///< what could not be read, and where; empty if all could
};

/** Throws Damaged for a message that cannot be understood; those after it are shown all the same. */
using Visit = std::function<void(const Channel&, const Message&)>;

/** Whether a file begins as such recordings do; leaves it at its begin. */
bool is_mcap(std::istream& file);

/**
 * Shows all messages, in the order of the file. Chunks are read if they are not compressed; at most 64 MiB are held at
 * a time.
 * @throws Damaged if it is no MCAP file at all, and whatever else `visit` throws
 */
Account read(std::istream& file, const Visit& visit);

} // namespace kx::recording
