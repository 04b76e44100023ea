// Threads of the library leave all signals to the application's threads: a timer of the application must
// neither be handled on them nor shorten their waits.
#ifndef KX_RUNTIME_QUIET_THREAD_H
#define KX_RUNTIME_QUIET_THREAD_H

#include <pthread.h>
#include <signal.h>

namespace kx {

inline bool start_quiet_thread(pthread_t* handle, void* (*thread)(void*), void* argument = nullptr)
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const bool has_started = pthread_create(handle, nullptr, thread, argument) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return has_started;
}

} // namespace kx

#endif
