#include "commands/virtual_controller.h"

#include "commands/command.h"

namespace kx::sim {

Controller::Controller(int model, const Log& log, World world)
    : arm_(model), peripherals_(arm_, std::move(world)), log_([this, log](const std::string& text) {
          peripherals_.system.note(text);
          log(text);
      })
{
}

void Controller::handle(const std::string& request, double time, const ClientHandle& client)
{
    run_to(time);
    answer(request, client);
    run_to(time); // begins motions, and reports those that have ended by now
}

void Controller::advance(double time)
{
    arm_.plan_on();
    run_to(time);
}

void Controller::run_to(double time)
{
    if (time < time_) return;
    time_ = time;
    // Arm and peripherals act on each other, so they reach every event together.
    const auto reach = [this](double moment) {
        arm_.advance(moment);
        peripherals_.advance(moment);
    };
    for (auto event = next_moment(); event && *event < time; event = next_moment())
        reach(*event);
    reach(time);
}

std::optional<double> Controller::next_event() const
{
    return arm_.planning() ? std::optional(time_) : next_moment();
}

std::optional<double> Controller::next_moment() const
{
    const auto of_arm = arm_.next_event(), of_others = peripherals_.next_event();
    return of_arm && of_others ? std::min(of_arm, of_others) : std::max(of_arm, of_others);
}

void Controller::complain(const std::string& fault, Client& client)
{
    log_(fault);
    client.reply(reply_line({{"error", fault}}));
}

void Controller::answer(const std::string& text, const ClientHandle& client)
{
    const Json request = parsed(text);
    if (request.is_discarded()) return complain("not JSON", *client);
    const auto name = request.find("command");
    if (name == request.end() || !name->is_string()) return complain("no \"command\" given", *client);
    const Command* known = find_command(name->get_ref<const std::string&>());
    if (!known)
        return complain("unknown command \"" + name->get_ref<const std::string&>().substr(0, 40) + "\"",
                        *client);

    const Command& command = *known;
    const ClientHandle asker = command.recognised_by == end_of_motion ? turns_.next(client) : client;
    const Answer later = [this, &command, asker](const Json& value, const std::string& refused) {
        respond(command, value, refused, *asker);
    };
    try {
        if (refused_.contains(std::string(command.called())))
            throw Refused("this command is refused on demand");
        Call call{request, arm_, peripherals_, asker, later, log_};
        if (const auto value = command.handle(call)) respond(command, *value, "", *asker);
    } catch (const std::exception& refused) {
        respond(command, nullptr, refused.what(), *asker);
    }
}

void Controller::respond(const Command& command, const Json& value, const std::string& refused,
                         Client& client)
{
    Json reply = {{"command", command.recognised_by}};
    if (!refused.empty()) {
        log_("refused " + std::string(command.called()) + ": " + refused);
        if (!command.refusal_key.empty()) reply[std::string(command.refusal_key)] = false;
        reply["error"] = refused;
    } else if (command.key.empty()) {
        reply.update(value);
    } else {
        reply[std::string(command.key)] = value;
    }
    const std::string line = reply_line(std::move(reply));
    if (command.streamed)
        client.push(command.recognised_by, line);
    else
        client.reply(line);
}

} // namespace kx::sim
