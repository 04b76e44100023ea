// How often the library wakes up while nothing happens: link_idle [links] [seconds]. Counts, over all threads of the process,
// how often they gave the processor up; a thread that sleeps on does not.
#include "kx_base.h"
#include "support/bound.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <unistd.h>
#include <vector>

static long switches_of_other_threads()
{
    long total = 0;
    DIR* tasks = opendir("/proc/self/task");
    while (const dirent* task = readdir(tasks)) {
        if (task->d_name[0] == '.' || atoi(task->d_name) == getpid()) continue;
        FILE* status = fopen(("/proc/self/task/" + std::string(task->d_name) + "/status").c_str(), "r");
        char line[200];
        long count;
        while (status && fgets(line, sizeof line, status))
            if (sscanf(line, "voluntary_ctxt_switches: %ld", &count) == 1) total += count;
        if (status) fclose(status);
    }
    closedir(tasks);
    return total;
}

int main(int argc, char** argv)
{
    const int links = argc > 1 ? atoi(argv[1]) : 64;
    const int seconds = argc > 2 ? atoi(argv[2]) : 60;

    const Bound listener(1024);

    std::vector<int> open;
    for (int i = 0; i < links; ++i) {
        open.push_back(KX_Link_Open("127.0.0.1", listener.port(), 46, nullptr));
        if (open.back() < 0) return 1;
    }
    sleep(1);
    const long before = switches_of_other_threads();
    sleep(static_cast<unsigned>(seconds));
    const long wake_ups = switches_of_other_threads() - before;
    std::printf("%d links, %d s: %ld wake-ups\n", links, seconds, wake_ups);
    for (const int link : open)
        KX_Link_Close(link);
    return wake_ups == 0 ? 0 : 1;
}
