// Inputs and outputs of the controller and of the tool flange. Channels count from 1.
#pragma once

#include <array>

#include "arm/world.h"

namespace kx::sim {

class Io {
  public:
    static constexpr int top_voltage = 10000; ///< of an analogue channel, mV

    explicit Io(const World& world) : world_(world) {}

    std::array<bool, io_channels> digital_outputs{};
    std::array<int, io_channels> analogue_outputs{}; ///< mV
    std::array<bool, io_channels> tool_is_output{true, true, true, true};

    std::array<int, io_channels> analogue_inputs() const; ///< mV

    /** @throws Refused unless the channel is an output */
    void set_tool_output(std::size_t index, bool on);
    std::array<bool, io_channels> tool_states() const; ///< outputs read back

    static constexpr int tool_supplies[] = {0, 5, 12, 24}; ///< V, by type number
    int tool_supply_type = 3;

    /** What is mounted on the flange runs on 24 V. @throws Refused without it */
    void check_tool_supply() const;

  private:
    const World& world_;
    std::array<bool, io_channels> tool_outputs_{};
};

} // namespace kx::sim
