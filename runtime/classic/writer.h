// Sending: the queue of non-blocking requests with its writer thread, and the direct way past it.
#ifndef KX_RUNTIME_CLASSIC_WRITER_H
#define KX_RUNTIME_CLASSIC_WRITER_H

#include "kx/types.h"
#include "runtime/classic/kx_queue.h"

// All four are made by KX_API_Init; only Socket_Tx_Buffer is ever filled, by Add_Queue, and drained, by
// WriteThread.
KX_API kx::Queue Socket_Tx_Buffer_Block, Socket_Tx_Buffer_NonBlock, Socket_Tx_Buffer, Socket_Tx_Buffer_M;

KX_API void* WriteThread(void*);

namespace kx {

constexpr int transmit_capacity = 600;

// Sends without waiting and without a signal from a vanished peer; true when at least one byte went out.
bool send_now(int sockfd, const char* bytes, int length);

} // namespace kx

#endif
