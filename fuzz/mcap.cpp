// MCAP files: whatever is in them, they are read to their end, and each message lies in the file.
#include "target.h"

#include <sstream>

#include "line/replay.h"
#include "recording/messages.h"
#include "recording/reader.h"

using namespace kx::recording;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::istringstream in(bytes);
    std::size_t held = 0, shown = 0;
    try {
        const Account account = read(in, [&](const Channel& channel, const Message& message) {
            ++shown;
            held += message.data.size();
            require(channel.topic.size() + channel.schema_name.size() <= size, "names lie in the file");
            const JointState state = decode_joint_state(message.data);
            require(state.names.size() == state.positions.size(), "an angle for every joint");
            require(8 * state.positions.size() <= message.data.size(), "angles lie in the message");
        });
        require(account.messages == shown && held <= size, "messages lie in the file");
    } catch (const Damaged&) {
        require(!bytes.starts_with(magic), "only what is no such file at all is refused");
    }
    try {
        std::istringstream again(bytes);
        const kx::sim::Replay replay(again, "recording");
        require(replay.unused() <= size, "requests lie in the file");
    } catch (const std::runtime_error& wrong) {
        require(std::string_view(wrong.what()).find("recording") != std::string_view::npos,
                "it says of what");
    }
    return 0;
}
