#include "runtime/command.h"
#include "kx/library.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/exchange.h"
#include "runtime/classic/state.h"
#include "runtime/link/exchange.h"
#include "runtime/link/subscribe.h"

namespace kx {

constexpr unsigned int entry_delay_ms = 20;

int joint_count(int sockfd)
{
    return link::is_link(sockfd) ? link::joint_count(sockfd) : classic::joint_count(sockfd);
}

int request_joints(int sockfd)
{
    return (link::is_link(sockfd) ? link::model(sockfd) : classic::model(sockfd)) == 47 ? 7 : 6;
}

int post(int sockfd, Request request)
{
    return link::is_link(sockfd) ? link::post(sockfd, request) : classic::post(sockfd, request);
}

int stream(int sockfd, Request request)
{
    return link::is_link(sockfd) ? link::stream(sockfd, request) : classic::stream(sockfd, request);
}

int dispatch(int sockfd, Request request)
{
    return link::is_link(sockfd) ? link::dispatch(sockfd, request) : classic::dispatch(sockfd, request);
}

Reply await_reply(int sockfd, Request request)
{
    return link::is_link(sockfd) ? link::await_reply(sockfd, request) : classic::await_reply(sockfd, request);
}

Reply await_completion(int sockfd, Request request, int (*is_alive)(int sockfd))
{
    return link::is_link(sockfd) ? link::await_completion(sockfd, request, is_alive)
                                 : classic::await_completion(sockfd, request, is_alive);
}

int await_queued(int link, uint64_t ticket, int timeout_ms, int (*is_alive)(int sockfd))
{
    return link::await_queued(link, ticket, timeout_ms, is_alive);
}

int subscribe(int link, double hz, Request request, AnswerHandler handler, void (*callback)(), void* user)
{
    return link::subscribe(link, hz, request, handler, callback, user);
}

int listen_to_pushes(int link, PushListener listener, void* user)
{
    return link::listen_to_pushes(link, listener, user);
}

int link_model(int link)
{
    return link::is_link(link) ? link::model(link) : 0;
}

void entry_delay(int sockfd)
{
    if (!link::is_link(sockfd)) sleep_cp(entry_delay_ms);
}

int guard(int sockfd)
{
    if (sockfd < 1) return KX_BAD_DESCRIPTOR;
    return !link::is_link(sockfd) && m_nThreadIsRun < 1 ? KX_NOT_RUNNING : KX_SUCCESS;
}

Suspended::Suspended(int sockfd) : is_classic_(!link::is_link(sockfd))
{
    if (is_classic_) SuspendQueue = 1;
}

Suspended::~Suspended()
{
    if (is_classic_) SuspendQueue = 0;
}

} // namespace kx
