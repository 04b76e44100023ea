// What links were asked for by the explorer, what became of it, and what has happened to each of them.
#pragma once

#include "simulated.h"

#include "kx_base.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace modelled {

using namespace simulated;

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

inline std::vector<std::unique_ptr<Request>> requests;
inline std::map<int, Request*> request_of; // by id
inline std::vector<std::unique_ptr<Link>> links;
inline std::map<int, Connection> connections; // by descriptor
inline Time lacked = 0;                       // when the system could last not give something

inline const char* name(Kind kind)
{
    static constexpr const char* names[] = {"question", "setting", "motion", "target", "stop", "state"};
    return names[kind];
}

inline bool is_troubled(const Link& link)
{
    return !link.connection || link.connection->troubled != never;
}

inline bool is_silent(const Link& link)
{
    const Time enough = (link.silence_ms - 1) * ms;
    if (!link.connection) return false;
    const Time heard = link.connection->heard; // perhaps not yet by the link
    return now() - heard >= enough || now() - link.connection->silence_ended < slack;
}

inline Request& new_request(Kind kind, int id, Link* link, bool blocks, Time timeout)
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

} // namespace modelled
