#include "runtime/classic/connection.h"
#include "kx/connection.h"
#include "kx/library.h"
#include "kx/link.h"
#include "runtime/link/exchange.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace kx;

Connection SockInfo[connection_capacity];
std::atomic<int> m_nSockInfoLen;

static bool is_supported(int model)
{
    return model == 36 || model == 46 || model == 47;
}

// A signal of the application that comes meanwhile leaves the connection being made; then the socket tells
// when it is.
static bool connect_to(int sockfd, const sockaddr_in& address)
{
    if (connect(sockfd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return true;
    if (errno != EINTR) return false;
    pollfd connecting = {sockfd, POLLOUT, 0};
    while (poll(&connecting, 1, -1) < 0 && errno == EINTR) {
    }
    int error = EBADF;
    socklen_t size = sizeof error;
    getsockopt(sockfd, SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0;
}

int Arm_Socket_Start(const char* ip, int port, int model, int recv_timeout)
{
    if (!is_supported(model)) return KX_NOT_RUNNING;
    if (m_nSockInfoLen >= connection_capacity) return KX_NO_SOCKET;
    if (!ip) return KX_BAD_DESCRIPTOR;

    const int sockfd = socket(AF_INET, SOCK_STREAM, 0);
    if (static_cast<unsigned int>(sockfd) > 100000u)
        return KX_NO_SOCKET; // a failed creation, -1, is one of these

    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = inet_addr(ip); // also takes the short forms that inet_pton leaves alone
    inet_pton(AF_INET, ip, &address.sin_addr);

    // The kernel wants a timeval here and refuses this length, so no time-out takes effect; none is needed,
    // since nothing ever reads in blocking mode.
    setsockopt(sockfd, SOL_SOCKET, SO_RCVTIMEO, &recv_timeout, 4);

    // Every line goes out at once. Otherwise the kernel would hold it back until the controller has
    // acknowledged the one before, and streamed targets would come in bunches of 20 ms and more.
    const int at_once = 1;
    setsockopt(sockfd, IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);

    if (!connect_to(sockfd, address)) return KX_BAD_DESCRIPTOR;

    Init_Socket_Joint(model, sockfd);
    sleep_cp(50);
    return sockfd;
}

void Init_Socket_Joint(int model, int sockfd)
{
    const int index = m_nSockInfoLen;
    if (index >= connection_capacity) return;
    Connection& entry = SockInfo[index];
    entry.descriptor = sockfd;
    entry.model = model;
    if (is_supported(model)) entry.joint_count = model == 47 ? 7 : 6;
    m_nSockInfoLen = index + 1;
}

static std::atomic<bool> was_closed[connection_capacity];
static std::atomic<int> in_use[2] = {-1, -1}; // descriptors, by thread

// A number may have been given out again: it is closed only if every connection that had it is.
static bool is_closed(int sockfd)
{
    bool result = false;
    for (int index = 0; index < m_nSockInfoLen; ++index) {
        if (SockInfo[index].descriptor != sockfd) continue;
        if (!was_closed[index]) return false;
        result = true;
    }
    return result;
}

InUse::InUse(Thread thread, int sockfd) : thread_(thread)
{
    in_use[thread] = sockfd;
    is_open_ = !is_closed(sockfd);
}

InUse::~InUse()
{
    in_use[thread_] = -1;
}

void Arm_Socket_Close(int sockfd)
{
    if (link::is_link(sockfd)) {
        KX_Link_Close(sockfd);
        return;
    }
    if (sockfd < 1) return;
    for (int index = 0; index < m_nSockInfoLen; ++index)
        if (SockInfo[index].descriptor == sockfd) was_closed[index] = true;
    while (in_use[InUse::receiver] == sockfd || in_use[InUse::writer] == sockfd)
        sched_yield();
    close(sockfd);
}

int Get_Socket_Idx(int sockfd)
{
    const int length = m_nSockInfoLen;
    int index = 0;
    while (index < length && SockInfo[index].descriptor != sockfd)
        ++index;
    return index;
}

static const Connection* find(int sockfd)
{
    const int index = Get_Socket_Idx(sockfd);
    return index < m_nSockInfoLen ? &SockInfo[index] : nullptr;
}

int classic::joint_count(int sockfd)
{
    const Connection* found = find(sockfd);
    return found ? found->joint_count.load() : 0;
}

int classic::model(int sockfd)
{
    const Connection* found = find(sockfd);
    return found ? found->model.load() : 0;
}
