#include "waiting.h"

#include <unistd.h>

namespace kx::python {

namespace {

std::atomic<int> inside;
std::atomic<bool> is_ending;

bool is_main()
{
    return gettid() == getpid();
}

// What becomes of a daemon thread when the interpreter has ended: it never comes back.
[[noreturn]] void rest()
{
    for (;;)
        pause();
}

int look_of(void* waiting)
{
    return static_cast<Waiting*>(waiting)->look();
}

} // namespace

thread_local Token* Waiting::token;

Waiting::Waiting()
{
    if (is_ending && is_main()) raise("Py_Finalize", KX_CANCELLED, "the interpreter is ending");
    ++inside;
    KX_Link_Call_Check(look_of, this);
    state_ = PyEval_SaveThread();
}

Waiting::~Waiting()
{
    if (is_ending) {
        --inside;
        rest();
    }
    PyEval_RestoreThread(state_);
    KX_Link_Call_Check(nullptr, nullptr);
    --inside;
}

bool Waiting::look()
{
    if (is_ending || (token && token->cancelled)) return true;
    if (!is_main()) return false; // signals are the main thread's
    PyEval_RestoreThread(state_);
    const bool has_error = PyErr_CheckSignals() != 0;
    state_ = PyEval_SaveThread();
    return has_error;
}

void Waiting::end_all()
{
    is_ending = true;
    while (inside > 0) {
        PyThreadState* const state = PyEval_SaveThread();
        usleep(1000);
        PyEval_RestoreThread(state);
    }
}

void Waiting::forget_others()
{
    inside = 0;
    token = nullptr;
}

} // namespace kx::python
