// What the controller keeps about the arm as a whole.
#pragma once

#include <array>
#include <vector>

namespace kx::sim {

struct ArmSettings {
    int collision_stage = 0;                    ///< 0 off, up to 8 most sensitive
    std::array<double, 5> lengths{};            ///< mm; the simulated arm keeps the geometry of its model
    std::vector<double> zero_offset;            ///< degrees
    std::vector<double> dynamics;               ///< for identification on a real arm
    std::array<double, 2> installation{};       ///< degrees about the base's x and y axis
    bool arm_servo = true, system_servo = true; ///< no motion unless both are on
};

} // namespace kx::sim
