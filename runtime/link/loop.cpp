#include "runtime/link/loop.h"
#include "runtime/link/callbacks.h"
#include "runtime/link/dial.h"
#include "runtime/quiet_thread.h"

#include <cjson/cJSON.h>
#include <sched.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace kx::link {

static int epoll = -1, wake = -1;
static std::atomic<bool> is_started;
static std::atomic<int> is_ending;
static pthread_t thread;

constexpr Time first_backoff = 100 * millisecond, longest_backoff = 5 * second;

static Time after(int milliseconds)
{
    return now() + milliseconds * millisecond;
}

void wake_loop()
{
    const uint64_t one = 1;
    (void)!write(wake, &one, sizeof one); // where that fails it is awake
}

static bool control(int operation, const Link& link, uint32_t events)
{
    epoll_event event = {};
    event.events = events;
    event.data.u64 = static_cast<uint64_t>(link.handle);
    return epoll_ctl(epoll, operation, link.socket, &event) == 0;
}

bool watch(Link& link)
{
    return control(EPOLL_CTL_ADD, link, EPOLLIN | EPOLLRDHUP);
}

bool watch_room(Link& link, bool awaits_room)
{
    if (link.awaits_room == awaits_room) return true;
    const uint32_t room = awaits_room ? EPOLLOUT : 0u;
    if (!control(EPOLL_CTL_MOD, link, EPOLLIN | EPOLLRDHUP | room)) return false;
    link.awaits_room = awaits_room;
    return true;
}

// When the loop has to look at this link again.
static void schedule(Link& link)
{
    Time at = link.attempt_at;
    if (link.state == KX_LINK_READY && link.subscription.period > 0 && link.subscription.due < at)
        at = link.subscription.due;
    link.wake_at = at;
}

static void release(Link& link)
{
    if (link.socket >= 0) close(link.socket); // which takes it out of the epoll
    link.socket = -1;
    link.awaits_room = link.is_dialling = false;
    link.given_up_for = nullptr;
    link.inbox.clear();
    link.outbox.clear();
}

static void try_again_later(Link& link)
{
    release(link);
    link.backoff = link.backoff == 0                    ? first_backoff
                   : link.backoff * 2 < longest_backoff ? link.backoff * 2
                                                        : longest_backoff;
    const Time time = now();
    const Time jitter = link.backoff / 5;
    link.attempt_at = time + link.backoff - jitter + time % (2 * jitter);
    schedule(link);
}

static void lose(Link& link, const char* why)
{
    release(link);
    for (int i = 0; i < link.places.size(); ++i) {
        const Place& place = link.places[i];
        if (place.owner == Place::caller) finish(*place.call, KX_LOST);
        if (place.owner == Place::queued) link.outcomes.add(place.serial, KX_LOST);
    }
    if (link.state == KX_LINK_READY && link.subscription.period > 0)
        tell_answer(link, KX_LOST, nullptr, now());
    link.places.clear();
    link.attempt_at = never;
    if (link.state == KX_LINK_READY) ++link.counters.losses;
    set_state(link, link.options.reconnect ? KX_LINK_CONNECTING : KX_LINK_DOWN, why);
    if (link.options.reconnect)
        try_again_later(link);
    else
        schedule(link);
}

static void is_ready(Link& link)
{
    ++link.counters.reconnects;
    link.backoff = 0;
    link.attempt_at = never;
    link.subscription.due = now();
    set_state(link, KX_LINK_READY, "connected again");
    schedule(link);
}

static void send_setup(Link& link)
{
    if (link.setup_done >= link.setup_count) return is_ready(link); // it may have been begun anew meanwhile
    link.attempt_at = after(link.options.reply_timeout_ms);
    schedule(link);
    const KeyCode kind = link.setup_kinds[link.setup_done];
    const Place place = {++link.serial, kind,  Place::setup,    false,
                         nullptr,       now(), link.attempt_at, link.attempt_at};
    if (send_with_place(link, place, link.setup[link.setup_done]) != KX_SUCCESS)
        lose(link, "the set-up could not be sent");
}

static void end_dial(Link& link)
{
    if (!has_connected(link.socket)) return try_again_later(link);
    if (!control(EPOLL_CTL_MOD, link, EPOLLIN | EPOLLRDHUP)) return try_again_later(link);
    link.is_dialling = false;
    link.unheard_since = 0;
    link.setup_done = 0;
    send_setup(link);
}

static void dial_again(Link& link)
{
    release(link);
    link.socket = begin_dial(link.address, link.options.silence_ms);
    if (link.socket < 0 || !control(EPOLL_CTL_ADD, link, EPOLLOUT)) return try_again_later(link);
    link.is_dialling = true;
    link.attempt_at = after(link.options.connect_timeout_ms);
    schedule(link);
}

const cJSON* first_false(const cJSON* reply)
{
    const cJSON* member = reply->child;
    while (member && !cJSON_IsFalse(member))
        member = member->next;
    return member;
}

static void count_round_trip(Link& link, Time taken)
{
    int i = 0;
    for (Time microseconds = taken / 1000; microseconds > 0 && i < 23; microseconds /= 2)
        ++i;
    ++link.counters.round_trips[i];
}

// Those whose replies have come are woken when the link is free for their next requests.
class Answered {
  public:
    void add(const std::atomic<int>* call)
    {
        if (count_ == capacity) wake();
        calls_[count_++] = call;
    }
    void wake()
    {
        while (count_ > 0)
            wake_all(calls_[--count_]);
    }

  private:
    static constexpr int capacity = 64;
    const std::atomic<int>* calls_[capacity];
    int count_ = 0;
};
static Answered answered;

// The reply's tree becomes somebody else's, or is deleted here.
static void deliver(Link& link, const Place& place, bool is_uncertain, cJSON* reply)
{
    const Time time = now();
    if (place.is_robbed) notify(link); // who has been held back may send now
    const bool is_refused = first_false(reply);
    ++link.counters.answered;
    link.counters.refused += is_refused;
    if (is_refused) {
        const char* words = cJSON_GetStringValue(cJSON_GetObjectItem(reply, "error"));
        copy_cut(link.reason, words ? words : "");
        if (place.owner == Place::caller && !is_uncertain) {
            place.call->is_refused = true;
            copy_cut(place.call->reason, link.reason);
        }
    }

    if (place.kind == KeyCode::set_arm_stop && !is_refused) {
        link.places.end_motions(place.serial, time + link.options.late_reply_ms * millisecond);
        notify(link);
    }

    if (is_uncertain && place.owner == Place::caller) {
        ++link.counters.timed_out;
        finish(*place.call, KX_TIMED_OUT);
    }
    switch (is_uncertain ? Place::given_up : place.owner) {
    case Place::caller:
        count_round_trip(link, time - place.sent);
        finish_without_waking(*place.call, KX_SUCCESS, reply);
        return answered.add(&place.call->is_done);
    case Place::subscription:
        return tell_answer(link, KX_SUCCESS, reply, time);
    case Place::setup:
        cJSON_Delete(reply);
        if (is_refused) return lose(link, "the controller refused the set-up");
        ++link.setup_done;
        return send_setup(link);
    case Place::queued:
        link.outcomes.add(place.serial, is_refused ? KX_REFUSED : KX_SUCCESS, is_refused ? link.reason : "");
        notify(link);
        break;
    case Place::probe:
        break;
    case Place::given_up:
        ++link.counters.late;
        notify(link);
        break;
    }
    cJSON_Delete(reply);
}

// A reply says in "command" what it answers; one without is recognised as on classic connections.
static KeyCode kind_of(const cJSON* reply, const char* text)
{
    KeyCode kind = KeyCode::none;
    if (const char* command = cJSON_GetStringValue(cJSON_GetObjectItem(reply, "command"))) {
        kind = kind_named(command);
        if (kind == KeyCode::none) kind = find_kind(command);
    }
    return kind == KeyCode::none ? find_kind(text) : kind;
}

static void take_object(Link& link, cJSON* object, const char* text)
{
    const KeyCode kind = kind_of(object, text);
    const bool is_push = nature_of(kind) == Nature::push;
    Place place;
    link.places.expire(now());
    bool is_uncertain;
    const bool is_awaited = kind != KeyCode::none && link.places.answer(kind, now(), place, is_uncertain);
    if (is_push) {
        ++link.counters.pushes;
        if (link.push_listener) link.push_listener(object, link.push_user);
        tell_push(link, kind, is_awaited ? cJSON_Duplicate(object, true) : object);
        if (is_awaited) deliver(link, place, is_uncertain, object);
    } else if (is_awaited) {
        deliver(link, place, is_uncertain, object);
    } else {
        ++link.counters.foreign;
        cJSON_Delete(object);
    }
}

static const char* skip_blanks(const char* text)
{
    return text + strspn(text, " \t\r");
}

static void drop(Link& link, const char* text, size_t length)
{
    ++link.counters.dropped;
    tell_line(link, KX_LINK_DROPPED, text, length);
}

static void take_line(Link& link, const Inbox::Line& line)
{
    ++link.counters.received;
    if (line.is_cut || strlen(line.text) != line.length) return drop(link, line.text, line.length);
    tell_line(link, KX_LINK_LINE_IN, line.text, line.length);
    // Several objects may stand on a line, of a peer that forgets a line feed.
    for (const char* text = skip_blanks(line.text); *text && link.socket >= 0;) {
        const char* end = nullptr;
        cJSON* object = cJSON_ParseWithOpts(text, &end, false);
        if (!cJSON_IsObject(object)) {
            cJSON_Delete(object);
            return drop(link, text, strlen(text));
        }
        take_object(link, object, text);
        text = skip_blanks(end);
    }
}

static void receive(Link& link)
{
    size_t size;
    char* room = link.inbox.room(size);
    if (!room) return lose(link, "out of memory");
    const ssize_t received = recv(link.socket, room, size, MSG_DONTWAIT);
    if (received < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (received < 0) return lose(link, strerrordesc_np(errno));
    if (received == 0)
        return lose(link, link.given_up_for ? link.given_up_for : "the controller closed the connection");
    link.inbox.received(static_cast<size_t>(received));
    link.heard = now();
    link.unheard_since = 0;
    while (link.socket >= 0) {
        const Inbox::Line line = link.inbox.next();
        if (!line.text) break;
        take_line(link, line);
    }
}

static void ask_for_state(Link& link)
{
    Subscription& wanted = link.subscription;
    const Time time = now();
    wanted.due += wanted.period;
    if (wanted.due < time) wanted.due = time + wanted.period; // it is not caught up
    if (link.places.has(Place::subscription)) {
        if (time < wanted.asked + link.options.reply_timeout_ms * millisecond) {
            ++link.counters.states_missed;
            return;
        }
        if (is_silent(link, time)) return lose(link, silent);
        link.places.give_up(wanted.serial);
        tell_answer(link, KX_TIMED_OUT, nullptr, time);
    }
    link.places.expire(time);
    if (link.places.barred_until(wanted.kind) > time) return;
    wanted.asked = time;
    wanted.serial = ++link.serial;
    const Time deadline = time + link.options.reply_timeout_ms * millisecond;
    const Place place = {wanted.serial,
                         wanted.kind,
                         Place::subscription,
                         false,
                         nullptr,
                         time,
                         deadline,
                         deadline + link.options.late_reply_ms * millisecond};
    const int status = send_with_place(link, place, wanted.line);
    if (status != KX_SUCCESS && status != KX_LOST) // which is told when the loop finds it
        tell_answer(link, status, nullptr, time);
}

static void do_what_is_due(Link& link)
{
    const Time time = now();
    if (time >= link.attempt_at) {
        if (link.socket < 0)
            dial_again(link);
        else if (link.is_dialling)
            try_again_later(link);
        else
            lose(link, "the set-up was not answered");
    }
    if (link.state == KX_LINK_READY && link.subscription.period > 0 && time >= link.subscription.due)
        ask_for_state(link);
    schedule(link);
}

static void take_event(Link& link, uint32_t events)
{
    if (link.is_dialling) return end_dial(link);
    if (events & EPOLLOUT && flush(link) != KX_SUCCESS) return lose(link, "the connection broke");
    if (events & ~static_cast<uint32_t>(EPOLLOUT)) receive(link);
}

static int milliseconds_until_due()
{
    Time at = never;
    for (int i = 0; i < highest_place(); ++i) {
        const Link* link = at_place(i);
        if (link && link->wake_at < at) at = link->wake_at;
    }
    if (at == never) return -1;
    const Time left = at - now();
    return left <= 0 ? 0 : static_cast<int>((left + millisecond - 1) / millisecond);
}

static void* serve(void*)
{
    while (!is_ending) {
        epoll_event events[64];
        const int count = epoll_wait(epoll, events, 64, milliseconds_until_due());
        for (int i = 0; i < count; ++i) {
            if (events[i].data.u64 == 0) {
                uint64_t times;
                (void)!read(wake, &times, sizeof times);
            } else if (Locked link(static_cast<int>(events[i].data.u64)); link && link->socket >= 0) {
                take_event(*link, events[i].events);
            }
            answered.wake();
        }
        const Time time = now();
        for (int i = 0; i < highest_place(); ++i) {
            Link* due = at_place(i);
            if (!due || due->wake_at > time) continue;
            if (Locked link(due->handle); link) do_what_is_due(*link);
        }
    }
    return nullptr;
}

bool start_loop()
{
    if (is_started) return true;
    epoll = epoll_create1(EPOLL_CLOEXEC);
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll_event event = {};
    event.events = EPOLLIN;
    if (epoll >= 0 && wake >= 0 && epoll_ctl(epoll, EPOLL_CTL_ADD, wake, &event) == 0)
        is_started = start_quiet_thread(&thread, serve);
    if (!is_started) forget_loop();
    return is_started;
}

void forget_loop()
{
    if (epoll >= 0) close(epoll);
    if (wake >= 0) close(wake);
    epoll = wake = -1;
    is_started = false;
}

void stop_loop()
{
    if (!is_started) return;
    is_ending = 1;
    wake_loop();
    pthread_join(thread, nullptr);
    is_ending = 0;
    forget_loop();
}

int run_loop_with(int priority, int cpu)
{
    sched_param parameters = {};
    parameters.sched_priority = priority;
    int fault = pthread_setschedparam(thread, priority > 0 ? SCHED_FIFO : SCHED_OTHER, &parameters);
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    for (int i = 0; i < CPU_SETSIZE; ++i)
        if (cpu < 0 || i == cpu) CPU_SET(i, &cpus);
    fault |= pthread_setaffinity_np(thread, sizeof cpus, &cpus);
    return fault ? KX_REFUSED : KX_SUCCESS;
}

} // namespace kx::link
