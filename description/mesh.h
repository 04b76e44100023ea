// The drawn bodies as triangles: binary STL, which every tool reads; a file for what has one colour in a link.
#pragma once

#include <string>
#include <vector>

#include "description/arm.h"

namespace kx::description {

/** Of a file, below the directory of all models' meshes. */
std::string mesh_path(int model, const Link& link, ARM_SURFACE surface);

/** The surfaces that a link has. */
std::vector<ARM_SURFACE> surfaces_of(const Link& link);

/** Contents of the file. */
std::string stl(const Link& link, ARM_SURFACE surface);

} // namespace kx::description
