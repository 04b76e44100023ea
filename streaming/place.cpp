#include "streaming/place.h"

#include <stdlib.h>

namespace kx::streaming {

constexpr int first_handle = 1 << 29;
constexpr int stream_capacity = 32;

static Place places[stream_capacity];
static pthread_mutex_t places_mutex = PTHREAD_MUTEX_INITIALIZER;

Locked::Locked(int handle)
    : place_(places[handle & (stream_capacity - 1)]), guard_(place_.mutex),
      is_open_(handle >= first_handle && place_.handle == handle)
{
}

// Who holds a stream's mutex while its sender wants it runs with the sender's priority meanwhile.
static void prepare_places()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    for (Place& place : places)
        pthread_mutex_init(&place.mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// A forked child has no senders, and what they had locked is in no state to be used.
static void forget_all_streams()
{
    places_mutex = PTHREAD_MUTEX_INITIALIZER;
    for (Place& place : places)
        place = {};
    prepare_places();
}

__attribute__((constructor)) static void prepare()
{
    prepare_places();
    pthread_atfork(nullptr, nullptr, forget_all_streams);
}

Place* take_place(int link)
{
    const Guard guard(places_mutex);
    Place* found = nullptr;
    for (Place& place : places) {
        const Guard place_guard(place.mutex);
        if (place.is_taken && place.link == link) return nullptr;
        if (!place.is_taken) found = &place;
    }
    if (!found) return nullptr;
    const Guard place_guard(found->mutex);
    found->is_taken = true;
    found->is_orphan = false;
    found->link = link;
    return found;
}

void give_back(Place& place)
{
    const Guard guard(places_mutex);
    place.is_taken = false;
}

int new_handle(const Place& place)
{
    static int opened;
    const int serial = __atomic_fetch_add(&opened, 1, __ATOMIC_RELAXED);
    return first_handle + serial * stream_capacity + static_cast<int>(&place - places);
}

void release(Place& place)
{
    {
        const Guard guard(place.mutex);
        place.body->~Body();
        free(place.body);
    }
    give_back(place);
}

} // namespace kx::streaming
