// Plays random schedules of faults, callers and stops against links, in simulated time, and holds what happens against what a
// link promises: link_explorer [steps] [seed]. What breaks a promise is made as short as it goes on breaking it, printed with
// its seed, and told again by link_explorer --replay DECISIONS.
#include "simulated.h"

#include "kx_base.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <netinet/in.h>
#include <set>
#include <unistd.h>
#include <utility>

using namespace simulated;

namespace {

// --- the model: what was asked for, what became of it, and what has happened to each link

constexpr Time ms = millisecond;
constexpr Time slack = 15 * ms;  // of a wait's end: threads are stalled for up to 5 ms
constexpr Time margin = 40 * ms; // by which the far side keeps to what it must
constexpr int reply_ms = 100, motion_ms = 600, late_ms = 200, connect_ms = 80;

enum Kind { question, setting, motion, target, stop, state, kinds };

struct Link;

struct Request {
    Kind kind;
    int id;
    Link* link;
    bool blocks;
    Time begun, deadline, kept; // until then the reply is in time, until then it may come
    Time late;                  // from then on it may be late
    Time ended = never;
    int status = -1;
    int times_left = 0;
    Time left = never;
    enum { none, yes, no, lost } answer = none;
    Time answered = never - slack;
    Time done = 0; // when a motion has arrived
    uint64_t ticket = 0;
    bool is_of_setup = false;
};

struct Connection {
    Link* link;
    Socket* socket;
    int number;                       // of the link's connections
    std::string leaving, taken, tail; // of lines: one that leaves, one that is read, the rest of a reply
    std::vector<Request*> open;
    std::deque<Time> left_unnamed[kinds];
    Time leaving_since = 0, stop_asked = 0, stopped = 0, busy_until = 0, heard, silence_ended = 0,
         blocked_until[kinds] = {}, troubled = never;
    bool reads = true, cuts_next = false, is_established = false, is_setup_known = true;
    size_t setup_made = 0;
};

// Something that threads do to a link.
struct Deed {
    Time begun = 0, ended = 0; // last
    int under_way = 0, count = 0;

    bool reaches(Time time) const { return under_way > 0 || ended >= time; }
};

class Doing {
  public:
    explicit Doing(Deed& deed) : deed_(deed)
    {
        deed.begun = now();
        ++deed.under_way;
        ++deed.count;
    }
    Doing(const Doing&) = delete;
    ~Doing()
    {
        --deed_.under_way;
        deed_.ended = now();
    }

  private:
    Deed& deed_;
};

struct Link {
    int handle = 0, port, model;
    bool reconnects;
    int silence_ms;
    enum { accepts, refuses, ignores } door = accepts;
    Time closing = never, closed = never - slack;
    Deed cancel, stops;
    Connection* connection = nullptr;
    int connections = 0;
    Time established = 0, released = 0, pause = 0; // of connections; before the next attempt
    int stops_left = 0;
    bool are_stops_counted = true; // as long as all that were asked for leave
    bool was_full = false;
    bool gave_up[kinds] = {}; // on this connection
    std::vector<Request*> queued, setup, motions;
    bool is_registering = false;
    std::vector<int> states; // as they were told
    Time begun = 0;          // to be opened
    int pushes_sent = 0, pushes = 0, noise = 0, lines_sent = 0, lines_left = 0;
    bool is_subscribed = false, was_subscribed = false;

    bool is_closed() const { return closed < never - slack; }
};

std::vector<std::unique_ptr<Request>> requests;
std::map<int, Request*> request_of; // by id
std::vector<std::unique_ptr<Link>> links;
std::map<int, Connection> connections; // by descriptor
std::vector<Link*> arms = {nullptr, nullptr};
std::set<int> handles;
Time lacked = 0; // when the system could last not give something

const char* name(Kind kind)
{
    static constexpr const char* names[] = {"question", "setting", "motion", "target", "stop", "state"};
    return names[kind];
}

bool is_troubled(const Link& link)
{
    return !link.connection || link.connection->troubled != never;
}

bool is_silent(const Link& link)
{
    const Time enough = (link.silence_ms - 1) * ms;
    if (!link.connection) return false;
    const Time heard = link.connection->heard; // perhaps not yet by the link
    return now() - heard >= enough || now() - link.connection->silence_ended < slack;
}

// --- the far side

int number_behind(const std::string& line, const char* text)
{
    const size_t at = line.find(text);
    return at == line.npos ? -1 : std::atoi(line.c_str() + at + std::strlen(text));
}

struct Read {
    Kind kind;
    int id;
};

Read read(const std::string& line)
{
    if (line.find("\"get_DO_state\"") != line.npos) return {question, number_behind(line, "\"IO_Num\":\t")};
    if (line.find("\"set_payload\"") != line.npos) return {setting, number_behind(line, "\"payload\":\t")};
    if (line.find("\"movej\"") != line.npos) return {motion, number_behind(line, "\"joint\":\t[") / 1000};
    if (line.find("\"movej_canfd\"") != line.npos)
        return {target, number_behind(line, "\"joint\":\t[") / 1000};
    if (line.find("\"set_arm_stop\"") != line.npos) return {stop, 0};
    if (line.find("\"get_current_arm_state\"") != line.npos) return {state, 0};
    fail("a line that nobody asked for: %s", line.c_str());
}

Request& new_request(Kind kind, int id, Link* link, bool blocks, Time timeout)
{
    requests.push_back(std::make_unique<Request>());
    Request& request = *requests.back();
    request.kind = kind;
    request.id = id;
    request.link = link;
    request.blocks = blocks;
    request.begun = now();
    request.deadline = now() + timeout;
    // Whatever its call waits for, an arm takes its time.
    request.kept = std::max(request.deadline, now() + (kind == motion ? motion_ms : 0) * ms) + late_ms * ms;
    request.late = request.deadline - margin;
    if (id > 0) request_of[id] = &request;
    return request;
}

class FarSide : public World {
  public:
    const char* thread_name(unsigned number) override
    {
        static constexpr const char* names[] = {"callbacks", "loop"};
        return number < 2 ? names[number] : "look-up";
    }

    void dialled(Socket& socket) override
    {
        Link& link = *links.at(static_cast<size_t>(socket.port - 1000));
        Connection& made = connections[socket.descriptor];
        made.link = &link;
        made.socket = &socket;
        made.number = link.connections++;
        made.heard = now();
        if (link.pause > 0) {
            const Time paused = now() - link.released;
            if (paused < link.pause * 8 / 10 - slack || paused > link.pause * 12 / 10 + slack)
                fail("connects again after %.3f ms in place of %.0f", static_cast<double>(paused) / 1e6,
                     static_cast<double>(link.pause) / 1e6);
        }
        if (link.closing != never) fail("a closed link connects");
        if (link.door == Link::accepts) {
            socket.state = Socket::connected;
            establish(made);
        } else if (link.door == Link::refuses) {
            socket.state = Socket::refused;
        }
    }

    void lacks() override // to whom, nobody knows
    {
        tell("something is lacking");
        lacked = now();
        for (const auto& link : links)
            if (!link->connection) link->pause = 0;
        for (auto& [descriptor, connection] : connections)
            connection.is_setup_known = false;
    }

    void has_left(Socket& socket, const std::string& bytes) override
    {
        Connection& connection = connections.at(socket.descriptor);
        Link& link = *connection.link;
        if (link.is_closed()) fail("sent after close");
        if (connection.leaving.empty()) connection.leaving_since = now();
        connection.leaving += bytes;
        for (size_t end; (end = connection.leaving.find("\r\n")) != std::string::npos;
             connection.leaving_since = now()) {
            const Read line = read(connection.leaving.substr(0, end));
            connection.leaving.erase(0, end + 2);
            ++link.lines_left;
            leaves(connection, line);
        }
        if (socket.sent.size() >= socket.room) link.was_full = true;
        if (!connection.leaving.empty()) link.was_full = true;
    }

    void closed(Socket& socket) override
    {
        Connection& connection = connections.at(socket.descriptor);
        Link& link = *connection.link;
        if (link.connection == &connection) link.connection = nullptr;
        const bool was_ready = connection.is_established && connection.setup_made >= link.setup.size();
        const bool is_taken = connection.tail.empty() && socket.to_come.empty();
        const bool is_known = connection.number == 0 ||
                              (connection.is_setup_known && is_taken && (was_ready || link.pause > 0));
        link.pause = !is_known   ? 0
                     : was_ready ? 100 * ms
                                 : std::min(link.pause * 2, 5000 * ms); // 0: nobody knows
        link.released = now();
        connections.erase(socket.descriptor);
    }

    Time next() override
    {
        Time at = never;
        for (auto& [descriptor, connection] : connections) {
            if (connection.busy_until > now() && connection.busy_until < at) at = connection.busy_until;
            for (const Request* request : connection.open) {
                const Time may = std::max(request->done, connection.blocked_until[request->kind]);
                if (may > now() && may < at) at = may;
            }
        }
        return at;
    }

    // Reads what has come, and answers the oldest request of a kind.
    bool go_on() override
    {
        for (auto& [descriptor, connection] : connections) {
            if (!connection.is_established || connection.busy_until > now() || connection.troubled != never)
                continue;
            if (connection.reads && !connection.socket->sent.empty()) return read_all(connection);
            if (!connection.tail.empty()) return deliver(connection, "");
            std::vector<Request*> oldest;
            bool seen[kinds] = {};
            for (Request* request : connection.open) {
                if (std::exchange(seen[request->kind], true)) continue;
                if (now() >= connection.blocked_until[request->kind] && now() >= request->done)
                    oldest.push_back(request);
            }
            if (!oldest.empty())
                return answer(connection, *oldest[choose(static_cast<unsigned>(oldest.size()))]);
        }
        return false;
    }

    void disturb() override
    {
        if (!somebody_acts()) return;
        if (one_in(30)) {
            Link& link = *links[choose(static_cast<unsigned>(links.size()))];
            link.door = static_cast<decltype(link.door)>(choose(3));
            return tell("door of link %d: %s", link.port - 1000,
                        link.door == Link::accepts   ? "open"
                        : link.door == Link::refuses ? "closed"
                                                     : "nobody answers");
        }
        std::vector<Connection*> present;
        for (auto& [descriptor, connection] : connections)
            if (connection.is_established && connection.troubled == never) present.push_back(&connection);
        if (present.empty()) return;
        Connection& connection = *present[choose(static_cast<unsigned>(present.size()))];
        const int number = connection.link->port - 1000;
        const unsigned deed = connection.tail.empty() ? choose(14) : 12; // only an end interrupts a line
        switch (deed) {
        case 1:
        case 2:
        case 3:
            connection.busy_until = now() + (1 + choose(12)) * 25 * ms;
            return tell("controller %d is busy for %.0f ms", number,
                        static_cast<double>(connection.busy_until - now()) / 1e6);
        case 4:
        case 5:
            return lose_reply(connection);
        case 6:
        case 7:
            tell("controller %d pushes", number);
            deliver(connection, "{\"command\":\"" +
                                    std::string(one_in(4) ? "Force_Position_State" : "joint_state") +
                                    "\",\"joint\":[" + std::to_string(++connection.link->pushes_sent) +
                                    ",0,0,0,0,0,7],\"arm_err\":0}\n");
            return;
        case 8: {
            static const std::string lines[] = {"{\"command\":\"timer\",\"set_state\":true}\n", "nonsense\n",
                                                "{}\n", "{\"command\":\"timer\"\n", "{\"command\":\"ok\"}\n"};
            const unsigned which = choose(5);
            connection.link->noise += which % 2;
            tell("controller %d says something else", number);
            deliver(connection, lines[which]);
            return;
        }
        case 9:
            connection.cuts_next = true;
            return;
        case 10:
            connection.reads = !connection.reads;
            connection.socket->room = connection.reads ? 4096 : 300;
            connection.link->was_full |= connection.socket->sent.size() >= connection.socket->room;
            return tell("controller %d %s", number, connection.reads ? "reads" : "reads no more");
        case 11:
            if (!one_in(3)) return;
            connection.busy_until = now() + 1000 * ms;
            return tell("controller %d is silent for a second", number);
        case 12:
        case 13:
            if (!one_in(3)) return;
            connection.troubled = now();
            (one_in(2) ? connection.socket->is_reset : connection.socket->has_ended) = true;
            return tell("controller %d %s", number, connection.socket->is_reset ? "resets" : "closes");
        default:
            return;
        }
    }

    static void establish(Connection& connection)
    {
        Link& link = *connection.link;
        connection.is_established = true;
        link.connection = &connection;
        link.established = now();
        link.are_stops_counted &= connection.number == 0;
        link.was_full = false;
        std::fill(std::begin(link.gave_up), std::end(link.gave_up), false);
        connection.is_setup_known = !link.is_registering;
        if (connection.number == 0) connection.setup_made = SIZE_MAX;
    }

  private:
    static void leaves(Connection& connection, const Read& line)
    {
        Link& link = *connection.link;
        tell("leaves link %d: %s %d", link.port - 1000, name(line.kind), line.id);
        if (line.kind == stop && ++link.stops_left == link.stops.count) { // it is that of the last call, then
            connection.stop_asked = link.stops.begun;
            connection.stopped = now();
        }
        if (line.kind != stop && link.stops_left < link.stops.count && link.are_stops_counted &&
            link.stops.under_way == 0 && connection.leaving_since > link.stops.ended)
            fail("%s %d leaves before a stop that waits", name(line.kind), line.id);
        const Time since_heard = connection.leaving_since - connection.heard;
        if (line.kind == state && !link.was_subscribed && !link.was_full && since_heard > slack &&
            since_heard < (link.silence_ms / 2 - 1) * ms)
            fail("it is asked whether it is alive though it has been heard");
        if (line.kind == stop || line.kind == state)
            return connection.left_unnamed[line.kind].push_back(now());
        if (!request_of.contains(line.id)) fail("a %s leaves that nobody asked for", name(line.kind));
        Request& request = *request_of[line.id];
        if (connection.is_setup_known && connection.setup_made < link.setup.size() &&
            link.setup[connection.setup_made] != &request)
            fail("%s %d leaves before the set-up is made", name(line.kind), line.id);
        if (request.times_left > 0 && !request.is_of_setup)
            fail("%s %d is sent twice", name(line.kind), line.id);
        if (request.link != &link) fail("%s %d leaves on another link", name(line.kind), line.id);
        if (!request.is_of_setup && request.begun + slack < link.established && connection.number > 0)
            fail("%s %d from before the loss is sent after it", name(line.kind), line.id);
        if (request.status > 0 && request.status != KX_TIMED_OUT && request.status != KX_CANCELLED &&
            request.status != KX_LOST && !request.is_of_setup)
            fail("%s %d leaves though its call said %d", name(line.kind), line.id, request.status);
        if (request.blocks && request.ended < connection.leaving_since && !request.is_of_setup)
            fail("%s %d leaves though its call has ended", name(line.kind), line.id);
        const Time asked = std::min(request.ended, request.begun + slack);
        const bool is_behind = asked < connection.stop_asked && connection.leaving_since > connection.stopped;
        const bool is_overtaken = link.stops.under_way > 0 || asked > link.stops.begun ||
                                  connection.leaving_since < link.stops.ended;
        if ((line.kind == motion || line.kind == target) && (is_behind || !is_overtaken))
            fail("%s %d leaves behind a stop that came after it", name(line.kind), line.id);
        ++request.times_left;
        request.left = now();
    }

    bool read_all(Connection& connection)
    {
        connection.taken += std::exchange(connection.socket->sent, "");
        for (size_t end; (end = connection.taken.find("\r\n")) != std::string::npos;
             connection.taken.erase(0, end + 2)) {
            const Read line = read(connection.taken.substr(0, end));
            if (line.kind == target) continue;
            Request* request = line.id > 0 ? request_of[line.id] : nullptr;
            if (!request) {
                // Whose it is cannot be told, so it is not known how long it is waited for.
                request = &new_request(line.kind, 0, connection.link, true, connection.link->silence_ms * ms);
                request->begun = connection.left_unnamed[line.kind].front();
                connection.left_unnamed[line.kind].pop_front();
                request->late = request->begun + slack;
                request->kept = request->begun + late_ms * ms;
            }
            request->answer = Request::none;
            if (line.kind == motion) request->done = now() + choose(8) * 40 * ms;
            if (request->is_of_setup && connection.setup_made < connection.link->setup.size())
                request->deadline = request->kept = request->left + reply_ms * ms; // the set-up, again
            connection.open.push_back(request);
        }
        return true;
    }

    bool deliver(Connection& connection, std::string line)
    {
        if (connection.link->closing == never) connection.link->lines_sent += !line.empty();
        connection.tail += line;
        size_t size = connection.tail.size();
        if (std::exchange(connection.cuts_next, false) && size > 1)
            size = 1 + choose(static_cast<unsigned>(size - 1));
        connection.socket->to_come += connection.tail.substr(0, size);
        connection.tail.erase(0, size);
        if (is_silent(*connection.link)) connection.silence_ended = now();
        connection.heard = now();
        if (!connection.tail.empty()) connection.busy_until = now() + 1 * ms;
        return true;
    }

    // From here on it is certain that the reply is missing, once the deadline is over.
    static void is_lost(Connection& connection, Request& request)
    {
        request.answer = Request::lost;
        connection.link->gave_up[request.kind] = true;
        Time& blocked = connection.blocked_until[request.kind];
        blocked = std::max(blocked, request.deadline + margin);
        connection.open.erase(std::find(connection.open.begin(), connection.open.end(), &request));
    }

    static void lose_reply(Connection& connection)
    {
        if (connection.open.empty()) return;
        Request* chosen = connection.open[choose(static_cast<unsigned>(connection.open.size()))];
        const Kind kind = chosen->kind;
        for (Request* request : connection.open) // in their order
            if (request->kind == kind) {
                tell("controller %d loses the reply to %s %d", connection.link->port - 1000, name(kind),
                     request->id);
                return is_lost(connection, *request);
            }
    }

    // Those that came before a stop.
    static void end_motions(Connection& connection, std::vector<Request*>::iterator end)
    {
        for (auto at = connection.open.begin(); at != end; ++at) {
            if ((*at)->kind != motion) continue;
            (*at)->answer = Request::no;
            (*at)->done = now();
            (*at)->kept = std::min((*at)->kept, now() + late_ms * ms);
        }
    }

    bool answer(Connection& connection, Request& request)
    {
        if (now() > request.kept - margin) {
            tell("controller %d is too late for %s %d", connection.link->port - 1000, name(request.kind),
                 request.id);
            is_lost(connection, request);
            return true;
        }
        Link& link = *connection.link;
        if (now() > request.late) link.gave_up[request.kind] = true;
        const bool refuses = request.kind != question && request.kind != state && one_in(8);
        request.answered = now();
        if (request.answer != Request::no) request.answer = refuses ? Request::no : Request::yes;
        const bool is_yes = request.answer == Request::yes;
        tell("controller %d answers %s %d: %s", link.port - 1000, name(request.kind), request.id,
             is_yes ? "yes" : "no");
        const auto end =
            connection.open.erase(std::find(connection.open.begin(), connection.open.end(), &request));
        const std::string truth =
            is_yes ? "true}\n" : "false,\"error\":\"" + std::to_string(request.id) + "\"}\n";
        switch (request.kind) {
        case question:
            return deliver(connection,
                           "{\"command\":\"DO_state\",\"IO_state\":" + std::to_string(request.id) + "}\n");
        case setting:
            if (is_yes && connection.setup_made < link.setup.size()) ++connection.setup_made;
            return deliver(connection, "{\"command\":\"set_payload\",\"set_state\":" + truth);
        case motion:
            return deliver(connection,
                           "{\"command\":\"current_trajectory_state\",\"trajectory_state\":" + truth);
        case stop:
            if (is_yes) end_motions(connection, end);
            return deliver(connection, "{\"command\":\"set_arm_stop\",\"arm_stop\":" + truth);
        default:
            return deliver(connection,
                           "{\"command\":\"current_arm_state\",\"arm_state\":{\"pose\":[0,0,0,0,0,0],"
                           "\"joint\":[0,0,0,0,0,0" +
                               std::string(link.model == 47 ? ",0" : "") +
                               "],\"arm_err\":0,\"sys_err\":0}}\n");
        }
    }
};

// --- what links may do

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
