// The requests of one link that are open, oldest first: who waits for which kind of reply.
//
// A reply goes to the oldest place of its kind, whoever has it: a caller that waits, a queued request, or a call that has
// timed out and whose reply may still come. So a late reply never answers a later call. The price: where a reply is lost
// for good, the next call's reply is taken for it. From then on it is not certain whose reply is missing: the next one may
// be that of the oldest such place or of the one behind it, so it answers a caller only if there is none behind, and else ends its wait. To have
// none behind, further requests of the kind wait until it is certain again; but stops and queued requests, which never wait.
#ifndef KX_RUNTIME_LINK_PLACES_H
#define KX_RUNTIME_LINK_PLACES_H

#include "runtime/link/wait.h"
#include "runtime/recognition.h"

struct cJSON;

namespace kx::link {

// Somebody who waits; stands on the waiting thread's stack.
struct Call {
    std::atomic<int> is_done = 0; // set last: whoever waits may be gone after that
    int status = 0;
    cJSON* reply = nullptr;
    bool is_refused = false;
    char reason[120] = {}; // what the controller said to a refusal
};

struct Place {
    // Of a probe it is enough that it is answered.
    enum Owner : char { caller, queued, setup, subscription, probe, given_up };

    uint64_t serial; // of the request
    KeyCode kind;
    Owner owner;
    bool is_robbed; // its reply may have been taken for that of an older place
    Call* call;     // of a caller
    Time sent;
    Time deadline; // until then the reply is in time
    Time kept;     // until then it may still come
};

class Places {
  public:
    static constexpr int capacity = 1024;

    int size() const { return size_; }
    const Place& operator[](int index) const { return places_[index]; }

    void add(const Place& place) { places_[size_++] = place; } // where there is room

    // The place that a reply of this kind belongs to is taken out; false when there is none. The reply may be that of
    // another place if `is_uncertain`.
    bool answer(KeyCode kind, Time now, Place& taken, bool& is_uncertain);

    // The place of a request that has not left is taken out.
    bool take_back(uint64_t serial, Place& taken);

    // Nobody waits any more; the place stays for a late reply.
    void give_up(uint64_t serial);

    // The arm has been stopped: what it was asked for before that request is answered soon, or never.
    void end_motions(uint64_t stop, Time soon);

    void clear() { size_ = 0; }
    void expire(Time now);

    // Until when a further request of this kind has to wait, if nothing changes; 0 when it has not.
    Time barred_until(KeyCode kind) const;

    bool has(Place::Owner owner) const;
    Time kept_until(uint64_t serial) const; // 0 when there is no such place

  private:
    int find(uint64_t serial) const; // -1 for none
    void erase(int index);

    Place* places_ = nullptr;
    int size_ = 0;

  public:
    bool make_room(); // once, before anything else; false when out of memory
    void free_room();
};

} // namespace kx::link

#endif
