// Sending: the queue of non-blocking requests with its writer thread, and the direct way past it.
#ifndef KX_RUNTIME_TRANSMIT_H
#define KX_RUNTIME_TRANSMIT_H

#include "kx/types.h"
#include "runtime/kx_queue.h"

#include <atomic>

// All four are made by KX_API_Init; only Socket_Tx_Buffer is ever filled, by Add_Queue, and drained, by
// WriteThread.
KX_API kx::Queue Socket_Tx_Buffer_Block, Socket_Tx_Buffer_NonBlock, Socket_Tx_Buffer, Socket_Tx_Buffer_M;

// SuspendQueue is 1 while a public entry runs its blocking form. Nothing reads either flag: queued requests
// go out meanwhile.
KX_API std::atomic<int> SuspendQueue, m_bBlockThread_m;

KX_API void* WriteThread(void*);

namespace kx {

constexpr int transmit_capacity = 600;

// Sends without waiting and without a signal from a vanished peer; true when at least one byte went out.
bool send_now(int sockfd, const char* bytes, int length);

} // namespace kx

#endif
