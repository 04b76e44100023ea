#include "controller.h"

#include "command.h"

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

Controller::Controller(int model, Log log) : arm_(model), log_(std::move(log))
{
    for (const auto family :
         {arm_setting_commands(), controller_commands(), frame_commands(), joint_parameter_commands(),
          motion_commands(), pass_through_commands(), state_commands(), teaching_commands()})
        for (const Command& command : family)
            commands_.emplace(command.name, &command);
}

void Controller::handle(const std::string& request, double time, const Send& send, const Push& push)
{
    arm_.advance(time);
    answer(request, send, push);
    arm_.advance(time); // begins motions, and reports those that have ended by now
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
    const auto known = commands_.find(name->get_ref<const std::string&>());
    if (known == commands_.end())
        return complain("unknown command \"" + name->get_ref<const std::string&>().substr(0, 40) + "\"",
                        send);

    const Command& command = *known->second;
    Json reply = {{"command", command.recognised_by}};
    std::string line;
    try {
        Call call{request, arm_, send, log_};
        Json value = command.handle(call);
        if (value == answered_later) return;
        if (command.key.empty())
            reply.update(value);
        else
            reply[std::string(command.key)] = std::move(value);
        line = reply_line(std::move(reply));
    } catch (const std::exception& refused) {
        log_("refused " + std::string(command.name) + ": " + refused.what());
        reply = {{"command", command.recognised_by}};
        if (!command.key.empty()) reply[std::string(command.key)] = false;
        reply["error"] = refused.what();
        line = reply_line(std::move(reply));
    }
    if (command.streamed && push)
        push(command.recognised_by, line);
    else
        send(line);
}

} // namespace kx::sim
