#include "devices/io.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

std::array<int, io_channels> Io::analogue_inputs() const
{
    std::array<int, io_channels> voltages{};
    for (std::size_t i = 0; i < io_channels; ++i)
        voltages[i] = static_cast<int>(
            std::lround(std::clamp(world_.analogue_inputs[i] * 1000, 0.0, double{top_voltage})));
    return voltages;
}

void Io::set_tool_output(std::size_t index, bool on)
{
    if (!tool_is_output[index]) throw Refused("this channel is an input");
    tool_outputs_[index] = on;
}

std::array<bool, io_channels> Io::tool_states() const
{
    std::array<bool, io_channels> states{};
    for (std::size_t i = 0; i < io_channels; ++i)
        states[i] = tool_is_output[i] ? tool_outputs_[i] : world_.tool_inputs[i];
    return states;
}

void Io::check_tool_supply() const
{
    if (tool_supplies[tool_supply_type] != 24) throw Refused("the tool flange has no 24 V supply");
}

} // namespace kx::sim
