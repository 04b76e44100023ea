// A link: one connection with all that belongs to it, under one mutex. Links stand in a table that is never given back,
// so that a thread with an old handle finds a closed or another link, and no freed memory.
#ifndef KX_RUNTIME_LINK_LINK_H
#define KX_RUNTIME_LINK_LINK_H

#include "kx/link.h"
#include "runtime/command.h"
#include "runtime/link/inbox.h"
#include "runtime/link/outbox.h"
#include "runtime/link/outcomes.h"
#include "runtime/link/places.h"
#include "runtime/link/wait.h"
#include "runtime/reply.h"
#include "runtime/request.h"

#include <new>
#include <sys/socket.h>

namespace kx::link {

constexpr int first_handle = 1 << 30;
constexpr int link_capacity = 1024;
constexpr int setup_capacity = 64;

struct Address {
    sockaddr_storage storage;
    socklen_t length;
};

// A request that is repeated at a rate, and what its answers are handed to.
struct Subscription {
    Time period; // 0: none
    Time due;
    Time asked;
    KeyCode kind;
    uint64_t serial;
    Line line;
    AnswerHandler handler;
    void (*callback)();
    void* user;
};

struct Link {
    // Guards all below but the atomics. Who finds it taken spins a little: it is held for microseconds.
    pthread_mutex_t mutex = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
    std::atomic<int> handle = 0;             // 0: this place of the table is free
    std::atomic<int> state = KX_LINK_CLOSED; // a KX_LINK_STATE, waited for
    std::atomic<int> changes = 0;      // counts what those who may not send, or wait for a state, wait for
    std::atomic<Time> wake_at = never; // when the loop has something to do for this link

    int model = 0;
    KX_LINK_OPTIONS options = {};
    Address address = {};
    int socket = -1;
    bool awaits_room = false;   // the loop tells when the socket takes more
    int cancels = 0, stops = 0; // so many there were
    uint64_t serial = 0;
    Places places;
    Outcomes outcomes; // of queued requests
    Inbox inbox;
    Outbox outbox;
    KX_LINK_COUNTERS counters = {};
    Time heard = 0; // when anything last came
    Time unheard_since =
        0; // the oldest request was sent that may still be answered, nothing having come since; or 0
    char reason[120] = {}; // the last refusal's

    const char* given_up_for = nullptr; // why a caller ended the connection, as the loop will find
    int watchers = 0;                   // who wait for a change
    std::atomic<int> told[4] = {};      // what waits for callbacks, by kind of event

    Time attempt_at = never; // the next attempt to connect, or when the present one has failed
    Time backoff = 0;        // before the next one
    bool is_dialling = false;
    Line* setup = nullptr; // settings that are repeated on a new connection
    KeyCode setup_kinds[setup_capacity] = {};
    int setup_count = 0, setup_done = 0;
    bool is_registering = false;
    pthread_t registrar = {};

    Subscription subscription = {};
    PushListener push_listener = nullptr;
    void* push_user = nullptr;
};

// The link with this handle, locked as long as this lives; null if there is none.
class Locked {
  public:
    explicit Locked(int handle);
    Locked(const Locked&) = delete;
    ~Locked();
    Link* operator->() const { return link_; }
    Link& operator*() const { return *link_; }
    explicit operator bool() const { return link_; }

    // Waits, unlocked, until something changes on the link or the time has come, and at times without reason. False when
    // it was closed meanwhile, and this is null then, or when the thread's check ends the wait.
    bool wait_for_change(Time until);

  private:
    Link* link_;
};

bool start_threads(); // false when they cannot be had

// A free place of the table, locked, with a handle that was never used; null when all are taken or there is no memory.
Link* new_link();
void give_back(Link& link); // it stays locked

void cancel_calls(Link& link); // whoever waits gets KX_CANCELLED; places stay for late replies
void close_locked(Link& link); // all of a close but the callbacks

int highest_place();       // no link stands above
Link* at_place(int index); // null where none has ever been

// With the link's mutex held:
void set_state(Link& link, KX_LINK_STATE state, const char* why);
void notify(Link& link); // whoever may not send, or waits for a state, looks again

// Ends what a caller waits for, and wakes it, or has it woken later. The reply becomes the caller's.
void finish(Call& call, int status, cJSON* reply = nullptr);
void finish_without_waking(Call& call, int status, cJSON* reply);

// Adds the place, if a reply is to be expected, and sends, or keeps what the system does not take. A status; without
// success there is no place.
int send_with_place(Link& link, const Place& place, const Line& line, bool is_secret = false);

// This thread reads an answer of that link next. It has the arm's joints, even if the link is closed meanwhile.
void reads_answer(int handle, int model);

// The member of a reply that says false; null if none does.
const cJSON* first_false(const cJSON* reply);

// Whether requests have been unanswered for too long.
bool is_silent(const Link& link, Time time);
constexpr char silent[] = "the controller is silent";

// Sends what had to wait. A status.
int flush(Link& link);

} // namespace kx::link

#endif
