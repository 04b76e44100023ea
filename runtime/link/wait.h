// Monotonic time, and waiting for a word to change.
#ifndef KX_RUNTIME_LINK_WAIT_H
#define KX_RUNTIME_LINK_WAIT_H

#include "runtime/guard.h"

#include <atomic>
#include <errno.h>
#include <limits.h>
#include <linux/futex.h>
#include <pthread.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace kx::link {

using Time = int64_t; // nanoseconds of CLOCK_MONOTONIC

constexpr Time millisecond = 1000000;
constexpr Time second = 1000 * millisecond;
constexpr Time never = INT64_MAX;

inline Time now()
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * second + time.tv_nsec;
}

// Waits while the word has that value, until it is woken or the time has come; may also return without reason.
inline void wait_while(const std::atomic<int>& word, int value, Time until)
{
    const timespec deadline = {until / second, until % second};
    syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, value,
            until == never ? nullptr : &deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

// The word may be gone by now: its address is all that counts.
inline void wake_all(const std::atomic<int>* word)
{
    syscall(SYS_futex, word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, INT_MAX);
}

} // namespace kx::link

#endif
