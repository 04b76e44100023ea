// All that a command knows of the runtime: the narrow waist. A command is a request with the kind of reply
// that answers it, two workers and a public entry:
//
//     post      queue the request and return (non-blocking worker)
//     exchange  send it, wait for its reply, decode that (blocking worker)
//     stream    send a target that is answered by a push
//     dispatch  send it and await nothing; refuses a request that does not fit, where the others end the
//     process
//
// and an entry that chooses between the workers: direct, sleeping or guarded; query and quick_query always
// block. What follows from a descriptor, whether a classic connection or a link is behind it, is decided here
// and below.
#ifndef KX_RUNTIME_COMMAND_H
#define KX_RUNTIME_COMMAND_H

#include "runtime/reply.h"
#include "runtime/request.h"

#include <utility>

namespace kx {

// Joints of an arm as its replies carry them; 0 for a descriptor that is not known.
int joint_count(int sockfd);

// Joints of an arm as its requests carry them: decided by the model, not by the joint count.
int request_joints(int sockfd);

int post(int sockfd, Request request);
int stream(int sockfd, Request request);
int dispatch(int sockfd, Request request);

// Sends and waits for the reply; without one, Reply::came() is false and code() says why.
Reply await_reply(int sockfd, Request request);

// The same for a reply that comes when a motion ends: no time limit, as long as is_alive(sockfd) returns 0
// when nothing is heard for a while.
Reply await_completion(int sockfd, Request request, int (*is_alive)(int sockfd));

// On a link: waits until a queued request has ended, by the same sign of life. A status.
int await_queued(int link, uint64_t ticket, int timeout_ms, int (*is_alive)(int sockfd));

template <class Decode>
int decoded(Reply reply, Decode decode)
{
    return reply.came() ? decode(reply) : reply.code();
}

template <class Decode>
int exchange(int sockfd, Request request, Decode decode)
{
    return decoded(await_reply(sockfd, std::move(request)), decode);
}

template <class Decode>
int exchange_while(int (*is_alive)(int), int sockfd, Request request, Decode decode)
{
    return decoded(await_completion(sockfd, std::move(request), is_alive), decode);
}

// On a link: has a question asked again and again, and its answers handed to the handler, on the thread of callbacks. With 0 hz
// it ends that. A status.
using AnswerHandler = void (*)(Reply& reply, int link, uint64_t asked, uint64_t answered, void (*callback)(),
                               void* user);
int subscribe(int link, double hz, Request request, AnswerHandler handler, void (*callback)(), void* user);

// On a link: has every push told as it comes, on the library's thread and with the link locked, so it must be brief and use no
// link. Null ends that: it is not called any more when this returns. A status.
using PushListener = void (*)(const cJSON* push, void* user);
int listen_to_pushes(int link, PushListener listener, void* user);

// The model of an open link's arm; 0 for anything else.
int link_model(int link);

// Most entries wait 20 ms before they send; none does on a link.
void entry_delay(int sockfd);

// 5 for a descriptor below 1, 2 for a classic one before KX_API_Init, else 0.
int guard(int sockfd);

// Says that a blocking form is at work on a classic connection.
class Suspended {
  public:
    explicit Suspended(int sockfd);
    Suspended(const Suspended&) = delete;
    ~Suspended();

  private:
    const bool is_classic_;
};

template <class... Parameters, class... Arguments>
int quick_query(int (*blocking)(int, Parameters...), int sockfd, Arguments... arguments)
{
    const Suspended suspended(sockfd);
    return blocking(sockfd, arguments...);
}

template <class... Parameters, class... Arguments>
int query(int (*blocking)(int, Parameters...), int sockfd, Arguments... arguments)
{
    entry_delay(sockfd);
    return quick_query(blocking, sockfd, arguments...);
}

template <class... Parameters, class... Arguments>
int direct(int sockfd, bool block, int (*blocking)(int, Parameters...),
           int (*non_blocking)(int, Parameters...), Arguments... arguments)
{
    return block ? quick_query(blocking, sockfd, arguments...) : non_blocking(sockfd, arguments...);
}

template <class... Parameters, class... Arguments>
int sleeping(int sockfd, bool block, int (*blocking)(int, Parameters...),
             int (*non_blocking)(int, Parameters...), Arguments... arguments)
{
    entry_delay(sockfd);
    return direct(sockfd, block, blocking, non_blocking, arguments...);
}

template <class... Parameters, class... Arguments>
int guarded(int sockfd, bool block, int (*blocking)(int, Parameters...),
            int (*non_blocking)(int, Parameters...), Arguments... arguments)
{
    if (const int fault = guard(sockfd)) return fault;
    return direct(sockfd, block, blocking, non_blocking, arguments...);
}

} // namespace kx

#endif
