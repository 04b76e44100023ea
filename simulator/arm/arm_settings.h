// What the controller keeps about the arm as a whole.
#pragma once

#include <array>
#include <vector>

namespace kx::sim {

struct ArmSettings {
    std::vector<double> initial_pose;     ///< degrees
    int collision_stage = 0;              ///< 0 off, up to 8 most sensitive
    std::array<double, 5> lengths{};      ///< mm; the simulated arm keeps the geometry of its model
    std::vector<double> dynamics;         ///< for identification on a real arm
    std::array<double, 2> installation{}; ///< degrees about the base's x and y axis
};

} // namespace kx::sim
