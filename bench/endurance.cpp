// Arms at work for long: endurance [SECONDS [ARMS [LINKS [SPEED]]]]. Each arm is a kx-controller of its own, which records
// all, in simulated time that runs SPEED times as fast. On each arm a thread for every joint sets its speed and reads it
// back, one moves the arm and breaks every fourth motion off by a stop from another thread, one opens and closes links, and the
// state is subscribed; LINKS links in all are open beside these and asked now and then. Ends with 1 if an answer was wrong or
// missing, or if memory, threads or descriptors of any of the processes grew after the first fifth of the time.
#include "kx_base.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::chrono;

namespace {

constexpr int models[] = {46, 47, 36};
constexpr auto pause_of_workers = 10ms;  // and of who opens links
constexpr long may_grow_kib = 16 * 1024; // what allocators keep, and the indexes of recordings

std::atomic<bool> ends;
std::atomic<long> questions, settings, motions, stops, states, openings, faults;

void require(bool holds, const char* what, int status = 0)
{
    if (holds) return;
    if (++faults <= 20) std::fprintf(stderr, "not true: %s (%d)\n", what, status);
}

struct Use {
    long kib = 0, threads = 0, descriptors = 0;
};

Use use_of(pid_t process)
{
    Use use;
    const std::string proc = "/proc/" + std::to_string(process);
    std::ifstream status(proc + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) use.kib = std::atol(line.c_str() + 6);
        if (line.starts_with("Threads:")) use.threads = std::atol(line.c_str() + 8);
    }
    for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(proc + "/fd"))
        ++use.descriptors;
    return use;
}

class Arm {
  public:
    Arm(int number, const char* speed) : number_(number), model_(models[number % 3])
    {
        recording_ = "/tmp/kx-endurance-" + std::to_string(getpid()) + '-' + std::to_string(number) +
                     (number % 2 ? ".jsonl" : ".mcap");
        int output[2];
        if (pipe(output) != 0) return;
        process_ = fork();
        if (process_ == 0) {
            dup2(output[1], STDOUT_FILENO);
            execl(KX_CONTROLLER, KX_CONTROLLER, "--port", "0", "--spacing", "0", "--web", "0", "--speed",
                  speed, "--model", std::to_string(model_).c_str(), "--record", recording_.c_str(), nullptr);
            _exit(127);
        }
        close(output[1]);
        FILE* said = fdopen(output[0], "r");
        char line[300] = "";
        if (fgets(line, sizeof line, said))
            port_ = std::atoi(std::string(line).substr(std::string(line).rfind(':') + 1).c_str());
        output_ = said;
        link_ = open();
        KX_Link_Subscribe(link_, 50, see, this);
    }
    Arm(const Arm&) = delete;
    ~Arm()
    {
        KX_Link_Close(link_);
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
        fclose(output_);
        std::remove(recording_.c_str());
    }

    int open() const
    {
        KX_LINK_OPTIONS options;
        KX_Link_Defaults(&options);
        options.reply_timeout_ms = options.silence_ms = options.connect_timeout_ms =
            60000; // of a busy machine
        const int link = KX_Link_Open("127.0.0.1", port_, model_, &options);
        require(link > 0, "a link opens", link);
        return link;
    }

    /** Tells arms, joints and rounds apart, whoever asks whom. */
    float speed(int joint, int round) const
    {
        return static_cast<float>(10 + number_ % 4 + 4 * joint + 40 * (round % 3));
    }

    void set_and_read(int joint)
    {
        for (int round = 0; !ends; ++round) {
            int status = Set_Joint_Speed(link_, static_cast<unsigned char>(joint), speed(joint, round), true);
            require(status == 0, "a speed is set", status);
            float speeds[7] = {};
            status = Get_Joint_Speed(link_, speeds);
            require(status == 0 && speeds[joint - 1] == speed(joint, round),
                    "it is the one that this thread has set", status);
            ++settings;
            std::this_thread::sleep_for(pause_of_workers);
        }
    }

    void move()
    {
        for (int round = 1; !ends; ++round) {
            float there[7] = {round % 2 ? 30.0f : -30.0f, 10, 20, 0, 30, 0, 0};
            std::thread other;
            if (round % 4 == 0)
                other = std::thread([this] {
                    const int status = Move_Stop_Cmd(link_, true);
                    require(status == 0, "a stop is answered", status);
                    ++stops;
                });
            const int status = Movej_Cmd(link_, there, 100, 0, true);
            if (other.joinable()) other.join();
            // Stopped on its way, taken back before that, or there already.
            require(status == 0 || (round % 4 == 0 && (status == 1 || status == KX_CANCELLED)),
                    "a motion ends well", status);
            ++motions;
            std::this_thread::sleep_for(pause_of_workers);
        }
    }

    void come_and_go()
    {
        while (!ends) {
            const int link = open();
            ask(link);
            require(KX_Link_Close(link) == 0, "a link closes");
            ++openings;
            std::this_thread::sleep_for(pause_of_workers);
        }
    }

    void ask(int link) const
    {
        float joints[7] = {};
        const int status = Get_Joint_Degree(link, joints);
        require(status == 0, "a question is answered", status);
        ++questions;
    }

    int joint_count() const { return model_ == 47 ? 7 : 6; }
    pid_t process() const { return process_; }

  private:
    static void see(const KX_ARM_STATE* state, void* arm)
    {
        require(state->status == 0, "a subscribed state comes", state->status);
        require(std::abs(state->joint[0]) < 30.1f, "it is of this arm");
        ++static_cast<Arm*>(arm)->seen_, ++states;
    }

    const int number_, model_;
    std::string recording_;
    int port_ = 0, link_ = -1;
    pid_t process_ = 0;
    FILE* output_ = nullptr;
    std::atomic<long> seen_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const auto argument = [&](int index, const char* otherwise) {
        return argc > index ? argv[index] : otherwise;
    };
    const duration<double> time(std::atof(argument(1, "600")));
    std::list<Arm> arms;
    for (int i = 0; i < std::atoi(argument(2, "4")); ++i)
        arms.emplace_back(i, argument(4, "200"));
    const int beside = std::atoi(argument(3, "300"));

    std::vector<std::thread> threads;
    for (Arm& arm : arms) {
        for (int joint = 1; joint <= arm.joint_count(); ++joint)
            threads.emplace_back(&Arm::set_and_read, &arm, joint);
        threads.emplace_back(&Arm::move, &arm);
        threads.emplace_back(&Arm::come_and_go, &arm);
    }
    threads.emplace_back([&] {
        std::vector<std::pair<const Arm*, int>> links;
        while (static_cast<int>(links.size()) < beside)
            for (const Arm& arm : arms)
                links.emplace_back(&arm, arm.open());
        for (size_t i = 0; !ends; ++i) {
            const auto& [arm, link] = links[i % links.size()];
            arm->ask(link);
            std::this_thread::sleep_for(pause_of_workers);
        }
        for (const auto& [arm, link] : links)
            KX_Link_Close(link);
    });

    std::vector<Use> before, now;
    const auto measure = [&] {
        std::vector<Use> uses = {use_of(getpid())};
        for (const Arm& arm : arms)
            uses.push_back(use_of(arm.process()));
        return uses;
    };
    std::this_thread::sleep_for(time / 5);
    before = measure();
    std::this_thread::sleep_for(time * 4 / 5);
    now = measure();
    ends = true;
    for (std::thread& thread : threads)
        thread.join();

    for (size_t i = 0; i < now.size(); ++i) {
        std::printf("%-12s %ld threads, %ld descriptors, %ld KiB; %+ld, %+ld, %+ld since the first fifth\n",
                    i == 0 ? "application" : "controller", now[i].threads, now[i].descriptors, now[i].kib,
                    now[i].threads - before[i].threads, now[i].descriptors - before[i].descriptors,
                    now[i].kib - before[i].kib);
        // Some threads, links and their descriptors come and go at any moment.
        const long moving = 2 * static_cast<long>(arms.size());
        require(std::abs(now[i].threads - before[i].threads) <= moving, "threads stay");
        require(std::abs(now[i].descriptors - before[i].descriptors) <= moving, "descriptors stay");
        require(now[i].kib - before[i].kib < may_grow_kib, "memory stays");
    }
    std::printf("%zu arms, %d links beside: %ld settings read back, %ld motions, %ld stops, %ld states, %ld "
                "links opened and "
                "closed, %ld questions; %ld faults\n",
                arms.size(), beside, settings.load(), motions.load(), stops.load(), states.load(),
                openings.load(), questions.load(), faults.load());
    return faults == 0 && settings > 0 && motions > 0 && states > 0 && openings > 0 ? 0 : 1;
}
