// The functions of kx/stream.h: streams with their handles, and the sender of each, a thread that keeps absolute time.
#include "kx/pass_through.h"
#include "kx/state.h"
#include "runtime/command.h"
#include "runtime/push.h"
#include "runtime/quiet_thread.h"
#include "streaming/flight.h"

#include <cjson/cJSON.h>
#include <math.h>
#include <new>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <time.h>

using namespace kx;
using namespace kx::streaming;

namespace {

constexpr int first_handle = 1 << 29;
constexpr int stream_capacity = 32;
constexpr int ring_capacity = 4096;

// A mutex that is held while in scope.
class Guard {
  public:
    explicit Guard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    Guard(const Guard&) = delete;
    ~Guard() { pthread_mutex_unlock(&mutex_); }

  private:
    pthread_mutex_t& mutex_;
};

// What the arm told, on its way from the link's thread to the sender.
struct Told {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    int joints, count = 0;
    double time;
    bool is_refused;
    int error;
    Joints measured;
};

// A stream: the memory of one that is open.
struct Body {
    Body(const KX_STREAM_OPTIONS& given, const ARM_MODEL& arm, const float* start)
        : options(given), flight(given, arm, start, ring, ring_capacity)
    {
        told.joints = arm.joints;
    }

    KX_STREAM_OPTIONS options;
    Knot ring[ring_capacity];
    Flight flight;
    Histogram jitter;
    int priority = 0;
    Told told;
};

// A place for a stream. Places are never given back, so that a thread with an old handle finds a closed or another
// stream, and no freed memory.
struct Place {
    pthread_mutex_t mutex =
        PTHREAD_MUTEX_INITIALIZER; // guards all below, and what the body has beside `told`
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER; // the stream begins, ends or is closed
    int handle = 0;                                    // 0: not open
    bool is_orphan = false;                            // closed by its own callback, which cannot wait for it
    bool is_taken = false;                             // guarded by the mutex of the places
    int link = 0;
    Body* body = nullptr;
    pthread_t sender = {};
};

Place places[stream_capacity];
pthread_mutex_t places_mutex = PTHREAD_MUTEX_INITIALIZER;

// The stream with this handle, locked as long as this lives; false if there is none.
class Locked {
  public:
    explicit Locked(int handle) : place_(places[handle & (stream_capacity - 1)]), guard_(place_.mutex)
    {
        is_open_ = handle >= first_handle && place_.handle == handle;
    }
    explicit operator bool() const { return is_open_; }
    Flight* operator->() const { return &place_.body->flight; }
    Place& place() const { return place_; }

  private:
    Place& place_;
    Guard guard_;
    bool is_open_;
};

timespec at(double seconds)
{
    const double whole = floor(seconds);
    return {static_cast<time_t>(whole), static_cast<long>(1e9 * (seconds - whole))};
}

void take_push(const cJSON* push, void* user)
{
    Told& told = *static_cast<Told*>(user);
    float pose[6], joint[most_joints] = {};
    const int status = decode_push(push, told.joints, pose, joint);
    const cJSON* error = cJSON_GetObjectItem(push, "arm_err");
    const Guard guard(told.mutex);
    ++told.count;
    told.time = KX_Stream_Clock();
    told.is_refused = status != KX_SUCCESS;
    told.error = cJSON_IsNumber(error) ? error->valueint : 0;
    for (int i = 0; i < told.joints; ++i)
        told.measured[i] = static_cast<double>(joint[i]) / 1000; // it tells thousandths
}

void hear(Body& body)
{
    Told& told = body.told;
    const Guard guard(told.mutex);
    for (; told.count > 0; --told.count)
        body.flight.told(told.time, told.is_refused, told.error, told.measured);
}

// The wire truncates to thousandths; so this rounds.
void round_to_wire(float* joint, int joints)
{
    for (int i = 0; i < joints; ++i) {
        const double thousandths = round(1000 * static_cast<double>(joint[i]));
        joint[i] = static_cast<float>((thousandths + copysign(0.25, thousandths)) / 1000);
    }
}

int take_priority(int wanted)
{
    prctl(PR_SET_TIMERSLACK, 1UL);
    sched_param parameters = {};
    parameters.sched_priority = wanted;
    return wanted > 0 && pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0 ? wanted : 0;
}

bool wait_for_the_beginning(Place& place, const Flight& flight)
{
    const Guard guard(place.mutex);
    while (!flight.has_begun() && !flight.has_ended())
        pthread_cond_wait(&place.changed, &place.mutex);
    return !flight.has_ended();
}

// One set-point, planned for a time at which the sender has just woken, or should have. False at the end.
bool send_one(Place& place, double due, double woken)
{
    Body& body = *place.body;
    const bool is_late = woken - due > body.flight.cycle() / 2;
    KX_STREAM_CYCLE cycle = {};
    {
        const Guard guard(place.mutex);
        hear(body);
        body.jitter.add(woken - due);
        if (!body.flight.advance(woken - due < body.flight.cycle() ? due : woken)) return false;
        body.flight.fill(cycle);
    }
    float joint[most_joints];
    memcpy(joint, cycle.sent, sizeof joint);
    round_to_wire(joint, body.told.joints);
    const int status = Movej_CANFD(place.link, joint);
    int handle;
    {
        const Guard guard(place.mutex);
        if (status == KX_SUCCESS)
            body.flight.sent(KX_Stream_Clock(), is_late);
        else
            body.flight.end(KX_STREAM_LOST);
        handle = place.handle;
    }
    if (status == KX_SUCCESS && body.options.on_cycle && handle != 0)
        body.options.on_cycle(handle, &cycle, body.options.user);
    return true;
}

void release(Place& place)
{
    {
        const Guard guard(place.mutex);
        place.body->~Body();
        free(place.body);
        place.body = nullptr;
    }
    const Guard guard(places_mutex);
    place.is_taken = false;
}

void* send_set_points(void* user)
{
    Place& place = *static_cast<Place*>(user);
    Body& body = *place.body;
    const int priority = take_priority(body.options.priority);
    {
        const Guard guard(place.mutex);
        body.priority = priority;
    }
    if (wait_for_the_beginning(place, body.flight)) {
        const double cycle = body.flight.cycle();
        double due = KX_Stream_Clock(), woken = due;
        while (send_one(place, due, woken)) {
            // What was missed is not sent in a rush: the arm goes on from where it is, and catches up within its limits.
            due = woken - due < cycle ? due + cycle : woken + cycle;
            const timespec time = at(due);
            while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
            }
            woken = KX_Stream_Clock();
        }
    }
    listen_to_pushes(place.link, nullptr, nullptr);
    bool is_orphaned;
    {
        const Guard guard(place.mutex);
        place.link = 0;
        is_orphaned = place.is_orphan;
        pthread_cond_broadcast(&place.changed);
    }
    if (is_orphaned) release(place);
    return nullptr;
}

// Who holds a stream's mutex while its sender wants it runs with the sender's priority meanwhile.
void prepare_places()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    for (Place& place : places)
        pthread_mutex_init(&place.mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// A forked child has no senders, and what they had locked is in no state to be used.
void forget_all_streams()
{
    places_mutex = PTHREAD_MUTEX_INITIALIZER;
    for (Place& place : places)
        place = {};
    prepare_places();
}

__attribute__((constructor)) void prepare()
{
    prepare_places();
    pthread_atfork(nullptr, nullptr, forget_all_streams);
}

// A place that is neither taken nor has a stream on the link.
Place* take_place(int link)
{
    const Guard guard(places_mutex);
    Place* free_one = nullptr;
    for (Place& place : places) {
        const Guard place_guard(place.mutex);
        if (place.is_taken && place.link == link) return nullptr;
        if (!place.is_taken) free_one = &place;
    }
    if (!free_one) return nullptr;
    free_one->is_taken = true;
    free_one->link = link;
    return free_one;
}

void give_back(Place& place)
{
    const Guard guard(places_mutex);
    place.link = 0;
    place.is_taken = false;
}

} // namespace

double KX_Stream_Clock(void)
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void KX_Stream_Defaults(KX_STREAM_OPTIONS* options)
{
    *options = {};
    options->size = sizeof *options;
    options->rate = 200;
    options->look_ahead = 0.1;
    options->watchdog = 0.2;
    options->silence = 0.5;
    for (int i = 0; i < most_joints; ++i) {
        options->velocity[i] = 90;
        options->acceleration[i] = 400;
        options->jerk[i] = 4000;
    }
    options->following_error = 20;
    options->priority = 20;
}

int KX_Stream_Open(int link, const KX_STREAM_OPTIONS* given)
{
    static int opened;
    const int model = link_model(link);
    if (model == 0) return -KX_BAD_DESCRIPTOR;
    KX_STREAM_OPTIONS options = completed(given);
    ARM_MODEL arm;
    Arm_Model_Init(&arm, model, 0);
    if (options.arm && options.arm->model != model) return -KX_WRONG_TYPE;
    if (options.arm) arm = *options.arm;
    if (!is_possible(options, arm.joints)) return -KX_WRONG_TYPE;
    float start[most_joints];
    if (const int fault = Get_Joint_Degree(link, start)) return -fault;

    Place* place = take_place(link);
    if (!place) return -KX_NO_SOCKET;
    void* memory = malloc(sizeof(Body));
    if (!memory) {
        give_back(*place);
        return -KX_NO_MEMORY;
    }
    const Guard guard(place->mutex);
    place->body = new (memory) Body(options, arm, start);
    place->is_orphan = false;
    listen_to_pushes(link, take_push, &place->body->told);
    if (!start_quiet_thread(&place->sender, send_set_points, place)) {
        listen_to_pushes(link, nullptr, nullptr);
        free(memory);
        place->body = nullptr;
        give_back(*place);
        return -KX_NO_SOCKET;
    }
    const int index = static_cast<int>(place - places);
    place->handle = first_handle + __atomic_fetch_add(&opened, 1, __ATOMIC_RELAXED) * stream_capacity + index;
    return place->handle;
}

// What an application asks of a stream may begin or end it.
template <class Ask>
static int ask(int handle, Ask ask_for)
{
    const Locked stream(handle);
    if (!stream) return KX_BAD_DESCRIPTOR;
    const int status = ask_for(*stream.place().body);
    pthread_cond_broadcast(&stream.place().changed);
    return status;
}

int KX_Stream_Joints(int handle, const float* joint, double time)
{
    return ask(handle, [&](Body& body) { return body.flight.pass(joint, time, KX_Stream_Clock()); });
}

int KX_Stream_Pose(int handle, POSE pose, double time)
{
    return ask(handle, [&](Body& body) { return body.flight.pass(pose, time, KX_Stream_Clock()); });
}

int KX_Stream_Speed(int handle, double factor)
{
    return ask(handle, [&](Body& body) { return body.flight.set_speed(factor, KX_Stream_Clock()); });
}

int KX_Stream_Pause(int handle)
{
    return ask(handle, [](Body& body) { return body.flight.pause(true, KX_Stream_Clock()); });
}

int KX_Stream_Resume(int handle)
{
    return ask(handle, [](Body& body) { return body.flight.pause(false, KX_Stream_Clock()); });
}

int KX_Stream_Stop(int handle)
{
    return ask(handle, [](Body& body) {
        if (body.flight.reason() != KX_STREAM_RUNS) return KX_ENDED;
        body.flight.end(KX_STREAM_STOPPED);
        return KX_SUCCESS;
    });
}

static bool check(const char* path, const ARM_MODEL& arm, const KX_STREAM_OPTIONS& options,
                  Trajectory& trajectory, KX_TRAJECTORY_FAULT* fault)
{
    KX_TRAJECTORY_FAULT found = {};
    const bool is_fine = trajectory.read(path, arm.joints, found) &&
                         trajectory.keeps(limits_of(options, arm), tool_path_of(options, arm), found);
    if (is_fine) found = {};
    if (fault) *fault = found;
    return is_fine;
}

int KX_Stream_Check(const char* path, int model, const KX_STREAM_OPTIONS* given, KX_TRAJECTORY_FAULT* fault)
{
    const KX_STREAM_OPTIONS options = completed(given);
    ARM_MODEL arm;
    if (Arm_Model_Init(&arm, model, 0)) return KX_NOT_RUNNING;
    Trajectory trajectory;
    return check(path, options.arm ? *options.arm : arm, options, trajectory, fault) ? KX_SUCCESS
                                                                                     : KX_REFUSED;
}

int KX_Stream_Play(int handle, const char* path, KX_TRAJECTORY_FAULT* fault)
{
    KX_STREAM_OPTIONS options;
    ARM_MODEL arm;
    const int known = ask(handle, [&](Body& body) {
        options = body.options;
        arm = body.flight.arm();
        return KX_SUCCESS;
    });
    if (known) return known;
    Trajectory trajectory; // read while the stream runs
    if (!check(path, arm, options, trajectory, fault)) return KX_REFUSED;
    return ask(handle, [&](Body& body) { return body.flight.play(trajectory, KX_Stream_Clock()); });
}

int KX_Stream_Wait(int handle, int timeout_ms)
{
    const timespec until = at(KX_Stream_Clock() + timeout_ms / 1000.0);
    const Locked stream(handle);
    if (!stream) return KX_BAD_DESCRIPTOR;
    Place& place = stream.place();
    stream->finish();
    pthread_cond_broadcast(&place.changed);
    int status = 0;
    while (status == 0 && place.handle == handle && place.link != 0)
        status = timeout_ms < 0
                     ? pthread_cond_wait(&place.changed, &place.mutex)
                     : pthread_cond_clockwait(&place.changed, &place.mutex, CLOCK_MONOTONIC, &until);
    if (place.handle != handle) return KX_CANCELLED;
    if (place.link != 0) return KX_TIMED_OUT;
    return stream->reason() == KX_STREAM_ARRIVED ? KX_SUCCESS : KX_ENDED;
}

KX_STREAM_END KX_Stream_Reason(int handle)
{
    const Locked stream(handle);
    return stream ? stream->reason() : KX_STREAM_STOPPED;
}

int KX_Stream_State(int handle, KX_STREAM_CYCLE* cycle)
{
    return ask(handle, [&](Body& body) {
        body.flight.fill(*cycle);
        return KX_SUCCESS;
    });
}

int KX_Stream_Counters(int handle, KX_STREAM_COUNTERS* counters)
{
    return ask(handle, [&](Body& body) {
        KX_STREAM_COUNTERS all = {};
        const auto milliseconds = [](double seconds) { return seconds < 0 ? -1 : 1000 * seconds; };
        body.flight.fill(all);
        all.size = counters->size < sizeof all ? counters->size : sizeof all;
        all.priority = body.priority;
        all.jitter_median = milliseconds(body.jitter.quantile(0.5));
        all.jitter_p99 = milliseconds(body.jitter.quantile(0.99));
        all.jitter_most = milliseconds(body.jitter.most());
        memcpy(counters, &all, all.size);
        return KX_SUCCESS;
    });
}

int KX_Stream_Close(int handle)
{
    Place* place;
    {
        const Locked stream(handle);
        if (!stream) return KX_BAD_DESCRIPTOR;
        place = &stream.place();
        stream->end(KX_STREAM_STOPPED);
        place->handle = 0;
        const bool is_own = pthread_equal(place->sender, pthread_self());
        place->is_orphan = is_own;
        pthread_cond_broadcast(&place->changed);
        if (is_own) {
            pthread_detach(place->sender);
            return KX_SUCCESS;
        }
    }
    pthread_join(place->sender, nullptr);
    release(*place);
    return KX_SUCCESS;
}
