#include "simulated.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <linux/futex.h>
#include <map>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <utility>

namespace simulated {

// --- decisions

static Course* course;
static uint64_t random_state;

static World* world;

void follow(Course& wanted)
{
    course = &wanted;
    random_state = wanted.seed * 0x9E3779B97F4A7C15u + 1;
    if (!wanted.is_given) wanted.count = 0;
    wanted.steps = 0;
    wanted.fault[0] = '\0';
}

static unsigned next_given;

static unsigned drawn(unsigned count, bool is_rare)
{
    if (course->is_given) return next_given < course->count ? course->decisions[next_given++] % count : 0;
    random_state ^= random_state << 13;
    random_state ^= random_state >> 7;
    random_state ^= random_state << 17;
    const auto number = static_cast<unsigned>((random_state >> 20) % count);
    const unsigned decision = !is_rare ? number : number == 0;
    if (course->count < most_decisions) course->decisions[course->count++] = static_cast<uint8_t>(decision);
    return decision;
}

unsigned choose(unsigned count)
{
    return drawn(count, false);
}

bool one_in(unsigned count)
{
    return drawn(course->is_given ? 2 : count, true) == 1;
}

static Time time_now = 1000000 * millisecond;

Time now()
{
    return time_now;
}

static bool things_run_short;

void let_lack()
{
    things_run_short = true;
}

static bool is_lacking(unsigned once_in)
{
    if (!things_run_short || !one_in(once_in)) return false;
    world->lacks();
    return true;
}

// --- threads: each has a stack of its own, and its own copy of the program's thread-local variables

struct Thread {
    int number;
    std::string name;
    std::function<void()> work;
    ucontext_t context;
    std::unique_ptr<char[]> stack;
    std::vector<char> variables;
    int error = 0;
    Time until = 0; // ready then, or when the condition holds
    const std::function<bool()>* condition = nullptr;
    const void* word = nullptr; // a futex that it waits for
    int vain_looks = 0;         // at a socket, one after the other
    bool has_ended = false;
};

static constexpr size_t stack_size = 128 * 1024;
static std::vector<std::unique_ptr<Thread>> threads;
static Thread* running;
static ucontext_t scheduler;
static char* variables; // of whoever runs
static std::vector<char> variables_at_start;

void fail(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(course->fault, sizeof course->fault, format, arguments);
    tell("%s", course->fault);
    _exit(1);
}

void tell(const char* format, ...)
{
    if (!course->is_told) return;
    std::printf("%9.3f ms  %-11s ", static_cast<double>(time_now) / 1e6 - 1e6,
                running ? running->name.c_str() : "");
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    std::printf("\n");
    std::fflush(stdout);
}

static void find_variables()
{
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void*) {
            for (int i = 0; i < object->dlpi_phnum; ++i)
                if (object->dlpi_phdr[i].p_type == PT_TLS) {
                    variables = static_cast<char*>(object->dlpi_tls_data);
                    variables_at_start.assign(variables, variables + object->dlpi_phdr[i].p_memsz);
                }
            return 1; // the program itself comes first
        },
        nullptr);
}

static void begin()
{
    running->work();
    running->has_ended = true;
    swapcontext(&running->context, &scheduler);
}

void start(const char* name, std::function<void()> work)
{
    if (!variables) find_variables();
    auto thread = std::make_unique<Thread>();
    thread->number = static_cast<int>(threads.size()) + 1;
    thread->name = name;
    thread->work = std::move(work);
    thread->stack = std::make_unique<char[]>(stack_size);
    thread->variables = variables_at_start;
    getcontext(&thread->context);
    thread->context.uc_stack.ss_sp = thread->stack.get();
    thread->context.uc_stack.ss_size = stack_size;
    makecontext(&thread->context, begin, 0);
    threads.push_back(std::move(thread));
}

static void resume(Thread& thread)
{
    running = &thread;
    std::copy(thread.variables.begin(), thread.variables.end(), variables);
    errno = thread.error;
    swapcontext(&scheduler, &thread.context);
    thread.error = errno;
    std::copy_n(variables, thread.variables.size(), thread.variables.begin());
    running = nullptr;
    if (thread.has_ended) thread.stack.reset();
}

static bool is_ready(const Thread& thread)
{
    return !thread.has_ended && (time_now >= thread.until || (thread.condition && (*thread.condition)()));
}

bool wait_until(Time until, const std::function<bool()>& condition)
{
    running->until = until;
    running->condition = &condition;
    swapcontext(&running->context, &scheduler);
    running->until = 0;
    running->vain_looks = 0;
    running->condition = nullptr;
    return condition();
}

const char* running_thread()
{
    return running ? running->name.c_str() : "";
}

void sleep(Time time)
{
    wait_until(time_now + time, [] { return false; });
}

static unsigned acting = 0;

void let_come(Socket& socket, std::string& left, bool& is_cut)
{
    size_t size = left.size();
    if (std::exchange(is_cut, false) && size > 1) size = 1 + choose(static_cast<unsigned>(size - 1));
    socket.to_come += left.substr(0, size);
    left.erase(0, size);
}

bool somebody_acts()
{
    return acting > 0;
}

void let_act(const std::function<void(unsigned)>& act, Time at_most)
{
    acting = 1 + choose(4);
    for (unsigned i = 0; i < acting; ++i)
        start(("caller " + std::to_string(i)).c_str(), [&act, i] {
            act(i);
            --acting;
        });
    wait_until(time_now + at_most, [] { return acting == 0; });
    if (acting > 0) fail("somebody waits for ever");
}

// Others may come in between, where they could on a machine with many processors.
static void may_be_interrupted()
{
    if (running && one_in(6)) swapcontext(&running->context, &scheduler);
}

void run(World& played, const std::function<void()>& main)
{
    world = &played;
    bool is_over = false;
    start("main", [&] {
        main();
        is_over = true;
    });
    constexpr Time longest_stall = 5 * millisecond;
    constexpr int longest_burst = 3000; // of steps, many times what all callers have to do
    int burst = 0;
    Time idle_at = time_now; // when nobody had anything to do, last
    while (!is_over) {
        ++course->steps;
        std::vector<Thread*> ready;
        Time next = world->next();
        for (const auto& thread : threads) {
            if (is_ready(*thread)) ready.push_back(thread.get());
            if (!thread->has_ended) next = std::min(next, thread->until);
        }
        if (ready.empty()) idle_at = time_now;
        burst = ready.empty() ? 0 : burst + 1;
        if (burst > longest_burst) fail("somebody is busy without end");
        if (one_in(40)) {
            world->disturb();
        } else if (!ready.empty()) {
            if (time_now < idle_at + longest_stall && one_in(40))
                time_now += millisecond;
            else
                resume(*ready[choose(static_cast<unsigned>(ready.size()))]);
        } else if (!world->go_on()) {
            if (next == never) fail("nobody ever goes on");
            time_now = std::max(time_now, next);
        }
    }
}

// --- the network

static std::map<int, Socket> sockets;
static int next_descriptor = 1000;
constexpr int epoll_descriptor = 900, event_descriptor = 901;

struct Watched {
    uint32_t events;
    uint64_t data;
};
static std::map<int, Watched> watched;
static uint64_t event_count;

static addrinfo* address_of(int family, const char* port)
{
    auto* made = new addrinfo();
    auto* address = new sockaddr_in();
    address->sin_family = static_cast<sa_family_t>(family);
    address->sin_port = htons(static_cast<uint16_t>(std::atoi(port)));
    made->ai_addr = reinterpret_cast<sockaddr*>(address);
    made->ai_addrlen = sizeof *address;
    return made;
}

static uint32_t happened(int descriptor)
{
    if (descriptor == event_descriptor) return event_count > 0 ? EPOLLIN : 0u;
    const Socket& socket = sockets.at(descriptor);
    if (socket.state == Socket::refused) return EPOLLERR | EPOLLHUP | EPOLLOUT;
    if (socket.state != Socket::connected) return 0;
    const bool is_over = socket.is_reset || socket.is_shut;
    uint32_t events = 0;
    if (!socket.to_come.empty() || socket.has_ended || is_over) events |= EPOLLIN;
    if (socket.has_ended || is_over) events |= EPOLLRDHUP;
    if (is_over) events |= EPOLLHUP;
    if (is_over || socket.sent.size() < socket.room) events |= EPOLLOUT;
    return events;
}

static Socket& socket_of(int descriptor, const char* function)
{
    const auto found = sockets.find(descriptor);
    if (found == sockets.end()) fail("%s on descriptor %d, which is not open", function, descriptor);
    return found->second;
}

static int error(int number)
{
    errno = number;
    return -1;
}

} // namespace simulated

using namespace simulated;

// --- in place of the system's

extern "C" {

int clock_gettime(clockid_t clock, timespec* time)
{
    if (!running) {
        static const auto real =
            reinterpret_cast<decltype(&clock_gettime)>(dlsym(RTLD_NEXT, "clock_gettime"));
        return real(clock, time);
    }
    time_now += 100; // no two looks at the same time
    *time = {time_now / 1000000000, time_now % 1000000000};
    return 0;
}

long syscall(long number, ...)
{
    va_list arguments;
    va_start(arguments, number);
    const int* word = va_arg(arguments, const int*);
    const int operation = va_arg(arguments, int) & ~FUTEX_PRIVATE_FLAG, value = va_arg(arguments, int);
    const timespec* until = operation == FUTEX_WAIT_BITSET ? va_arg(arguments, const timespec*) : nullptr;
    va_end(arguments);
    if (number != SYS_futex) fail("system call %ld", number);
    may_be_interrupted();
    if (operation == FUTEX_WAKE) {
        for (const auto& thread : threads)
            if (thread->word == word) thread->word = nullptr;
        return 0;
    }
    if (*word != value) return error(EAGAIN);
    if (one_in(50)) return error(EINTR);
    Thread& self = *running;
    self.word = word;
    const bool is_woken = wait_until(until ? until->tv_sec * 1000000000 + until->tv_nsec : never,
                                     [&self] { return !self.word; });
    self.word = nullptr;
    return is_woken ? 0 : error(ETIMEDOUT);
}

int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (!running) return 0;
    may_be_interrupted();
    int& owner = mutex->__data.__owner;
    if (owner == running->number) fail("a thread locks what it has locked");
    while (owner != 0)
        wait_until(never, [&owner] { return owner == 0; });
    owner = running->number;
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    if (!running) return 0;
    if (mutex->__data.__owner != running->number) fail("a thread unlocks what it has not locked");
    mutex->__data.__owner = 0;
    may_be_interrupted();
    return 0;
}

pthread_t pthread_self()
{
    return running ? static_cast<pthread_t>(running->number) : 0;
}

int pthread_create(pthread_t* handle, const pthread_attr_t*, void* (*work)(void*), void* argument)
{
    static unsigned count;
    if (is_lacking(10)) return EAGAIN;
    start(world->thread_name(count++), [=] { work(argument); });
    *handle = static_cast<pthread_t>(threads.back()->number);
    return 0;
}

int pthread_detach(pthread_t)
{
    return 0;
}

int socket(int, int type, int) noexcept
{
    if (one_in(100)) {
        world->lacks();
        static constexpr int reasons[] = {EMFILE, ENFILE, ENOBUFS, ENOMEM};
        return error(reasons[choose(4)]);
    }
    const int descriptor = next_descriptor++;
    sockets[descriptor].descriptor = descriptor;
    sockets[descriptor].waits = (type & SOCK_NONBLOCK) == 0;
    return descriptor;
}

int setsockopt(int, int, int, const void*, socklen_t) noexcept
{
    return 0;
}

int connect(int descriptor, const sockaddr* address, socklen_t)
{
    Socket& dialled = socket_of(descriptor, "connect");
    if (address->sa_family == AF_INET6) return error(ENETUNREACH);
    dialled.port = ntohs(reinterpret_cast<const sockaddr_in*>(address)->sin_port);
    dialled.state = Socket::dialling;
    world->dialled(dialled);
    if (!dialled.waits && dialled.state == Socket::connected && one_in(10)) return 0;
    if (!dialled.waits || one_in(10)) return error(dialled.waits || one_in(10) ? EINTR : EINPROGRESS);
    wait_until(never, [&dialled] { return dialled.state != Socket::dialling; });
    return dialled.state == Socket::connected ? 0 : error(ECONNREFUSED);
}

int getsockopt(int descriptor, int, int, void* value, socklen_t*) noexcept
{
    const Socket& asked = socket_of(descriptor, "getsockopt");
    *static_cast<int*>(value) = asked.state == Socket::refused ? ECONNREFUSED : 0;
    return 0;
}

int poll(pollfd* awaited, nfds_t, int timeout)
{
    if (one_in(20)) return error(EINTR);
    const int descriptor = awaited->fd;
    return wait_until(timeout < 0 ? never : time_now + timeout * millisecond,
                      [descriptor] { return happened(descriptor) != 0; });
}

ssize_t send(int descriptor, const void* bytes, size_t size, int)
{
    may_be_interrupted();
    Socket& socket = socket_of(descriptor, "send");
    if (socket.is_shut || socket.is_reset) return error(socket.is_shut ? EPIPE : ECONNRESET);
    if (!socket.waits && one_in(60)) return error(EINTR);
    size_t taken = std::min(size, socket.room - std::min(socket.room, socket.sent.size()));
    if (taken == 0) return error(EAGAIN);
    if (!socket.waits && one_in(20)) taken = 1 + choose(static_cast<unsigned>(std::min<size_t>(taken, 100)));
    const std::string gone(static_cast<const char*>(bytes), taken);
    socket.sent += gone;
    world->has_left(socket, gone);
    if (socket.has_ended) socket.is_reset = true; // as an end does that has closed
    return static_cast<ssize_t>(taken);
}

ssize_t recv(int descriptor, void* bytes, size_t size, int)
{
    may_be_interrupted();
    Socket& socket = socket_of(descriptor, "recv");
    if (one_in(60)) return error(EINTR);
    if (socket.is_reset) return error(ECONNRESET);
    if (socket.to_come.empty() && (socket.has_ended || socket.is_shut)) return 0;
    if (socket.to_come.empty()) {
        if (++running->vain_looks > 2)
            wait_until(time_now + millisecond,
                       [descriptor] { return (happened(descriptor) & EPOLLIN) != 0; });
        return error(EAGAIN);
    }
    size_t taken = std::min(size, socket.to_come.size());
    if (one_in(20)) taken = 1 + choose(static_cast<unsigned>(std::min<size_t>(taken, 100)));
    std::copy_n(socket.to_come.begin(), taken, static_cast<char*>(bytes));
    socket.to_come.erase(0, taken);
    return static_cast<ssize_t>(taken);
}

int shutdown(int descriptor, int) noexcept
{
    socket_of(descriptor, "shutdown").is_shut = true;
    return 0;
}

int close(int descriptor)
{
    if (descriptor == epoll_descriptor || descriptor == event_descriptor) return watched.clear(), 0;
    Socket& closed = socket_of(descriptor, "close");
    if (closed.state != Socket::made) world->closed(closed);
    sockets.erase(descriptor);
    watched.erase(descriptor);
    return 0;
}

int usleep(useconds_t microseconds)
{
    simulated::sleep(Time(microseconds) * 1000);
    return 0;
}

int sched_yield() noexcept
{
    simulated::sleep(1);
    return 0;
}

int epoll_create1(int) noexcept
{
    return is_lacking(10) ? error(EMFILE) : epoll_descriptor;
}

int eventfd(unsigned, int) noexcept
{
    return is_lacking(10) ? error(EMFILE) : event_descriptor;
}

int epoll_ctl(int, int operation, int descriptor, epoll_event* event) noexcept
{
    if (descriptor != event_descriptor) socket_of(descriptor, "epoll_ctl");
    if ((operation == EPOLL_CTL_ADD) == watched.contains(descriptor))
        fail("descriptor %d is watched twice, or not at all", descriptor);
    if (is_lacking(50)) return error(ENOMEM);
    watched[descriptor] = {event->events | EPOLLERR | EPOLLHUP, event->data.u64};
    return 0;
}

static bool is_awaited(const std::pair<const int, Watched>& entry)
{
    return (happened(entry.first) & entry.second.events) != 0;
}

int epoll_wait(int, epoll_event* events, int capacity, int timeout)
{
    if (one_in(60)) return error(EINTR);
    wait_until(timeout < 0 ? never : time_now + timeout * millisecond,
               [] { return std::any_of(watched.begin(), watched.end(), is_awaited); });
    int count = 0;
    for (const auto& entry : watched)
        if (is_awaited(entry) && count < capacity) {
            events[count].events = happened(entry.first) & entry.second.events;
            if (one_in(100)) events[count].events |= entry.second.events & EPOLLIN; // though nothing has come
            events[count++].data.u64 = entry.second.data;
        }
    if (count > 1) std::rotate(events, events + choose(static_cast<unsigned>(count)), events + count);
    may_be_interrupted();
    return count;
}

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    if (descriptor != event_descriptor) fail("write to %d", descriptor);
    uint64_t count;
    std::memcpy(&count, bytes, sizeof count);
    event_count += count;
    return static_cast<ssize_t>(size);
}

ssize_t read(int descriptor, void* bytes, size_t size)
{
    if (descriptor != event_descriptor) fail("read from %d", descriptor);
    std::memcpy(bytes, &event_count, sizeof event_count);
    event_count = 0;
    return static_cast<ssize_t>(size);
}

// A numeric address is known at once; "arm" takes its time, and has an address that leads nowhere before the right one.
int getaddrinfo(const char* host, const char* port, const addrinfo* hints, addrinfo** found)
{
    if (is_lacking(5)) return EAI_MEMORY;
    if ((hints->ai_flags & AI_NUMERICHOST) == 0) simulated::sleep(choose(8) * 20 * millisecond);
    const bool is_number = *host >= '0' && *host <= '9';
    if (!is_number && ((hints->ai_flags & AI_NUMERICHOST) || std::strcmp(host, "arm") != 0))
        return EAI_NONAME;
    *found = address_of(AF_INET, port);
    if (is_number) return 0;
    addrinfo* nowhere = address_of(AF_INET6, port);
    nowhere->ai_next = *found;
    *found = nowhere;
    return 0;
}

void freeaddrinfo(addrinfo* found) noexcept
{
    while (found) {
        addrinfo* const next = found->ai_next;
        delete reinterpret_cast<sockaddr_in*>(found->ai_addr);
        delete found;
        found = next;
    }
}

// The linker has the library's code call these.
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size)
{
    return running && is_lacking(200) ? nullptr : __real_malloc(size);
}

void* __real_realloc(void* memory, size_t size);
void* __wrap_realloc(void* memory, size_t size)
{
    return running && is_lacking(20) ? nullptr : __real_realloc(memory, size);
}
}
