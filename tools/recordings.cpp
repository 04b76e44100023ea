// Recordings of an arm: making them, and giving out what they hold.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>
#include <utility>

#include "arm.h"
#include "commands.h"
#include "description/description.h"
#include "recording/json_lines.h"
#include "recording/messages.h"
#include "recording/reader.h"
#include "recording/recorder.h"

namespace kx::tool {

namespace {

using recording::Recorder;

constexpr int own_connection = 1; ///< as recordings count clients

/** Has what the library tells on its threads recorded, as soon as there is a recorder. */
struct Listener {
    const std::size_t joint_count;
    std::atomic<Recorder*> recorder = nullptr;
    int status = KX_SUCCESS; ///< of the last state

    static void log(int, KX_LINK_EVENT kind, const char* text, int length, void* user)
    {
        Recorder* recorder = static_cast<Listener*>(user)->recorder;
        if (!recorder) return;
        const std::string_view line(text, static_cast<std::size_t>(length));
        switch (kind) {
        case KX_LINK_LINE_OUT:
            return recorder->request(own_connection, line);
        case KX_LINK_LINE_IN:
            return recorder->reply(own_connection, line);
        case KX_LINK_CHANGED:
            return recorder->event(own_connection, line);
        case KX_LINK_DROPPED:
            return recorder->event(own_connection, "dropped: " + std::string(line));
        }
    }

    static void state(const KX_ARM_STATE* state, void* user)
    {
        using namespace std::chrono;
        auto& [joint_count, recorder, status] = *static_cast<Listener*>(user);
        if (std::exchange(status, state->status) != state->status && state->status != KX_SUCCESS)
            recorder.load()->event(own_connection,
                                   std::string("no state: ") + KX_Status_Words(state->status));
        if (state->status != KX_SUCCESS) return;
        double positions[7];
        for (std::size_t i = 0; i < joint_count; ++i)
            positions[i] = recording::radians(static_cast<double>(state->joint[i]));
        const std::uint64_t between = state->asked_ns + (state->answered_ns - state->asked_ns) / 2;
        recorder.load()->state(steady_clock::time_point(nanoseconds(between)), {positions, joint_count},
                               state->arm_err, state->sys_err);
    }
};

Row number(const char* name, std::uint64_t value)
{
    return {name, "", {static_cast<double>(value)}, false};
}

/** A column's name, as RFC 4180 has it. */
std::string column(const std::string& name)
{
    if (name.find_first_of(",\"\r\n") == name.npos) return name;
    std::string quoted = "\"";
    for (const char c : name)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + '"';
}

/** Joint angles, degrees, over seconds since 1970. */
class CsvPrinter {
  public:
    void operator()(const recording::Channel& channel, const recording::Message& message)
    {
        if (channel.schema_name != "sensor_msgs/msg/JointState" || channel.encoding != "cdr") return;
        const auto [names, positions] = recording::decode_joint_state(message.data);
        if (names_.empty()) {
            names_ = names;
            std::cout << "time_s";
            for (const std::string& name : names_)
                std::cout << ',' << column(name + "_deg");
            std::cout << '\n';
        }
        if (names != names_) throw recording::Damaged("it is of other joints than the first one");
        constexpr std::uint64_t second = 1'000'000'000; // ns
        char text[40];
        std::snprintf(text, sizeof text, "%llu.%09llu", message.publish_time / second + 0ull,
                      message.publish_time % second + 0ull);
        std::cout << text;
        for (const double position : positions) {
            std::snprintf(text, sizeof text, ",%.6f", recording::degrees(position));
            std::cout << text;
        }
        std::cout << '\n';
    }

  private:
    std::vector<std::string> names_;
};

/** Lines of the wire and events, as kx-controller keeps and takes them, too. */
class LinesPrinter {
  public:
    void operator()(const recording::Channel& channel, const recording::Message& message)
    {
        if (channel.topic != recording::wire().topic && channel.topic != recording::events().topic) return;
        if (begin_ == 0) {
            begin_ = message.log_time;
            std::cout << recording::json_lines_head(static_cast<std::time_t>(begin_ / 1'000'000'000));
        }
        const recording::Json entry = recording::parsed(message.data);
        if (!entry.is_object()) throw recording::Damaged("it is no JSON object");
        std::cout << recording::json_line(
            static_cast<double>(std::max(message.log_time, begin_) - begin_) / 1e9, entry);
    }

  private:
    std::uint64_t begin_ = 0;
};

} // namespace

Answer record(const Given& given)
{
    state(given); // fails for an arm that has none to record, as one of another model
    Listener listener = {joints_of(given)};
    KX_LINK_OPTIONS options = Arm::usual_options();
    options.reconnect = true;
    options.callback_queue = 10'000;
    options.on_log = Listener::log;
    options.user = &listener;
    std::optional<Recorder> recorder; // outlives the link
    const Arm arm(given.arm, given.model, timeout_of(given), options);
    try {
        const auto existing = given.overwrite ? recording::Existing::replace : recording::Existing::refuse;
        recorder.emplace(given.file, existing, recording::joint_names(given.model),
                         description::urdf({.model = given.model, .prefix = "", .meshes = ""}));
    } catch (const std::system_error& error) {
        throw Failed{bad_file, error.what()};
    }
    recorder->event(own_connection, "connected to " + given.arm);
    listener.recorder = &*recorder;
    KX_Link_Subscribe(arm, given.hz, Listener::state, &listener);

    catch_interrupts();
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(given.seconds.value_or(0));
    while (!interrupted() && recorder->trouble().empty() && (!given.seconds || Clock::now() < end))
        sleep_cp(20);

    KX_LINK_COUNTERS counters = {};
    counters.size = sizeof counters;
    KX_Link_Counters(arm, &counters);
    KX_Link_Close(arm);
    recorder->finish();
    if (const std::string trouble = recorder->trouble(); !trouble.empty()) throw Failed{bad_file, trouble};
    return {KX_SUCCESS,
            {number("messages", recorder->taken()),
             number("lost", recorder->lost() + counters.callbacks_lost),
             number("states_missed", counters.states_missed)}};
}

Answer export_recording(const Given& given)
{
    if (given.csv && given.json) throw WrongUse("either --csv or --json");
    std::ifstream file(given.file, std::ios::binary);
    if (!file) throw Failed{bad_file, "cannot read " + given.file};
    recording::Account account;
    try {
        account = recording::read(file, given.json ? recording::Visit(LinesPrinter()) : CsvPrinter());
    } catch (const recording::Damaged& why) {
        throw Failed{bad_file, given.file + ": " + why.what()};
    }
    if (!account.damage.empty()) throw Failed{bad_file, given.file + " is damaged " + account.damage};
    if (!account.finished)
        std::fprintf(stderr, "kx: %s was never finished; this is all that is in it\n", given.file.c_str());
    Answer printed;
    printed.is_printed = true;
    return printed;
}

} // namespace kx::tool
