// What recordings cost: how long a caller is kept by a state and by a line of the wire, at a thousand of each a second, and
// how large the file of a minute is.
//
//     recording_figures [SECONDS]
#include "recording/messages.h"
#include "recording/recorder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace kx::recording;
using Clock = std::chrono::steady_clock;

constexpr const char* request = "{\"command\":\"get_current_arm_state\"}\r\n";
constexpr const char* reply =
    "{\"command\":\"get_current_arm_state\",\"arm_state\":{\"pose\":[-131250,42107,612904,3107,"
    "-28,1571],\"joint\":[12034,-30127,-60411,128,-89977,3],\"arm_err\":0,\"sys_err\":0}}\n";

void act(Recorder& recorder, int call)
{
    const double positions[6] = {0.21, -0.52, -1.05, 0, -1.57, 0};
    if (call == 0) recorder.state(Clock::now(), positions, 0, 0);
    if (call == 1) recorder.request(1, request);
    if (call == 2) recorder.reply(1, reply);
}

void print_times(const char* name, std::vector<double>& micros)
{
    std::sort(micros.begin(), micros.end());
    std::printf("%-8s median %5.2f us, 99 %% below %6.2f us\n", name, micros[micros.size() / 2],
                micros[micros.size() * 99 / 100]);
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 5;
    const std::string file = std::filesystem::temp_directory_path() / "recording_figures.mcap";
    constexpr const char* names[] = {"state", "request", "reply"};
    std::vector<double> times[3];
    {
        Recorder recorder(file, Existing::replace, joint_names(46), "");
        auto next = Clock::now();
        for (int i = 0; i < 1000 * seconds; ++i) {
            std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
            for (int call = 0; call < 3; ++call) {
                const auto before = Clock::now();
                act(recorder, call);
                times[call].push_back(
                    std::chrono::duration<double, std::micro>(Clock::now() - before).count());
            }
        }
        recorder.finish();
        std::printf("%d messages, %d lost\n", static_cast<int>(recorder.taken()),
                    static_cast<int>(recorder.lost()));
    }
    for (int call = 0; call < 3; ++call)
        print_times(names[call], times[call]);

    Recorder recorder(file, Existing::replace, joint_names(46), "");
    for (int i = 0; i < 50 * 60; ++i)
        for (int call = 0; call < 3; ++call)
            act(recorder, call);
    recorder.finish();
    std::printf("a minute of 50 states a second, asked for on the wire: %.2f MB\n",
                static_cast<double>(std::filesystem::file_size(file)) / 1e6);
    std::filesystem::remove(file);
}
