// Courses of events: each is a process of its own. What fails is made as short as it goes on failing, and told again.
#include "simulated.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace simulated;

namespace {

void (*live)();
Course* shared;

enum Outcome { fine, faulty };

Outcome play()
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        follow(*shared);
        live();
        _exit(0);
    }
    int status;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        std::snprintf(shared->fault, sizeof shared->fault, "ends by signal %d", WTERMSIG(status));
    return status == 0 ? fine : faulty;
}

using Decisions = std::vector<uint8_t>;

// What a fault is about, without the numbers of this time.
std::string kind_of(std::string fault)
{
    std::erase_if(fault, [](char c) { return c >= '0' && c <= '9'; });
    return fault;
}

bool fails(const Decisions& decisions, const std::string& kind = "")
{
    shared->is_given = true;
    shared->count = static_cast<unsigned>(decisions.size());
    std::copy(decisions.begin(), decisions.end(), shared->decisions);
    return play() == faulty && (kind.empty() || kind_of(shared->fault) == kind);
}

// Leaves decisions out, and takes the plainest in place of others, as long as a promise is still broken.
Decisions shrunk(Decisions decisions)
{
    const std::string kind = kind_of(shared->fault);
    const auto enough = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (bool goes_on = true; goes_on;) {
        goes_on = false;
        for (size_t length = decisions.size(); length > 0; length /= 2)
            for (size_t at = 0; at < decisions.size() && std::chrono::steady_clock::now() < enough;) {
                const size_t end = std::min(at + length, decisions.size());
                Decisions shorter = decisions, plainer = decisions;
                shorter.erase(shorter.begin() + static_cast<long>(at),
                              shorter.begin() + static_cast<long>(end));
                std::fill(plainer.begin() + static_cast<long>(at), plainer.begin() + static_cast<long>(end),
                          0);
                if (fails(shorter, kind)) {
                    decisions = shorter;
                    goes_on = true;
                } else if (plainer != decisions && fails(plainer, kind)) {
                    decisions = plainer;
                    goes_on = true;
                    at = end;
                } else {
                    at = end;
                }
            }
        while (!decisions.empty() && decisions.back() == 0)
            decisions.pop_back();
    }
    return decisions;
}

std::string text_of(const Decisions& decisions) // -N stands for N zeros
{
    std::string text;
    long zeros = 0;
    for (const uint8_t decision : decisions) {
        if (decision == 0) {
            --zeros;
            continue;
        }
        if (zeros < 0) text += std::to_string(std::exchange(zeros, 0)) + ".";
        text += std::to_string(decision) + ".";
    }
    return text;
}

int replay(const char* text)
{
    Decisions decisions;
    for (char* at = const_cast<char*>(text); *at; at += *at == '.') {
        const long number = std::strtol(at, &at, 10);
        decisions.resize(decisions.size() + static_cast<size_t>(number < 0 ? -number : 0));
        if (number > 0) decisions.push_back(static_cast<uint8_t>(number));
    }
    shared->is_told = true;
    return fails(decisions) ? 1 : 0;
}

} // namespace

int simulated::explore(int count, char** arguments, void (*course)())
{
    live = course;
    shared = static_cast<Course*>(
        mmap(nullptr, sizeof(Course), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (count == 3 && std::strcmp(arguments[1], "--replay") == 0) return replay(arguments[2]);
    const uint64_t wanted = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 1000000;
    const uint64_t first_seed = count > 2 ? std::strtoull(arguments[2], nullptr, 10) : 1;

    const auto start_of_run = std::chrono::steady_clock::now();
    uint64_t steps = 0, seed = first_seed;
    for (; steps < wanted; ++seed) {
        shared->is_given = false;
        shared->seed = seed;
        if (play() == fine) {
            steps += shared->steps;
            continue;
        }
        std::printf("seed %lu: %s\n", seed, shared->fault);
        std::fflush(stdout);
        const Decisions shortest = shrunk({shared->decisions, shared->decisions + shared->count});
        std::printf("shrunk to %zu decisions; again with\n  %s --replay %s\n", shortest.size(), arguments[0],
                    text_of(shortest).c_str());
        shared->is_told = true;
        fails(shortest);
        return 1;
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_of_run;
    std::printf("%lu schedules, %lu steps, %.1f s: no promise broken\n", seed - first_seed, steps,
                taken.count());
    return 0;
}
