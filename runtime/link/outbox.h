// Lines that the system would not take yet, in the order in which they go out.
#ifndef KX_RUNTIME_LINK_OUTBOX_H
#define KX_RUNTIME_LINK_OUTBOX_H

#include "runtime/line.h"
#include "runtime/recognition.h"

#include <stdint.h>

namespace kx::link {

class Outbox {
  public:
    struct Waiting {
        Waiting* next;
        uint64_t serial; // of the request
        KeyCode kind;
        int sent; // bytes of the line that are gone already
        Line line;
    };

    bool empty() const { return !first_; }
    int bytes() const { return bytes_; }

    // A line of which some bytes may be gone. A stop goes before all but a line that has begun. False when out of memory.
    bool add(const Line& line, int sent, KeyCode kind, uint64_t serial);

    Waiting* first() { return first_; }
    void sent(int bytes);
    void remove_first();

    // Takes back a motion that has not begun to leave, and tells which; false when there is none.
    bool take_back_motion(uint64_t& serial);

    // Takes a request back if it has not begun to leave.
    bool take_back(uint64_t serial);

    void clear();

  private:
    void remove(Waiting** at);

    Waiting* first_ = nullptr;
    int bytes_ = 0;
};

} // namespace kx::link

#endif
