// Callbacks of all links, one after the other on a thread of their own: what the application does in them delays no reply.
#ifndef KX_RUNTIME_LINK_CALLBACKS_H
#define KX_RUNTIME_LINK_CALLBACKS_H

#include "runtime/link/link.h"

namespace kx::link {

bool start_callbacks();  // false when there is no thread
void stop_callbacks();   // waits for its end
void forget_callbacks(); // in a forked child, which has no such thread

// With the link's mutex held: what happens is queued, and counted where there is no room. Takes the tree.
void tell_push(Link& link, KeyCode kind, cJSON* push);
void tell_state(Link& link, KX_LINK_STATE state);
void tell_line(Link& link, KX_LINK_EVENT event, const char* text, size_t length);
void tell_answer(Link& link, int status, cJSON* reply, Time answered);

// Without it: what is queued for this link is dropped, and what runs for it has ended, but what calls this.
void end_callbacks(int handle);
void end_subscription(int handle);

} // namespace kx::link

#endif
