#include "runtime/classic/kx_queue.h"

#include <stdlib.h>
#include <string.h>

using namespace kx;

static void copy(QueueItem& to, const QueueItem& from)
{
    if (from.length < 0 || from.length > line_capacity) abort();
    to.length = from.length;
    to.descriptor = from.descriptor;
    memcpy(to.payload, from.payload, static_cast<size_t>(from.length));
}

static int next(const Queue* queue, int index)
{
    return (index + 1) % queue->capacity;
}

int KX_Queue_Create(Queue* queue, int capacity)
{
    queue->head = queue->tail = 0;
    queue->capacity = capacity;
    queue->storage = capacity > 0
                         ? static_cast<QueueItem*>(calloc(static_cast<size_t>(capacity), sizeof(QueueItem)))
                         : nullptr;
    return queue->storage != nullptr;
}

int KX_Queue_Full(const Queue* queue)
{
    return queue->capacity < 1 || next(queue, queue->tail) == queue->head;
}

int KX_Queue_Empty(const Queue* queue)
{
    return queue->head == queue->tail;
}

int KX_Enqueu(Queue* queue, const QueueItem* item)
{
    if (!queue->storage || KX_Queue_Full(queue)) return 0;
    copy(queue->storage[queue->tail], *item);
    queue->tail = next(queue, queue->tail);
    return 1;
}

int KX_Dequeue(Queue* queue, QueueItem* item)
{
    if (!queue->storage || KX_Queue_Empty(queue)) return 0;
    copy(*item, queue->storage[queue->head]);
    queue->head = next(queue, queue->head);
    return 1;
}

void KX_Queue_Clear(Queue* queue)
{
    queue->head = queue->tail;
}

void KX_Queue_Deleate(Queue* queue)
{
    if (!queue->storage) return;
    KX_Queue_Clear(queue);
    free(queue->storage);
    queue->storage = nullptr;
}
