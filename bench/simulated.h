// A world without clock, threads and network: a program that has simulated.cpp in it, the library's code with it, calls these
// in place of the system's. All threads run in turn on one, time passes when nobody has anything to do, and whatever could
// come one way or another is decided by a number, so that the same numbers bring the same course of events, to the last bit.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace simulated {

using Time = int64_t; // ns
constexpr Time millisecond = 1000000;
constexpr Time never = INT64_MAX;

// --- decisions: drawn from a seed, or given as those of an earlier run; 0, the plainest, behind their end

constexpr unsigned most_decisions = 1 << 16;

struct Course { // in memory that outlives the process
    bool is_given, is_told;
    uint64_t seed;
    unsigned count; // of decisions
    uint64_t steps;
    uint8_t decisions[most_decisions];
    char fault[300]; // empty if there was none
};

void follow(Course& course); // from now on everything is simulated
unsigned choose(unsigned count);
bool one_in(unsigned count);

[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* format, ...); // ends the process
[[gnu::format(printf, 1, 2)]] void tell(const char* format, ...); // what happens, if it is to be told

// --- threads and time

Time now();
void start(const char* name, std::function<void()> work);
const char* running_thread();
bool wait_until(Time until,
                const std::function<bool()>& condition); // of the calling thread; false: the time has come
void sleep(Time time);

// --- the network, whose far side the program plays

struct Socket {
    int descriptor;
    int port = 0;
    bool waits = true; // a blocking one
    enum { made, dialling, connected, refused } state = made;
    std::string sent, to_come;                // bytes on their way to the far side, and from there
    size_t room = 4096;                       // for bytes on their way
    bool has_ended = false, is_reset = false; // by the far side
    bool is_shut = false;                     // by the program
};

// From the far side, as much of what is left of a line as a cut lets through; the rest stays.
void let_come(Socket& socket, std::string& left, bool& is_cut);

struct World {
    virtual ~World() = default;
    virtual const char* thread_name(unsigned number) = 0; // of those that the library starts
    virtual void dialled(Socket& socket) = 0;             // decides, now or later
    virtual void lacks() = 0;                             // there was no socket, thread, memory or way
    virtual void has_left(Socket& socket, const std::string& bytes) = 0;
    virtual void closed(Socket& socket) = 0;
    virtual bool go_on() = 0; // does what comes next by itself; false if nothing does
    virtual Time next() = 0;  // when something will
    virtual void disturb() = 0;
};

void run(World& world, const std::function<void()>& main); // a thread, and all others until it ends

// Begins some threads that act, each with its number, and waits until all have ended, at most that long.
void let_act(const std::function<void(unsigned)>& act, Time at_most);
bool somebody_acts();

// From now on memory and threads run short, too, and what the system keeps for them.
void let_lack();

// The whole of a program that plays courses, [steps] [seed] or --replay DECISIONS: its exit status.
int explore(int count, char** arguments, void (*course)());
template <class FarSide, void (*live)()> // live is the main thread
int explore(int count, char** arguments)
{
    return explore(count, arguments, [] {
        static FarSide far_side;
        run(far_side, live);
    });
}

} // namespace simulated
