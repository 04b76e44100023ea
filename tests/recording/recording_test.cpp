// Recordings when something goes wrong: a slow file, a file that breaks off, flipped bits, other people's files.
#include "recording/json.h"
#include "recording/json_lines.h"
#include "recording/messages.h"
#include "recording/reader.h"
#include "recording/recorder.h"
#include "support/own_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace {

using namespace kx::recording;

struct Read {
    Account account;
    std::vector<std::string> data;
    std::set<std::string> topics;
};

Read read_all(const std::string& bytes)
{
    Read result;
    std::istringstream in(bytes);
    result.account = read(in, [&](const Channel& channel, const Message& message) {
        result.data.emplace_back(message.data);
        result.topics.insert(channel.topic);
    });
    return result;
}

TEST(Recorder, SaysWhatIsLostWhenItsFileIsTooSlow)
{
    const OwnFile pipe("pipe");
    ASSERT_EQ(mkfifo(pipe.path.c_str(), 0600), 0);
    const int end = open(pipe.path.c_str(), O_RDWR);
    constexpr int count = 20'000;
    std::uint64_t taken, lost;
    std::string bytes;
    std::thread drain;
    {
        Recorder recorder(pipe.path, Existing::replace, {}, "");
        const std::string line(1000, 'x'); // 20 MB in all; the pipe takes 64 kB, and nobody reads
        for (int i = 0; i < count; ++i)
            recorder.reply(1, line);
        lost = recorder.lost();
        EXPECT_GT(lost, 0u);
        drain = std::thread([&] {
            char piece[65536];
            while (!bytes.ends_with(magic) || bytes.size() == magic.size()) {
                const ssize_t length = ::read(end, piece, sizeof piece);
                ASSERT_GT(length, 0);
                bytes.append(piece, static_cast<std::size_t>(length));
            }
        });
        for (auto before = recorder.taken(); recorder.taken() == before;) // until there is room again
            recorder.reply(1, "{}");
        recorder.finish();
        taken = recorder.taken();
        lost = recorder.lost();
    }
    drain.join();
    close(end);

    std::istringstream in(bytes);
    std::uint64_t lines = 0, next = 0, missing = 0, said = 0;
    const Account account = read(in, [&](const Channel& channel, const Message& message) {
        if (channel.topic == wire().topic) {
            ++lines;
            missing += message.sequence - next;
            next = message.sequence + 1;
        } else if (const Json event = parsed(message.data); event.at("client") == 0) {
            said += std::stoull(event.at("event").get<std::string>());
        }
    });
    EXPECT_TRUE(account.finished && account.damage.empty()) << account.damage;
    EXPECT_EQ(lines, taken);
    EXPECT_EQ(missing, lost) << "gaps of the sequence";
    EXPECT_EQ(said, lost) << "events";
}

// Three chunks of four messages, finished.
std::string three_chunks()
{
    const OwnFile file("chunks.mcap");
    Writer writer(file.path, Existing::replace, {wire(), events()});
    for (std::uint32_t chunk = 0, number = 0; chunk < 3; ++chunk) {
        std::string records;
        for (int i = 0; i < 4; ++i, ++number)
            put_message(records, {static_cast<std::uint16_t>(number % 2), number / 2, number, number,
                                  "message " + std::to_string(number)});
        writer.write_chunk(records);
    }
    writer.finish();
    return file.content();
}

TEST(JsonLines, KeepAsATextWhatIsNoObjectOrWouldReadOtherwise)
{
    for (const char* object :
         {R"({"a":1,"b":[2,"x y"]})", R"({"a": 1, "b": [2, "x y"]})", "{\n\t\"a\":\t1e3\n}\r\n"})
        EXPECT_TRUE(as_recorded(object).is_object()) << object;
    for (const char* text : {"[1]", R"({"a":1,"a":2})", R"({"a":1e3})", "{"})
        EXPECT_EQ(as_recorded(text), text);
}

TEST(Reader, GivesAllWholeChunksOfAFileThatBreaksOff)
{
    const std::string whole = three_chunks();
    const Read all = read_all(whole);
    EXPECT_EQ(all.data.size(), 12u);
    EXPECT_TRUE(all.account.finished && all.account.damage.empty());
    std::set<std::size_t> counts;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        if (length < magic.size()) {
            EXPECT_THROW(read_all(whole.substr(0, length)), Damaged) << length;
            continue;
        }
        const Read part = read_all(whole.substr(0, length));
        EXPECT_TRUE(std::equal(part.data.begin(), part.data.end(), all.data.begin())) << length;
        EXPECT_FALSE(part.account.finished) << length;
        EXPECT_EQ(part.account.damage, "") << length;
        counts.insert(part.data.size());
    }
    EXPECT_EQ(counts, (std::set<std::size_t>{0, 4, 8, 12}));
}

TEST(Reader, NoticesEveryFlippedBitThatChangesAMessage)
{
    const std::string whole = three_chunks();
    const Read all = read_all(whole);
    const std::set<std::string> messages(all.data.begin(), all.data.end());
    std::size_t told = 0;
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
        std::string flipped = whole;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
        try {
            const Read part = read_all(flipped);
            const bool is_whole = part.data == all.data;
            told += !is_whole;
            EXPECT_TRUE(is_whole || !part.account.finished || !part.account.damage.empty()) << "bit " << bit;
            // An index may become a message, of which only the sum at the end knows.
            for (const std::string& data : part.data)
                ASSERT_TRUE(messages.contains(data) || part.data.size() == 13) << "bit " << bit;
        } catch (const Damaged&) {
            EXPECT_LT(bit, 8 * magic.size()) << "only what is no such file at all";
        }
    }
    EXPECT_GT(told, 8 * 12 * 20u) << "each bit of a message";
}

std::string record_of(Kind kind, const std::string& content)
{
    std::string out;
    put_record(out, kind, [&] { out += content; });
    return out;
}

std::string chunk_of(const std::string& compression, const std::string& records)
{
    std::string content(16, '\0');
    put(content, std::uint64_t{records.size()});
    put(content, std::uint32_t{0}); // no checksum
    put_text(content, compression);
    put(content, std::uint64_t{records.size()});
    return record_of(Kind::chunk, content + records);
}

TEST(Reader, TakesOtherPeoplesFiles)
{
    std::string schema, channel, messages[3];
    put(schema, std::uint16_t{7});
    for (const char* text : {"std_msgs/msg/String", "ros2msg", "string data"})
        put_text(schema, text);
    put(channel, std::uint16_t{9});
    put(channel, std::uint16_t{7});
    for (const char* text : {"/chatter", "cdr", ""})
        put_text(channel, text);
    for (std::uint32_t i = 0; i < 3; ++i)
        put_message(messages[i], {9, i, i, i, std::to_string(i)});
    // Messages outside of chunks, channels inside, compressed chunks, and kinds that tell us nothing.
    const std::string begin = std::string(magic) + record_of(Kind{9}, "attached") + record_of(Kind{200}, "?");
    const Read foreign = read_all(
        begin +
        chunk_of("", record_of(Kind::schema, schema) + record_of(Kind::channel, channel) + messages[0]) +
        messages[1] + chunk_of("zstd", messages[1]) + messages[2] +
        record_of(Kind::footer, std::string(20, '\0')) + std::string(magic));
    EXPECT_TRUE(foreign.account.finished);
    EXPECT_EQ(foreign.data, (std::vector<std::string>{"0", "1", "2"}));
    EXPECT_EQ(foreign.topics, std::set<std::string>{"/chatter"});
    EXPECT_NE(foreign.account.damage.find("zstd"), std::string::npos) << foreign.account.damage;
    EXPECT_NE(read_all(begin + messages[0]).account.damage.find("no channel"), std::string::npos);
}

} // namespace
