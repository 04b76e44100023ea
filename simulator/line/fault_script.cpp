#include "line/fault_script.h"

#include <cstdlib>
#include <istream>
#include <sstream>
#include <stdexcept>

#include "commands/command.h"

namespace kx::sim {

namespace {

/** @throws std::invalid_argument if it is no number of seconds */
double seconds(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !(value >= 0 && value <= 1e9))
        throw std::invalid_argument("\"" + text + "\" is neither a time in seconds nor a command");
    return value;
}

} // namespace

FaultScript::FaultScript(std::istream& in, const std::string& name, const Check& check)
{
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        std::istringstream words(text.substr(0, text.find('#')));
        std::string when;
        if (!(words >> when)) continue;
        try {
            const auto plus = when.find('+');
            Line line{when.substr(0, plus), plus == when.npos ? 0 : seconds(when.substr(plus + 1)), {}};
            if (!find_command(line.command)) line = {"", seconds(when), {}};
            for (std::string word; words >> word;)
                line.fault += (line.fault.empty() ? "" : " ") + word;
            if (const std::string wrong = check(line.fault); !wrong.empty())
                throw std::invalid_argument(wrong);
            awaiting_.push_back(line);
        } catch (const std::invalid_argument& wrong) {
            throw std::invalid_argument(name + ':' + std::to_string(number) + ": " + wrong.what());
        }
    }
    if (!in.eof()) throw std::invalid_argument("cannot read the faults in " + name);
}

void FaultScript::connected(double time)
{
    requested("", time);
}

void FaultScript::requested(const std::string& command, double time)
{
    for (const Line& line : awaiting_)
        if (line.command == command) timed_.emplace(time + line.after, line.fault);
    std::erase_if(awaiting_, [&](const Line& line) { return line.command == command; });
}

std::optional<double> FaultScript::next_event() const
{
    if (timed_.empty()) return std::nullopt;
    return timed_.begin()->first;
}

std::optional<FaultScript::Due> FaultScript::due(double time)
{
    if (timed_.empty() || timed_.begin()->first > time) return std::nullopt;
    const auto next = timed_.extract(timed_.begin());
    return Due{next.key(), next.mapped()};
}

} // namespace kx::sim
