// How the latest queued requests of a link ended, for who asks by ticket.
#ifndef KX_RUNTIME_LINK_OUTCOMES_H
#define KX_RUNTIME_LINK_OUTCOMES_H

#include "runtime/reply.h"

#include <stdint.h>

namespace kx::link {

struct Outcome {
    uint64_t serial; // of the request
    int status;
    char reason[120]; // what the controller said to a refusal
};

class Outcomes {
  public:
    void add(uint64_t serial, int status, const char* reason = "")
    {
        Outcome& outcome = outcomes_[count_++ % capacity];
        outcome.serial = serial;
        outcome.status = status;
        copy_cut(outcome.reason, reason);
    }

    const Outcome* find(uint64_t serial) const // null when it has not ended, or long ago
    {
        const unsigned kept = count_ < capacity ? count_ : capacity;
        for (unsigned i = 0; i < kept; ++i)
            if (outcomes_[i].serial == serial) return &outcomes_[i];
        return nullptr;
    }

    void clear() { count_ = 0; }

  private:
    static constexpr unsigned capacity = 64;
    Outcome outcomes_[capacity];
    unsigned count_ = 0;
};

} // namespace kx::link

#endif
