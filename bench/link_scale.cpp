// Many links in one process: link_scale [seconds] [links] [streamed] [threads] [KiB]. The streamed arms get targets at
// 200 Hz, each of which is answered by a push that carries its number; the others are asked round-robin from the threads, and
// every reply carries the number that its question asked for. The peer is a process of its own. Ends with 1 if a reply was
// wrong or missing, a push was lost, memory grew by more than that, or descriptors did.
#include "kx_base.h"
#include "support/bound.h"

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <netinet/tcp.h>
#include <string>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

using namespace std::chrono;

// --- the peer: a question for channel n is answered with n, a target with a push of its first number

static std::string answered(const std::string& request)
{
    const auto number_behind = [&](const char* text) {
        const size_t at = request.find(text);
        return at == request.npos ? std::string("0")
                                  : std::to_string(atoi(request.c_str() + at + strlen(text)));
    };
    if (request.find("get_DO_state") != request.npos)
        return "{\"command\":\"DO_state\",\"IO_state\":" + number_behind("\"IO_Num\":\t") + "}\n";
    return "{\"command\":\"joint_state\",\"joint\":[" + number_behind("\"joint\":\t[") +
           ",0,0,0,0,0],\"arm_err\":0}\n";
}

[[noreturn]] static void serve(int listener)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int epoll = epoll_create1(0);
    const auto watch = [&](int socket) {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.fd = socket;
        epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
    };
    watch(listener);
    std::unordered_map<int, std::string> begun;
    for (;;) {
        epoll_event events[64];
        const int count = epoll_wait(epoll, events, 64, -1);
        for (int i = 0; i < count; ++i) {
            const int client = events[i].data.fd;
            if (client == listener) {
                const int accepted = accept(listener, nullptr, nullptr);
                const int one = 1;
                setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
                watch(accepted);
                continue;
            }
            char bytes[8192];
            const ssize_t size = recv(client, bytes, sizeof bytes, 0);
            if (size <= 0) {
                close(client);
                begun.erase(client);
                continue;
            }
            std::string& text = begun[client];
            text.append(bytes, static_cast<size_t>(size));
            std::string replies;
            for (size_t end; (end = text.find("\r\n")) != text.npos; text.erase(0, end + 2))
                replies += answered(text.substr(0, end));
            if (!replies.empty()) send(client, replies.data(), replies.size(), MSG_NOSIGNAL);
        }
    }
}

// --- the application

struct Stream {
    int link;
    std::atomic<int> sent = 0, pushed = 0, out_of_order = 0;
};

static void take_push(const CallbackData* push, void* user)
{
    auto& stream = *static_cast<Stream*>(user);
    const long number = std::lround(push->joint[0] / 10); // what a float loses on the way is less than half
    if (number != ++stream.pushed) ++stream.out_of_order;
}

static size_t resident_kib()
{
    size_t all = 0, resident = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file && fscanf(file, "%zu %zu", &all, &resident) != 2) resident = 0;
    if (file) fclose(file);
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

static int descriptors()
{
    int count = 0;
    DIR* files = opendir("/proc/self/fd");
    while (readdir(files))
        ++count;
    closedir(files);
    return count;
}

int main(int argc, char** argv)
{
    const auto argument = [&](int index, int otherwise) {
        return argc > index ? atoi(argv[index]) : otherwise;
    };
    const int run_s = argument(1, 600), links = argument(2, 300), streamed = argument(3, 16),
              thread_count = argument(4, 64), may_grow_kib = argument(5, 1024);

    const Bound listener(1024);
    if (fork() == 0) serve(listener.socket);
    close(listener.socket);

    std::vector<std::unique_ptr<Stream>> streams;
    std::vector<int> asked_links;
    for (int i = 0; i < links; ++i) {
        KX_LINK_OPTIONS options;
        KX_Link_Defaults(&options);
        options.reply_timeout_ms = options.silence_ms = 60000;
        options.callback_queue = 4096; // a busy machine delays the thread of callbacks
        std::unique_ptr<Stream> stream;
        if (i < streamed) {
            stream = std::make_unique<Stream>();
            options.on_push = take_push;
            options.user = stream.get();
        }
        const int link = KX_Link_Open("127.0.0.1", listener.port(), 46, &options);
        if (link < 0) return 2;
        if (!stream) {
            asked_links.push_back(link);
            continue;
        }
        stream->link = link;
        streams.push_back(std::move(stream));
    }

    const auto end = steady_clock::now() + seconds(run_s);
    std::atomic<long> right = 0, wrong = 0, failed = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t)
        threads.emplace_back([&, t] {
            for (unsigned i = static_cast<unsigned>(t); steady_clock::now() < end; ++i) {
                const auto number = static_cast<unsigned char>(1 + i % 255);
                unsigned char state = 0;
                const int status = Get_DO_State(asked_links[i % asked_links.size()], number, &state);
                ++(status != 0 ? failed : state == number ? right : wrong);
            }
        });

    size_t memory_before = 0;
    int descriptors_before = 0;
    const auto begin = steady_clock::now();
    for (int cycle = 1; steady_clock::now() < end; ++cycle) {
        std::this_thread::sleep_until(begin + cycle * milliseconds(5));
        for (const auto& stream : streams) {
            const float joint[6] = {static_cast<float>(stream->sent + 1) / 100};
            if (Movej_CANFD(stream->link, joint) == 0) ++stream->sent;
        }
        if (cycle == 100) {
            memory_before = resident_kib();
            descriptors_before = descriptors();
        }
    }
    for (std::thread& thread : threads)
        thread.join();

    long targets = 0, pushes = 0, out_of_order = 0;
    for (const auto& stream : streams) {
        for (int i = 0; i < 10000 && stream->pushed < stream->sent; ++i)
            std::this_thread::sleep_for(milliseconds(1));
        targets += stream->sent;
        pushes += stream->pushed;
        out_of_order += stream->out_of_order;
    }
    const long memory_grown = static_cast<long>(resident_kib()) - static_cast<long>(memory_before);
    const int descriptors_grown = descriptors() - descriptors_before;
    std::printf("%d links, %d s: %ld right replies, %ld wrong, %ld failed; %ld targets, %ld pushes, %ld not "
                "in order; "
                "memory grew by %ld KiB of %zu, descriptors by %d\n",
                links, run_s, right.load(), wrong.load(), failed.load(), targets, pushes, out_of_order,
                memory_grown, memory_before, descriptors_grown);
    for (const int link : asked_links)
        KX_Link_Close(link);
    for (const auto& stream : streams)
        KX_Link_Close(stream->link);
    const bool is_good = right > 0 && wrong == 0 && failed == 0 && pushes == targets && out_of_order == 0 &&
                         descriptors_grown == 0 && memory_grown < may_grow_kib;
    return is_good ? 0 : 1;
}
