// All that a command knows of the runtime. A command is a request, two workers and a public entry:
//
//     post      queue the request and return (non-blocking worker)
//     exchange  send it, wait for the reply with a key code, decode it (blocking worker)
//     stream    send it and register for the push that answers it
//     dispatch  send it and await nothing; refuses a request that does not fit, where the others end the
//               process
//
// and an entry that chooses between the workers: direct, sleeping or guarded; query and quick_query always
// block.
#ifndef KX_RUNTIME_COMMAND_H
#define KX_RUNTIME_COMMAND_H

#include "kx/connection.h"
#include "runtime/connection.h"
#include "runtime/recognition.h"
#include "runtime/reply.h"
#include "runtime/request.h"
#include "runtime/transmit.h"

#include <utility>

namespace kx {

constexpr unsigned int entry_delay_ms = 20; // most entries wait so long before they send

int post(int sockfd, Request request);
int stream(int sockfd, Request request, KeyCode push);
int dispatch(int sockfd, Request request);

// Sends and waits for the reply: 0 with the reply, 6 or 7 without.
int await_reply(int sockfd, Request request, KeyCode key, Line& reply);

// The same without a time limit: looks once a second, as long as is_alive(sockfd) returns 0 in between.
int await_completion(int sockfd, Request request, KeyCode key, int (*is_alive)(int sockfd), Line& reply);

template <class Decode>
int exchange(int sockfd, Request request, KeyCode key, Decode decode)
{
    Line reply;
    const int status = await_reply(sockfd, std::move(request), key, reply);
    return status == KX_SUCCESS ? decode(reply.text) : status;
}

template <class Decode>
int exchange_while(int (*is_alive)(int), int sockfd, Request request, KeyCode key, Decode decode)
{
    Line reply;
    const int status = await_completion(sockfd, std::move(request), key, is_alive, reply);
    return status == KX_SUCCESS ? decode(reply.text) : status;
}

// 5 for a descriptor below 1, 2 before KX_API_Init, else 0.
int guard(int sockfd);

template <class... Parameters, class... Arguments>
int quick_query(int (*blocking)(int, Parameters...), int sockfd, Arguments... arguments)
{
    SuspendQueue = 1;
    const int status = blocking(sockfd, arguments...);
    SuspendQueue = 0;
    return status;
}

template <class... Parameters, class... Arguments>
int query(int (*blocking)(int, Parameters...), int sockfd, Arguments... arguments)
{
    sleep_cp(entry_delay_ms);
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
    sleep_cp(entry_delay_ms);
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
