// The functions of kx/link.h.
#include "runtime/link/callbacks.h"
#include "runtime/link/check.h"
#include "runtime/link/dial.h"
#include "runtime/link/exchange.h"
#include "runtime/link/link.h"
#include "runtime/link/loop.h"
#include "runtime/link/subscribe.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

using namespace kx;
using namespace kx::link;

void KX_Link_Defaults(KX_LINK_OPTIONS* options)
{
    *options = {};
    options->size = sizeof *options;
    options->connect_timeout_ms = 3000;
    options->reply_timeout_ms = 3000;
    options->motion_timeout_ms = 600000;
    options->late_reply_ms = 2000;
    options->silence_ms = 5000;
    options->outbox_bytes = 65536;
    options->callback_queue = 256;
}

// What the caller knows of, with defaults for what it left out.
static KX_LINK_OPTIONS completed(const KX_LINK_OPTIONS* given)
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    if (!given) return options;
    const KX_LINK_OPTIONS defaults = options;
    memcpy(&options, given, given->size < sizeof options ? given->size : sizeof options);
    int KX_LINK_OPTIONS::*const numbers[] = {
        &KX_LINK_OPTIONS::connect_timeout_ms, &KX_LINK_OPTIONS::reply_timeout_ms,
        &KX_LINK_OPTIONS::motion_timeout_ms,  &KX_LINK_OPTIONS::late_reply_ms,
        &KX_LINK_OPTIONS::silence_ms,         &KX_LINK_OPTIONS::outbox_bytes,
        &KX_LINK_OPTIONS::callback_queue};
    for (const auto number : numbers)
        if (options.*number <= 0) options.*number = defaults.*number;
    return options;
}

int KX_Link_Open(const char* host, int port, int model, const KX_LINK_OPTIONS* given)
{
    if (model != 36 && model != 46 && model != 47) return -KX_NOT_RUNNING;
    if (!host) return -KX_UNKNOWN_HOST;
    if (port < 1 || port > 65535) return -KX_BAD_DESCRIPTOR;
    if (!start_threads()) return -KX_NO_SOCKET;

    const KX_LINK_OPTIONS options = completed(given);
    Address address = {};
    int socket = -1;
    const Time until = now() + options.connect_timeout_ms * millisecond;
    if (const int fault = dial(host, port, until, options.silence_ms, address, socket)) return -fault;

    Link* link = new_link();
    if (!link) {
        close(socket);
        return -KX_NO_SOCKET;
    }
    const int handle = link->handle;
    link->model = model;
    link->options = options;
    link->address = address;
    link->socket = socket;
    const bool is_watched = watch(*link);
    if (is_watched)
        set_state(*link, KX_LINK_READY, "connected");
    else
        close_locked(*link);
    pthread_mutex_unlock(&link->mutex);
    return is_watched ? handle : -KX_NO_SOCKET;
}

int KX_Link_Close(int handle)
{
    {
        const Locked link(handle);
        if (!link) return KX_BAD_DESCRIPTOR;
        close_locked(*link);
    }
    end_callbacks(handle);
    return KX_SUCCESS;
}

int KX_Link_Cancel(int handle)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    ++link->cancels;
    cancel_calls(*link);
    notify(*link);
    return KX_SUCCESS;
}

// A connection that a caller found broken is no longer ready, even if the loop has not come to that yet.
static KX_LINK_STATE present_state(const Link& link)
{
    if (link.given_up_for) return link.options.reconnect ? KX_LINK_CONNECTING : KX_LINK_DOWN;
    return static_cast<KX_LINK_STATE>(link.state.load());
}

KX_LINK_STATE KX_Link_State(int handle)
{
    const Locked link(handle);
    return link ? present_state(*link) : KX_LINK_CLOSED;
}

int KX_Link_Wait(int handle, KX_LINK_STATE state, int timeout_ms)
{
    const Time until = timeout_ms < 0 ? never : now() + timeout_ms * millisecond;
    Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    const int cancels = link->cancels;
    while (present_state(*link) != state) {
        if (present_state(*link) == KX_LINK_DOWN) return KX_LOST;
        if (now() >= until) return KX_TIMED_OUT;
        if (!link.wait_for_change(until)) return !link && state == KX_LINK_CLOSED ? KX_SUCCESS : KX_CANCELLED;
        if (link->cancels != cancels) return KX_CANCELLED;
    }
    return KX_SUCCESS;
}

int KX_Link_Timeout(int handle, int timeout_ms)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    if (timeout_ms < 1) return KX_WRONG_TYPE;
    link->options.reply_timeout_ms = timeout_ms;
    return KX_SUCCESS;
}

int KX_Link_Call_Timeout(int timeout_ms)
{
    return set_call_timeout(timeout_ms);
}

void KX_Link_Call_Check(KX_LINK_CHECK check, void* user)
{
    set_check(check, user);
}

uint64_t KX_Link_Ticket(int handle)
{
    return ticket(handle);
}

int KX_Link_Begin_Setup(int handle)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    if (!link->setup) link->setup = static_cast<Line*>(malloc(sizeof(Line) * setup_capacity));
    if (!link->setup) return KX_NO_MEMORY;
    link->setup_count = 0;
    link->is_registering = true;
    link->registrar = pthread_self();
    return KX_SUCCESS;
}

int KX_Link_End_Setup(int handle)
{
    const Locked link(handle);
    if (!link) return -KX_BAD_DESCRIPTOR;
    link->is_registering = false;
    return link->setup_count;
}

int KX_Link_Reason(int handle, char* text, int room)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    if (!text || room < 1) return KX_SUCCESS;
    const char* own = own_reason(handle);
    strncpy(text, own ? own : link->reason, static_cast<size_t>(room));
    text[room - 1] = '\0';
    return KX_SUCCESS;
}

int KX_Link_Counters(int handle, KX_LINK_COUNTERS* counters)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    if (!counters) return KX_WRONG_TYPE;
    const size_t size = counters->size < sizeof *counters ? counters->size : sizeof *counters;
    link->places.expire(now());
    link->counters.size = size;
    link->counters.waiting = static_cast<uint64_t>(link->places.size());
    link->counters.outbox = static_cast<uint64_t>(link->outbox.bytes());
    memcpy(counters, &link->counters, size);
    return KX_SUCCESS;
}

constexpr double longest_period = 86400.0 * second; // ns

int kx::link::subscribe(int handle, double hz, Request& request, AnswerHandler handler, void (*callback)(),
                        void* user)
{
    if (!(hz >= 0) || hz > 1000) return KX_WRONG_TYPE;
    {
        const Locked link(handle);
        if (!link) return KX_BAD_DESCRIPTOR;
        Subscription& wanted = link->subscription;
        if (wanted.serial) link->places.give_up(wanted.serial);
        wanted = {};
        if (hz > 0) {
            wanted.period = static_cast<Time>(fmin(static_cast<double>(second) / hz, longest_period));
            wanted.due = now();
            wanted.kind = request.answer();
            wanted.line = *request.framed();
            wanted.handler = handler;
            wanted.callback = callback;
            wanted.user = user;
            if (link->state == KX_LINK_READY) link->wake_at = wanted.due;
        }
    }
    end_subscription(handle);
    if (hz > 0) wake_loop();
    return KX_SUCCESS;
}

int kx::link::listen_to_pushes(int handle, PushListener listener, void* user)
{
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    link->push_listener = listener;
    link->push_user = user;
    return KX_SUCCESS;
}

int KX_Link_Thread(int priority, int cpu)
{
    if (!start_threads()) return -KX_NO_SOCKET;
    return run_loop_with(priority, cpu);
}
