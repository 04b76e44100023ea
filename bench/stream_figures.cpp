// The figures of streams, in one run: what a profile, all joints together and one cycle cost; how punctual the
// sender is, with and without priority, for some seconds each; and how soon it brakes when its application stalls.
// The arm is one of a kx-controller of its own, or that behind a port.
//
//     stream_figures [SECONDS [PORT]]
#include "kx_base.h"
#include "streaming/pilot.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <string>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

using namespace kx::streaming;

namespace {

std::mt19937 chance(1);

double between(double least, double most)
{
    return std::uniform_real_distribution(least, most)(chance);
}

double load()
{
    double average = 0;
    getloadavg(&average, 1);
    return average;
}

// Processor time, so that others on the machine do not count.
template <class Work>
double nanoseconds_each(int count, Work work)
{
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
    };
    const double begin = now();
    for (int i = 0; i < count; ++i)
        work(i);
    return (now() - begin) / count;
}

ArmLimits usual_limits()
{
    ArmLimits limits = {};
    limits.joints = 7;
    for (int i = 0; i < 7; ++i)
        limits.motion[i] = {90, 400, 4000}, limits.lower[i] = -180, limits.upper[i] = 180;
    return limits;
}

void numbers()
{
    constexpr int many = 100000;
    const ArmLimits limits = usual_limits();
    std::vector<ArmState> from(1000);
    std::vector<Knot> targets(1000);
    for (size_t i = 0; i < from.size(); ++i)
        for (int j = 0; j < 7; ++j) {
            from[i].joint[j] = {between(-90, 90), between(-60, 60), between(-300, 300)};
            targets[i].joint[j] = between(-90, 90);
        }
    double sum = 0;
    const double one = nanoseconds_each(many, [&](int i) {
        sum += fastest(from[i % 1000].joint[0], targets[i % 1000].joint[0], limits.motion[0]).duration();
    });
    const double seven = nanoseconds_each(many / 10, [&](int i) {
        sum += fastest_together(from[i % 1000], targets[i % 1000].joint, limits).duration;
    });
    printf("the fastest way of a joint            %8.0f ns\n", one);
    printf("of seven together, for each of them   %8.0f ns\n", seven / 7);

    ARM_MODEL arm;
    Arm_Model_Init(&arm, 47, 0);
    for (const bool has_tool_limits : {false, true}) {
        const Limits tool = has_tool_limits ? Limits{0.5, 5, 50} : Limits{0, 0, 0};
        std::vector<Knot> ring(4096);
        const Joints start = {0, -20, 0, -60, 0, -80, 0};
        Pilot pilot(0.005, 0.1, limits, ToolPath(arm, tool, 0.005), start, Course(7, ring.data(), 4096));
        double time = 0, next = 0;
        const double cycle = nanoseconds_each(many / 10, [&](int) {
            for (time += 0.005; next <= time; next += 1 / 30.0) {
                Joints target;
                for (int j = 0; j < 7; ++j)
                    target[j] = start[j] + 5 * std::sin(next + j) + between(-0.01, 0.01);
                pilot.pass(target, next, time);
            }
            pilot.advance(time);
        });
        printf("a cycle of seven joints%s    %8.0f ns\n",
               has_tool_limits ? ", tool limited" : "              ", cycle);
        sum += pilot.set_point().joint[0].position;
    }
    if (sum == 0) puts("");
}

struct Passed {
    std::mutex mutex;
    std::vector<KX_STREAM_CYCLE> cycles;
};

int open_stream(int link, int priority, double watchdog, Passed& passed)
{
    KX_STREAM_OPTIONS options;
    KX_Stream_Defaults(&options);
    options.priority = priority;
    options.watchdog = watchdog;
    options.silence = 2;
    options.user = &passed;
    options.on_cycle = [](int, const KX_STREAM_CYCLE* cycle, void* user) {
        Passed& all = *static_cast<Passed*>(user);
        const std::lock_guard lock(all.mutex);
        all.cycles.push_back(*cycle);
    };
    return KX_Stream_Open(link, &options);
}

// Thirty targets a second for so long, on a slow swing of all joints from where they are; gives the time of the
// last one.
double give(int stream, double seconds)
{
    KX_STREAM_CYCLE from;
    KX_Stream_State(stream, &from);
    const double begin = KX_Stream_Clock();
    double time = begin;
    while (time - begin < seconds) {
        float target[7];
        for (int j = 0; j < 7; ++j)
            target[j] = from.sent[j] + static_cast<float>(10 * std::sin(time - begin));
        if (KX_Stream_Joints(stream, target, time) != KX_SUCCESS) break;
        usleep(33333);
        time = KX_Stream_Clock();
    }
    return time - 0.0333;
}

void punctuality(int link, int priority, double seconds)
{
    Passed passed;
    const int stream = open_stream(link, priority, 2, passed);
    give(stream, seconds);
    KX_Stream_Wait(stream, 10000);
    KX_STREAM_COUNTERS did;
    did.size = sizeof did;
    KX_Stream_Counters(stream, &did);
    printf("priority %2d: %6llu cycles, late by ms %.3f median, %.3f 99 %%, %.3f at most; %llu late cycles; "
           "lag ms %.1f median, %.1f 99 %%; load %.1f: %s\n",
           did.priority, static_cast<unsigned long long>(did.cycles), did.jitter_median, did.jitter_p99,
           did.jitter_most, static_cast<unsigned long long>(did.late_cycles), did.lag_median, did.lag_p99,
           load(), KX_Stream_Words(KX_Stream_Reason(stream)));
    KX_Stream_Close(stream);
}

// In the middle of the swing the application falls silent.
void stall(int link)
{
    constexpr double watchdog = 0.1;
    Passed passed;
    const int stream = open_stream(link, 20, watchdog, passed);
    const double last = give(stream, 6.2);
    while (KX_Stream_Reason(stream) == KX_STREAM_RUNS)
        usleep(1000);
    KX_Stream_Wait(stream, 10000);
    const auto& cycles = passed.cycles;
    const auto speed = [&](size_t i) {
        return double(cycles[i].sent[0] - cycles[i - 1].sent[0]) / (cycles[i].time - cycles[i - 1].time);
    };
    const auto first_after =
        static_cast<size_t>(std::find_if(cycles.begin(), cycles.end(),
                                         [&](const auto& cycle) { return cycle.time > last + watchdog; }) -
                            cycles.begin());
    size_t rest = first_after;
    while (rest + 1 < cycles.size() && std::fabs(speed(rest)) > 0.05)
        ++rest;
    printf("stalled at %.1f degrees/s: braking begins %.1f ms after the watchdog's %.0f, at rest %.0f ms "
           "later (%s)\n",
           speed(first_after), 1000 * (cycles[first_after].time - last - watchdog), 1000 * watchdog,
           1000 * (cycles[rest].time - cycles[first_after].time), KX_Stream_Words(KX_Stream_Reason(stream)));
    KX_Stream_Close(stream);
}

// A controller of its own; gives its process and port.
std::pair<pid_t, int> start_controller()
{
    int output[2];
    if (pipe(output) != 0) return {0, 0};
    const pid_t process = fork();
    if (process == 0) {
        dup2(output[1], STDOUT_FILENO);
        execl(KX_CONTROLLER, KX_CONTROLLER, "--port", "0", "--spacing", "0", nullptr);
        _exit(127);
    }
    close(output[1]);
    char line[200] = "";
    FILE* lines = fdopen(output[0], "r");
    const char* colon = lines && fgets(line, sizeof line, lines) ? strrchr(line, ':') : nullptr;
    return {process, colon ? atoi(colon + 1) : 0};
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? atof(argv[1]) : 20;
    numbers();
    const auto [process, own_port] = argc > 2 ? std::pair<pid_t, int>(0, atoi(argv[2])) : start_controller();
    const int link = KX_Link_Open("127.0.0.1", own_port, 46, nullptr);
    if (link > 0) {
        punctuality(link, 20, seconds);
        punctuality(link, 0, seconds);
        stall(link);
        KX_Link_Close(link);
    }
    if (process > 0) {
        kill(process, SIGTERM);
        waitpid(process, nullptr, 0);
    }
    return link > 0 ? 0 : 1;
}
