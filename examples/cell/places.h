// Where things are in the palletising cell, in the base of a model 46 whose tool points down.
#pragma once

#include "kx/arm.hpp"

namespace cell {

inline const kx::Degrees ready{0, -30, -60, 0, -90, 0};

constexpr int rows = 3, columns = 4;

constexpr kx::Pose feeder = kx::Pose::mm_deg(300, -150, 200, 180);

constexpr kx::Pose on_pallet(int part)
{
    constexpr double pitch = 60; // mm
    return kx::Pose::mm_deg(220 + pitch * (part % rows), 30 + pitch * (part / rows), 200, 180);
}

// High enough to carry a part over all others.
constexpr kx::Pose above(kx::Pose place)
{
    place.z = 0.3f;
    return place;
}

constexpr float radius = 0.04f; // m: how near the tool has to come to the places above

} // namespace cell
