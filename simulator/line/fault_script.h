// A script of faults: each line says when, and then which fault.
//
//   2.5 silence             # 2.5 s after the first client connected, in simulated time
//   movej reset             # before the first movej is acted on
//   movej+0.4 collision     # 0.4 s after it
//   4 silence off
//
// Each line takes effect once.
#pragma once

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kx::sim {

class FaultScript {
  public:
    /** Says what is wrong with the text of a fault, or gives an empty text. */
    using Check = std::function<std::string(const std::string& fault)>;

    FaultScript() = default;

    /** @throws std::invalid_argument with name and line number */
    FaultScript(std::istream& in, const std::string& name, const Check& check);

    void connected(double time);
    void requested(const std::string& command, double time);
    bool awaits_requests() const { return !awaiting_.empty(); }

    std::optional<double> next_event() const;

    struct Due {
        double time;
        std::string fault;
    };

    /** Takes out the next fault that is due. */
    std::optional<Due> due(double time);

  private:
    struct Line {
        std::string command; ///< none: the first connection
        double after;
        std::string fault;
    };

    std::vector<Line> awaiting_;
    std::multimap<double, std::string> timed_;
};

} // namespace kx::sim
