// The one thread that serves all links: reads, sends what had to wait, connects again, asks for subscribed states.
#ifndef KX_RUNTIME_LINK_LOOP_H
#define KX_RUNTIME_LINK_LOOP_H

#include "runtime/link/link.h"

namespace kx::link {

bool start_loop();  // false when there is no thread; serialised by the caller
void stop_loop();   // waits for its end
void forget_loop(); // without a thread, or in a forked child, which has none
void wake_loop();   // it looks at what is due again

// With the link's mutex held.
bool watch(Link& link);                        // its socket, from now on
bool watch_room(Link& link, bool awaits_room); // whether the socket takes more; false without memory

int run_loop_with(int priority, int cpu); // a status

} // namespace kx::link

#endif
