// One arm as topics: a thread that keeps it connected, says how it is, and hands on what it is told to do.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <kx/arm.hpp>

#include "commands.h"
#include "dds.h"
#include "frames.h"

namespace kx::bridge {

/** How to reach an arm, and what stands before its names: of joints, of frames, and of the topics that are its own. */
struct Address {
    std::string prefix, host;
    int port, model;
};

/** What holds for all arms of a bridge. */
struct Options {
    double rate = 50;   ///< of joint states and transforms, Hz
    double wrench = 0;  ///< of the force sensor, Hz; 0: it is not asked
    bool has_tf = true; ///< whether transforms are published
    bool obeys = false; ///< whether commands are taken
    KX_STREAM_OPTIONS stream = stream_options();
    std::map<std::string, std::string> renamed; ///< topics, without their prefix
};

class BridgedArm {
  public:
    BridgedArm(const Domain& domain, const Address& address, const Options& options);
    ~BridgedArm();

  private:
    /** What diagnostics tell beside what is done. */
    struct Health {
        int status = KX_LOST; ///< of the last question
        int arm_error = 0, controller_error = 0;
        bool operator==(const Health&) const = default;
    };

    std::string own_topic(const std::string& name) const;
    void run();
    void serve();
    void publish(const State& state);
    bool publish_wrench(const Arm& arm);
    void diagnose(const Commander* commander);
    Health health();
    void note(const Health& health);

    const Address address_;
    const Options options_;
    const std::vector<std::string> joints_; ///< their names
    const std::string description_;
    const Frames frames_;
    const std::string flange_;          ///< its frame
    const std::string hardware_, name_; ///< in diagnostics
    Speaker speaker_;
    Bell bell_; ///< rings for commands, for news of health, and at the end
    const Writer<JointState> joint_states_;
    const Writer<Diagnostics> diagnostics_;
    const Writer<Text> robot_description_;
    std::optional<const Writer<Transforms>> tf_, tf_static_;
    std::optional<const Writer<WrenchStamped>> wrench_;
    std::optional<const Reader<JointState>> joint_commands_;
    std::optional<const Reader<JointTrajectory>> trajectories_;
    std::mutex mutex_; ///< guards the health, which the library's thread notes
    Health health_;
    std::atomic<bool> is_ending_ = false;
    std::thread thread_;
};

} // namespace kx::bridge
