// Has one thing not be had from the system, the first, the second, the third and so on of its kind, while a link is opened, used for
// commands of all families, lost, connected again and closed: torture FUNCTION. Each case is a process of its own. Whatever
// fails, every command ends with a status, and afterwards the link works again or was never opened; nothing crashes, hangs or
// leaks. Only calls of the library and of its cJSON fail.
#include "list/command.h"
#include "support/connection.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <map>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// --- functions that fail when it is their turn

static const char* failing = "";        // which function
static std::atomic<int> calls_left;     // until it fails
static std::atomic<long> blocks_in_use; // of the library
static uintptr_t begins[2], ends[2];    // of the library and of cJSON

static bool is_of_library(void* caller)
{
    const auto address = reinterpret_cast<uintptr_t>(caller);
    return (address >= begins[0] && address < ends[0]) || (address >= begins[1] && address < ends[1]);
}

static bool fails(const char* function, void* caller)
{
    return strcmp(function, failing) == 0 && is_of_library(caller) && --calls_left == 0;
}

#define CALLER __builtin_return_address(0)

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void __libc_free(void*);

static void* counted(void* block, void* caller)
{
    if (block && is_of_library(caller)) ++blocks_in_use;
    return block;
}

static void* no_memory()
{
    errno = ENOMEM;
    return nullptr;
}

void* malloc(size_t size)
{
    return fails("malloc", CALLER) ? no_memory() : counted(__libc_malloc(size), CALLER);
}

void* calloc(size_t count, size_t size)
{
    return fails("malloc", CALLER) ? no_memory() : counted(__libc_calloc(count, size), CALLER);
}

void* realloc(void* block, size_t size)
{
    if (fails("malloc", CALLER)) return no_memory();
    return block ? __libc_realloc(block, size) : counted(__libc_malloc(size), CALLER);
}

void free(void* block)
{
    if (block && is_of_library(CALLER)) --blocks_in_use;
    __libc_free(block);
}
}

// A function of the C library that gives -1 and an error when it is its turn.
#define FAILING(type, name, error, parameters, arguments)                                                    \
    extern "C" type name parameters                                                                          \
    {                                                                                                        \
        static const auto real = reinterpret_cast<type(*) parameters>(dlsym(RTLD_NEXT, #name));              \
        if (!fails(#name, CALLER)) return real arguments;                                                    \
        errno = error;                                                                                       \
        return -1;                                                                                           \
    }
FAILING(int, socket, EMFILE, (int domain, int type, int protocol), (domain, type, protocol))
FAILING(int, epoll_create1, EMFILE, (int flags), (flags))
FAILING(int, epoll_ctl, ENOMEM, (int epoll, int operation, int descriptor, epoll_event* event),
        (epoll, operation, descriptor, event))
FAILING(int, eventfd, EMFILE, (unsigned count, int flags), (count, flags))

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument)
{
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return fails("pthread_create", CALLER) ? EAGAIN : real(thread, attributes, start, argument);
}

static void find_library()
{
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void*) {
            const int which = strstr(object->dlpi_name, "libKX_Service") ? 0
                              : strstr(object->dlpi_name, "libcjson")    ? 1
                                                                         : -1;
            for (int i = 0; which >= 0 && i < object->dlpi_phnum; ++i) {
                const ElfW(Phdr)& part = object->dlpi_phdr[i];
                if (part.p_type != PT_LOAD || !(part.p_flags & PF_X)) continue;
                begins[which] = object->dlpi_addr + part.p_vaddr;
                ends[which] = begins[which] + part.p_memsz;
            }
            return 0;
        },
        nullptr);
}

// --- the controller

using Replies = std::map<std::string, std::string>; // by the request's command

// Answers each request; hangs up at "set_wifi_ap".
static void serve(const Door& door, const Replies& replies)
{
    for (;;) {
        Connection client = door.accept();
        std::string command;
        while (!(command = client.command()).empty() && command != "set_wifi_ap")
            if (const auto reply = replies.find(command); reply != replies.end()) client.say(reply->second);
    }
}

// --- one case

constexpr int not_reached = 2;

static std::vector<list::Command> representatives()
{
    std::vector<list::Command> chosen;
    for (const list::Family& family : list::all_families()) {
        int of_family = 0;
        for (const list::Command& row : family.commands) {
            const bool is_answered = !row.status_key.empty() || !row.members.empty();
            if (!is_answered || row.model != 46 || of_family == 3) continue;
            chosen.push_back(row);
            ++of_family;
        }
    }
    return chosen;
}

[[noreturn]] static void fault(const char* what, int status)
{
    std::fprintf(stderr, "%s: %d\n", what, status);
    _exit(1);
}

static int opened(int port)
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    const int patience_ms = failing[0] == '\0' ? 30000 : 100; // if nothing fails, a busy machine shall not
    options.reply_timeout_ms = options.motion_timeout_ms = options.late_reply_ms = patience_ms;
    options.reconnect = true;
    options.on_push = [](const CallbackData*, void*) {};
    options.on_state = [](int, KX_LINK_STATE, void*) {};
    options.on_log = [](int, KX_LINK_EVENT, const char*, int, void*) {};
    return KX_Link_Open("127.0.0.1", port, 46, &options);
}

static void use(int link, const std::vector<list::Command>& rows, bool all_succeed)
{
    list::Outputs outputs;
    for (const list::Command& row : rows) {
        const int status = row.function(link, true, outputs);
        if (status < 0 || status > KX_NOT_A_SETTING || (all_succeed && status != 0))
            fault(row.name.c_str(), status);
    }
}

static void live(const Door& door, const Replies& replies, const std::vector<list::Command>& rows)
{
    std::thread(serve, std::cref(door), std::cref(replies)).detach();
    const int port = door.port();
    const bool nothing_fails = failing[0] == '\0';
    int link = opened(port);
    if (link < 0 && (nothing_fails || (link != -KX_NO_SOCKET && link != -KX_NO_MEMORY &&
                                       link != -KX_BAD_DESCRIPTOR && link != -KX_TIMED_OUT)))
        fault("open", link);
    if (link < 0) link = opened(port);
    if (link < 0) fault("open again", link);

    KX_Link_Begin_Setup(link);
    Set_Payload(link, 1, 0, 0, 0, true);
    KX_Link_End_Setup(link);
    KX_Link_Subscribe(
        link, 50, [](const KX_ARM_STATE*, void*) {}, nullptr);
    use(link, rows, nothing_fails);
    Set_WiFi_AP_Data(link, "leave", nullptr);
    KX_Link_Wait(link, KX_LINK_CONNECTING, 200);
    if (const int status = KX_Link_Wait(link, KX_LINK_READY, 30000)) fault("connected again", status);
    use(link, {rows.begin(), rows.begin() + 5}, false);

    const bool has_failed = calls_left <= 0;
    calls_left = 0; // from here on all goes well
    for (int tries = 0, status; (status = Set_Payload(link, 1, 0, 0, 0, true)) != 0; ++tries) {
        if (tries == 50) fault("the link works again", status);
        KX_Link_Wait(link, KX_LINK_READY, 1000);
    }
    if (const int status = KX_Link_Close(link)) fault("close", status);
    constexpr long table = 2; // the link's place and its list of requests
    for (int tries = 0; blocks_in_use != table; ++tries, usleep(1000))
        if (tries == 5000) fault("blocks left behind", static_cast<int>(blocks_in_use - table));
    _exit(has_failed ? 0 : not_reached);
}

// Gives what is wrong, or null; whether there was such a call.
static const char* run_case(int number, bool& was_reached, const Replies& replies,
                            const std::vector<list::Command>& rows)
{
    const Door door;
    const pid_t child = fork();
    if (child == 0) {
        calls_left = number;
        alarm(90);
        live(door, replies, rows);
    }
    int status;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGALRM ? "hangs" : strsignal(WTERMSIG(status));
    was_reached = WEXITSTATUS(status) != not_reached;
    return WEXITSTATUS(status) == 0 || !was_reached ? nullptr : "fails";
}

int main(int count, char** arguments)
{
    const char* const function = count > 1 ? arguments[1] : "malloc";
    find_library();
    const std::vector<list::Command> rows = representatives();
    Replies replies = {
        {"get_current_arm_state", R"({"command":"current_arm_state","arm_state":{"pose":[0,0,0,0,0,0],)"
                                  R"("joint":[0,0,0,0,0,0],"arm_err":0,"sys_err":0}})"},
        {"set_payload", R"({"command":"set_payload","set_state":true})"},
    };
    for (const list::Command& row : rows) {
        const size_t name = row.blocking_request.find(':') + 2;
        replies[row.blocking_request.substr(name, row.blocking_request.find('"', name) - name)] =
            row.good_reply();
    }

    // First with nothing failing, then ever more sparsely.
    int faults = 0, failures = 0;
    bool was_reached = true;
    for (int number = 0; was_reached; number += 1 + number / 25) {
        failing = number == 0 ? "" : function;
        if (const char* what = run_case(number, was_reached, replies, rows)) {
            std::fprintf(stderr, "%s, when call %d of %s fails\n", what, number, function);
            ++faults;
        }
        failures += was_reached;
    }
    std::printf("%zu commands, %d cases, %d faults\n", rows.size(), failures, faults);
    return faults == 0 && failures > 1 && begins[0] != 0 && begins[1] != 0 && rows.size() >= 30 ? 0 : 1;
}
