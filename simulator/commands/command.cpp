#include "commands/command.h"

#include <stdexcept>
#include <unordered_map>

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
    return [asker = client](const std::string& broken_off) {
        Json reply = {{"command", end_of_motion}, {"trajectory_state", broken_off.empty()}};
        if (!broken_off.empty()) reply["error"] = broken_off;
        asker->reply(reply_line(std::move(reply)));
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

bool is_called(std::string_view name)
{
    return !name.empty() && (find_command(name) || find_command(std::string(name) + ' '));
}

} // namespace kx::sim
