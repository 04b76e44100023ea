// Questions that a link asks again and again, and who listens to its pushes.
#ifndef KX_RUNTIME_LINK_SUBSCRIBE_H
#define KX_RUNTIME_LINK_SUBSCRIBE_H

#include "runtime/command.h"

namespace kx::link {

int subscribe(int link, double hz, Request& request, AnswerHandler handler, void (*callback)(), void* user);

int listen_to_pushes(int link, PushListener listener, void* user);

} // namespace kx::link

#endif
