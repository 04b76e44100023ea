// The five ways of a request over a link.
#ifndef KX_RUNTIME_LINK_EXCHANGE_H
#define KX_RUNTIME_LINK_EXCHANGE_H

#include "runtime/reply.h"
#include "runtime/request.h"

#include <stdint.h>

namespace kx::link {

bool is_link(int sockfd); // open or not
int model(int link);      // 0 for one that is not open
int joint_count(int link);

int post(int link, Request& request);
int stream(int link, Request& request);
int dispatch(int link, Request& request);
Reply await_reply(int link, Request& request);
Reply await_completion(int link, Request& request, int (*is_alive)(int link));

// The last request that this thread queued on a link; 0 if it was on another one.
uint64_t ticket(int link);

// Waits until a queued request has ended. A status.
int await_queued(int link, uint64_t ticket, int timeout_ms, int (*is_alive)(int link));

// What the controller said to the last request of this thread that it refused, while the thread waited for it; null if
// there is no such request.
const char* own_reason(int link);

int set_call_timeout(int milliseconds); // of this thread; gives what was set before

} // namespace kx::link

#endif
