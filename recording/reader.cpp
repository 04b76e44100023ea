#include "recording/reader.h"

#include <istream>
#include <map>
#include <optional>

#include "recording/crc32.h"

namespace kx::recording {

namespace {

constexpr std::uint64_t longest_record = 64 << 20;
constexpr std::size_t most_channels = 1024, longest_name = 4096;

std::string name(std::string_view text)
{
    if (text.size() > longest_name) throw Damaged("a name of " + std::to_string(text.size()) + " bytes");
    return std::string(text);
}

class Reading {
  public:
    Reading(std::istream& file, const Visit& visit) : file_(file), visit_(visit)
    {
        if (!is_mcap(file)) throw Damaged("it is no MCAP file");
        file_.seekg(0, std::ios::end);
        const std::streamoff end = file_.tellg();
        if (end < 0) throw Damaged("only a file can be read, not a pipe");
        end_ = static_cast<std::uint64_t>(end);
    }

    Account read()
    {
        while (read_record()) {
        }
        return account_;
    }

  private:
    /** Whether there may be more. */
    bool read_record()
    {
        char bytes[head_size];
        file_.seekg(static_cast<std::streamoff>(at_));
        if (!file_.read(bytes, sizeof bytes)) return false;
        Fields head({bytes, sizeof bytes});
        const Kind kind{head.take<std::uint8_t>()};
        const auto length = head.take<std::uint64_t>();
        const std::uint64_t begin = at_ + head_size;
        if (length > end_ - begin) return false; // broken off while it was written
        at_ = begin + length;
        switch (kind) {
        case Kind::schema:
        case Kind::channel:
        case Kind::message:
        case Kind::chunk:
            if (in_summary_) return true; // all of it has been told
            read_content(kind, begin, length);
            return true;
        case Kind::statistics:
            read_content(kind, begin, length);
            return true;
        case Kind::data_end:
            in_summary_ = true;
            return true;
        case Kind::footer:
            finish(begin, length);
            return false;
        default:
            return true; // nothing that is not told by the others
        }
    }

    void read_content(Kind kind, std::uint64_t begin, std::uint64_t length)
    {
        try {
            if (length > longest_record) throw Damaged(std::to_string(length) + " bytes in one piece");
            content_.resize(length);
            if (!file_.read(content_.data(), static_cast<std::streamsize>(length)))
                throw Damaged("it cannot be read");
            if (kind == Kind::chunk)
                take_chunk(Fields(content_));
            else
                take(kind, Fields(content_));
        } catch (const Damaged& why) {
            note(why.what(), begin);
        }
    }

    void note(const std::string& damage, std::uint64_t place)
    {
        if (account_.damage.empty()) account_.damage = "at byte " + std::to_string(place) + ": " + damage;
    }

    void take_chunk(Fields fields)
    {
        fields.take_bytes(2 * sizeof(std::uint64_t)); // its times
        const auto size = fields.take<std::uint64_t>();
        const auto crc = fields.take<std::uint32_t>();
        const std::string_view compression = fields.take_text();
        if (!compression.empty())
            throw Damaged("compression " + name(compression).substr(0, 20) + ", which is not read here");
        const std::string_view records = fields.take_bytes(fields.take<std::uint64_t>());
        if (records.size() != size) throw Damaged("it does not have its size");
        if (crc != 0 && crc != crc32(records)) throw Damaged("the checksum is another");
        for_each_record(records, [this](Kind kind, Fields content) { take(kind, content); });
    }

    void take(Kind kind, Fields fields)
    {
        if (kind == Kind::schema)
            take_schema(fields);
        else if (kind == Kind::channel)
            take_channel(fields);
        else if (kind == Kind::message)
            take_message(fields);
        else if (kind == Kind::statistics)
            said_ = fields.take<std::uint64_t>();
    }

    /** The magic, again, is all that stands behind a footer. */
    void finish(std::uint64_t begin, std::uint64_t length)
    {
        const std::uint64_t end = begin + length + magic.size();
        account_.finished = end == end_;
        if (end < end_) note("there is something behind the end", begin);
        if (said_.value_or(account_.messages) != account_.messages)
            note("of " + std::to_string(*said_) + " messages these are " + std::to_string(account_.messages),
                 begin);
    }

    void take_schema(Fields& fields)
    {
        const auto id = fields.take<std::uint16_t>();
        const std::string schema = name(fields.take_text());
        if (schemas_.size() >= most_channels && !schemas_.contains(id)) throw Damaged("too many schemas");
        schemas_[id] = {schema, name(fields.take_text())};
    }

    void take_channel(Fields& fields)
    {
        const auto id = fields.take<std::uint16_t>();
        const auto schema = schemas_.find(fields.take<std::uint16_t>());
        const std::string topic = name(fields.take_text());
        if (channels_.size() >= most_channels && !channels_.contains(id)) throw Damaged("too many channels");
        channels_[id] = {topic, name(fields.take_text()), "", "", ""};
        if (schema == schemas_.end()) return;
        channels_[id].schema_name = schema->second.name;
        channels_[id].schema_encoding = schema->second.encoding;
    }

    void take_message(Fields& fields)
    {
        const Message message = recording::take_message(fields);
        const auto channel = channels_.find(message.channel);
        if (channel == channels_.end()) throw Damaged("a message of no channel");
        ++account_.messages;
        try {
            visit_(channel->second, message);
        } catch (const Damaged& why) {
            note("a message of " + channel->second.topic + ": " + why.what(), at_);
        }
    }

    struct Schema {
        std::string name, encoding;
    };

    std::istream& file_;
    const Visit& visit_;
    std::uint64_t at_ = magic.size(), end_ = 0;
    std::string content_;
    std::map<std::uint16_t, Schema> schemas_;
    std::map<std::uint16_t, Channel> channels_;
    bool in_summary_ = false;
    std::optional<std::uint64_t> said_; ///< how many messages there are
    Account account_;
};

} // namespace

bool is_mcap(std::istream& file)
{
    char begin[magic.size()] = "";
    file.read(begin, sizeof begin);
    file.clear();
    file.seekg(0);
    return std::string_view(begin, sizeof begin) == magic;
}

Account read(std::istream& file, const Visit& visit)
{
    return Reading(file, visit).read();
}

} // namespace kx::recording
