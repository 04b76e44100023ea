// Streams joint targets to the drives, 200 a second: every joint swings 10 degrees out and back, some times.
// The callback measures by the pushes how far the arm lags behind, and sees when the controller refuses targets, as after
// an emergency stop. Ends with status 0 only if all were taken and the arm has followed.
//
//     7_stream PORT [MODEL [SECONDS]]        of a controller on this machine, e.g. kx-controller
#include "example.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <time.h>
#include <vector>

namespace {

constexpr double period = 0.005;    // s, from one target to the next
constexpr double swing = 2;         // s, out and back
constexpr double amplitude = 10;    // degrees
constexpr double late = period / 2; // s: a cycle that begins so much after its time counts as late

double now()
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void sleep_until(double time)
{
    const double seconds = std::floor(time);
    const timespec end = {static_cast<time_t>(seconds), static_cast<long>(1e9 * (time - seconds))};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr);
}

// How far all joints are from where they started, in degrees, and how fast they are; at rest at both ends.
double offset(double t)
{
    return amplitude * (1 - std::cos(2 * M_PI * t / swing)) / 2;
}

double speed(double t)
{
    return amplitude * M_PI / swing * std::sin(2 * M_PI * t / swing);
}

// What the callback knows; it runs on a thread of the library.
struct Stream {
    float from[7] = {};
    int joints = 6;
    double begin = 0, end = 0;
    std::atomic<int> pushes = 0, refused = 0;
    std::mutex mutex;
    std::vector<double> lags; // s
};

void take_push(const CallbackData* push, void* user)
{
    Stream& stream = *static_cast<Stream*>(user);
    const double t = now() - stream.begin;
    ++stream.pushes;
    if (push->result != KX_SUCCESS) ++stream.refused; // a refused target is answered without a state
    // While the arm is fast, its distance to the target is its speed times the time by which it lags.
    if (push->result != KX_SUCCESS || t > stream.end || std::fabs(speed(t)) < speed(swing / 4) / 2) return;
    double behind = 0;
    for (int j = 0; j < stream.joints; ++j) // thousandths of a degree
        behind += (stream.from[j] + offset(t) - push->joint[j] / 1000) / stream.joints;
    const std::lock_guard lock(stream.mutex);
    stream.lags.push_back(behind / speed(t));
}

double percentile(const std::vector<double>& sorted, double percent)
{
    return sorted[static_cast<size_t>(percent / 100 * static_cast<double>(sorted.size() - 1))];
}

} // namespace

int main(int argc, char** argv)
{
    Stream stream;
    Example example(argc, argv, "PORT [MODEL [SECONDS]]", take_push, &stream);
    const int arm = example.arm;
    stream.joints = example.joints;
    stream.end = swing * std::clamp(std::round(example.number(2, 10) / swing), 1.0, 1800.0);
    if (!example.check(Get_Joint_Degree(arm, stream.from), "reading where the arm is"))
        return example.result();

    const int targets = static_cast<int>(stream.end / period) + 1; // the last one is where the first one is
    int sent = 0, late_cycles = 0;
    stream.begin = now();
    for (int i = 0; i < targets && stream.refused == 0; ++i) { // the call itself succeeds even then
        const double t = i * period;
        sleep_until(stream.begin + t);
        if (now() - stream.begin - t > late) ++late_cycles;
        float target[7];
        for (int j = 0; j < 7; ++j)
            target[j] = stream.from[j] + static_cast<float>(offset(t));
        if (example.expect(Movej_CANFD(arm, target) == KX_SUCCESS, "sending a target")) ++sent;
    }
    const double took = now() - stream.begin;

    float joint[7];
    POSE pose;
    unsigned short arm_err = 0, sys_err = 0;
    bool has_arrived = false;
    for (int i = 0; i < 100 && !has_arrived && stream.refused == 0;
         ++i, sleep_cp(100)) { // the arm catches up
        example.check(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), "reading the state");
        has_arrived = true;
        for (int j = 0; j < stream.joints; ++j)
            has_arrived = has_arrived && std::fabs(joint[j] - stream.from[j]) < 0.1f;
    }
    if (!example.expect(stream.refused == 0,
                        "the controller takes all targets")) { // not after an emergency stop
        example.check(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), "reading the state");
        printf("arm error %d, controller error %d\n", arm_err, sys_err);
    } else {
        example.expect(has_arrived, "the arm ends where the last target is");
    }
    example.expect(stream.pushes > 0, "pushes tell where the arm is");

    const std::lock_guard lock(stream.mutex);
    std::sort(stream.lags.begin(), stream.lags.end());
    printf("%d of %d targets sent in %.2f s, %.1f a second, %d cycles more than %.1f ms late\n", sent,
           targets, took, (sent - 1) / took, late_cycles, 1000 * late);
    printf("%d pushes, each for one target or more\n", stream.pushes.load());
    if (!stream.lags.empty())
        printf("the arm lags behind by ms: %.1f median, %.1f 95 %%, %.1f 99 %%, %.1f at most\n",
               1000 * percentile(stream.lags, 50), 1000 * percentile(stream.lags, 95),
               1000 * percentile(stream.lags, 99), 1000 * stream.lags.back());
    return example.result();
}
