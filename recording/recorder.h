// Records an arm: takes what happens on any thread within microseconds, and has a thread of its own write it.
//
// Messages are put down as they come; twice a second that thread makes a chunk of them. While the disk is slower than that
// they wait, up to a bound; what is beyond is lost, counted, and said in the recording.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "recording/writer.h"

namespace kx::recording {

class Recorder {
  public:
    /**
     * @param joints their names
     * @param description of the robot, empty if there is none
     * @throws std::system_error if the file cannot be written
     */
    Recorder(const std::string& file, Existing existing, std::vector<std::string> joints,
             const std::string& description);

    ~Recorder() { finish(); }
    Recorder(const Recorder&) = delete;

    /** A line of the wire, of the client of this number, counted from 1. */
    void request(int client, std::string_view line);
    void reply(int client, std::string_view line);

    void event(int client, std::string_view what);

    /** Where the arm was, and its error codes, of which changes are events.
     *  @param positions rad, one for every joint */
    void state(std::chrono::steady_clock::time_point when, std::span<const double> positions, int arm_error,
               int controller_error);

    /** Writes what there is; nothing more is taken. */
    void finish();

    std::uint64_t taken() const { return taken_; }
    std::uint64_t lost() const { return lost_; }

    /** Why nothing more is written, empty as long as all is. */
    std::string trouble() const;

  private:
    enum Topic : std::uint16_t { joints_topic, wire_topic, events_topic, description_topic, topic_count };

    void record(Topic topic, std::string_view data, std::optional<std::uint64_t> publish_time = {});
    std::uint64_t nanoseconds(std::chrono::steady_clock::time_point when) const;
    void run();
    template <typename Write>
    void attempt(const Write& write);

    const std::vector<std::string> joints_;
    const std::uint64_t began_; ///< ns since 1970
    const std::chrono::steady_clock::time_point began_steady_ = std::chrono::steady_clock::now();
    std::atomic<int> arm_error_ = 0, controller_error_ = 0;
    std::atomic<std::uint64_t> taken_ = 0, lost_ = 0;

    Writer writer_; ///< of the thread alone
    mutable std::mutex mutex_;
    std::condition_variable due_;
    std::string waiting_; ///< messages; those of JSON topics are still to be worded
    std::uint32_t sequences_[topic_count] = {};
    std::uint64_t unsaid_ = 0; ///< losses
    std::string trouble_;
    bool ending_ = false;
    std::thread thread_;
};

} // namespace kx::recording
