// What a question costs on a link, beside the least that it can cost: a bare blocking recv in the calling thread, and a bare
// epoll thread that wakes the caller through a futex, all against the same echoing process; beside the classic connection's
// processor time; and what a streamed target costs on both kinds of connection when the system's send does nothing, beside
// building and printing the same object with cJSON.
#include "kx_base.h"
#include "support/bound.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <cjson/cJSON.h>
#include <csignal>
#include <cstdlib>
#include <linux/futex.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

// The library's send, too.
static std::atomic<bool> sends_go_nowhere;

extern "C" ssize_t send(int socket, const void* bytes, size_t size, int flags)
{
    if (sends_go_nowhere) return static_cast<ssize_t>(size);
    return sendto(socket, bytes, size, flags, nullptr, 0);
}

namespace {

constexpr char question[] = "{\n\t\"command\":\t\"get_arm_plan_num\"\n}\r\n";
constexpr char answer[] = "{\"command\":\"arm_plan_num\",\"plan_num\":3}\n";

void at_once(int socket)
{
    const int one = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

// A process that answers whatever comes; it ends with this one.
class Echo {
  public:
    static sockaddr_in address()
    {
        static const Echo echo;
        return echo.address_;
    }

  private:
    Echo()
    {
        const Bound listener(8);
        address_ = listener.address;
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;)
                std::thread(serve, accept(listener.socket, nullptr, nullptr)).detach();
        }
        close(listener.socket);
    }

    static void serve(int client)
    {
        at_once(client);
        char bytes[4096];
        while (recv(client, bytes, sizeof bytes, 0) > 0)
            ::send(client, answer, sizeof answer - 1, 0);
        close(client);
    }

    sockaddr_in address_ = {};
};

int port()
{
    return ntohs(Echo::address().sin_port);
}

int connected()
{
    const sockaddr_in address = Echo::address();
    const int made = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) abort();
    at_once(made);
    return made;
}

double microseconds(clockid_t clock)
{
    timespec time;
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

template <class Ask>
void measure(benchmark::State& state, Ask ask)
{
    std::vector<double> times;
    const double before = microseconds(CLOCK_PROCESS_CPUTIME_ID);
    for (auto _ : state) {
        const double start = microseconds(CLOCK_MONOTONIC);
        if (ask() != 0) return state.SkipWithError("no answer");
        times.push_back(microseconds(CLOCK_MONOTONIC) - start);
    }
    const double spent = microseconds(CLOCK_PROCESS_CPUTIME_ID) - before;
    const auto at = [&](double part) {
        const auto place =
            times.begin() + static_cast<ptrdiff_t>(part * static_cast<double>(times.size() - 1));
        std::nth_element(times.begin(), place, times.end());
        return *place;
    };
    state.counters["median_us"] = at(0.5);
    state.counters["p99.9_us"] = at(0.999);
    state.counters["cpu_ms_per_1000"] = spent / static_cast<double>(times.size());
    double load[1];
    if (getloadavg(load, 1) == 1) state.counters["load"] = load[0];
}

void question_recv(benchmark::State& state)
{
    const int socket = connected();
    measure(state, [&] {
        ::send(socket, question, sizeof question - 1, MSG_NOSIGNAL);
        char bytes[400];
        return recv(socket, bytes, sizeof bytes, 0) > 0 ? 0 : 1;
    });
    close(socket);
}

void question_epoll(benchmark::State& state)
{
    const int socket = connected(), epoll = epoll_create1(0);
    epoll_event event = {};
    event.events = EPOLLIN;
    epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
    std::atomic<int> answers = 0;
    std::thread thread([&] {
        char bytes[400];
        epoll_event ready;
        while (epoll_wait(epoll, &ready, 1, -1) == 1 && recv(socket, bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
            ++answers;
            syscall(SYS_futex, &answers, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
        }
    });
    measure(state, [&] {
        const int seen = answers;
        ::send(socket, question, sizeof question - 1, MSG_NOSIGNAL);
        while (answers == seen)
            syscall(SYS_futex, &answers, FUTEX_WAIT_PRIVATE, seen, nullptr, nullptr, 0);
        return 0;
    });
    shutdown(socket, SHUT_RDWR);
    thread.join();
    close(epoll);
    close(socket);
}

void question_link(benchmark::State& state)
{
    const int link = KX_Link_Open("127.0.0.1", port(), 46, nullptr);
    int number;
    measure(state, [&] { return Get_Arm_Plan_Num(link, &number); });
    KX_Link_Close(link);
}

int classic_arm()
{
    static const int started = KX_API_Init(nullptr);
    if (started != 0) abort();
    return Arm_Socket_Start("127.0.0.1", port(), 46, 0);
}

void question_classic(benchmark::State& state)
{
    const int arm = classic_arm();
    int number;
    measure(state, [&] { return Get_Arm_Plan_Num(arm, &number); });
    Arm_Socket_Close(arm);
}

const float target[6] = {10.5f, -20, 30.25f, -40, 50, -60};

void stream_over(benchmark::State& state, int handle)
{
    sends_go_nowhere = true;
    for (auto _ : state)
        benchmark::DoNotOptimize(Movej_CANFD(handle, target));
    sends_go_nowhere = false;
}

void stream_link(benchmark::State& state)
{
    const int link = KX_Link_Open("127.0.0.1", port(), 46, nullptr);
    stream_over(state, link);
    KX_Link_Close(link);
}

void stream_classic(benchmark::State& state)
{
    const int arm = classic_arm();
    stream_over(state, arm);
    Arm_Socket_Close(arm);
}

void stream_cjson(benchmark::State& state)
{
    for (auto _ : state) {
        cJSON* object = cJSON_CreateObject();
        cJSON_AddStringToObject(object, "command", "movej_canfd");
        cJSON* joints = cJSON_AddArrayToObject(object, "joint");
        for (const float degrees : target)
            cJSON_AddItemToArray(joints, cJSON_CreateNumber(static_cast<int>(degrees * 1000)));
        char* text = cJSON_Print(object);
        benchmark::DoNotOptimize(text);
        cJSON_free(text);
        cJSON_Delete(object);
    }
}

BENCHMARK(question_recv)->MinTime(2)->UseRealTime();
BENCHMARK(question_epoll)->MinTime(2)->UseRealTime();
BENCHMARK(question_link)->MinTime(2)->UseRealTime();
BENCHMARK(question_classic)->Iterations(200)->UseRealTime();
BENCHMARK(stream_cjson);
BENCHMARK(stream_classic);
BENCHMARK(stream_link);

} // namespace
