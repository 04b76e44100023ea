#include "runtime/link/dial.h"
#include "runtime/link/check.h"
#include "runtime/quiet_thread.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace kx::link {

static void set(int socket, int level, int option, int value)
{
    setsockopt(socket, level, option, &value, sizeof value);
}

// The kernel notices a silent peer: by probes when nothing is under way, by bytes that are not acknowledged otherwise.
static void set_options(int socket, int silence_ms)
{
    const int probe_s = silence_ms < 3000 ? 1 : silence_ms / 3000;
    set(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    set(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    set(socket, IPPROTO_TCP, TCP_KEEPIDLE, probe_s);
    set(socket, IPPROTO_TCP, TCP_KEEPINTVL, probe_s);
    set(socket, IPPROTO_TCP, TCP_KEEPCNT, 2);
    set(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, silence_ms);
}

int begin_dial(const Address& address, int silence_ms)
{
    const int made = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (made < 0) return -1;
    set_options(made, silence_ms);
    if (connect(made, reinterpret_cast<const sockaddr*>(&address.storage), address.length) == 0) return made;
    if (errno == EINPROGRESS || errno == EINTR) return made;
    const int why = errno;
    ::close(made);
    errno = why;
    return -1;
}

// Where nobody listens on a port of this machine, the kernel may choose that very port for the socket that asks for it, and
// connect it with itself.
static bool is_its_own_peer(int socket)
{
    sockaddr_storage own = {}, peer = {};
    socklen_t own_size = sizeof own, peer_size = sizeof peer;
    return getsockname(socket, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
           getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0 &&
           own_size == peer_size && memcmp(&own, &peer, own_size) == 0;
}

bool has_connected(int socket)
{
    int error = EBADF;
    socklen_t size = sizeof error;
    getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0 && !is_its_own_peer(socket);
}

static int wait_for_connection(int socket, Time until)
{
    pollfd connecting = {socket, POLLOUT, 0};
    for (;;) {
        const Time left = next_check(until) - now();
        const int milliseconds = left <= 0 ? 0 : static_cast<int>((left + millisecond - 1) / millisecond);
        if (poll(&connecting, 1, milliseconds) > 0)
            return has_connected(socket) ? KX_SUCCESS : KX_BAD_DESCRIPTOR;
        if (check_ends_wait()) return KX_CANCELLED;
        if (now() >= until) return KX_TIMED_OUT;
    }
}

static int connect_until(const Address& address, Time until, int silence_ms, int& socket)
{
    const int made = begin_dial(address, silence_ms);
    if (made < 0)
        return errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM ? KX_NO_SOCKET
                                                                                         : KX_BAD_DESCRIPTOR;
    const int status = wait_for_connection(made, until);
    if (status == KX_SUCCESS)
        socket = made;
    else
        ::close(made);
    return status;
}

// The system's look-up has no deadline, so it runs on a thread that may be left behind.
struct LookUp {
    std::atomic<int> owners = 2;
    std::atomic<int> is_done = 0;
    int error = 0;
    addrinfo* found = nullptr;
    char port[8] = {};

    char* host() { return reinterpret_cast<char*>(this + 1); }
};

static void leave(LookUp* look_up)
{
    if (--look_up->owners > 0) return;
    if (look_up->found) freeaddrinfo(look_up->found);
    free(look_up);
}

static int resolve(const char* host, const char* port, int flags, addrinfo** found)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    return getaddrinfo(host, port, &hints, found);
}

static void* look_up_host(void* argument)
{
    auto* look_up = static_cast<LookUp*>(argument);
    look_up->error = resolve(look_up->host(), look_up->port, AI_ADDRCONFIG, &look_up->found);
    look_up->is_done = 1;
    wake_all(&look_up->is_done);
    leave(look_up);
    return nullptr;
}

static int status_of(int error)
{
    return error == 0 ? KX_SUCCESS : error == EAI_MEMORY ? KX_NO_MEMORY : KX_UNKNOWN_HOST;
}

static int connect_any(const addrinfo* found, Time until, int silence_ms, Address& address, int& socket)
{
    int status = KX_UNKNOWN_HOST;
    for (; found; found = found->ai_next) {
        memcpy(&address.storage, found->ai_addr, found->ai_addrlen);
        address.length = found->ai_addrlen;
        status = connect_until(address, until, silence_ms, socket);
        if (status == KX_SUCCESS || status == KX_TIMED_OUT || status == KX_CANCELLED) break;
    }
    return status;
}

int dial(const char* host, int port, Time until, int silence_ms, Address& address, int& socket)
{
    char service[8];
    snprintf(service, sizeof service, "%d", port);
    addrinfo* numeric = nullptr;
    if (const int error = resolve(host, service, AI_NUMERICHOST, &numeric); error != EAI_NONAME) {
        const int status =
            error ? status_of(error) : connect_any(numeric, until, silence_ms, address, socket);
        if (numeric) freeaddrinfo(numeric);
        return status;
    }

    const size_t length = strlen(host);
    void* memory = malloc(sizeof(LookUp) + length + 1);
    if (!memory) return KX_NO_MEMORY;
    auto* look_up = new (memory) LookUp;
    memcpy(look_up->host(), host, length + 1);
    memcpy(look_up->port, service, sizeof service);
    pthread_t thread;
    if (!start_quiet_thread(&thread, look_up_host, look_up)) {
        free(look_up);
        return KX_NO_SOCKET;
    }
    pthread_detach(thread);
    bool is_cancelled = false;
    while (!look_up->is_done && !is_cancelled && now() < until) {
        wait_while(look_up->is_done, 0, next_check(until));
        is_cancelled = check_ends_wait();
    }
    int status = is_cancelled ? KX_CANCELLED : look_up->is_done ? status_of(look_up->error) : KX_TIMED_OUT;
    if (status == KX_SUCCESS) status = connect_any(look_up->found, until, silence_ms, address, socket);
    leave(look_up);
    return status;
}

} // namespace kx::link
