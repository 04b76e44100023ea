// The library as a whole: whether it runs, its one mutex and the user's callback.
#ifndef KX_RUNTIME_LIBRARY_H
#define KX_RUNTIME_LIBRARY_H

#include "kx/types.h"

#include <atomic>
#include <pthread.h>

KX_API std::atomic<int> m_nThreadIsRun; // 0 until the first KX_API_Init, then 1 for good
KX_API std::atomic<KX_Callback> callback1;
KX_API pthread_mutex_t
    m_hMutex; // guards the transmit queue and every change of the pending list; not recursive
KX_API pthread_t m_hWThread, m_hRThread;

namespace kx {

int reply_timeout(); // m_nOutTime, which the application may change from any thread

} // namespace kx

#endif
