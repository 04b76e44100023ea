#include "runtime/link/exchange.h"
#include "runtime/link/callbacks.h"
#include "runtime/link/check.h"
#include "runtime/link/link.h"
#include "runtime/link/loop.h"
#include "runtime/link/thread_local.h"

#include <cjson/cJSON.h>
#include <stdio.h>
#include <sys/socket.h>

namespace kx::link {

KX_THREAD_LOCAL int call_timeout_ms;
KX_THREAD_LOCAL int queued_link;
KX_THREAD_LOCAL uint64_t queued_serial;
KX_THREAD_LOCAL int refused_link;
KX_THREAD_LOCAL char refused_reason[sizeof(Call::reason)];
KX_THREAD_LOCAL int answered_link, answered_model;
KX_THREAD_LOCAL bool is_probing; // what this thread asks is sent, and not waited for

constexpr int places_for_stops = 16;

bool is_link(int sockfd)
{
    return sockfd >= first_handle;
}

int model(int handle)
{
    const Locked link(handle);
    return link ? link->model : 0;
}

int joint_count(int handle)
{
    const int present = model(handle);
    return (present == 0 && handle == answered_link ? answered_model : present) == 47 ? 7 : 6;
}

void reads_answer(int handle, int model)
{
    answered_link = handle;
    answered_model = model;
}

const char* own_reason(int link)
{
    return link == refused_link ? refused_reason : nullptr;
}

int set_call_timeout(int milliseconds)
{
    const int before = call_timeout_ms;
    call_timeout_ms = milliseconds > 0 ? milliseconds : 0;
    return before;
}

void finish_without_waking(Call& call, int status, cJSON* reply)
{
    call.status = status;
    call.reply = reply;
    call.is_done = 1;
}

void finish(Call& call, int status, cJSON* reply)
{
    finish_without_waking(call, status, reply);
    wake_all(&call.is_done);
}

void notify(Link& link)
{
    ++link.changes;
    if (link.watchers > 0) wake_all(&link.changes);
}

void set_state(Link& link, KX_LINK_STATE state, const char* why)
{
    static constexpr const char* names[] = {"closed", "down", "connecting", "ready"};
    const bool is_new = link.state.exchange(state) != state;
    char text[200];
    const int length = snprintf(text, sizeof text, "%s: %s", names[state], why);
    tell_line(link, KX_LINK_CHANGED, text, static_cast<size_t>(length < 200 ? length : 199));
    if (!is_new) return;
    tell_state(link, state);
    notify(link);
}

// Sends what the system takes: a count of bytes, 0 for none at the moment, -1 for a broken connection.
static int send_some(Link& link, const char* bytes, int length)
{
    const ssize_t sent = send(link.socket, bytes, static_cast<size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0) return static_cast<int>(sent);
    return errno == EAGAIN || errno == EINTR ? 0 : -1;
}

int flush(Link& link)
{
    while (Outbox::Waiting* waiting = link.outbox.first()) {
        const int sent =
            send_some(link, waiting->line.text + waiting->sent, waiting->line.length - waiting->sent);
        if (sent < 0) return KX_LOST;
        link.outbox.sent(sent);
        if (waiting->sent < waiting->line.length) return KX_SUCCESS;
        link.outbox.remove_first();
    }
    watch_room(link, false);
    return KX_SUCCESS;
}

// What moves and has not left yet is taken back when a stop comes; who has been held back finds that there was one.
static void take_motions_back(Link& link)
{
    ++link.stops;
    notify(link);
    uint64_t serial;
    Place place;
    while (link.outbox.take_back_motion(serial)) {
        --link.counters.sent;
        if (!link.places.take_back(serial, place)) continue;
        if (place.owner == Place::caller) finish(*place.call, KX_CANCELLED);
        if (place.owner == Place::queued) link.outcomes.add(serial, KX_CANCELLED);
    }
}

// The loop finds the connection ended, and does what follows.
static void give_connection_up(Link& link, const char* why)
{
    link.given_up_for = why;
    shutdown(link.socket, SHUT_RDWR);
}

static int transmit(Link& link, const Line& line, KeyCode kind, uint64_t serial)
{
    const bool is_stop = nature_of(kind) == Nature::stop;
    if (is_stop) take_motions_back(link);
    int sent = 0;
    if (link.outbox.empty()) {
        sent = send_some(link, line.text, line.length);
        if (sent < 0) {
            give_connection_up(link, "the connection broke");
            return KX_LOST;
        }
    }
    if (sent < line.length) {
        const bool has_room =
            sent > 0 || is_stop || link.outbox.bytes() + line.length <= link.options.outbox_bytes;
        if (!has_room) return KX_OUTBOX_FULL;
        const bool is_kept = link.outbox.add(line, sent, kind, serial);
        if (!is_kept && sent == 0) return KX_NO_MEMORY;
        if (!is_kept || !watch_room(link, true)) { // half a line cannot be left there
            give_connection_up(link, "out of memory");
            return KX_LOST;
        }
    }
    ++link.counters.sent;
    return KX_SUCCESS;
}

// Nobody asks what became of a target of a stream.
static bool is_awaited(const Place& place)
{
    return place.kind != KeyCode::none &&
           (place.owner != Place::queued || nature_of(place.kind) != Nature::push);
}

int send_with_place(Link& link, const Place& place, const Line& line, bool is_secret)
{
    const bool has_place = is_awaited(place), is_alone = link.places.size() == 0;
    if (has_place) {
        const int reserved = nature_of(place.kind) == Nature::stop ? 0 : places_for_stops;
        if (link.places.size() >= Places::capacity - reserved) return KX_OUTBOX_FULL;
        link.places.add(place);
    }
    if (const int fault = transmit(link, line, place.kind, place.serial)) {
        Place gone;
        if (has_place) link.places.take_back(place.serial, gone);
        return fault;
    }
    // The end of a motion that nobody waits for may be far off; who waits asks meanwhile.
    const bool is_due = place.owner != Place::queued || nature_of(place.kind) != Nature::motion;
    if (has_place && is_due && (link.unheard_since == 0 || is_alone)) link.unheard_since = place.sent;

    static constexpr char hidden[] = "(a request with a password)";
    if (is_secret)
        tell_line(link, KX_LINK_LINE_OUT, hidden, sizeof hidden - 1);
    else
        tell_line(link, KX_LINK_LINE_OUT, line.text, static_cast<size_t>(line.length));
    return KX_SUCCESS;
}

static Time reply_timeout(const Link& link, KeyCode kind)
{
    const bool is_motion = kind == KeyCode::current_trajectory_state;
    return (is_motion ? link.options.motion_timeout_ms : link.options.reply_timeout_ms) * millisecond;
}

// The place of a request that leaves now.
static Place place_for(Link& link, KeyCode kind, Place::Owner owner, Call* call, Time deadline)
{
    // Whatever its call waits for, the arm takes its time.
    const Time end = kind == KeyCode::current_trajectory_state ? now() + reply_timeout(link, kind) : 0;
    const Time kept = (deadline > end ? deadline : end) + link.options.late_reply_ms * millisecond;
    return {++link.serial, kind, owner, false, call, now(), deadline, kept};
}

static bool is_registering(const Link& link)
{
    return link.is_registering && pthread_equal(link.registrar, pthread_self());
}

static int may_send(const Link& link, KeyCode kind)
{
    if (link.state != KX_LINK_READY || link.given_up_for) return KX_LOST;
    const Nature nature = nature_of(kind);
    const bool is_allowed =
        (nature == Nature::setting || nature == Nature::question) && kind != KeyCode::none;
    return is_registering(link) && !is_allowed ? KX_NOT_A_SETTING : KX_SUCCESS;
}

static bool is_of_setup(const Link& link, KeyCode kind)
{
    return is_registering(link) && nature_of(kind) == Nature::setting;
}

static int register_setting(Link& link, KeyCode kind, const Line& line)
{
    if (link.setup_count == setup_capacity) return KX_NO_MEMORY;
    link.setup_kinds[link.setup_count] = kind;
    link.setup[link.setup_count++] = line;
    return KX_SUCCESS;
}

static int checked(Request& request, const Line*& line)
{
    if (!request.is_true()) return KX_NOT_FINITE;
    line = request.framed();
    return line ? KX_SUCCESS : KX_TOO_LONG;
}

static int post_for(Place::Owner owner, int handle, Request& request)
{
    const Line* line;
    if (const int fault = checked(request, line)) return fault;
    const Locked link(handle);
    if (!link) return KX_BAD_DESCRIPTOR;
    if (const int fault = may_send(*link, request.answer())) return fault;
    link->places.expire(now());
    const Time deadline = now() + reply_timeout(*link, request.answer());
    const Place place = place_for(*link, request.answer(), owner, nullptr, deadline);
    const int status = send_with_place(*link, place, *line, request.is_secret());
    if (status != KX_SUCCESS) return status;
    if (owner == Place::queued && is_awaited(place)) {
        queued_link = handle;
        queued_serial = place.serial;
    }
    return is_of_setup(*link, request.answer()) ? register_setting(*link, request.answer(), *line)
                                                : static_cast<int>(KX_SUCCESS);
}

int post(int handle, Request& request)
{
    return post_for(Place::queued, handle, request);
}

uint64_t ticket(int link)
{
    return link == queued_link ? queued_serial : 0;
}

int stream(int handle, Request& request)
{
    return link::post(handle, request);
}

int dispatch(int handle, Request& request)
{
    return link::post(handle, request);
}

bool is_silent(const Link& link, Time time)
{
    return link.unheard_since > 0 && time - link.unheard_since >= link.options.silence_ms * millisecond;
}

// Nothing came in time: a status.
static int time_out(Link& link)
{
    ++link.counters.timed_out;
    if (!is_silent(link, now())) return KX_TIMED_OUT;
    give_connection_up(link, silent);
    return KX_LOST;
}

// The time has come, or the wait is ended: the call leaves the link. A status, success if the reply has just come.
static int leave(int handle, Call& call, uint64_t serial, bool is_cancelled)
{
    Locked link(handle);
    if (call.is_done) return call.status;
    if (!link) return KX_CANCELLED; // in a child that the thread's check has forked
    if (link->outbox.take_back(serial)) {
        Place gone;
        --link->counters.sent;
        link->places.take_back(serial, gone);
    } else {
        link->places.give_up(serial);
    }
    return is_cancelled ? static_cast<int>(KX_CANCELLED) : time_out(*link);
}

struct Sent {
    int status;
    uint64_t serial = 0;
    Time deadline = 0;
    uint64_t reconnects = 0; // of the link by then
};

// Holds the request back while it is not certain whose reply would come; a stop goes all the same. What was held back
// before a loss is not sent after it, and no motion after a stop.
static Sent send_awaited(int handle, KeyCode kind, const Line& line, bool is_secret, Call& call)
{
    Locked link(handle);
    if (!link) return {KX_BAD_DESCRIPTOR};
    const Time timeout = call_timeout_ms > 0 ? call_timeout_ms * millisecond : reply_timeout(*link, kind);
    const Time deadline = now() + timeout;
    const int cancels = link->cancels, stops = link->stops;
    const uint64_t losses = link->counters.losses;
    for (;;) {
        if (const int fault = may_send(*link, kind)) return {fault};
        if (link->counters.losses != losses) return {KX_LOST};
        if (link->stops != stops && nature_of(kind) == Nature::motion) return {KX_CANCELLED};
        link->places.expire(now());
        const Time barred = link->places.barred_until(kind);
        if (barred == 0 || nature_of(kind) == Nature::stop) break;
        if (now() >= deadline) return {time_out(*link)};
        if (!link.wait_for_change(barred < deadline ? barred + 1 : deadline) || link->cancels != cancels)
            return {KX_CANCELLED};
    }
    reads_answer(handle, link->model);
    const Place place = place_for(*link, kind, Place::caller, &call, deadline);
    return {send_with_place(*link, place, line, is_secret), place.serial, deadline,
            link->counters.reconnects};
}

static Reply received(int handle, Call& call, int status)
{
    if (status != KX_SUCCESS) return Reply::none(status);
    if (call.is_refused) {
        refused_link = handle;
        copy_cut(refused_reason, call.reason);
    }
    return Reply(call.reply, Reply::link);
}

// What was answered on a connection that has been replaced since is not in force on the present one.
static int register_answered(int handle, KeyCode kind, const Line& line, const Reply& reply, const Sent& sent)
{
    if (nature_of(kind) != Nature::setting || first_false(reply.tree())) return KX_SUCCESS;
    const Locked link(handle);
    if (!link || !is_of_setup(*link, kind)) return KX_SUCCESS;
    return link->counters.reconnects == sent.reconnects ? register_setting(*link, kind, line)
                                                        : static_cast<int>(KX_LOST);
}

// A motion takes its time; meanwhile a peer from which nothing is heard is asked, and nobody waits for the answer: the
// end of the motion may come first.
class Liveness {
  public:
    Liveness(int handle, int (*is_alive)(int link)) : handle_(handle), is_alive_(is_alive)
    {
        if (is_alive_) has_to_ask();
    }

    Time next_look(Time until) const { return look_ < until ? look_ : until; }

    void look_if_due()
    {
        if (now() < look_ || !has_to_ask()) return;
        is_probing = true;
        is_alive_(handle_);
        is_probing = false;
        look_ = now() + half_;
    }

  private:
    // Whether nothing has been heard for half of the time that makes a silent peer; and when to look again.
    bool has_to_ask()
    {
        const Locked link(handle_);
        look_ = never;
        if (!link) return false;
        const Time time = now();
        half_ = link->options.silence_ms * millisecond / 2;
        const Time due = (link->heard > begun_ ? link->heard : begun_) + half_;
        look_ = time < due ? due : time + half_;
        if (time < due || link->state != KX_LINK_READY) return false;
        if (!is_silent(*link, time)) return link->unheard_since == 0 || !link->places.has(Place::probe);
        give_connection_up(*link, silent);
        return false;
    }

    const int handle_;
    int (*const is_alive_)(int link);
    const Time begun_ = now();
    Time half_ = 0, look_ = never;
};

static Reply await(int handle, Request& request, int (*is_alive)(int link))
{
    if (is_probing) return Reply::none(post_for(Place::probe, handle, request));
    const Line* line;
    if (const int fault = checked(request, line)) return Reply::none(fault);
    Call call;
    const Sent sent = send_awaited(handle, request.answer(), *line, request.is_secret(), call);
    if (sent.status != KX_SUCCESS) return Reply::none(sent.status);

    bool is_cancelled = false;
    Liveness liveness(handle, is_alive);
    while (!call.is_done && !is_cancelled && now() < sent.deadline) {
        wait_while(call.is_done, 0, next_check(liveness.next_look(sent.deadline)));
        is_cancelled = !call.is_done && check_ends_wait();
        if (!call.is_done && !is_cancelled) liveness.look_if_due();
    }
    int status = call.is_done ? call.status : leave(handle, call, sent.serial, is_cancelled);
    Reply reply = received(handle, call, status);
    if (status == KX_SUCCESS) status = register_answered(handle, request.answer(), *line, reply, sent);
    return status == KX_SUCCESS ? static_cast<Reply&&>(reply) : Reply::none(status);
}

Reply await_reply(int link, Request& request)
{
    return await(link, request, nullptr);
}

Reply await_completion(int link, Request& request, int (*is_alive)(int link))
{
    return await(link, request, is_alive);
}

static int status_of(int handle, const Outcome& outcome)
{
    if (outcome.status == KX_REFUSED) {
        refused_link = handle;
        copy_cut(refused_reason, outcome.reason);
    }
    return outcome.status;
}

// What became of a queued request: a status, or -1 while it is open.
static int outcome_of(Link& link, uint64_t ticket)
{
    link.places.expire(now());
    if (ticket == 0 || ticket > link.serial) return KX_WRONG_TYPE;
    if (const Outcome* outcome = link.outcomes.find(ticket)) return status_of(link.handle, *outcome);
    return link.places.kept_until(ticket) > 0 ? -1 : static_cast<int>(KX_CANCELLED);
}

int await_queued(int handle, uint64_t ticket, int timeout_ms, int (*is_alive)(int link))
{
    const Time until = timeout_ms < 0 ? never : now() + timeout_ms * millisecond;
    Liveness liveness(handle, is_alive);
    int cancels = -1;
    for (;;) {
        {
            Locked link(handle);
            if (!link) return KX_BAD_DESCRIPTOR;
            if (cancels < 0) cancels = link->cancels;
            if (const int status = outcome_of(*link, ticket); status >= 0) return status;
            if (now() >= until) return KX_TIMED_OUT;
            const Time kept = link->places.kept_until(ticket);
            if (!link.wait_for_change(liveness.next_look(kept < until ? kept + 1 : until)) ||
                link->cancels != cancels)
                return KX_CANCELLED;
        }
        liveness.look_if_due();
    }
}

} // namespace kx::link
