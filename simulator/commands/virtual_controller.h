// The controller without its network: takes request texts, lets the arm act, and answers with reply lines.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "arm/arm.h"
#include "commands/json.h"
#include "devices/peripherals.h"

namespace kx::sim {

struct Command;

/** None if there is no command of that name. */
const Command* find_command(std::string_view name);

/** Sends one reply line, line feed included, to the client that asked; also later, when a motion ends. */
using Send = std::function<void(const std::string& line)>;

/** Answers one of the many requests by which a client streams; see Outbox. */
using Push = std::function<void(std::string_view kind, const std::string& line)>;

using Log = std::function<void(const std::string& text)>;

class Controller {
  public:
    /** Clients read replies into a buffer of this many bytes, line feed and terminating zero included. */
    static constexpr std::size_t reply_buffer = 300;

    /** @param log takes a line without line end for everything that was refused or leads out of here */
    Controller(int model, const Log& log, World world = {});

    /** Answers a request; `time` as for advance(). Without `push`, pushes are sent like replies. */
    void handle(const std::string& request, double time, const Send& send, const Push& push = {});

    /** Answers bytes that are no request at all. */
    void complain(const std::string& fault, const Send& send);

    /** Refuses these commands whatever they ask for, and no others. */
    void refuse(std::set<std::string> commands) { refused_ = std::move(commands); }

    /** Moves time on (s; a time that is past does nothing), which may end motions and so answer those who
     * asked for them. */
    void advance(double time);

    /** When something will happen by itself next. */
    std::optional<double> next_event() const;

    Arm& arm() { return arm_; }
    Peripherals& peripherals() { return peripherals_; }

  private:
    void answer(const std::string& request, const Send& send, const Push& push);
    void respond(const Command& command, const Json& value, const std::string& refused, const Send& send,
                 const Push& push);

    Arm arm_;
    Peripherals peripherals_;
    Log log_;
    std::set<std::string> refused_;
    double time_ = 0;
};

} // namespace kx::sim
