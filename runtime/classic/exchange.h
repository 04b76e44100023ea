// The five ways of a request over a classic connection.
#ifndef KX_RUNTIME_CLASSIC_EXCHANGE_H
#define KX_RUNTIME_CLASSIC_EXCHANGE_H

#include "runtime/reply.h"
#include "runtime/request.h"

namespace kx::classic {

int post(int sockfd, Request& request);
int stream(int sockfd, Request& request);
int dispatch(int sockfd, Request& request);
Reply await_reply(int sockfd, Request& request);
Reply await_completion(int sockfd, Request& request, int (*is_alive)(int sockfd));

} // namespace kx::classic

#endif
