#include "arm.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <thread>

#include <arpa/inet.h>
#include <kx_base.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "answer.h"

namespace kx::tool {

namespace {

struct Address {
    std::string ip;
    int port;
};

Address resolve(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    char more = 0;
    Address result;
    if (colon == std::string::npos || colon == 0 ||
        std::sscanf(text.c_str() + colon + 1, "%5d%c", &result.port, &more) != 1 || result.port < 1 ||
        result.port > 65535)
        throw WrongUse("--arm " + text + " is not of the form HOST:PORT, e.g. 127.0.0.1:8080");

    const std::string host = text.substr(0, colon);
    addrinfo wanted = {}, *found = nullptr;
    wanted.ai_family = AF_INET;
    if (getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0)
        throw WrongUse("--arm " + text + ": there is no host " + host);
    char ip[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, ip, sizeof ip);
    freeaddrinfo(found);
    result.ip = ip;
    return result;
}

/** The system itself would try for minutes to reach a host that keeps silent. */
void give_up(int)
{
    constexpr char text[] = "kx: status 5: the controller cannot be reached\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, sizeof text - 1);
    _exit(KX_BAD_DESCRIPTOR);
}

void set_alarm(double seconds)
{
    std::signal(SIGALRM, give_up);
    const auto whole = static_cast<time_t>(seconds);
    const itimerval once = {{},
                            {whole, static_cast<suseconds_t>((seconds - static_cast<double>(whole)) * 1e6)}};
    setitimer(ITIMER_REAL, &once, nullptr);
}

std::atomic<bool> is_interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

} // namespace

Arm::Arm(const std::string& address, int model, double timeout, Reader reader)
{
    const Address peer = resolve(address);
    if (reader == Reader::library) { // which reads in a thread of its own
        KX_API_Init(nullptr);
        m_nOutTime = static_cast<int>(1000 * timeout);
    }
    set_alarm(timeout);
    descriptor_ = Arm_Socket_Start(peer.ip.c_str(), peer.port, model, 0);
    set_alarm(0);
    if (descriptor_ <= KX_BAD_DESCRIPTOR) throw Failed{descriptor_};
}

Arm::~Arm()
{
    Arm_Socket_Close(descriptor_);
}

int Arm::run_stoppably(const std::function<int()>& move) const
{
    struct sigaction action = {};
    action.sa_handler = [](int) { is_interrupted = true; };
    action.sa_flags = SA_RESTART | SA_RESETHAND; // a second interrupt ends the program at once
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);

    std::atomic<bool> has_ended = false;
    std::thread guard([&] {
        while (!has_ended && !is_interrupted)
            sleep_cp(10);
        if (has_ended) return;
        std::fprintf(stderr, "kx: interrupted, stopping the arm\n");
        Move_Stop_Cmd(descriptor_, false); // the only kind that may run beside a blocking command
    });
    const int status = move();
    has_ended = true;
    guard.join();
    return status;
}

void Arm::send(const std::string& line) const
{
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count = ::send(descriptor_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0) throw Failed{KX_SEND_FAILED};
        sent += static_cast<std::size_t>(count);
    }
}

std::string Arm::receive(double seconds)
{
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + duration<double>(seconds);
    std::size_t end;
    while ((end = received_.find('\n')) == std::string::npos) {
        const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
        pollfd readable = {descriptor_, POLLIN, 0};
        if (left < 0 || poll(&readable, 1, static_cast<int>(left) + 1) == 0) throw Failed{KX_TIMED_OUT};
        char piece[1000];
        const ssize_t count = recv(descriptor_, piece, sizeof piece, 0);
        if (count <= 0) throw Failed{KX_SEND_FAILED};
        received_.append(piece, static_cast<std::size_t>(count));
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

} // namespace kx::tool
