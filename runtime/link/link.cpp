#include "runtime/link/link.h"
#include "runtime/link/callbacks.h"
#include "runtime/link/check.h"
#include "runtime/link/loop.h"

#include <stdlib.h>
#include <utility>

namespace kx::link {

static pthread_mutex_t table_mutex = PTHREAD_MUTEX_INITIALIZER; // guards the handing out of places
static std::atomic<Link*> table[link_capacity];
static std::atomic<int> highest, open_count;
static int handles_used[link_capacity]; // of each place
constexpr int handles_of_a_place = (INT_MAX - first_handle) / link_capacity;

int highest_place()
{
    return highest;
}

Link* at_place(int index)
{
    return table[index];
}

Locked::Locked(int handle) : link_(nullptr)
{
    if (handle < first_handle) return;
    Link* link = table[handle % link_capacity];
    if (!link) return;
    pthread_mutex_lock(&link->mutex);
    if (link->handle == handle)
        link_ = link;
    else
        pthread_mutex_unlock(&link->mutex);
}

Locked::~Locked()
{
    if (link_) pthread_mutex_unlock(&link_->mutex);
}

bool Locked::wait_for_change(Time until)
{
    const int handle = link_->handle;
    const int seen = link_->changes;
    ++link_->watchers;
    pthread_mutex_unlock(&link_->mutex);
    wait_while(link_->changes, seen, next_check(until));
    const bool goes_on = !check_ends_wait();
    Link* const link = std::exchange(link_, nullptr);
    if (at_place(handle % link_capacity) != link) return false; // in a child that the check has forked
    pthread_mutex_lock(&link->mutex);
    --link->watchers;
    if (link->handle != handle) {
        pthread_mutex_unlock(&link->mutex);
        return false;
    }
    link_ = link;
    return goes_on;
}

static Link* make_place(int index)
{
    auto* link = static_cast<Link*>(malloc(sizeof(Link)));
    if (!link) return nullptr;
    table[index] = new (link) Link;
    return link;
}

bool start_threads()
{
    const Guard guard(table_mutex);
    return start_callbacks() && start_loop();
}

// A handle leads to its place by its rest. The lowest free place is taken, so that memory does not grow.
Link* new_link()
{
    const Guard guard(table_mutex);
    for (int index = 0; index < link_capacity; ++index) {
        Link* link = table[index];
        if (handles_used[index] == handles_of_a_place || (link && link->handle != 0)) continue;
        if (!link) link = make_place(index);
        if (!link || !link->places.make_room()) return nullptr;
        pthread_mutex_lock(&link->mutex);
        link->handle = first_handle + handles_used[index]++ * link_capacity + index;
        if (index >= highest) highest = index + 1;
        ++open_count;
        return link;
    }
    return nullptr;
}

void give_back(Link& link)
{
    link.inbox.free_room();
    link.outbox.clear();
    link.places.clear();
    link.outcomes.clear();
    free(link.setup);
    link.setup = nullptr;
    link.setup_count = 0;
    link.is_registering = link.is_dialling = link.awaits_room = false;
    link.given_up_for = nullptr;
    link.subscription = {};
    link.push_listener = nullptr;
    link.counters = {};
    link.reason[0] = '\0';
    link.heard = link.unheard_since = link.backoff = 0;
    link.attempt_at = link.wake_at = never;
    link.handle = 0;
    --open_count;
}

void cancel_calls(Link& link)
{
    for (int i = 0; i < link.places.size(); ++i) {
        const Place place = link.places[i];
        if (place.owner != Place::caller) continue;
        if (link.outbox.take_back(place.serial)) {
            Place gone;
            link.places.take_back(place.serial, gone);
            --link.counters.sent;
            --i;
        } else {
            link.places.give_up(place.serial);
        }
        finish(*place.call, KX_CANCELLED);
    }
}

void close_locked(Link& link)
{
    cancel_calls(link);
    if (link.socket >= 0) close(link.socket);
    link.socket = -1;
    link.state = KX_LINK_CLOSED;
    give_back(link);
    notify(link);
}

// A forked child has none of the threads, and must not keep its parent's connections open.
static void forget_all_links()
{
    end_waits_of_child();
    forget_callbacks();
    forget_loop();
    table_mutex = PTHREAD_MUTEX_INITIALIZER;
    for (int i = 0; i < highest; ++i) {
        Link* link = table[i];
        if (link && link->handle != 0 && link->socket >= 0) close(link->socket);
        // What another thread had locked at the time of the fork is in no state to be used or freed.
        table[i] = nullptr;
    }
    open_count = 0;
}

__attribute__((constructor)) static void prepare_for_fork()
{
    pthread_atfork(nullptr, nullptr, forget_all_links);
}

// The library may be unloaded when nothing is open.
__attribute__((destructor)) static void unload()
{
    if (open_count > 0) return;
    stop_loop();
    stop_callbacks();
    for (int i = 0; i < highest; ++i) {
        Link* link = table[i];
        if (!link) continue;
        link->places.free_room();
        free(link);
    }
}

} // namespace kx::link
