// A script: each line says when, and then what happens; see faults.h.
//
//   2.5 silence                        # 2.5 s after the first client connected, in simulated time
//   movej reset                        # before the first movej is acted on
//   movej+0.4 collision                # 0.4 s after it
//   do 1 rises, +0.5 di 2 on           # 0.5 s after digital output 1 is switched on; or falls
//   every do 1 rises, +0.5 di 2 on     # each time, not only the first
#pragma once

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kx::sim {

class Script {
  public:
    /** Says what is wrong with the text of what happens, or gives an empty text. */
    using Check = std::function<std::string(const std::string& text)>;

    Script() = default;

    /** Whether a line begins with when, and not with what. */
    static bool says_when(const std::string& line);

    /** Adds a line, whose seconds count from a time. @throws std::invalid_argument */
    void add(const std::string& line, const Check& check, double time);

    /** Of a line, what is said to the arm whose script this is; nothing if it is for another one. */
    using Pick = std::function<std::optional<std::string>(const std::string& line)>;

    /** @throws std::invalid_argument with name and line number */
    Script(
        std::istream& in, const std::string& name, const Check& check,
        const Pick& pick = [](const auto& line) { return line; });

    void connected(double time);
    void requested(const std::string& command, double time) { happened(command, time); }
    void switched(std::size_t output, bool on, double time); ///< counted from 1
    bool awaits_something() const { return !awaiting_.empty(); }

    std::optional<double> next_event() const;

    struct Due {
        double time;
        std::string text;
    };

    /** Takes out what is due next. */
    std::optional<Due> due(double time);

  private:
    struct Line {
        std::string event; ///< a command, a switched output; none: the first connection
        double after = 0;
        bool every = false; ///< time, not only the first
        std::string text;
    };

    static Line parse(const std::string& text, const Check& check);
    void happened(const std::string& event, double time);

    std::vector<Line> awaiting_;
    std::multimap<double, std::string> timed_;
};

} // namespace kx::sim
