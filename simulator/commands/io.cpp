// Inputs and outputs of the controller and of the tool flange.
#include "commands/command.h"

namespace kx::sim {

namespace {

std::size_t channel(const Call& call)
{
    return static_cast<std::size_t>(integer(call["IO_Num"], "the channel", 1, io_channels) - 1);
}

bool state(const Call& call)
{
    return integer(call["state"], "the state", 0, 1) == 1;
}

/** As numbers, booleans too. */
template <typename Values>
Json numbers(const Values& values)
{
    Json array = Json::array();
    for (const auto value : values)
        array.push_back(static_cast<int>(value));
    return array;
}

constexpr Command io_table[] = {
    {"set_DO_state", "state",
     [](Call& call) { call.peripherals.io.digital_outputs[channel(call)] = state(call); }},
    {"set_AO_state", "state",
     [](Call& call) {
         call.peripherals.io.analogue_outputs[channel(call)] =
             integer(call["voltage"], "the voltage", 0, Io::top_voltage);
     }},
    {"get_DO_state", "IO_state",
     [](Call& call) -> Json { return int{call.peripherals.io.digital_outputs[channel(call)]}; }},
    {"get_DI_state", "IO_state",
     [](Call& call) -> Json { return int{call.peripherals.world.digital_inputs[channel(call)]}; }},
    {"get_AO_state", "voltage",
     [](Call& call) -> Json { return call.peripherals.io.analogue_outputs[channel(call)]; }},
    {"get_AI_state", "voltage",
     [](Call& call) -> Json { return call.peripherals.io.analogue_inputs()[channel(call)]; }},
    {.name = "get_IO_input",
     .handle = [](Call& call) -> Json {
         return {{"DI", numbers(call.peripherals.world.digital_inputs)},
                 {"AI", numbers(call.peripherals.io.analogue_inputs())}};
     },
     .recognised_by = "IO_input_state"},
    {.name = "get_IO_output",
     .handle = [](Call& call) -> Json {
         return {{"DO", numbers(call.peripherals.io.digital_outputs)},
                 {"AO", numbers(call.peripherals.io.analogue_outputs)}};
     },
     .recognised_by = "IO_output_state"},
    // Clients take this reply for that of get_DO_state, whatever it says beside its name.
    {"set_tool_DO_state", "set_state",
     [](Call& call) { call.peripherals.io.set_tool_output(channel(call), state(call)); }},
    {.name = "set_tool_IO_mode",
     .key = "set_state",
     .handle = // 1 output, 0 input
     [](Call& call) { call.peripherals.io.tool_is_output[channel(call)] = state(call); }},
    {"get_tool_IO_state", "",
     [](Call& call) -> Json {
         return {{"IO_Mode", numbers(call.peripherals.io.tool_is_output)},
                 {"IO_State", numbers(call.peripherals.io.tool_states())}};
     }},
    {"set_tool_voltage", "state",
     [](Call& call) {
         call.peripherals.io.tool_supply_type =
             integer(call["voltage_type"], "the type", 0, static_cast<int>(std::size(Io::tool_supplies)) - 1);
     }},
    {.name = "get_tool_voltage",
     .key = "voltage_type",
     .handle = [](Call& call) -> Json { return call.peripherals.io.tool_supply_type; },
     .recognised_by = "tool_voltage_state"},
};

} // namespace

std::span<const Command> io_commands()
{
    return io_table;
}

} // namespace kx::sim
