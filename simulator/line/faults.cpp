#include "line/faults.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>
#include <stdexcept>

#include "commands/command.h"

namespace kx::sim {

namespace {

/** The words of a fault, read one by one. Everything throws std::invalid_argument. */
class Words {
  public:
    explicit Words(const std::string& text)
    {
        std::istringstream in(text);
        for (std::string word; in >> word;)
            words_.push_back(word);
    }

    bool empty() const { return next_ == words_.size(); }

    std::string word(const char* what)
    {
        if (empty()) throw std::invalid_argument(std::string(what) + " is missing");
        return words_[next_++];
    }

    double number(const char* what, double low, double high)
    {
        const std::string given = word(what);
        char* end = nullptr;
        const double value = std::strtod(given.c_str(), &end);
        if (*end != 0 || !(value >= low && value <= high)) {
            std::ostringstream message;
            message << what << " is a number from " << low << " to " << high << ", not " << given;
            throw std::invalid_argument(message.str());
        }
        return value;
    }

    int whole(const char* what, int low, int high)
    {
        const double value = number(what, low, high);
        if (value != static_cast<int>(value))
            throw std::invalid_argument(std::string(what) + " is a whole number");
        return static_cast<int>(value);
    }

    /** Whether the next word is this one, which is then read. */
    bool take(std::string_view word)
    {
        const bool found = !empty() && words_[next_] == word;
        if (found) ++next_;
        return found;
    }

    void end()
    {
        if (!empty()) throw std::invalid_argument("\"" + words_[next_] + "\" was not expected");
    }

  private:
    std::vector<std::string> words_;
    std::size_t next_ = 0;
};

using Action = Faults::Action;
using Milliseconds = LineFaults::Milliseconds;

Milliseconds milliseconds(Words& words)
{
    return Milliseconds(words.number("MS", 0, 600000));
}

double share(Words& words)
{
    return words.number("SHARE", 0, 1);
}

bool on_or_off(Words& words)
{
    const bool on = words.take("on");
    if (!on && !words.take("off")) throw std::invalid_argument("on or off is missing");
    return on;
}

/** One of the inputs of the surroundings. */
template <auto inputs, typename Read>
Action input(Words& words, Read read)
{
    const int channel = words.whole("CHANNEL", 1, io_channels);
    return [channel, value = read(words)](FaultTarget& target) {
        (target.controller->peripherals().world.*inputs)[static_cast<std::size_t>(channel - 1)] = value;
    };
}

Action set_object(std::optional<Object> object)
{
    return [object](FaultTarget& target) { target.controller->peripherals().world.object = object; };
}

Action push(std::array<double, 3> force)
{
    return [force](FaultTarget& target) { target.controller->peripherals().world.push = force; };
}

Action raise(Fault fault)
{
    return [fault](FaultTarget& target) { target.controller->peripherals().raise(fault); };
}

struct Kind {
    std::string_view name, arguments, help;

    /** Reads the arguments and returns what is then done. */
    Action (*begin)(Words& words, const FaultTarget& target);

    /** Ends it. What happens once, or is for a client to clear, has none. */
    void (*end)(FaultTarget& target) = nullptr;

    bool needs_arm = false; ///< a simulated one
};

constexpr Kind kinds[] = {
    {"delay", "MS [jitter MS]", "every line leaves so much later, and up to the jitter more",
     [](Words& words, const FaultTarget&) -> Action {
         const Milliseconds delay = milliseconds(words);
         const Milliseconds jitter = words.take("jitter") ? milliseconds(words) : Milliseconds{};
         return [=](FaultTarget& target) {
             target.lines.delay = delay;
             target.lines.jitter = jitter;
         };
     },
     [](FaultTarget& target) { target.lines.delay = target.lines.jitter = {}; }},
    {"drop", "SHARE", "this share of the lines is lost, 1 for all",
     [](Words& words, const FaultTarget&) -> Action {
         return [lost = share(words)](FaultTarget& target) { target.lines.drop = lost; };
     },
     [](FaultTarget& target) { target.lines.drop = 0; }},
    {"pieces", "COUNT [pause MS]", "lines leave in so many pieces, 10 ms apart unless told otherwise",
     [](Words& words, const FaultTarget&) -> Action {
         const int pieces = words.whole("COUNT", 1, 300);
         const Milliseconds pause = words.take("pause") ? milliseconds(words) : Milliseconds(10);
         return [=](FaultTarget& target) {
             target.lines.pieces = pieces;
             target.lines.pause = pause;
         };
     },
     [](FaultTarget& target) { target.lines.pieces = 1; }},
    {"together", "COUNT [wait MS]",
     "so many lines leave in one chunk; the first waits for others, 1000 ms unless told otherwise",
     [](Words& words, const FaultTarget&) -> Action {
         const int count = words.whole("COUNT", 1, 100);
         const Milliseconds company = words.take("wait") ? milliseconds(words) : Milliseconds(1000);
         return [=](FaultTarget& target) {
             target.lines.together = static_cast<std::size_t>(count);
             target.lines.company = company;
         };
     },
     [](FaultTarget& target) { target.lines.together = 1; }},
    {"garbage", "SHARE", "a line of noise comes before this share of the lines",
     [](Words& words, const FaultTarget&) -> Action {
         return [noisy = share(words)](FaultTarget& target) { target.lines.garbage = noisy; };
     },
     [](FaultTarget& target) { target.lines.garbage = 0; }},
    {"long", "BYTES [share SHARE]", "lines, or this share of them, are filled up with blanks to this length",
     [](Words& words, const FaultTarget&) -> Action {
         const int length = words.whole("BYTES", 1, 100000);
         const double long_share = words.take("share") ? share(words) : 1;
         return [=](FaultTarget& target) {
             target.lines.length = static_cast<std::size_t>(length);
             target.lines.long_share = long_share;
         };
     },
     [](FaultTarget& target) { target.lines.long_share = 0; }},
    {"silence", "", "nothing is read or sent any more, but connections stay open: a half-open connection",
     [](Words&, const FaultTarget&) -> Action {
         return [](FaultTarget& target) { target.lines.silent = true; };
     },
     [](FaultTarget& target) { target.lines.silent = false; }},
    {"reset", "", "all connections are reset, once; clients may connect again",
     [](Words&, const FaultTarget&) -> Action {
         return [](FaultTarget& target) { target.reset_connections(); };
     }},
    {"refuse", "COMMAND...", "these commands are refused, e.g. refuse movej movel",
     [](Words& words, const FaultTarget&) -> Action {
         std::set<std::string> names;
         do {
             const std::string name = words.word("COMMAND");
             if (!is_called(name)) throw std::invalid_argument("there is no command " + name);
             names.insert(name);
         } while (!words.empty());
         return [names](FaultTarget& target) { target.controller->refuse(names); };
     },
     [](FaultTarget& target) { target.controller->refuse({}); }, true},
    {"joint-error", "JOINT [code CODE]",
     "this joint fails with code 1 or the one given, until a client clears it",
     [](Words& words, const FaultTarget& target) -> Action {
         const int joints = static_cast<int>(target.controller->arm().joint_count());
         const int joint = words.whole("JOINT", 1, joints);
         const int code = words.take("code") ? words.whole("CODE", 1, 65535) : 1;
         return [=](FaultTarget& on) {
             on.controller->arm().drives.fail(static_cast<std::size_t>(joint - 1), code);
         };
     },
     nullptr, true},
    {"collision", "", "the arm hits something and stops, system error 3 until a client clears it",
     [](Words&, const FaultTarget&) { return raise(Fault::collision); }, nullptr, true},
    {"emergency-stop", "",
     "somebody presses the button, system error 1; off: releases it, for a client to clear",
     [](Words&, const FaultTarget&) { return raise(Fault::emergency_stop); },
     [](FaultTarget& target) { target.controller->peripherals().system.release_emergency_stop(); }, true},
    {"error", "CODE",
     "the controller is in system error 1, 2 or 3 (emergency stop, force overload, collision)",
     [](Words& words, const FaultTarget&) {
         return raise(static_cast<Fault>(words.whole("CODE", 1, static_cast<int>(Fault::collision))));
     },
     nullptr, true},
    {"di", "CHANNEL on|off", "a digital input of the controller",
     [](Words& words, const FaultTarget&) { return input<&World::digital_inputs>(words, on_or_off); },
     nullptr, true},
    {"ai", "CHANNEL VOLTS", "an analogue one",
     [](Words& words, const FaultTarget&) {
         return input<&World::analogue_inputs>(words,
                                               [](Words& more) { return more.number("VOLTS", 0, 10); });
     },
     nullptr, true},
    {"tool-di", "CHANNEL on|off", "an input of the tool flange",
     [](Words& words, const FaultTarget&) { return input<&World::tool_inputs>(words, on_or_off); }, nullptr,
     true},
    {"object", "WIDTH [mass KG]",
     "something so many mm wide comes between the gripper's fingers; off: it is gone",
     [](Words& words, const FaultTarget&) {
         Object object{words.number("WIDTH", 1, 100)};
         if (words.take("mass")) object.mass = words.number("KG", 0, 10);
         return set_object(object);
     },
     [](FaultTarget& target) { set_object({})(target); }, true},
    {"push", "X Y Z", "a hand against the flange, N in the base frame; off: it lets go",
     [](Words& words, const FaultTarget&) {
         std::array<double, 3> force{};
         for (double& part : force)
             part = words.number("force", -200, 200);
         return push(force);
     },
     [](FaultTarget& target) { push({})(target); }, true},
    {"pause", "", "simulated time stands still; off: it goes on",
     [](Words&, const FaultTarget&) -> Action { return [](FaultTarget& target) { target.pause(true); }; },
     [](FaultTarget& target) { target.pause(false); }},
    {"step", "SECONDS", "simulated time goes on by so much at once",
     [](Words& words, const FaultTarget&) -> Action {
         return [seconds = words.number("SECONDS", 0, 3600)](FaultTarget& target) { target.step(seconds); };
     }},
    {"speed", "FACTOR", "simulated time runs so many times as fast as real time; off: as at the start",
     [](Words& words, const FaultTarget&) -> Action {
         return [factor = words.number("FACTOR", 0.001, 1000)](FaultTarget& target) {
             target.set_speed(factor);
         };
     },
     [](FaultTarget& target) { target.set_speed(target.speed); }, true},
};

const Kind& kind_of(const std::string& name)
{
    const auto found = std::ranges::find(kinds, name, &Kind::name);
    if (found != std::end(kinds)) return *found;
    std::string names;
    for (const Kind& kind : kinds)
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    throw std::invalid_argument("there is no \"" + name + "\", only " + names);
}

/** Bytes that no line of a controller is taken for: neither letters nor digits, nor line ends. */
std::string noise(std::mt19937 dice)
{
    std::string line(20 + dice() % 40, ' ');
    for (char& c : line)
        c = static_cast<char>(dice() % 4 == 0 ? '!' + dice() % 15 : 0x80 + dice() % 0x80);
    return line + '\n';
}

/** Evenly from 0 to just below 1. */
double draw(std::mt19937& dice)
{
    return std::uniform_real_distribution(0.0, 1.0)(dice);
}

std::mt19937 dice(unsigned seed, int client, unsigned use)
{
    std::seed_seq sequence{seed, static_cast<unsigned>(client), use};
    return std::mt19937(sequence);
}

} // namespace

Luck::Luck(unsigned seed, int client) : early_(dice(seed, client, 0)), late_(dice(seed, client, 1)) {}

LineFaults::Milliseconds Luck::delay(const LineFaults& faults)
{
    return faults.delay + draw(early_) * faults.jitter;
}

std::vector<std::string> Luck::sent_for(std::string line, const LineFaults& faults)
{
    const bool is_lost = draw(late_) < faults.drop;
    const bool is_noisy = draw(late_) < faults.garbage;
    const bool is_long = draw(late_) < faults.long_share;
    const auto seed = late_(); // for the noise, which takes as many numbers as it likes
    std::vector<std::string> out;
    if (is_noisy) out.push_back(noise(std::mt19937(seed)));
    if (is_lost) return out;
    if (is_long && line.size() < faults.length && line.ends_with('\n'))
        line.insert(line.size() - 1, faults.length - line.size(), ' ');
    out.push_back(std::move(line));
    return out;
}

struct Faults::Parsed {
    std::string name; ///< none for all
    bool ends, lasts; ///< until it is ended
    Action act;
};

Faults::Parsed Faults::parse(const std::string& text) const
{
    Words words(text);
    const std::string name = words.word("the fault");
    if (name == "off") {
        words.end();
        return {"", true, false, [](FaultTarget& target) {
                    for (const Kind& kind : kinds)
                        if (kind.end && (target.controller || !kind.needs_arm)) kind.end(target);
                }};
    }
    const Kind& kind = kind_of(name);
    try {
        if (kind.needs_arm && !target_.controller) throw std::invalid_argument("no arm is simulated here");
        const bool ends = words.take("off");
        if (ends && !kind.end) throw std::invalid_argument("there is nothing to end");
        const Action act = ends ? Action(kind.end) : kind.begin(words, target_);
        words.end();
        return {name, ends, kind.end != nullptr, act};
    } catch (const std::invalid_argument& wrong) {
        throw std::invalid_argument(name + ": " + wrong.what());
    }
}

std::string Faults::apply(const std::string& text)
{
    try {
        const Parsed parsed = parse(text);
        parsed.act(target_);
        if (parsed.name.empty())
            in_force_.clear();
        else if (parsed.ends)
            in_force_.erase(parsed.name);
        else if (parsed.lasts)
            in_force_[parsed.name] = text;
        return "";
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

std::string Faults::check(const std::string& text) const
{
    try {
        parse(text);
        return "";
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

std::vector<std::string> Faults::in_force() const
{
    std::vector<std::string> texts;
    for (const auto& [name, text] : in_force_)
        texts.push_back(text);
    return texts;
}

std::vector<Faults::Form> Faults::forms()
{
    std::vector<Form> forms;
    for (const Kind& kind : kinds)
        forms.push_back({kind.name, kind.arguments, kind.help, kind.needs_arm});
    return forms;
}

std::string Faults::help()
{
    std::string help;
    for (const auto& [name, arguments, meaning, needs_arm] : forms()) {
        std::string form = "  " + std::string(name) + ' ' + std::string(arguments);
        form.resize(std::max<std::size_t>(form.size() + 2, 34), ' ');
        help += form + std::string(meaning) + '\n';
    }
    return help;
}

} // namespace kx::sim
