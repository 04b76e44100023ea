// A ring of request lines with a fixed capacity. It keeps one slot free, so that head == tail means empty.
// The queue itself is not synchronised: whoever shares one holds the library mutex around every operation.
#ifndef KX_RUNTIME_CLASSIC_KX_QUEUE_H
#define KX_RUNTIME_CLASSIC_KX_QUEUE_H

#include "kx/types.h"
#include "runtime/line.h"

namespace kx {

struct QueueItem {
    int length; // bytes of payload in use
    char payload[line_capacity];
    int descriptor; // where the line is to be sent
};

struct Queue {
    QueueItem* storage; // null before KX_Queue_Create and after KX_Queue_Deleate
    int head;           // next item to take
    int tail;           // next free slot
    int capacity;       // slots, one more than the lines it can hold
};

} // namespace kx

// Empties the queue and gives it `capacity` fresh slots, without freeing what it had. 1, or 0 when out of
// memory.
KX_API int KX_Queue_Create(kx::Queue* queue, int capacity);

KX_API int KX_Queue_Full(const kx::Queue* queue);
KX_API int KX_Queue_Empty(const kx::Queue* queue);

// Copies an item in or out: its length, descriptor and `length` bytes of payload. 1, or 0 when full or empty.
KX_API int KX_Enqueu(kx::Queue* queue, const kx::QueueItem* item);
KX_API int KX_Dequeue(kx::Queue* queue, kx::QueueItem* item);

KX_API void KX_Queue_Clear(kx::Queue* queue);
KX_API void KX_Queue_Deleate(kx::Queue* queue);

#endif
