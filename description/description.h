// The arms in the languages of other people's tools, from what the library knows of them. Lengths are metres, angles
// radians, masses kilograms.
#pragma once

#include <string>

namespace kx::description {

struct Options {
    int model = 0;      ///< 36, 46 or 47
    std::string prefix; ///< of all names, so that several arms can be in one scene; see is_prefix
    std::string meshes; ///< a URI or a path: the visual shapes are meshes below it; empty: primitive shapes
};

/** Letters, digits and underscores, of which the first is no digit; or nothing. */
bool is_prefix(const std::string& text);

/**
 * Unified Robot Description Format. Links `base_link`, `base`, `link_0` to `link_6` or `link_7`, `flange`, `tool0`; joints
 * `joint_1` to `joint_6` or `joint_7`. Empty for an unknown model.
 */
std::string urdf(const Options& options);

} // namespace kx::description
