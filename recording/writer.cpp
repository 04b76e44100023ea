#include "recording/writer.h"

#include <cerrno>
#include <numeric>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "recording/crc32.h"

namespace kx::recording {

namespace {

constexpr std::string_view uncompressed = "";

[[noreturn]] void fail(const std::string& file)
{
    throw std::system_error(errno, std::generic_category(), "cannot write " + file);
}

/** Schemas are counted from 1; 0 would be none. */
std::uint16_t schema_of(std::size_t channel)
{
    return static_cast<std::uint16_t>(channel + 1);
}

} // namespace

Writer::Writer(const std::string& file, Existing existing, const std::vector<Channel>& channels)
    : name_(file), counts_(channels.size())
{
    const int how = existing == Existing::refuse ? O_EXCL : O_TRUNC;
    file_ = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | how, 0666);
    if (file_ < 0) fail(file);

    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Channel& channel = channels[i];
        put_record(schemas_, Kind::schema, [&] {
            put(schemas_, schema_of(i));
            put_text(schemas_, channel.schema_name);
            put_text(schemas_, channel.schema_encoding);
            put_text(schemas_, channel.schema);
        });
        put_record(channel_records_, Kind::channel, [&] {
            put(channel_records_, static_cast<std::uint16_t>(i));
            put(channel_records_, schema_of(i));
            put_text(channel_records_, channel.topic);
            put_text(channel_records_, channel.encoding);
            put_text(channel_records_, ""); // no metadata
        });
    }
    std::string begin(magic);
    put_record(begin, Kind::header, [&] {
        put_text(begin, ""); // no profile
        put_text(begin, "KX Service");
    });
    try {
        write(begin + schemas_ + channel_records_);
    } catch (...) {
        close(file_);
        throw;
    }
}

Writer::~Writer()
{
    close(file_);
}

void Writer::write_chunk(std::string_view messages)
{
    if (messages.empty()) return;
    std::vector<std::string> of_channels(counts_.size()); // log times and offsets
    std::uint64_t offset = 0, first = 0, last = 0;
    for_each_record(messages, [&](Kind, Fields content) {
        const Message message = take_message(content);
        put(of_channels[message.channel], message.log_time);
        put(of_channels[message.channel], offset);
        if (offset == 0) first = message.log_time;
        last = message.log_time;
        offset += head_size + content.rest().size();
    });

    std::string out, indexes, index_offsets;
    put_record(out, Kind::chunk, [&] {
        put(out, first);
        put(out, last);
        put(out, std::uint64_t{messages.size()});
        put(out, crc32(messages));
        put_text(out, uncompressed);
        put(out, std::uint64_t{messages.size()});
        out += messages;
    });
    for (std::size_t i = 0; i < of_channels.size(); ++i) {
        if (of_channels[i].empty()) continue;
        put(index_offsets, static_cast<std::uint16_t>(i));
        put(index_offsets, size_ + out.size() + indexes.size());
        put_record(indexes, Kind::message_index, [&] {
            put(indexes, static_cast<std::uint16_t>(i));
            put_text(indexes, of_channels[i]);
        });
    }
    const std::uint64_t begin = size_;
    write(out + indexes);

    put_record(chunk_indexes_, Kind::chunk_index, [&] {
        put(chunk_indexes_, first);
        put(chunk_indexes_, last);
        put(chunk_indexes_, begin);
        put(chunk_indexes_, std::uint64_t{out.size()});
        put_text(chunk_indexes_, index_offsets);
        put(chunk_indexes_, std::uint64_t{indexes.size()});
        put_text(chunk_indexes_, uncompressed);
        put(chunk_indexes_, std::uint64_t{messages.size()});
        put(chunk_indexes_, std::uint64_t{messages.size()});
    });
    if (chunks_++ == 0) first_time_ = first;
    last_time_ = last;
    for (std::size_t i = 0; i < of_channels.size(); ++i)
        counts_[i] += of_channels[i].size() / (2 * sizeof(std::uint64_t));
}

void Writer::finish()
{
    std::string end;
    put_record(end, Kind::data_end, [&] { put(end, crc_); });

    std::string statistics;
    put_record(statistics, Kind::statistics, [&] {
        const auto channel_count = static_cast<std::uint32_t>(counts_.size());
        put(statistics, std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0}));
        put(statistics, static_cast<std::uint16_t>(channel_count)); // schemas
        put(statistics, channel_count);
        put(statistics, std::uint32_t{0}); // attachments
        put(statistics, std::uint32_t{0}); // metadata
        put(statistics, chunks_);
        put(statistics, first_time_);
        put(statistics, last_time_);
        std::string counts;
        for (std::size_t i = 0; i < counts_.size(); ++i) {
            put(counts, static_cast<std::uint16_t>(i));
            put(counts, counts_[i]);
        }
        put_text(statistics, counts);
    });

    const std::uint64_t summary_begin = size_ + end.size();
    std::string summary, offsets;
    const auto add_group = [&](Kind kind, std::string_view records) {
        if (records.empty()) return;
        put_record(offsets, Kind::summary_offset, [&] {
            put(offsets, static_cast<std::uint8_t>(kind));
            put(offsets, summary_begin + summary.size());
            put(offsets, std::uint64_t{records.size()});
        });
        summary += records;
    };
    add_group(Kind::schema, schemas_);
    add_group(Kind::channel, channel_records_);
    add_group(Kind::statistics, statistics);
    add_group(Kind::chunk_index, chunk_indexes_);
    const std::uint64_t offsets_begin = summary_begin + summary.size();
    summary += offsets;
    put_record(summary, Kind::footer, [&] {
        put(summary, summary_begin);
        put(summary, offsets_begin);
        put(summary, std::uint32_t{0}); // the checksum, of all before it
    });
    summary.resize(summary.size() - sizeof(std::uint32_t));
    put(summary, crc32(summary));
    write(end + summary + std::string(magic));
}

void Writer::write(std::string_view bytes)
{
    for (std::string_view rest = bytes; !rest.empty();) {
        const ssize_t count = ::write(file_, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) {
            const int error = errno;
            [[maybe_unused]] const int ignored = ftruncate(file_, static_cast<off_t>(size_));
            lseek(file_, static_cast<off_t>(size_), SEEK_SET);
            errno = error;
            fail(name_);
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    size_ += bytes.size();
    crc_ = crc32(bytes, crc_);
}

} // namespace kx::recording
