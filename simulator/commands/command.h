// The form of a command: one row in the table of its family, with everything that belongs to it.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "arm/arm.h"
#include "arm/refused.h"
#include "commands/json.h"
#include "commands/request.h"
#include "commands/virtual_controller.h"

namespace kx::sim {

/** Answers a request: with its value, or if it was refused with the reason. */
using Answer = std::function<void(const Json& value, const std::string& refused)>;

/** One request in the hands of its command. */
struct Call {
    const Json& request;
    Arm& arm;
    Peripherals& peripherals;
    const ClientHandle& client;
    const Answer& later; ///< may be copied, and called once, by a handler that answers Later
    const Log& log;

    const Json& operator[](const char* key) const { return member(request, key); }

    /** A joint counted from 1, as an index. */
    std::size_t joint(const Json& number) const;

    /** The pair [joint, value in thousandths]. */
    std::pair<std::size_t, double> joint_and_value(const char* key) const;

    /** One value for every joint, sent in thousandths. */
    Joints joints(const char* key) const { return from_thousandths((*this)[key], arm.joint_count()); }

    /** The speed of a motion, "v". */
    int percent() const { return integer((*this)["v"], "the speed", 1, 100); }

    /** Tells the asker that its motion has ended. */
    Arm::Ended completion() const;

    /** Answers this request when its motion has ended. */
    Arm::Ended when_done() const;
};

/** As which clients recognise that a motion has ended, or was refused. */
inline constexpr std::string_view end_of_motion = "current_trajectory_state";

/** What a handler returns whose answer comes later, if it ever does. */
inline constexpr struct Later {
} answered_later;

/** A value to answer with, or nothing: the answer comes later. */
using MaybeLater = std::optional<Json>;

/** What a command does, as a function without captures. It returns the value to answer with, nothing if all that can
 *  be said is that it was done, or that the answer comes later. May throw Refused. */
class Handler {
  public:
    template <typename Function>
    constexpr Handler(Function) : run_(run<Function>)
    {
    }

    MaybeLater operator()(Call& call) const { return run_(call); }

  private:
    template <typename Function>
    static MaybeLater run(Call& call)
    {
        using Returned = std::invoke_result_t<Function, Call&>;
        if constexpr (std::is_same_v<Returned, MaybeLater>)
            return Function()(call);
        else if constexpr (std::is_same_v<Returned, Json>)
            return MaybeLater(std::in_place, Function()(call));
        else
            Function()(call);
        return std::is_void_v<Returned> ? MaybeLater(true) : std::nullopt;
    }

    MaybeLater (*run_)(Call& call);
};

struct Command {
    std::string_view name;

    /** Under which the handler's value is answered. Without a key the value is an object whose members are
     * put into the reply. */
    std::string_view key = {};

    Handler handle;

    /** The reply's "command": clients recognise the reply by it. Mostly the command's name. */
    std::string_view recognised_by = name;

    /** Clients send many of these without waiting, and register for a push with each. */
    bool streamed = false;

    /** Under which false is answered if it was refused. */
    std::string_view refusal_key = key;

    /** As logs and scripts call it: of two names on the wire, one is empty and one ends with a blank. */
    std::string_view called() const
    {
        const auto shown = name.substr(0, name.find_last_not_of(' ') + 1);
        return shown.empty() ? recognised_by : shown;
    }
};

/** A motion: answered when it has ended. */
template <typename Function>
constexpr Command motion(std::string_view name, Function)
{
    return {.name = name,
            .key = "trajectory_state",
            .handle =
                [](Call& call) {
                    Function()(call);
                    return answered_later;
                },
            .recognised_by = end_of_motion};
}

/** None if there is no command of that name. */
const Command* find_command(std::string_view name);

/** Whether some command is called so. */
bool is_called(std::string_view name);

/** The line of a reply. An error text is cut as far as needed. @throws std::length_error if it cannot fit */
std::string reply_line(Json reply);

std::span<const Command> arm_setting_commands();
std::span<const Command> controller_commands();
std::span<const Command> drag_teach_commands();
std::span<const Command> end_effector_commands();
std::span<const Command> force_commands();
std::span<const Command> frame_commands();
std::span<const Command> io_commands();
std::span<const Command> joint_parameter_commands();
std::span<const Command> lift_and_base_commands();
std::span<const Command> modbus_commands();
std::span<const Command> motion_commands();
std::span<const Command> pass_through_commands();
std::span<const Command> state_commands();
std::span<const Command> system_commands();
std::span<const Command> teaching_commands();

} // namespace kx::sim
