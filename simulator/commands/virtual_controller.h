// The controller without its network: takes request texts, lets the arm act, and answers with reply lines.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "arm/arm.h"
#include "commands/client.h"
#include "commands/json.h"
#include "commands/turns.h"
#include "devices/peripherals.h"

namespace kx::sim {

struct Command;

using Log = std::function<void(const std::string& text)>;

class Controller {
  public:
    /** Clients read replies into a buffer of this many bytes, line feed and terminating zero included. */
    static constexpr std::size_t reply_buffer = 300;

    /** @param log takes a line without line end for everything that was refused or leads out of here */
    Controller(int model, const Log& log, World world = {});

    /** Answers a request; `time` as for advance(). */
    void handle(const std::string& request, double time, const ClientHandle& client);

    /** Answers bytes that are no request at all. */
    void complain(const std::string& fault, Client& client);

    /** Refuses these commands whatever they ask for, and no others. */
    void refuse(std::set<std::string> commands) { refused_ = std::move(commands); }

    /** Moves time on (s; a time that is past does nothing), which may end motions and so answer those who
     * asked for them. What takes long to plan is planned for another moment, while requests need not wait. */
    void advance(double time);

    /** When something will happen by itself next; now, if there is more to plan. */
    std::optional<double> next_event() const;

    Arm& arm() { return arm_; }
    Peripherals& peripherals() { return peripherals_; }

  private:
    void run_to(double time);
    std::optional<double> next_moment() const;
    void answer(const std::string& request, const ClientHandle& client);
    void respond(const Command& command, const Json& value, const std::string& refused, Client& client);

    Arm arm_;
    Peripherals peripherals_;
    Log log_;
    std::set<std::string> refused_;
    Turns turns_;
    double time_ = 0;
};

} // namespace kx::sim
