// Starting and stopping the library's classic runtime.
#include "kx/library.h"
#include "runtime/classic/kx_queue.h"
#include "runtime/classic/receiver.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"
#include "runtime/quiet_thread.h"

#include <stdlib.h>

using namespace kx;

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
    if (start_quiet_thread(handle, thread)) pthread_detach(*handle);
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
