// Starting and stopping the library.
#include "runtime/library.h"
#include "kx/connection.h"
#include "runtime/kx_queue.h"
#include "runtime/receiver.h"
#include "runtime/transmit.h"

#include <stdlib.h>

using namespace kx;

int m_nOutTime;
std::atomic<int> m_nThreadIsRun;
std::atomic<KX_Callback> callback1;
pthread_mutex_t m_hMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_t m_hWThread, m_hRThread;

int kx::reply_timeout()
{
    return std::atomic_ref(m_nOutTime).load(std::memory_order_relaxed);
}

static void renew_queues()
{
    for (Queue* queue :
         {&Socket_Tx_Buffer_Block, &Socket_Tx_Buffer_NonBlock, &Socket_Tx_Buffer, &Socket_Tx_Buffer_M}) {
        QueueItem* abandoned = queue->storage;
        KX_Queue_Create(queue, transmit_capacity);
        free(abandoned);
    }
}

static void start_detached(pthread_t* handle, void* (*thread)(void*))
{
    if (pthread_create(handle, nullptr, thread, nullptr) == 0) pthread_detach(*handle);
}

int KX_API_Init(KX_Callback callback)
{
    callback1 = callback;
    std::atomic_ref(m_nOutTime).store(3000, std::memory_order_relaxed);

    if (m_nThreadIsRun) {
        // The writer thread is draining the queue that is about to be replaced.
        KX_Mutex_Lock();
        renew_queues();
        KX_Mutex_UnLock();
        return 0;
    }

    renew_queues();
    m_nThreadIsRun = 1;
    pthread_mutex_init(&m_hMutex, nullptr);
    start_detached(&m_hWThread, WriteThread);
    start_detached(&m_hRThread, RecvThread);
    return 0;
}

int KX_API_UnInit()
{
    KX_Mutex_Lock();
    KX_Queue_Deleate(&Socket_Tx_Buffer);
    KX_Mutex_UnLock();
    return 0;
}

const char* API_Version()
{
    return "4.0.0";
}

int KX_Mutex_Lock()
{
    return pthread_mutex_lock(&m_hMutex);
}

int KX_Mutex_UnLock()
{
    return pthread_mutex_unlock(&m_hMutex);
}
