#include "runtime/classic/state.h"
#include "kx/library.h"

int m_nOutTime;
std::atomic<int> m_nThreadIsRun, SuspendQueue, m_bBlockThread_m;
std::atomic<KX_Callback> callback1;
pthread_t m_hWThread, m_hRThread;
pthread_mutex_t m_hMutex = PTHREAD_MUTEX_INITIALIZER;

int kx::reply_timeout()
{
    return std::atomic_ref(m_nOutTime).load(std::memory_order_relaxed);
}

int KX_Mutex_Lock()
{
    return pthread_mutex_lock(&m_hMutex);
}

int KX_Mutex_UnLock()
{
    return pthread_mutex_unlock(&m_hMutex);
}
