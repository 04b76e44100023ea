#include "description/collisions.h"

#include <algorithm>
#include <array>
#include <random>

#include <kx_base.h>

namespace kx::description {

namespace {

constexpr int configurations = 10000;
constexpr double near = 0.005; // m; what comes so close in so many tries may touch in another

struct Count {
    int touching = 0, near = 0;
};

using Counts = std::array<std::array<Count, 8>, 8>; // by links

/** Adds the pairs of links that touch, and those that are near, in one configuration. */
void count(const ARM_MODEL& arm, const float* joint, Counts& counts)
{
    ARM_CAPSULE capsules[ARM_CAPSULES];
    std::array<std::array<double, 8>, 8> least;
    for (auto& row : least)
        row.fill(1);
    const int size = Arm_Model_Capsules(&arm, joint, capsules);
    for (int i = 0; i < size; ++i)
        for (int j = i + 1; j < size; ++j) {
            const auto [a, b] = std::minmax(capsules[i].link, capsules[j].link);
            double& distance = least[static_cast<std::size_t>(a)][static_cast<std::size_t>(b)];
            if (a != b) distance = std::min(distance, Arm_Capsule_Distance(&capsules[i], &capsules[j]));
        }
    for (std::size_t a = 0; a < 8; ++a)
        for (std::size_t b = a + 1; b < 8; ++b)
            counts[a][b].touching += least[a][b] < 0, counts[a][b].near += least[a][b] < near;
}

} // namespace

std::vector<Excluded> excluded_pairs(int model)
{
    ARM_MODEL arm;
    if (Arm_Model_Init(&arm, model, 0) != KX_SUCCESS) return {};
    Counts counts;
    std::mt19937 random; // the same at each call
    for (int round = 0; round < configurations; ++round) {
        float joint[7];
        for (int i = 0; i < arm.joints; ++i)
            joint[i] = arm.lower[i] + (arm.upper[i] - arm.lower[i]) * static_cast<float>(random() / 0x1p32);
        count(arm, joint, counts);
    }

    std::vector<Excluded> pairs;
    const auto name = [](std::size_t link) { return "link_" + std::to_string(link); };
    for (std::size_t a = 0; a <= static_cast<std::size_t>(arm.joints); ++a)
        for (std::size_t b = a + 1; b <= static_cast<std::size_t>(arm.joints); ++b) {
            const auto [touching, close] = counts[a][b];
            const char* reason = b == a + 1                   ? "Adjacent"
                                 : close == 0                 ? "Never"
                                 : touching == configurations ? "Always"
                                                              : nullptr;
            if (reason) pairs.push_back({name(a), name(b), reason});
        }
    return pairs;
}

} // namespace kx::description
