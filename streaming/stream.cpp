// The functions of kx/stream.h.
#include "kx/state.h"
#include "runtime/command.h"
#include "streaming/sender.h"

#include <new>
#include <stdlib.h>
#include <string.h>

using namespace kx;
using namespace kx::streaming;

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
    place->body = new (memory) Body(options, arm, start);
    if (!start_sender(*place)) {
        release(*place);
        return -KX_NO_SOCKET;
    }
    const Guard guard(place->mutex);
    return place->handle = new_handle(*place);
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
    if (options.arm) arm = *options.arm;
    if (!is_possible(options, arm.joints)) return KX_WRONG_TYPE;
    Trajectory trajectory;
    return check(path, arm, options, trajectory, fault) ? KX_SUCCESS : KX_REFUSED;
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
