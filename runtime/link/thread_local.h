// Variables of a thread: small enough for the room that every process has for them; anything else would ask for a library
// more.
#ifndef KX_RUNTIME_LINK_THREAD_LOCAL_H
#define KX_RUNTIME_LINK_THREAD_LOCAL_H

#define KX_THREAD_LOCAL static __thread __attribute__((tls_model("initial-exec")))

#endif
