// What a thread looks at while it waits, such as signals that an interpreter has to handle.
#ifndef KX_RUNTIME_LINK_CHECK_H
#define KX_RUNTIME_LINK_CHECK_H

#include "runtime/link/wait.h"

namespace kx::link {

void set_check(int (*check)(void* user), void* user); // of this thread; null for none

// Until when this thread may wait before it has to look.
Time next_check(Time until);

// Looks, with no mutex held. True when the wait has to end.
bool check_ends_wait();

void end_waits_of_child(); // of a fork: nobody answers there

} // namespace kx::link

#endif
