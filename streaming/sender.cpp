// Keeps absolute time, sends one set-point a cycle, and listens to what comes back.
#include "streaming/sender.h"
#include "kx/pass_through.h"
#include "runtime/command.h"
#include "runtime/push.h"
#include "runtime/quiet_thread.h"

#include <cjson/cJSON.h>
#include <math.h>
#include <sched.h>
#include <string.h>
#include <sys/prctl.h>

namespace kx::streaming {

static void take_push(const cJSON* push, void* user)
{
    Told& told = *static_cast<Told*>(user);
    float pose[6], joint[most_joints] = {};
    const int status = decode_push(push, told.joints, pose, joint);
    const cJSON* error = cJSON_GetObjectItem(push, "arm_err");
    const Guard guard(told.mutex);
    ++told.count;
    told.time = KX_Stream_Clock();
    told.is_refused = told.is_refused || status != KX_SUCCESS;
    if (cJSON_IsNumber(error) && error->valueint != 0) told.error = error->valueint;
    for (int i = 0; i < told.joints; ++i)
        told.measured[i] = static_cast<double>(joint[i]) / 1000; // it tells thousandths
}

static void hear(Body& body)
{
    Told& told = body.told;
    const Guard guard(told.mutex);
    for (; told.count > 0; --told.count)
        body.flight.told(told.time, told.is_refused, told.error, told.measured);
    told.is_refused = false;
    told.error = 0;
}

// The wire truncates to thousandths; so this rounds.
static void round_to_wire(float* joint, int joints)
{
    for (int i = 0; i < joints; ++i) {
        const double thousandths = round(1000 * static_cast<double>(joint[i]));
        joint[i] = static_cast<float>((thousandths + copysign(0.25, thousandths)) / 1000);
    }
}

static int take_priority(int wanted)
{
    prctl(PR_SET_TIMERSLACK, 1UL);
    sched_param parameters = {};
    parameters.sched_priority = wanted;
    return wanted > 0 && pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0 ? wanted : 0;
}

static bool wait_for_the_beginning(Place& place, const Flight& flight)
{
    const Guard guard(place.mutex);
    while (!flight.has_begun() && !flight.has_ended())
        pthread_cond_wait(&place.changed, &place.mutex);
    return !flight.has_ended();
}

// One set-point, planned for a time at which the sender has just woken, or should have. False at the end.
static bool send_one(Place& place, double due, double woken)
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
            body.flight.end(status == KX_OUTBOX_FULL ? KX_STREAM_SILENT : KX_STREAM_LOST);
        handle = place.handle;
    }
    if (status == KX_SUCCESS && body.options.on_cycle && handle != 0)
        body.options.on_cycle(handle, &cycle, body.options.user);
    return true;
}

static void* send_set_points(void* user)
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
            // What was missed is not sent in a rush: the arm goes on from where it is, and catches up within its
            // limits.
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

bool start_sender(Place& place)
{
    listen_to_pushes(place.link, take_push, &place.body->told);
    if (start_quiet_thread(&place.sender, send_set_points, &place)) return true;
    listen_to_pushes(place.link, nullptr, nullptr);
    return false;
}

} // namespace kx::streaming
