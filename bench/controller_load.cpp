// How many clients one controller bears: 64 connections stream joint targets to it, 1,000 a second in all,
// for some seconds. Counts the pushes that answer them, and the processor time that both sides use. Ends with
// status 0 only if every target was sent and answered.
//
//     controller_load [SECONDS [OPTION...]]        options of kx-controller, e.g. --web
#include "kx_base.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int connections = 64, targets_per_second = 1000, model = 46;
constexpr float amplitude = 5; // degrees

std::atomic<int> pushes, unreadable;

void take_push(CallbackData push)
{
    ++pushes;
    if (push.result != KX_SUCCESS) ++unreadable;
}

double processor_seconds(const rusage& usage)
{
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Starts a controller; gives its process and port, 0 if it did not start.
std::pair<pid_t, int> start_controller(char** options, int count)
{
    std::vector<const char*> command = {KX_CONTROLLER, "--port", "0"};
    command.insert(command.end(), options, options + count);
    command.push_back(nullptr);
    int output[2];
    if (pipe(output) != 0) return {0, 0};
    const pid_t process = fork();
    if (process == 0) {
        dup2(output[1], STDOUT_FILENO);
        execv(command[0], const_cast<char**>(command.data()));
        _exit(127);
    }
    close(output[1]);
    char line[200] = "";
    if (!fgets(line, sizeof line, fdopen(output[0], "r"))) return {process, 0};
    return {process, atoi(std::string(line).substr(std::string(line).rfind(':') + 1).c_str())};
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? atoi(argv[1]) : 10;
    const auto [process, port] = start_controller(argv + std::min(argc, 2), argc - std::min(argc, 2));
    KX_API_Init(take_push);
    std::vector<int> arms;
    for (int i = 0; i < connections; ++i)
        arms.push_back(Arm_Socket_Start("127.0.0.1", port, model, 0));
    for (const int arm : arms)
        if (Arm_Sockrt_State(arm) != KX_SUCCESS) return fprintf(stderr, "a connection failed\n"), 1;

    const int targets = seconds * targets_per_second;
    int sent = 0;
    const auto begin = Clock::now();
    for (int i = 0; i < targets; ++i) {
        std::this_thread::sleep_until(begin + std::chrono::microseconds(1000000LL * i / targets_per_second));
        const float t = static_cast<float>(i) / targets_per_second;
        float target[7];
        for (float& angle : target) // up and down once in two seconds
            angle = amplitude * (1 - std::abs(1 - std::fmod(t, 2.0f)));
        if (Movej_CANFD(arms[static_cast<std::size_t>(i % connections)], target) == KX_SUCCESS) ++sent;
    }
    const double took = std::chrono::duration<double>(Clock::now() - begin).count();
    for (int i = 0; i < 100 && pushes < sent; ++i) // the last ones are still on their way
        sleep_cp(20);

    rusage client, controller;
    getrusage(RUSAGE_SELF, &client);
    kill(process, SIGTERM);
    wait4(process, nullptr, 0, &controller);
    printf(
        "%d connections: %d of %d targets sent in %.2f s, %d answered, %d of the answers without a state\n",
        connections, sent, targets, took, pushes.load(), unreadable.load());
    printf("processor use: controller %.1f %%, client %.1f %% of one core\n",
           100 * processor_seconds(controller) / took, 100 * processor_seconds(client) / took);
    return sent == targets && pushes == sent && unreadable == 0 ? 0 : 1;
}
