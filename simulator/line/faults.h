// What happens on demand, for testing applications: faults of the lines to the clients, of their connections
// and of the arm, and what somebody beside the arm does.
//
// It is asked for in a line of text, for instance "delay 200 jitter 50" or "di 1 on". A fault takes the place
// of an earlier one of its name; "delay off" ends it, "off" ends them all. Command line, scripts, control port
// and page use the same text. The table in faults.cpp holds all there is.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "commands/virtual_controller.h"

namespace kx::sim {

/** What happens to the lines to all clients. Shares are of the lines, 0 to 1. */
struct LineFaults {
    using Milliseconds = std::chrono::duration<double, std::milli>;

    Milliseconds delay{}, jitter{};
    double drop = 0;
    double garbage = 0;       ///< comes as a line of its own before the line
    std::size_t length = 0;   ///< to which a line is filled up
    double long_share = 0;    ///< of lines that are filled up
    int pieces = 1;           ///< in which a chunk leaves,
    Milliseconds pause{};     ///< and the time between two of them
    std::size_t together = 1; ///< lines in a chunk,
    Milliseconds company{};   ///< and how long the first of them waits for the others
    bool silent = false;      ///< nothing is read or sent, connections stay open
};

/** The dice for one client. All is drawn for every line, so each fault strikes the same lines every time,
 * whatever other faults there are. */
class Luck {
  public:
    Luck(unsigned seed, int client);

    LineFaults::Milliseconds delay(const LineFaults& faults);

    /** The lines that leave in place of this one. */
    std::vector<std::string> sent_for(std::string line, const LineFaults& faults);

  private:
    std::mt19937 early_, late_; ///< lines are delayed before they queue up, the rest comes when they leave
};

/** All that faults act on. */
struct FaultTarget {
    LineFaults lines = {};
    Controller* controller = nullptr; ///< none if another controller answers, or a recording
    std::function<void()> reset_connections = {};
    std::function<void(double factor)> set_speed = {};
    std::function<void(bool on)> pause = {};
    std::function<void(double seconds)> step = {};
    double speed = 1; ///< at the start
};

class Faults {
  public:
    using Action = std::function<void(FaultTarget&)>;

    explicit Faults(FaultTarget target) : target_(std::move(target)) {}

    /** Begins or ends what the text says. Returns what is wrong with the text, and then does nothing. */
    std::string apply(const std::string& text);

    /** What apply() would find wrong with the text. */
    std::string check(const std::string& text) const;

    const LineFaults& lines() const { return target_.lines; }

    /** The texts of all faults that go on. */
    std::vector<std::string> in_force() const;

    /** How they are written. */
    struct Form {
        std::string_view name, arguments, help;
        bool needs_arm; ///< a simulated one
    };
    static std::vector<Form> forms();

    /** One line for each. */
    static std::string help();

  private:
    struct Parsed;
    Parsed parse(const std::string& text) const;

    FaultTarget target_;
    std::map<std::string, std::string, std::less<>> in_force_; ///< text by name
};

} // namespace kx::sim
