// The container of recordings, MCAP: a magic, then records, each a kind, its length and its content.
//
//   header, schemas, channels                          what there is to come
//   chunk, its message indexes, chunk, ...             messages, in the order of their log times
//   data end                                           checksum of all before
//   schemas, channels, statistics, chunk indexes       the summary
//   summary offsets, footer, magic                     where it begins, and its checksum
//
// A file that was never finished lacks what stands behind its last chunk, and is read all the same.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/fields.h"

namespace kx::recording {

inline constexpr std::string_view magic = "\x89MCAP0\r\n";

enum class Kind : std::uint8_t {
    header = 1,
    footer = 2,
    schema = 3,
    channel = 4,
    message = 5,
    chunk = 6,
    message_index = 7,
    chunk_index = 8,
    statistics = 11,
    summary_offset = 14,
    data_end = 15,
};

constexpr std::size_t head_size = 9; ///< of a record: kind and length

/** A topic, and how its messages are to be understood. */
struct Channel {
    std::string topic, encoding;                      ///< of the messages, e.g. cdr
    std::string schema_name, schema_encoding, schema; ///< the last is left empty by the reader
};

struct Message {
    std::uint16_t channel;
    std::uint32_t sequence;               ///< one more with each message of the channel, lost ones included
    std::uint64_t log_time, publish_time; ///< ns since 1970: when it was recorded, and when it was true
    std::string_view data;
};

/** Appends a record whose content `fill` appends. */
template <typename Fill>
void put_record(std::string& out, Kind kind, const Fill& fill)
{
    put(out, static_cast<std::uint8_t>(kind));
    const std::size_t begin = out.size() + sizeof(std::uint64_t);
    put(out, std::uint64_t{0});
    fill();
    std::string length;
    put(length, std::uint64_t{out.size() - begin});
    out.replace(begin - length.size(), length.size(), length);
}

/** Shows records that stand one behind the other.
 *  @throws Damaged where one breaks off, and whatever `visit` throws */
template <typename Visit>
void for_each_record(std::string_view records, const Visit& visit)
{
    for (Fields rest(records); !rest.rest().empty();) {
        const Kind kind{rest.take<std::uint8_t>()};
        visit(kind, Fields(rest.take_bytes(rest.take<std::uint64_t>())));
    }
}

inline void put_message(std::string& out, const Message& message)
{
    put_record(out, Kind::message, [&] {
        put(out, message.channel);
        put(out, message.sequence);
        put(out, message.log_time);
        put(out, message.publish_time);
        out += message.data;
    });
}

inline Message take_message(Fields fields)
{
    Message message{};
    message.channel = fields.take<std::uint16_t>();
    message.sequence = fields.take<std::uint32_t>();
    message.log_time = fields.take<std::uint64_t>();
    message.publish_time = fields.take<std::uint64_t>();
    message.data = fields.rest();
    return message;
}

} // namespace kx::recording
