// What the bridge says on standard error.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace kx::bridge {

/** One line a second at most, whoever sends whatever. Any thread may speak. */
class Speaker {
  public:
    explicit Speaker(std::string name) : name_(std::move(name)) {}
    void say(const std::string& what);

  private:
    const std::string name_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point next_ = {};
    int unsaid_ = 0;
};

/** What somebody sent, fit for a terminal. */
std::string printable(std::string text);

} // namespace kx::bridge
