// Plays random schedules of faults, callers and stops against links, in simulated time, and holds what happens against what a
// link promises: link_explorer [steps] [seed]. What breaks a promise is made as short as it goes on breaking it, printed with
// its seed, and told again by link_explorer --replay DECISIONS.
#include "link_far_side.h"

#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <set>
#include <unistd.h>
#include <utility>

using namespace modelled;

namespace {

std::vector<Link*> arms = {nullptr, nullptr};
std::set<int> handles;

void on_state(int handle, KX_LINK_STATE told, void* user)
{
    auto& link = *static_cast<Link*>(user);
    tell("link %d tells: %d", link.port - 1000, told);
    if (link.is_closed()) fail("a state is told after close");
    if (link.handle > 0 && handle != link.handle) fail("a state of another link is told");
    const int before = link.states.empty() ? static_cast<int>(KX_LINK_CONNECTING) : link.states.back();
    const bool may_be = told == KX_LINK_READY ? before == KX_LINK_CONNECTING : before == KX_LINK_READY;
    const bool is_known = lacked < link.begun; // else one may be missing
    if ((!may_be && is_known) || told == (link.reconnects ? KX_LINK_DOWN : KX_LINK_CONNECTING))
        fail("state %d is told after %d", told, before);
    link.states.push_back(told);
}

void cancel_all(Link& link)
{
    tell("cancels on link %d", link.port - 1000);
    const Doing cancel(link.cancel);
    KX_Link_Cancel(link.handle);
}

void close_link(Link& link)
{
    tell("closes link %d", link.port - 1000);
    link.closing = std::min(link.closing, now());
    if (KX_Link_Close(link.handle) != 0) return;
    if (link.is_closed()) fail("a link is closed twice");
    link.closed = now();
    if (link.connection) fail("a closed link keeps its connection");
}

void on_push(const CallbackData* push, void* user)
{
    auto& link = *static_cast<Link*>(user);
    if (link.is_closed()) fail("a push is told after close");
    const int number = static_cast<int>(push->joint[0]);
    if (push->push_type == 1 && number <= link.pushes) fail("push %d is told after %d", number, link.pushes);
    if (push->joint[6] != (push->push_type == 1 && link.model == 47 ? 7 : 0))
        fail("a push tells %.0f for the seventh joint", static_cast<double>(push->joint[6]));
    link.pushes = std::max(link.pushes, number);
    if (one_in(8)) sleep(choose(30) * ms); // a slow callback
    if (link.is_closed()) fail("close does not wait for a push that is being told");
    if (one_in(8)) {
        const Doing stops(link.stops);
        link.are_stops_counted &= Move_Stop_Cmd(push->sockfd, false) == KX_SUCCESS;
    }
    if (link.handle > 0 && one_in(20)) cancel_all(link);
    if (link.handle > 0 && one_in(40)) close_link(link);
}

void on_subscribed(const KX_ARM_STATE* told, void* user)
{
    const auto& link = *static_cast<Link*>(user);
    if (!link.is_subscribed) fail("a state comes that nobody is subscribed to");
    if (one_in(8)) sleep(choose(30) * ms);
    if (!link.is_subscribed) fail("the end of a subscription does not wait for a state that is being told");
    const int status = told->status;
    if (status != 0 && status != KX_TIMED_OUT && status != KX_LOST && status != KX_OUTBOX_FULL &&
        (status != KX_NO_MEMORY || lacked == 0))
        fail("a subscribed state says %d", status);
    if (status == 0 && told->asked_ns > told->answered_ns)
        fail("a state is answered before it was asked for");
}

// What a thread looks at while it waits.
class Looking {
  public:
    Looking()
    {
        if (one_in(6)) KX_Link_Call_Check(look, this);
    }
    Looking(const Looking&) = delete;
    ~Looking() { KX_Link_Call_Check(nullptr, nullptr); }

    // Whether it has ended the wait.
    bool judge() const
    {
        if (now() > ended_ + slack) fail("a wait goes on for long behind the look that ends it");
        return ended_ != never - slack;
    }

  private:
    static int look(void* user)
    {
        Looking& self = *static_cast<Looking*>(user);
        if (self.ended_ < now()) fail("a thread looks again at what has ended its wait");
        if (now() > self.looked_ + 50 * ms + slack) fail("a thread looks too late");
        self.looked_ = now();
        if (self.left_-- > 0) return 0;
        self.ended_ = now();
        return 1;
    }

    unsigned left_ = choose(8);
    Time looked_ = now(), ended_ = never - slack;
};

// What the controller said when it refused this request.
void judge_reason(const Request& request)
{
    char text[10];
    if (KX_Link_Reason(request.link->handle, text, sizeof text) == KX_SUCCESS &&
        request.id != std::atoi(text))
        fail("the controller refuses %s %d for the reason %s", name(request.kind), request.id, text);
}

// A call that has ended: its status must be one that what happened allows.
void judge(Request& request, int status, int state_before, bool was_told_to_end)
{
    Link& link = *request.link;
    request.status = status;
    request.ended = now();
    const Time begun = request.begun, ended = request.ended;
    tell("%s %d: %d after %.3f ms", name(request.kind), request.id, status,
         static_cast<double>(ended - begun) / 1e6);
    const auto wrong = [&](const char* why) {
        fail("%s %d (%s) returns %d: %s", name(request.kind), request.id,
             request.blocks ? "waiting" : "queued", status, why);
    };
    const Time latest = request.blocks ? request.deadline : begun;
    if (ended > latest + slack) wrong("too late");
    if (request.blocks && link.cancel.under_way == 0 && link.cancel.begun > begun + slack &&
        link.cancel.ended + slack < ended)
        wrong("long after the cancel");
    const Time troubled = link.connection ? link.connection->troubled : never;
    if (troubled > begun && troubled < ended - slack) wrong("long after the loss");
    if (request.kind == motion && request.left != never && link.connection &&
        ended > std::max(request.left, link.connection->heard) + link.silence_ms * 3 / 2 * ms + slack)
        wrong("nobody notices that the controller is silent");
    if (ended > link.closed + slack && begun < link.closed) wrong("long after the close");
    const bool is_closed = link.closing <= ended;
    switch (status) {
    case KX_SUCCESS:
        if (request.blocks && request.answer != Request::yes && request.kind != stop)
            wrong("the controller did not say yes");
        break;
    case KX_REFUSED:
        if (!request.blocks || (request.answer != Request::no && request.kind != stop))
            wrong("the controller did not refuse");
        judge_reason(request);
        break;
    case KX_BAD_DESCRIPTOR:
        if (!is_closed) wrong("the link is open");
        break;
    case KX_TIMED_OUT:
        if (!request.blocks || (ended < request.deadline && !link.gave_up[request.kind])) wrong("too early");
        if (request.answered + slack < request.deadline && !link.gave_up[request.kind])
            wrong("the controller has answered");
        break;
    case KX_LOST:
        if (state_before == KX_LINK_READY && !is_troubled(link) && link.established < begun &&
            !is_silent(link) && !is_closed && lacked < begun)
            wrong("nothing is wrong with the connection");
        break;
    case KX_CANCELLED:
        if (!request.blocks) wrong("it does not wait");
        if (!link.cancel.reaches(begun) && !is_closed && !was_told_to_end &&
            !(request.kind == motion && link.stops.reaches(begun)))
            wrong("nobody cancelled");
        break;
    case KX_OUTBOX_FULL:
        if (!link.was_full) wrong("there is room");
        break;
    case KX_NOT_A_SETTING:
        if (!link.is_registering || request.kind == setting || request.kind == question)
            wrong("no set-up is being registered");
        break;
    case KX_NO_MEMORY:
        if (lacked < begun) wrong("there was memory");
        break;
    default:
        wrong("no such status");
    }
    if (status == KX_TIMED_OUT || status == KX_CANCELLED) link.gave_up[request.kind] = true;
    if (status == KX_SUCCESS && !request.blocks && request.kind == motion) {
        request.ticket = KX_Link_Ticket(link.handle);
        if (request.ticket == 0) wrong("no ticket");
        link.queued.push_back(&request);
    }
}

int next_number = 1000, next_question = 1;

Request* call(Link& link, Kind kind, bool blocks)
{
    if (kind == question && next_question > 250) return nullptr;
    const bool is_short = blocks && one_in(4);
    const Time timeout = (is_short ? 20 : kind == motion ? motion_ms : reply_ms) * ms;
    const int state_before = KX_Link_State(link.handle);
    KX_Link_Call_Timeout(is_short ? 20 : 0);
    Request& request = new_request(kind,
                                   kind == question ? next_question++
                                   : kind == stop   ? 0
                                                    : next_number++,
                                   &link, blocks, timeout);
    tell("%s %d on link %d%s", name(kind), request.id, link.port - 1000, blocks ? ", waiting" : "");
    const float joint[7] = {static_cast<float>(request.id)};
    int status = 0;
    const Looking looking;
    switch (kind) {
    case question: {
        unsigned char number = 0;
        status = Get_DO_State(link.handle, static_cast<unsigned char>(request.id), &number);
        if (status == 0 && number != request.id)
            fail("question %d gets the answer to %d", request.id, number);
        break;
    }
    case setting:
        status = Set_Payload(link.handle, request.id, 0, 0, 0, blocks);
        break;
    case motion:
        status = Movej_Cmd(link.handle, joint, 20, 0, blocks);
        break;
    case target:
        status = Movej_CANFD(link.handle, joint);
        break;
    default:
        const Doing stops(link.stops);
        status = Move_Stop_Cmd(link.handle, blocks);
        link.are_stops_counted &= status == KX_SUCCESS;
    }
    judge(request, status, state_before, looking.judge());
    return &request;
}

void await_ticket(Link& link)
{
    if (link.queued.empty()) return;
    Request& request = *link.queued[choose(static_cast<unsigned>(link.queued.size()))];
    static constexpr int timeouts[] = {0, 50, 500, -1};
    const int timeout = timeouts[choose(4)];
    const Time begun = now();
    tell("awaits motion %d for %d ms", request.id, timeout);
    const Looking looking;
    const int status = KX_Link_Await(link.handle, request.ticket, timeout);
    const Time ended = now();
    const bool was_told_to_end = looking.judge();
    tell("motion %d: %d", request.id, status);
    const auto wrong = [&](const char* why) {
        fail("await of motion %d returns %d: %s", request.id, status, why);
    };
    if (timeout >= 0 && ended > begun + timeout * ms + slack) wrong("too late");
    if (timeout < 0 && ended > std::max(begun, request.kept) + slack)
        wrong("long after nobody knows any more");
    if (ended > link.closed + slack && begun < link.closed) wrong("long after the close");
    const bool is_closed = link.closing <= ended;
    const bool was_stopped = link.stops.reaches(request.begun);
    switch (status) {
    case KX_SUCCESS:
        if (request.answer != Request::yes) wrong("the controller did not say yes");
        break;
    case KX_REFUSED:
        if (request.answer != Request::no) wrong("the controller did not refuse");
        judge_reason(request);
        break;
    case KX_BAD_DESCRIPTOR:
        if (!is_closed) wrong("the link is open");
        break;
    case KX_TIMED_OUT:
        if (timeout < 0 || ended < begun + timeout * ms) wrong("too early");
        break;
    case KX_LOST:
        if (!is_troubled(link) && !is_silent(link) && link.established < request.begun &&
            lacked < request.begun)
            wrong("nothing is wrong with the connection");
        break;
    case KX_CANCELLED:
        if (!link.cancel.reaches(begun) && !is_closed && !was_told_to_end && !was_stopped &&
            !link.gave_up[motion] && ended < request.kept && link.established < request.begun)
            wrong("nobody cancelled");
        break;
    default:
        wrong("no such status");
    }
}

Link& open_link(size_t arm)
{
    links.push_back(std::make_unique<Link>());
    Link& link = *links.back();
    link.port = 999 + static_cast<int>(links.size());
    link.model = one_in(2) ? 47 : 46;
    link.reconnects = choose(3) != 1;
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    options.reply_timeout_ms = reply_ms;
    options.motion_timeout_ms = motion_ms;
    options.late_reply_ms = late_ms;
    link.silence_ms = one_in(2) ? 200 : 800;
    options.silence_ms = link.silence_ms;
    options.connect_timeout_ms = connect_ms;
    options.outbox_bytes = 2000;
    options.reconnect = link.reconnects;
    options.on_state = on_state;
    options.on_push = on_push;
    options.user = &link;
    if (one_in(10)) link.door = static_cast<decltype(link.door)>(choose(3));
    const auto door = link.door;
    const Time begun = link.begun = now();
    tell("opens link %d", link.port - 1000);
    int failures = 0;
    for (;;) {
        const char* const host = one_in(10) ? "nobody" : one_in(5) ? "arm" : "127.0.0.1";
        const Looking looking;
        const Time asked = now();
        link.handle = KX_Link_Open(host, link.port, link.model, &options);
        const bool was_told_to_end = looking.judge();
        if (was_told_to_end && link.handle != -KX_CANCELLED)
            fail("opening says %d when it is told to end", link.handle);
        if (link.handle > 0) break;
        tell("opening %s: %d", host, link.handle);
        const int status = -link.handle;
        const bool may_be = ((status == KX_NO_SOCKET || status == KX_NO_MEMORY) && lacked >= asked) ||
                            (status == KX_UNKNOWN_HOST && *host == 'n') ||
                            (status == KX_CANCELLED && was_told_to_end) ||
                            (status == KX_BAD_DESCRIPTOR && door == Link::refuses) ||
                            (status == KX_TIMED_OUT && (door == Link::ignores || *host > '9'));
        if (!may_be && link.door == door) fail("opening says %d", link.handle);
        ++failures;
        if (now() > begun + failures * (connect_ms * ms + slack)) fail("opening takes too long");
        link.door = Link::accepts;
        link.pause = 0;
        link.connections = 0;
    }
    if (!handles.insert(link.handle).second) fail("a handle is used again");
    arms[arm] = &link;
    return link;
}

void register_setup(Link& link)
{
    if (std::exchange(link.is_registering, true)) return;
    if (link.connection) link.connection->is_setup_known = false;
    link.setup.clear();
    tell("begins set-up of link %d", link.port - 1000);
    const bool begins = KX_Link_Begin_Setup(link.handle) == 0;
    for (unsigned left = choose(4); begins && left > 0; --left) {
        if (one_in(6)) {
            const int status = call(link, motion, one_in(2))->status;
            if (status != KX_NOT_A_SETTING && status != KX_LOST && status != KX_BAD_DESCRIPTOR)
                fail("set-up takes a motion: %d", status);
        } else if (Request* made = call(link, setting, !one_in(3)); made->status == 0) {
            made->is_of_setup = true;
            link.setup.push_back(made);
        }
    }
    const int count = begins ? KX_Link_End_Setup(link.handle) : 0;
    if (begins && count != static_cast<int>(link.setup.size()) && link.closing == never)
        fail("%d settings are registered in place of %zu", count, link.setup.size());
    if (link.connection) link.connection->is_setup_known = false;
    link.is_registering = false;
}

void wait_for_state(Link& link)
{
    const auto wanted = static_cast<KX_LINK_STATE>(choose(4));
    static constexpr int timeouts[] = {0, 50, 1000};
    const int timeout = timeouts[choose(3)];
    const Time begun = now();
    const Looking looking;
    const int status = KX_Link_Wait(link.handle, wanted, timeout);
    const bool was_told_to_end = looking.judge();
    tell("waits for state %d: %d", wanted, status);
    if (now() > begun + timeout * ms + slack) fail("wait for a state: too late");
    if (now() > link.closed + slack && begun < link.closed) fail("wait for a state: long after the close");
    if (status == KX_TIMED_OUT && now() < begun + timeout * ms) fail("wait for a state: too early");
    if (status == KX_CANCELLED && !link.cancel.reaches(begun) && link.closing == never && !was_told_to_end)
        fail("wait for a state: nobody cancelled");
    if (status == KX_SUCCESS && wanted == KX_LINK_CLOSED && link.closing == never)
        fail("wait for a state: the link is open");
    if (status == KX_BAD_DESCRIPTOR && link.closing == never) fail("wait for a state: the link is open");
    if (status == KX_LOST && (link.reconnects || wanted == KX_LINK_DOWN))
        fail("wait for a state: it may come");
}

void subscribe(Link& link)
{
    const bool begins = choose(2) == 1;
    if (begins) link.is_subscribed = link.was_subscribed = true;
    tell("%s link %d", begins ? "subscribes to" : "leaves", link.port - 1000);
    KX_Link_Subscribe(link.handle, begins ? 1 + 50 * choose(4) : 0, on_subscribed, &link);
    if (!begins) link.is_subscribed = false;
}

void act(int self)
{
    for (unsigned left = 4 + choose(20); left > 0; --left) {
        const size_t arm = choose(static_cast<unsigned>(arms.size()));
        Link& link = one_in(20) ? *links[choose(static_cast<unsigned>(links.size()))] : *arms[arm];
        if (link.handle <= 0) continue; // it is being opened
        switch (choose(24)) {
        case 0:
            return;
        case 1:
        case 2:
        case 3:
        case 4:
            call(link, question, true);
            break;
        case 5:
            call(link, setting, true);
            break;
        case 6:
            call(link, setting, false);
            break;
        case 7:
        case 8:
            call(link, motion, true);
            break;
        case 9:
        case 10:
            call(link, motion, false);
            break;
        case 11:
        case 12:
            call(link, target, false);
            break;
        case 13:
            call(link, stop, true);
            break;
        case 14:
            call(link, stop, false);
            break;
        case 15:
        case 16:
            await_ticket(link);
            break;
        case 17:
            if (one_in(3)) cancel_all(link);
            break;
        case 18:
            if (!one_in(3) || links.size() > 6) break;
            close_link(link);
            open_link(arm);
            break;
        case 19:
            register_setup(link);
            break;
        case 20:
            wait_for_state(link);
            break;
        case 21:
            if (self == 0) subscribe(link);
            break;
        default:
            sleep(choose(100) * ms);
        }
    }
}

// What must be true of a link that nobody uses any more.
void judge_rest(Link& link)
{
    KX_LINK_COUNTERS counters = {};
    counters.size = sizeof counters;
    if (KX_Link_Counters(link.handle, &counters) != 0) return;
    tell("link %d: sent %lu, received %lu, answered %lu, foreign %lu, dropped %lu, pushes %lu, late %lu, "
         "losses %lu",
         link.port - 1000, counters.sent, counters.received, counters.answered, counters.foreign,
         counters.dropped, counters.pushes, counters.late, counters.losses);
    if (counters.received != counters.answered + counters.foreign + counters.dropped + counters.pushes)
        fail("the counters of lines do not add up");
    if (counters.waiting != 0) fail("%lu requests wait for ever", counters.waiting);
    const auto told = [&](int which) { return std::count(link.states.begin(), link.states.end(), which); };
    const bool is_all_told = lacked < link.begun;
    if (is_all_told && (told(KX_LINK_READY) != static_cast<long>(counters.reconnects) + 1 ||
                        told(KX_LINK_DOWN) + told(KX_LINK_CONNECTING) != static_cast<long>(counters.losses)))
        fail("losses and connections are not those that were told");
    if (counters.outbox != 0) fail("%lu bytes are never sent", counters.outbox);
    if (counters.losses == 0 && counters.sent != static_cast<uint64_t>(link.lines_left))
        fail("%lu requests are counted, %d have left", counters.sent, link.lines_left);
    if (counters.losses == 0 && link.connection && link.connection->tail.empty() &&
        counters.received != static_cast<uint64_t>(link.lines_sent))
        fail("%lu lines are counted, %d have come", counters.received, link.lines_sent);
    if (counters.losses == 0 && counters.dropped != static_cast<uint64_t>(link.noise))
        fail("%lu lines are dropped, %d are none", counters.dropped, link.noise);
}

void live()
{
    if (one_in(4)) let_lack();
    for (size_t arm = 0; arm < arms.size(); ++arm)
        open_link(arm);
    let_act([](unsigned number) { act(static_cast<int>(number)); }, 100000 * ms);
    for (auto& [descriptor, connection] : connections) {
        connection.reads = true;
        connection.socket->room = 4096;
    }
    for (const auto& link : links)
        KX_Link_Subscribe(link->handle, 0, nullptr, nullptr);
    sleep(2 * (motion_ms + late_ms + 800) * ms);
    for (const auto& link : links)
        judge_rest(*link);
    for (const auto& link : links)
        if (link->closing == never) close_link(*link);
    sleep(100 * ms);
    for (const auto& link : links)
        if (!link->is_closed()) fail("a link cannot be closed");
    if (!connections.empty()) fail("a connection is left open");
}

} // namespace

int main(int count, char** arguments)
{
    return explore<FarSide, live>(count, arguments);
}
