// A stream without thread, link or clock: takes targets and what the arm tells, gives set-points, and decides when
// it ends.
#ifndef KX_STREAMING_FLIGHT_H
#define KX_STREAMING_FLIGHT_H

#include "kx/stream.h"
#include "streaming/pilot.h"
#include "streaming/trajectory.h"
#include "streaming/watch.h"

namespace kx::streaming {

// The caller's options, with defaults for what it knows nothing of.
KX_STREAM_OPTIONS completed(const KX_STREAM_OPTIONS* given);

// What they ask of an arm; false if that is out of range.
bool is_possible(const KX_STREAM_OPTIONS& options, int joints);
ArmLimits limits_of(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm);
ToolPath tool_path_of(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm);

class Flight {
  public:
    Flight(const KX_STREAM_OPTIONS& options, const ARM_MODEL& arm, const float* start, Knot* ring,
           int capacity);

    double cycle() const { return 1 / options_.rate; }
    const ARM_MODEL& arm() const { return arm_; }
    bool has_begun() const { return has_begun_; } // there is something to send
    bool has_ended() const { return has_ended_; } // and there is nothing any more
    KX_STREAM_END reason() const { return reason_; }
    const ArmState& set_point() const { return pilot_.set_point(); }

    // As the functions of kx/stream.h. Times are those of now, s.
    int pass(const float* joint, double time, double now);
    int pass(const POSE& pose, double time, double now);
    int play(Trajectory& trajectory, double now); // takes its rows
    int set_speed(double factor, double now);
    int pause(bool shall_pause, double now);
    int finish();

    void end(KX_STREAM_END reason); // the first one counts

    // An answer to a set-point: with the arm's error and, if there is none, its joints.
    void told(double time, bool is_refused, int error, const Joints& measured);

    // One cycle: true if its set-point is to be sent.
    bool advance(double now);
    void sent(double now, bool is_late);

    void fill(KX_STREAM_CYCLE& cycle) const;
    void fill(KX_STREAM_COUNTERS& counters) const;

  private:
    int status() const { return reason_ == KX_STREAM_RUNS ? KX_SUCCESS : KX_ENDED; }
    int take(const float* joint, double time, double now);
    void look(double now);

    KX_STREAM_OPTIONS options_;
    ARM_MODEL arm_;
    Pilot pilot_;
    Watch watch_;
    Trajectory trajectory_;
    KX_STREAM_END reason_ = KX_STREAM_RUNS;
    bool has_begun_ = false, has_ended_ = false, is_finishing_ = false, is_paused_ = false;
    double speed_ = 1;
    float last_[most_joints]; // target, degrees
    double last_at_ = 0;      // when it came
    double now_ = 0;          // of the last cycle
    double ended_at_ = 0;
    uint64_t targets_ = 0, ignored_ = 0, late_targets_ = 0, cycles_ = 0, late_cycles_ = 0,
             limited_cycles_ = 0;
    uint64_t pushes_ = 0;
};

} // namespace kx::streaming

#endif
