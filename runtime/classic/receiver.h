// The receiver thread: reads every connection, hands each line to the first entry that awaits it, and turns
// pushes into calls of the user's callback.
#ifndef KX_RUNTIME_CLASSIC_RECEIVER_H
#define KX_RUNTIME_CLASSIC_RECEIVER_H

#include "kx/types.h"

KX_API void* RecvThread(void*);

#endif
