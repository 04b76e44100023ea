#include "runtime/link/callbacks.h"
#include "runtime/classic/state.h"
#include "runtime/push.h"
#include "runtime/quiet_thread.h"

#include <cjson/cJSON.h>
#include <stdlib.h>
#include <string.h>

namespace kx::link {

struct Event {
    enum Kind { push, state, line, answer };

    Event* next;
    Kind kind;
    int link;
    std::atomic<int>* told; // the link's count of such events
    int model;
    KX_LINK_OPTIONS options; // as far as callbacks go
    cJSON* tree;
    int code; // kind of push, state, kind of line, status of an answer
    Subscription subscription;
    Time answered;
    int length;

    char* text() { return reinterpret_cast<char*>(this + 1); } // of a line
};

static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static Event *first, **end = &first;
static int running; // the link whose callback runs
static Event::Kind running_kind;
static std::atomic<int> queued, finished, is_ending;
static std::atomic<bool> is_started;
static pthread_t thread;

static void free_event(Event* event)
{
    cJSON_Delete(event->tree);
    free(event);
}

static void tell(Link& link, Event::Kind kind, int code, cJSON* tree, const char* text = "",
                 size_t length = 0, Time answered = 0)
{
    Event* event = static_cast<Event*>(malloc(sizeof(Event) + length + 1));
    bool has_room = event != nullptr;
    if (event) {
        *event = {};
        event->kind = kind;
        event->link = link.handle;
        event->told = &link.told[kind];
        event->model = link.model;
        event->options = link.options;
        event->tree = tree;
        event->code = code;
        event->subscription = link.subscription;
        event->answered = answered;
        event->length = static_cast<int>(length);
        memcpy(event->text(), text, length);
        event->text()[length] = '\0';

        // Pushes, lines and answers have room of their own each; there are few changes of state.
        has_room = kind == Event::state || link.told[kind] < link.options.callback_queue;
        if (has_room) {
            const Guard guard(mutex);
            ++link.told[kind];
            *end = event;
            end = &event->next;
            ++queued;
        }
    }
    if (has_room) return wake_all(&queued);
    ++link.counters.callbacks_lost;
    if (event)
        free_event(event);
    else
        cJSON_Delete(tree);
}

void tell_push(Link& link, KeyCode kind, cJSON* push)
{
    if (link.options.on_push || callback1.load())
        tell(link, Event::push, static_cast<int>(kind), push);
    else
        cJSON_Delete(push);
}

void tell_state(Link& link, KX_LINK_STATE state)
{
    if (link.options.on_state) tell(link, Event::state, state, nullptr);
}

void tell_line(Link& link, KX_LINK_EVENT event, const char* text, size_t length)
{
    if (link.options.on_log) tell(link, Event::line, event, nullptr, text, length);
}

void tell_answer(Link& link, int status, cJSON* reply, Time answered)
{
    tell(link, Event::answer, status, reply, "", 0, answered);
}

static void run_push(const Event& event)
{
    CallbackData data = {};
    data.sockfd = event.link;
    data.push_type = push_type(static_cast<KeyCode>(event.code));
    if (data.push_type != 3)
        data.result = decode_push(event.tree, event.model == 47 ? 7 : 6, data.pose, data.joint);
    if (event.options.on_push)
        event.options.on_push(&data, event.options.user);
    else if (const KX_Callback callback = callback1)
        callback(data);
}

static void run(Event& event)
{
    switch (event.kind) {
    case Event::push:
        return run_push(event);
    case Event::state:
        return event.options.on_state(event.link, static_cast<KX_LINK_STATE>(event.code), event.options.user);
    case Event::line:
        return event.options.on_log(event.link, static_cast<KX_LINK_EVENT>(event.code), event.text(),
                                    event.length, event.options.user);
    case Event::answer:
        Reply reply = event.code == KX_SUCCESS ? Reply(event.tree, Reply::link) : Reply::none(event.code);
        event.tree = nullptr;
        reads_answer(event.link, event.model);
        const Subscription& of = event.subscription;
        of.handler(reply, event.link, static_cast<uint64_t>(of.asked), static_cast<uint64_t>(event.answered),
                   of.callback, of.user);
    }
}

static Event* next_event()
{
    const Guard guard(mutex);
    Event* event = first;
    if (!event) return nullptr;
    first = event->next;
    if (!first) end = &first;
    running = event->link;
    running_kind = event->kind;
    --*event->told;
    return event;
}

static void has_run()
{
    {
        const Guard guard(mutex);
        running = 0;
    }
    ++finished;
    wake_all(&finished);
}

static void* work(void*)
{
    for (;;) {
        const int seen = queued; // before the look at the end, whose coming it tells
        if (is_ending) return nullptr;
        if (Event* event = next_event()) {
            run(*event);
            free_event(event);
            has_run();
        } else {
            wait_while(queued, seen, never);
        }
    }
}

bool start_callbacks()
{
    if (!is_started) is_started = start_quiet_thread(&thread, work);
    return is_started;
}

void stop_callbacks()
{
    if (!is_started) return;
    is_ending = 1;
    ++queued;
    wake_all(&queued);
    pthread_join(thread, nullptr);
    is_started = false;
    is_ending = 0;
}

void forget_callbacks()
{
    mutex = PTHREAD_MUTEX_INITIALIZER;
    first = nullptr;
    end = &first;
    running = 0;
    is_started = false;
}

static void end_events(int link, bool answers_only)
{
    pthread_mutex_lock(&mutex);
    for (Event** at = &first; *at;) {
        Event* event = *at;
        if (event->link != link || (answers_only && event->kind != Event::answer)) {
            at = &event->next;
            continue;
        }
        *at = event->next;
        --*event->told;
        free_event(event);
    }
    end = &first;
    while (*end)
        end = &(*end)->next;
    const bool is_own = pthread_equal(pthread_self(), thread);
    while (!is_own && running == link && (!answers_only || running_kind == Event::answer)) {
        const int seen = finished;
        pthread_mutex_unlock(&mutex);
        wait_while(finished, seen, never);
        pthread_mutex_lock(&mutex);
    }
    pthread_mutex_unlock(&mutex);
}

void end_callbacks(int handle)
{
    end_events(handle, false);
}

void end_subscription(int handle)
{
    end_events(handle, true);
}

} // namespace kx::link
