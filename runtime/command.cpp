#include "runtime/command.h"
#include "kx/library.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/exchange.h"
#include "runtime/classic/state.h"

namespace kx {

constexpr unsigned int entry_delay_ms = 20;

int joint_count(int sockfd)
{
    return classic::joint_count(sockfd);
}

int request_joints(int sockfd)
{
    return classic::model(sockfd) == 47 ? 7 : 6;
}

int post(int sockfd, Request request)
{
    return classic::post(sockfd, request);
}

int stream(int sockfd, Request request)
{
    return classic::stream(sockfd, request);
}

int dispatch(int sockfd, Request request)
{
    return classic::dispatch(sockfd, request);
}

Reply await_reply(int sockfd, Request request)
{
    return classic::await_reply(sockfd, request);
}

Reply await_completion(int sockfd, Request request, int (*is_alive)(int sockfd))
{
    return classic::await_completion(sockfd, request, is_alive);
}

void entry_delay(int)
{
    sleep_cp(entry_delay_ms);
}

int guard(int sockfd)
{
    if (sockfd < 1) return KX_BAD_DESCRIPTOR;
    return m_nThreadIsRun < 1 ? KX_NOT_RUNNING : KX_SUCCESS;
}

Suspended::Suspended(int) : is_classic_(true)
{
    if (is_classic_) SuspendQueue = 1;
}

Suspended::~Suspended()
{
    if (is_classic_) SuspendQueue = 0;
}

} // namespace kx
