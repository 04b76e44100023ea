#include "recording/recorder.h"

#include <cstdio>
#include <system_error>
#include <utility>

#include "recording/json_lines.h"
#include "recording/messages.h"

namespace kx::recording {

namespace {

using namespace std::chrono;

constexpr auto interval = 500ms;
constexpr std::size_t usual_chunk = 1 << 20, most_waiting = 4 << 20; // bytes

std::string code(int error)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%04x", static_cast<unsigned>(error));
    return text;
}

// Wording JSON takes longer than a caller shall wait, so it is only noted what is to be worded.
std::string noted(std::string_view member, int client, std::string_view text)
{
    std::string out;
    put_text(out, member);
    put(out, static_cast<std::uint32_t>(client));
    out += text;
    return out;
}

std::string worded(std::string_view noted)
{
    Fields fields(noted);
    const std::string member(fields.take_text());
    const auto client = fields.take<std::uint32_t>();
    return printed(
        {{"client", client}, {member, member == "event" ? Json(fields.rest()) : as_recorded(fields.rest())}});
}

/** In the order of the topics. */
std::vector<Channel> channels(bool with_description)
{
    std::vector<Channel> all = {joint_states(), wire(), events()};
    if (with_description) all.push_back(robot_description());
    return all;
}

} // namespace

Recorder::Recorder(const std::string& file, Existing existing, std::vector<std::string> joints,
                   const std::string& description)
    : joints_(std::move(joints)),
      began_(static_cast<std::uint64_t>(
          duration_cast<std::chrono::nanoseconds>(system_clock::now().time_since_epoch()).count())),
      writer_(file, existing, channels(!description.empty()))
{
    if (!description.empty()) record(description_topic, encode_text(description));
    thread_ = std::thread(&Recorder::run, this);
}

void Recorder::finish()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    due_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void Recorder::request(int client, std::string_view line)
{
    record(wire_topic, noted("request", client, line));
    if (line.find("\"set_arm_stop\"") != line.npos) event(client, "stop");
}

void Recorder::reply(int client, std::string_view line)
{
    record(wire_topic, noted("reply", client, line));
}

void Recorder::event(int client, std::string_view what)
{
    record(events_topic, noted("event", client, what));
}

void Recorder::state(steady_clock::time_point when, std::span<const double> positions, int arm_error,
                     int controller_error)
{
    const std::uint64_t stamp = nanoseconds(when);
    record(joints_topic, encode_joint_state(stamp, joints_, positions), stamp);
    if (arm_error_.exchange(arm_error) != arm_error) event(0, "error of the arm: " + code(arm_error));
    if (controller_error_.exchange(controller_error) != controller_error)
        event(0, "error of the controller: " + code(controller_error));
}

std::string Recorder::trouble() const
{
    const std::lock_guard lock(mutex_);
    return trouble_;
}

/** By a clock that nobody sets. */
std::uint64_t Recorder::nanoseconds(steady_clock::time_point when) const
{
    return began_ + static_cast<std::uint64_t>(std::chrono::nanoseconds(when - began_steady_).count());
}

void Recorder::record(Topic topic, std::string_view data, std::optional<std::uint64_t> publish_time)
{
    const std::lock_guard lock(mutex_);
    if (ending_ || !trouble_.empty() || waiting_.size() + data.size() > most_waiting) {
        ++sequences_[topic];
        ++unsaid_;
        ++lost_;
        return;
    }
    const std::uint64_t now = nanoseconds(steady_clock::now());
    const auto add = [&](Topic to, std::string_view what) {
        put_message(waiting_, {to, sequences_[to]++, now, publish_time.value_or(now), what});
    };
    if (unsaid_ > 0) {
        const auto what = std::to_string(std::exchange(unsaid_, 0)) + " messages lost, the file is too slow";
        add(events_topic, noted("event", 0, what));
    }
    add(topic, data);
    ++taken_;
    if (waiting_.size() >= usual_chunk) due_.notify_one();
}

void Recorder::run()
{
    std::string messages, chunk;
    for (bool ending = false; !ending;) {
        messages.clear();
        chunk.clear();
        {
            std::unique_lock lock(mutex_);
            due_.wait_for(lock, interval, [this] { return ending_ || waiting_.size() >= usual_chunk; });
            ending = ending_;
            messages.swap(waiting_);
        }
        for_each_record(messages, [&](Kind, Fields content) {
            Message message = take_message(content);
            std::string json;
            if (message.channel == wire_topic || message.channel == events_topic)
                message.data = json = worded(message.data);
            put_message(chunk, message);
        });
        attempt([&] { writer_.write_chunk(chunk); });
        if (ending) attempt([&] { writer_.finish(); });
    }
}

template <typename Write>
void Recorder::attempt(const Write& write)
{
    try {
        write();
    } catch (const std::system_error& error) {
        const std::lock_guard lock(mutex_);
        if (trouble_.empty()) trouble_ = error.what();
    }
}

} // namespace kx::recording
