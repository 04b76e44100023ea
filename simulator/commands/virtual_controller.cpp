#include "commands/virtual_controller.h"

#include <unordered_map>

#include "commands/command.h"

namespace kx::sim {

std::size_t Call::joint(const Json& number) const
{
    return static_cast<std::size_t>(integer(number, "the joint", 1, static_cast<int>(arm.joint_count())) - 1);
}

std::pair<std::size_t, double> Call::joint_and_value(const char* key) const
{
    const Json& pair = (*this)[key];
    if (!pair.is_array() || pair.size() != 2) throw Refused("an array of joint and value was expected");
    return {joint(pair[0]), from_thousandths(pair[1])};
}

Arm::Ended Call::completion() const
{
    return [to_asker = send](const std::string& broken_off) {
        Json reply = {{"command", "current_trajectory_state"}, {"trajectory_state", broken_off.empty()}};
        if (!broken_off.empty()) reply["error"] = broken_off;
        to_asker(reply_line(std::move(reply)));
    };
}

Arm::Ended Call::when_done() const
{
    return [answer = later](const std::string& broken_off) { answer(true, broken_off); };
}

std::string reply_line(Json reply)
{
    const auto print = [&reply] { return reply.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n'; };
    std::string line = print();
    while (line.size() >= Controller::reply_buffer) {
        std::string error = reply.value("error", "");
        if (error.empty()) throw std::length_error("the reply does not fit into a line");
        error.resize(error.size() * 3 / 4);
        reply["error"] = error;
        line = print();
    }
    return line;
}

const Command* find_command(std::string_view name)
{
    static const auto commands = [] {
        std::unordered_map<std::string_view, const Command*> by_name;
        for (const auto family :
             {arm_setting_commands(), controller_commands(), drag_teach_commands(), end_effector_commands(),
              force_commands(), frame_commands(), io_commands(), joint_parameter_commands(),
              lift_and_base_commands(), modbus_commands(), motion_commands(), pass_through_commands(),
              state_commands(), system_commands(), teaching_commands()})
            for (const Command& command : family)
                by_name.emplace(command.name, &command);
        return by_name;
    }();
    const auto found = commands.find(name);
    return found == commands.end() ? nullptr : found->second;
}

Controller::Controller(int model, const Log& log, World world)
    : arm_(model), peripherals_(arm_, std::move(world)), log_([this, log](const std::string& text) {
          peripherals_.system.note(text);
          log(text);
      })
{
}

void Controller::handle(const std::string& request, double time, const Send& send, const Push& push)
{
    advance(time);
    answer(request, send, push);
    advance(time); // begins motions, and reports those that have ended by now
}

void Controller::advance(double time)
{
    if (time < time_) return;
    time_ = time;
    // Arm and peripherals act on each other, so they reach every event together.
    const auto reach = [this](double moment) {
        arm_.advance(moment);
        peripherals_.advance(moment);
    };
    for (auto event = next_event(); event && *event < time; event = next_event())
        reach(*event);
    reach(time);
}

std::optional<double> Controller::next_event() const
{
    const auto of_arm = arm_.next_event(), of_others = peripherals_.next_event();
    return of_arm && of_others ? std::min(of_arm, of_others) : std::max(of_arm, of_others);
}

void Controller::complain(const std::string& fault, const Send& send)
{
    log_(fault);
    send(reply_line({{"error", fault}}));
}

void Controller::answer(const std::string& text, const Send& send, const Push& push)
{
    const Json request = Json::parse(text, nullptr, false);
    if (request.is_discarded()) return complain("not JSON", send);
    const auto name = request.find("command");
    if (name == request.end() || !name->is_string()) return complain("no \"command\" given", send);
    const Command* known = find_command(name->get_ref<const std::string&>());
    if (!known)
        return complain("unknown command \"" + name->get_ref<const std::string&>().substr(0, 40) + "\"",
                        send);

    const Command& command = *known;
    const Answer later = [this, &command, send, push](const Json& value, const std::string& refused) {
        respond(command, value, refused, send, push);
    };
    try {
        if (refused_.contains(name->get_ref<const std::string&>()))
            throw Refused("this command is refused on demand");
        Call call{request, arm_, peripherals_, send, later, log_};
        const Json value = command.handle(call);
        if (value != answered_later) respond(command, value, "", send, push);
    } catch (const std::exception& refused) {
        respond(command, nullptr, refused.what(), send, push);
    }
}

void Controller::respond(const Command& command, const Json& value, const std::string& refused,
                         const Send& send, const Push& push)
{
    Json reply = {{"command", command.recognised_by}};
    if (!refused.empty()) {
        log_("refused " + std::string(command.name) + ": " + refused);
        if (!command.refusal_key.empty()) reply[std::string(command.refusal_key)] = false;
        reply["error"] = refused;
    } else if (command.key.empty()) {
        reply.update(value);
    } else {
        reply[std::string(command.key)] = value;
    }
    const std::string line = reply_line(std::move(reply));
    if (command.streamed && push)
        push(command.recognised_by, line);
    else
        send(line);
}

} // namespace kx::sim
