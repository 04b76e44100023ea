// Writes an MCAP file chunk by chunk. Whatever chunk has been written is in the file, whatever becomes of the program.
#pragma once

#include <string>
#include <vector>

#include "recording/mcap.h"

namespace kx::recording {

enum class Existing { refuse, replace };

/** Everything throws std::system_error, with the file's name, when the file cannot be written; it then ends with the
 *  last record that fitted. */
class Writer {
  public:
    /** @param channels counted from 0 in messages */
    Writer(const std::string& file, Existing existing, const std::vector<Channel>& channels);
    ~Writer();
    Writer(const Writer&) = delete;

    /** @param messages records as put_message makes them, in the order of their log times */
    void write_chunk(std::string_view messages);

    /** The summary; nothing more can be written then. */
    void finish();

  private:
    void write(std::string_view bytes);

    const std::string name_;
    int file_;
    std::uint64_t size_ = 0; ///< of the file
    std::uint32_t crc_ = 0;  ///< of all of it

    // What goes into the summary.
    std::string schemas_, channel_records_, chunk_indexes_;
    std::vector<std::uint64_t> counts_; ///< of the channels' messages
    std::uint64_t first_time_ = 0, last_time_ = 0;
    std::uint32_t chunks_ = 0;
};

} // namespace kx::recording
