#include "arm.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <thread>

#include <netdb.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kx::tool {

namespace {

struct Address {
    std::string host;
    int port;
};

Address parse(const std::string& text)
{
    const std::size_t colon = std::min(text.rfind(':'), text.size());
    std::string host = text.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2); // as ::1 is shown
    const char* const end = text.data() + text.size();
    std::uint16_t port = 0;
    const auto read = std::from_chars(std::min(text.data() + colon + 1, end), end, port);
    if (host.empty() || read.ec != std::errc() || read.ptr != end || port == 0)
        throw WrongUse("--arm " + text + " is not of the form HOST:PORT, e.g. 127.0.0.1:8080");
    return {host, port};
}

int milliseconds(double seconds)
{
    return static_cast<int>(1000 * seconds);
}

Failed failed(int status)
{
    return {status, KX_Status_Words(status)};
}

/** @return a connected socket */
int connect_within(double seconds, const addrinfo& address)
{
    const int result = socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK, 0);
    if (result < 0) throw failed(KX_NO_SOCKET);
    int error = 0;
    socklen_t size = sizeof error;
    pollfd connected = {result, POLLOUT, 0};
    if (connect(result, address.ai_addr, address.ai_addrlen) < 0 &&
        (poll(&connected, 1, milliseconds(seconds)) != 1 ||
         getsockopt(result, SOL_SOCKET, SO_ERROR, &error, &size) < 0 || error != 0)) {
        close(result);
        throw failed(KX_BAD_DESCRIPTOR);
    }
    return result;
}

std::atomic<bool> is_interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

} // namespace

void catch_interrupts()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { is_interrupted = true; };
    action.sa_flags = SA_RESTART | SA_RESETHAND; // a second interrupt ends the program at once
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
    struct sigaction inherited;
    sigaction(SIGHUP, nullptr, &inherited);
    if (inherited.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr); // nohup keeps it away
}

bool interrupted()
{
    return is_interrupted;
}

KX_LINK_OPTIONS Arm::usual_options()
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    return options;
}

Arm::Arm(const std::string& address, int model, double timeout, KX_LINK_OPTIONS options)
    : address_(address), model_(model), timeout_(timeout)
{
    const auto [host, port] = parse(address);
    options.connect_timeout_ms = options.reply_timeout_ms = milliseconds(timeout);
    // An answer that does not come within its time is that, and no loss.
    options.silence_ms = std::max(options.silence_ms, options.reply_timeout_ms + 1000);
    link_ = KX_Link_Open(host.c_str(), port, model, &options);
    if (link_ < 0) throw failed(-link_);
}

Arm::~Arm()
{
    KX_Link_Close(link_);
}

int Arm::run_stoppably(const std::function<int()>& move) const
{
    catch_interrupts();
    std::atomic<bool> has_ended = false;
    std::thread guard([&] {
        while (!has_ended && !is_interrupted)
            sleep_cp(10);
        if (has_ended) return;
        std::fprintf(stderr, "kx: interrupted, stopping the arm\n");
        Move_Stop_Cmd(link_, true);
    });
    const int status = move();
    has_ended = true;
    guard.join();
    return status;
}

std::string Arm::words(int status) const
{
    char reason[300] = "";
    if (status == KX_REFUSED) KX_Link_Reason(link_, reason, sizeof reason);
    const bool may_misfit = status == KX_REFUSED || status == KX_WRONG_TYPE;
    return std::string(KX_Status_Words(status)) + (*reason ? ": " : "") + reason +
           (may_misfit ? misfit() : "");
}

/** The library takes the model as it is told, so the arm itself is asked how many joints it has. */
std::string Arm::misfit() const
{
    try {
        Wire wire(address_, timeout_);
        wire.send("{\"command\":\"get_joint_degree\"}\r\n");
        const auto reply = nlohmann::json::parse(wire.receive(timeout_), nullptr, false);
        const std::size_t joints = reply.is_object() && reply.contains("joint") ? reply["joint"].size() : 0;
        if (joints != 6 && joints != 7) return "";
        if (joints == (model_ == 47 ? 7u : 6u)) return "";
        return "; the arm has " + std::to_string(joints) + " joints, model " + std::to_string(model_) +
               " has not";
    } catch (const Failed&) {
        return "";
    }
}

Wire::Wire(const std::string& address, double timeout)
{
    const auto [host, port] = parse(address);
    addrinfo wanted = {}, *found = nullptr;
    wanted.ai_socktype = SOCK_STREAM;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0)
        throw failed(KX_UNKNOWN_HOST);
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> addresses(found, freeaddrinfo);
    socket_ = connect_within(timeout, *addresses);
}

Wire::~Wire()
{
    close(socket_);
}

void Wire::send(const std::string& line) const
{
    for (std::size_t sent = 0; sent < line.size();) {
        pollfd writable = {socket_, POLLOUT, 0};
        poll(&writable, 1, -1);
        const ssize_t count = ::send(socket_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0) throw failed(KX_LOST);
        sent += static_cast<std::size_t>(count);
    }
}

std::string Wire::receive(double seconds)
{
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + duration<double>(seconds);
    std::size_t end;
    while ((end = received_.find('\n')) == std::string::npos) {
        const auto left = duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
        pollfd readable = {socket_, POLLIN, 0};
        if (left < 0 || poll(&readable, 1, static_cast<int>(left) + 1) == 0) throw failed(KX_TIMED_OUT);
        char piece[1000];
        const ssize_t count = recv(socket_, piece, sizeof piece, 0);
        if (count <= 0) throw failed(KX_LOST);
        received_.append(piece, static_cast<std::size_t>(count));
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

} // namespace kx::tool
