#include "support/sleeps.h"

#include <time.h>
#include <unistd.h>
#include <utility>

static thread_local std::vector<unsigned int> sleeps;

std::vector<unsigned int> slept()
{
    return std::exchange(sleeps, {});
}

extern "C" int usleep(useconds_t microseconds)
{
    sleeps.push_back(microseconds / 1000);
    const timespec shortened = {0, static_cast<long>(microseconds) * 1000 / 50};
    return nanosleep(&shortened, nullptr);
}
