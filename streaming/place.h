// Streams in their places, which handles lead to.
#ifndef KX_STREAMING_PLACE_H
#define KX_STREAMING_PLACE_H

#include "runtime/guard.h"
#include "streaming/flight.h"

#include <pthread.h>
#include <time.h>

namespace kx::streaming {

// What the arm told since the last cycle, on its way from the link's thread to the sender: where it is, and what went
// wrong, be it that later pushes know of nothing.
struct Told {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    int joints, count = 0;
    double time;
    bool is_refused = false;
    int error = 0;
    Joints measured;
};

// A stream: the memory of one that is open.
struct Body {
    static constexpr int targets_ahead = 4096;

    Body(const KX_STREAM_OPTIONS& given, const ARM_MODEL& arm, const float* start)
        : options(given), flight(given, arm, start, ring, targets_ahead)
    {
        told.joints = arm.joints;
    }

    KX_STREAM_OPTIONS options;
    Knot ring[targets_ahead];
    Flight flight;
    Histogram jitter;
    int priority = 0;
    Told told;
};

// A place for a stream. Places are never given back, so that a thread with an old handle finds a closed or another
// stream, and no freed memory.
struct Place {
    bool is_taken = false; // guarded by a mutex of all places
    pthread_t sender = {};

    // Guards what follows, and what the body has beside `told`.
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER; // the stream begins, ends or is closed
    int handle = 0;                                    // 0: not open
    int link = 0;                                      // 0: the sender has ended
    bool is_orphan = false;                            // closed by its own callback, which cannot wait for it
    Body* body = nullptr;
};

// The stream with this handle, locked as long as this lives; false if there is none.
class Locked {
  public:
    explicit Locked(int handle);
    explicit operator bool() const { return is_open_; }
    Flight* operator->() const { return &place_.body->flight; }
    Place& place() const { return place_; }

  private:
    Place& place_;
    Guard guard_;
    const bool is_open_;
};

// A place that is free, for a stream on a link that has none; null if there is none, or the link has one.
Place* take_place(int link);
int new_handle(const Place& place);
void give_back(Place& place);

// What the body has is freed, and the place is.
void release(Place& place);

inline timespec at(double seconds)
{
    const double whole = floor(seconds);
    return {static_cast<time_t>(whole), static_cast<long>(1e9 * (seconds - whole))};
}

} // namespace kx::streaming

#endif
