/**
 * @file
 * Streams of targets: smooth motion through targets that come as they come. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_STREAM_HPP
#define KX_ARM_STREAM_HPP

#include "kx/arm/group.hpp"
#include "kx/stream.h"

#include <chrono>
#include <string>
#include <utility>

namespace kx {

/** What a stream shall be like: as KX_Stream_Defaults gives it, to be changed. */
inline KX_STREAM_OPTIONS stream_options()
{
    KX_STREAM_OPTIONS options;
    KX_Stream_Defaults(&options);
    return options;
}

/**
 * A stream of targets to an arm, with a sender of its own that interpolates and keeps the limits; kx/stream.h says how.
 * Brakes and ends when this goes. Any thread may call any function.
 */
template <class Errors>
class Stream {
  public:
    /** Opens it, where the arm stands.
     *  @param bond the arm, which must live longer
     *  @param options limits, look-ahead, watchdog */
    Stream(const Bond& bond, const KX_STREAM_OPTIONS& options)
        : bond_(bond), stream_(KX_Stream_Open(bond.link, &options))
    {
        if constexpr (!std::is_same_v<Done<Errors>, Status>)
            Errors::done(bond.link, "KX_Stream_Open", opened().code());
    }

    /** What was another's; that one may then only be destroyed. */
    Stream(Stream&& other) noexcept : bond_(other.bond_), stream_(std::exchange(other.stream_, 0)) {}

    Stream& operator=(Stream&&) = delete;

    ~Stream()
    {
        if (stream_ > 0) KX_Stream_Close(stream_);
    }

    /** Whether it was opened, with kx::nothrow::Arm. */
    Status opened() const { return stream_ < 0 ? -stream_ : int(KX_SUCCESS); }

    /** The clock of targets: now. */
    static Time now() { return std::chrono::steady_clock::now(); }

    /** Gives the next target: passed `look_ahead` after its time. False, and not taken, once the stream has ended. */
    Value<Errors, bool> joints(const Degrees& target, Time time) const { return send(target, seconds(time)); }

    /** Goes for a target at once, so as to rest there. */
    Value<Errors, bool> joints(const Degrees& target) const { return send(target, 0); }

    /** The same with a pose of the tool, reached in the arm's present posture. */
    Value<Errors, bool> pose(const Pose& target, Time time) const { return send(target, seconds(time)); }

    /** Goes for a pose at once. */
    Value<Errors, bool> pose(const Pose& target) const { return send(target, 0); }

    /** Plays a trajectory, rows of `time, joint 1, ...` in s and degrees, with its first violation as the reason of a refusal. */
    Done<Errors> play(const std::string& path) const
    {
        KX_TRAJECTORY_FAULT fault = {};
        const int status = KX_Stream_Play(stream_, path.c_str(), &fault);
        const std::string wrong =
            path + ", line " + std::to_string(fault.line) + ": " + KX_Trajectory_Words(fault.violation);
        return Errors::done(bond_.link, "KX_Stream_Play", status,
                            status == KX_REFUSED ? wrong.c_str() : nullptr);
    }

    /** Sets the speed along the path, 0 to 1.5. */
    Done<Errors> set_speed(double factor) const
    {
        return done("KX_Stream_Speed", KX_Stream_Speed(stream_, factor));
    }

    /** Brakes on the path and waits there. */
    Done<Errors> pause() const { return done("KX_Stream_Pause", KX_Stream_Pause(stream_)); }

    /** Goes on after pause(). */
    Done<Errors> resume() const { return done("KX_Stream_Resume", KX_Stream_Resume(stream_)); }

    /** Brakes as fast as the limits allow, and ends the stream. */
    void stop() const { KX_Stream_Stop(stream_); }

    /** Says that no more targets follow, and waits until the arm stands at the last one. False: it ended otherwise,
     *  end() says why. TimedOut when it is still on its way. */
    Value<Errors, bool> finish(std::chrono::milliseconds timeout = std::chrono::minutes(10)) const
    {
        return running("KX_Stream_Wait", KX_Stream_Wait(stream_, detail::milliseconds(timeout)));
    }

    /** Why it has ended; KX_STREAM_RUNS while it runs. */
    KX_STREAM_END end() const { return KX_Stream_Reason(stream_); }

    /** That in words. */
    std::string end_words() const { return KX_Stream_Words(end()); }

    /** The last cycle: where targets lead, what was sent, what the arm told. */
    KX_STREAM_CYCLE cycle() const
    {
        KX_STREAM_CYCLE cycle = {};
        KX_Stream_State(stream_, &cycle);
        return cycle;
    }

    /** What it has done: lag, late and limited cycles, following error. */
    KX_STREAM_COUNTERS counters() const
    {
        KX_STREAM_COUNTERS counters = {};
        counters.size = sizeof counters;
        KX_Stream_Counters(stream_, &counters);
        return counters;
    }

    /** For the functions of kx/stream.h. */
    int handle() const { return stream_; }

  private:
    static double seconds(Time time)
    {
        return std::chrono::duration<double>(time.time_since_epoch()).count();
    }

    Done<Errors> done(const char* command, int status) const
    {
        return Errors::done(bond_.link, command, status,
                            status == KX_ENDED ? KX_Stream_Words(end()) : nullptr);
    }

    // A stream that has ended is no error of the call: true while it runs, or has arrived.
    Value<Errors, bool> running(const char* command, int status) const
    {
        const bool has_ended = status == KX_ENDED;
        return Errors::value(bond_.link, command, has_ended ? int(KX_SUCCESS) : status, !has_ended);
    }

    Value<Errors, bool> send(const Degrees& target, double time) const
    {
        const bool fits = target.size() == bond_.joint_count();
        return running("KX_Stream_Joints",
                       fits ? KX_Stream_Joints(stream_, target.data(), time) : int(KX_NOT_FINITE));
    }

    Value<Errors, bool> send(const Pose& target, double time) const
    {
        return running("KX_Stream_Pose", KX_Stream_Pose(stream_, target, time));
    }

    Bond bond_;
    int stream_;
};

} // namespace kx

#endif
