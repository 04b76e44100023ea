#include "line/script.h"

#include <cstdlib>
#include <istream>
#include <sstream>
#include <stdexcept>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr std::size_t most_due = 10000; // at a time, whatever a client switches to and fro
constexpr std::size_t most_said = 1000; // one after the other, of what has not yet come about

std::optional<double> seconds(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !(value >= 0 && value <= 1e9)) return {};
    return value;
}

std::string event_of(std::size_t output, bool on)
{
    return "do " + std::to_string(output) + (on ? " rises" : " falls");
}

/** A word of when; commas may stand between them. */
std::string next(std::istream& words)
{
    std::string word;
    words >> word;
    if (word.ends_with(',')) word.pop_back();
    return word;
}

/** What stands behind `do`. @throws std::invalid_argument */
std::string switched_output(std::istream& words)
{
    const std::string channel = next(words), edge = next(words);
    for (std::size_t output = 1; output <= io_channels; ++output)
        for (const bool on : {true, false})
            if (const std::string event = event_of(output, on); event == "do " + channel + ' ' + edge)
                return event;
    throw std::invalid_argument("after do stand an output, 1 to 4, and rises or falls");
}

} // namespace

bool Script::says_when(const std::string& line)
{
    std::istringstream words(line);
    const std::string first = next(words);
    return first == "every" || first == "do" || seconds(first) || is_called(first.substr(0, first.find('+')));
}

Script::Line Script::parse(const std::string& text, const Check& check)
{
    std::istringstream words(text);
    std::string word = next(words);
    Line line;
    line.every = word == "every";
    if (line.every) word = next(words);

    if (word == "do") {
        line.event = switched_output(words);
        if ((words >> std::ws).peek() == '+') word = next(words);
    }
    const auto plus = word.find('+');
    const bool is_delayed = plus != word.npos;
    if (line.event.empty() && is_called(word.substr(0, plus))) line.event = word.substr(0, plus);
    if (line.event.empty() || is_delayed) {
        const std::string number = line.event.empty() ? word : word.substr(plus + 1);
        const auto after = seconds(number);
        if (!after)
            throw std::invalid_argument("\"" + number + "\" is neither a time in seconds nor a command");
        line.after = *after;
    }
    if (line.every && line.event.empty())
        throw std::invalid_argument("every is followed by a command or by an output");

    while (words >> word)
        line.text += (line.text.empty() ? "" : " ") + word;
    if (const std::string wrong = check(line.text); !wrong.empty()) throw std::invalid_argument(wrong);
    return line;
}

Script::Script(std::istream& in, const std::string& name, const Check& check, const Pick& pick)
{
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        text.erase(std::min(text.find('#'), text.size()));
        if (text.find_first_not_of(" \t\r") == text.npos) continue;
        try {
            if (const auto mine = pick(text)) awaiting_.push_back(parse(*mine, check));
        } catch (const std::invalid_argument& wrong) {
            throw std::invalid_argument(name + ':' + std::to_string(number) + ": " + wrong.what());
        }
    }
    if (!in.eof()) throw std::invalid_argument("cannot read the script " + name);
}

void Script::add(const std::string& text, const Check& check, double time)
{
    const Line line = parse(text, check);
    if (awaiting_.size() + timed_.size() >= most_said)
        throw std::invalid_argument("too much is to happen already");
    if (line.event.empty())
        timed_.emplace(time + line.after, line.text);
    else
        awaiting_.push_back(line);
}

void Script::connected(double time)
{
    happened("", time);
}

void Script::switched(std::size_t output, bool on, double time)
{
    happened(event_of(output, on), time);
}

void Script::happened(const std::string& event, double time)
{
    for (const Line& line : awaiting_)
        if (line.event == event && timed_.size() < most_due) timed_.emplace(time + line.after, line.text);
    std::erase_if(awaiting_, [&](const Line& line) { return line.event == event && !line.every; });
}

std::optional<double> Script::next_event() const
{
    if (timed_.empty()) return std::nullopt;
    return timed_.begin()->first;
}

std::optional<Script::Due> Script::due(double time)
{
    if (timed_.empty() || timed_.begin()->first > time) return std::nullopt;
    const auto first = timed_.extract(timed_.begin());
    return Due{first.key(), first.mapped()};
}

} // namespace kx::sim
