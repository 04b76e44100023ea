#include "link_far_side.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace modelled {
namespace {

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

void establish(Connection& connection)
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

void leaves(Connection& connection, const Read& line)
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
    if (line.kind == stop || line.kind == state) return connection.left_unnamed[line.kind].push_back(now());
    if (!request_of.contains(line.id)) fail("a %s leaves that nobody asked for", name(line.kind));
    Request& request = *request_of[line.id];
    if (connection.is_setup_known && connection.setup_made < link.setup.size() &&
        link.setup[connection.setup_made] != &request)
        fail("%s %d leaves before the set-up is made", name(line.kind), line.id);
    if (request.times_left > 0 && !request.is_of_setup) fail("%s %d is sent twice", name(line.kind), line.id);
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
    const bool is_overtaken =
        link.stops.under_way > 0 || asked > link.stops.begun || connection.leaving_since < link.stops.ended;
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
    let_come(*connection.socket, connection.tail, connection.cuts_next);
    if (is_silent(*connection.link)) connection.silence_ended = now();
    connection.heard = now();
    if (!connection.tail.empty()) connection.busy_until = now() + 1 * ms;
    return true;
}

// From here on it is certain that the reply is missing, once the deadline is over.
void is_lost(Connection& connection, Request& request)
{
    request.answer = Request::lost;
    connection.link->gave_up[request.kind] = true;
    Time& blocked = connection.blocked_until[request.kind];
    blocked = std::max(blocked, request.deadline + margin);
    connection.open.erase(std::find(connection.open.begin(), connection.open.end(), &request));
}

void lose_reply(Connection& connection)
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
void end_motions(Connection& connection, std::vector<Request*>::iterator end)
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
        return deliver(connection, "{\"command\":\"current_trajectory_state\",\"trajectory_state\":" + truth);
    case stop:
        if (is_yes) end_motions(connection, end);
        return deliver(connection, "{\"command\":\"set_arm_stop\",\"arm_stop\":" + truth);
    default:
        return deliver(connection, "{\"command\":\"current_arm_state\",\"arm_state\":{\"pose\":[0,0,0,0,0,0],"
                                   "\"joint\":[0,0,0,0,0,0" +
                                       std::string(link.model == 47 ? ",0" : "") +
                                       "],\"arm_err\":0,\"sys_err\":0}}\n");
    }
}

} // namespace

const char* FarSide::thread_name(unsigned number)
{
    static constexpr const char* names[] = {"callbacks", "loop"};
    return number < 2 ? names[number] : "look-up";
}

void FarSide::dialled(Socket& socket)
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

void FarSide::lacks() // to whom, nobody knows
{
    tell("something is lacking");
    lacked = now();
    for (const auto& link : links)
        if (!link->connection) link->pause = 0;
    for (auto& [descriptor, connection] : connections)
        connection.is_setup_known = false;
}

void FarSide::has_left(Socket& socket, const std::string& bytes)
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

void FarSide::closed(Socket& socket)
{
    Connection& connection = connections.at(socket.descriptor);
    Link& link = *connection.link;
    if (link.connection == &connection) link.connection = nullptr;
    const bool was_ready = connection.is_established && connection.setup_made >= link.setup.size();
    const bool is_taken = connection.tail.empty() && socket.to_come.empty();
    const bool is_known =
        connection.number == 0 || (connection.is_setup_known && is_taken && (was_ready || link.pause > 0));
    link.pause = !is_known   ? 0
                 : was_ready ? 100 * ms
                             : std::min(link.pause * 2, 5000 * ms); // 0: nobody knows
    link.released = now();
    connections.erase(socket.descriptor);
}

Time FarSide::next()
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
bool FarSide::go_on()
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
        if (!oldest.empty()) return answer(connection, *oldest[choose(static_cast<unsigned>(oldest.size()))]);
    }
    return false;
}

void FarSide::disturb()
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

} // namespace modelled
