// Making connections.
#ifndef KX_RUNTIME_LINK_DIAL_H
#define KX_RUNTIME_LINK_DIAL_H

#include "runtime/link/link.h"

namespace kx::link {

// Looks a host up and connects to it, at most until then. 0, or the status of KX_Link_Open.
int dial(const char* host, int port, Time until, int silence_ms, Address& address, int& socket);

// Begins to connect; -1 without a socket. The socket tells when it can be written to, and then has_connected tells.
int begin_dial(const Address& address, int silence_ms);
bool has_connected(int socket);

} // namespace kx::link

#endif
