#include "runtime/classic/writer.h"
#include "kx/library.h"
#include "runtime/classic/connection.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

using namespace kx;

Queue Socket_Tx_Buffer_Block, Socket_Tx_Buffer_NonBlock, Socket_Tx_Buffer, Socket_Tx_Buffer_M;

constexpr unsigned int writer_period_ms = 5; // a controller gets at most one queued request per period

bool kx::send_now(int sockfd, const char* bytes, int length)
{
    return send(sockfd, bytes, static_cast<size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL) >= 1;
}

void Add_Queue(int sockfd, const char* bytes, int length)
{
    if (length < 0 || length > line_capacity) abort();
    QueueItem item = {};
    memcpy(item.payload, bytes, static_cast<size_t>(length));
    item.length = length;
    item.descriptor = sockfd;

    KX_Mutex_Lock();
    KX_Enqueu(&Socket_Tx_Buffer, &item); // a full queue drops the line
    KX_Mutex_UnLock();
}

void* WriteThread(void*)
{
    fflush(stdout);
    for (;;) {
        KX_Mutex_Lock();
        QueueItem item;
        if (KX_Dequeue(&Socket_Tx_Buffer, &item))
            if (const InUse open(InUse::writer, item.descriptor); open)
                send_now(item.descriptor, item.payload, item.length);
        KX_Mutex_UnLock();
        sleep_cp(writer_period_ms);
    }
}
