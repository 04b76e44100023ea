#include "waiting.h"

#include <unistd.h>

#include <memory>

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

struct PythonError {
    PyObject *type, *value, *traceback;
};

int raise_later(void* pending)
{
    const std::unique_ptr<PythonError> error(static_cast<PythonError*>(pending));
    PyErr_Restore(error->type, error->value, error->traceback);
    return -1;
}

} // namespace

thread_local Token* Waiting::token;
thread_local Waiting* Waiting::innermost;

Waiting::Waiting()
{
    if (is_over()) raise("Py_Finalize", KX_CANCELLED, "the interpreter is ending");
    ++inside;
    look_here(this);
    state_ = PyEval_SaveThread();
}

Waiting::~Waiting()
{
    if (is_ending) {
        --inside;
        rest();
    }
    PyEval_RestoreThread(state_);
    look_here(outer_);
    --inside;
}

void Waiting::look_here(Waiting* waiting)
{
    innermost = waiting;
    KX_Link_Call_Check(waiting ? look_of : nullptr, waiting);
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

bool Waiting::is_over()
{
    return is_ending && is_main();
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

void LetGo::run(void (*end)(void*), void* object)
{
    if (Waiting::is_over()) return end(object);
    {
        const Waiting waiting;
        end(object);
    }
    if (!PyErr_Occurred()) return;
    auto error = std::make_unique<PythonError>();
    PyErr_Fetch(&error->type, &error->value, &error->traceback);
    Py_AddPendingCall(raise_later, error.release());
}

} // namespace kx::python
