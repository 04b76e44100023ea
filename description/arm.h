// What all descriptions of an arm say, each in its own words: a chain of links, each with the joint that moves it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <kdl/frames.hpp>
#include <kdl/rotationalinertia.hpp>
#include <kx_base.h>

#include "description/description.h"

namespace kx::description {

/** All about the link's own frame. */
struct Body {
    ARM_SURFACE surface;
    KDL::Vector from, to;
    double from_radius, to_radius;

    bool is_ball() const { return from == to; }
    double radius() const { return (from_radius + to_radius) / 2; }
};

struct Capsule {
    KDL::Vector from, to;
    double radius;
};

/** Turns about z of the link that it moves. */
struct Joint {
    double lower, upper, velocity;
    double effort; ///< an estimate, N m
};

struct Link {
    std::string name;
    KDL::Frame origin;          ///< in the link before, while the joint is at zero
    std::optional<Joint> joint; ///< that moves it; the pedestal stands
    std::vector<Body> bodies;
    std::vector<Capsule> capsules;
    double mass = 0;                ///< an estimate, as what follows
    KDL::Vector centre;             ///< of the mass
    KDL::RotationalInertia inertia; ///< about the centre
};

/** The pedestal and a link for every joint; none for an unknown model. */
std::vector<Link> links_of(int model);

/** Worth having a name. */
struct Posture {
    std::string name;
    std::vector<double> joints;
};

/** The first one has all joints at zero. */
std::vector<Posture> postures_of(int model);

struct Material {
    const char *name, *rgba;
};

/** By ARM_SURFACE, in the colours that the page of kx-controller has in daylight. */
inline constexpr std::array<Material, 4> materials = {{{"shell", "0.788 0.8 0.804 1"},
                                                       {"drum", "0.553 0.576 0.588 1"},
                                                       {"seam", "0.302 0.325 0.337 1"},
                                                       {"foot", "0.357 0.38 0.392 1"}}};

constexpr const char* name_of(ARM_SURFACE surface)
{
    return materials[static_cast<std::size_t>(surface)].name;
}

inline constexpr const char* estimates =
    "Masses, inertias and efforts are estimates from the size of the bodies; nobody has measured them.";

std::string robot_name(const Options& options);
std::string joint_name(std::size_t number);

/** The turn that takes the z axis into a direction. */
KDL::Rotation along(const KDL::Vector& direction);

} // namespace kx::description
