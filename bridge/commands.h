// What an arm is told to do by topics: judged, then carried out by a stream, which keeps the limits and brakes when
// commands cease.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <kx/arm.hpp>

#include "dds.h"
#include "speaker.h"

namespace kx::bridge {

/** Carries out what one sender at a time tells. Nothing moves for a message that is refused. */
class Commander {
  public:
    /** @param joints their names, in the arm's order
     *  All must live longer. */
    Commander(const Arm& arm, const std::vector<std::string>& joints, const KX_STREAM_OPTIONS& options,
              Speaker& speaker)
        : arm_(arm), joints_(joints), options_(options), speaker_(speaker)
    {
        Arm_Model_Init(&model_, arm.model(), 0);
    }

    /** Goes there: with a stamp, along the way of those before and after it; without one so as to rest there. */
    void take(const JointState& told, dds_instance_handle_t sender);

    /** Plays it from where the arm stands; one without points stops. */
    void take(const JointTrajectory& told, dds_instance_handle_t sender);

    /** Says when a stream has ended, and why. */
    void look();

    int refused() const { return refused_; }               ///< messages
    const std::string& doing() const { return doing_; }    ///< in words
    const std::string& ended() const { return last_end_; } ///< why the last stream did, in words

  private:
    template <class Function>
    void judge(const char* what, Function function);
    void follow(const JointState& told, dds_instance_handle_t sender);
    void play(const JointTrajectory& told, dds_instance_handle_t sender);
    void begin(const char* doing, dds_instance_handle_t sender);
    void end();
    bool is_running() const { return stream_ && stream_->end() == KX_STREAM_RUNS; }

    const Arm& arm_;
    const std::vector<std::string>& joints_;
    const KX_STREAM_OPTIONS& options_;
    Speaker& speaker_;
    ARM_MODEL model_;
    std::optional<Stream<Throwing>> stream_; ///< while something is carried out
    dds_instance_handle_t sender_ = 0;       ///< of that
    bool is_playing_ = false;                ///< a trajectory
    double last_stamp_ = 0;                  ///< of a JointState, s
    int refused_ = 0;
    std::string doing_ = "nothing", last_end_ = "none";
};

} // namespace kx::bridge
