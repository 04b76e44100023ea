// What all of the classic runtime stands on: whether it runs, its one mutex, the user's callback.
#ifndef KX_RUNTIME_CLASSIC_STATE_H
#define KX_RUNTIME_CLASSIC_STATE_H

#include "kx/types.h"

#include <atomic>
#include <pthread.h>

KX_API std::atomic<int> m_nThreadIsRun; // 0 until the first KX_API_Init, then 1 for good
KX_API std::atomic<KX_Callback> callback1;
KX_API pthread_mutex_t
    m_hMutex; // guards the transmit queue and every change of the pending list; not recursive

KX_API pthread_t m_hWThread, m_hRThread;

// SuspendQueue is 1 while a public entry runs its blocking form. Nothing reads either flag: queued requests
// go out meanwhile.
KX_API std::atomic<int> SuspendQueue, m_bBlockThread_m;

namespace kx {

int reply_timeout(); // m_nOutTime, which the application may change from any thread

} // namespace kx

#endif
