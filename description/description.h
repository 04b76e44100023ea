// The arms in the languages of other people's tools, from what the library knows of them. Lengths are metres, angles
// radians, masses kilograms.
#pragma once

#include <string>
#include <vector>

namespace kx::description {

struct Options {
    int model = 0;      ///< 36, 46 or 47
    std::string prefix; ///< of all names, so that several arms can be in one scene; see is_prefix
    std::string meshes; ///< of URDF: URI of the directory in which `meshes` are; empty: primitive shapes
};

/** Letters, digits and underscores, of which the first is no digit; or nothing. */
bool is_prefix(const std::string& text);

/*
 * Each is empty for an unknown model. Links are `base_link`, `base`, `link_0` (the pedestal) to `link_6` or `link_7`,
 * `flange`, `tool0`; joints `joint_1` to `joint_6` or `joint_7`.
 */

/** Unified Robot Description Format. */
std::string urdf(const Options& options);

/** What motion planners want beside: the group `manipulator`, named states, pairs of links that cannot collide. */
std::string srdf(const Options& options);

/** The language of MuJoCo, with a drive for each joint. */
std::string mjcf(const Options& options);

struct File {
    std::string path; ///< below a directory for all models
    std::string contents;
};

/** The drawn bodies as binary STL. */
std::vector<File> meshes(int model);

} // namespace kx::description
