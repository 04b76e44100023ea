// The tool on lines and circles through space, and the joints that follow it.
#pragma once

#include <limits>
#include <memory>

#include <kdl/path.hpp>

#include "arm/drives.h"
#include "arm/frames.h"
#include "arm/motion.h"

namespace kx::sim {

struct CartesianLimits {
    double speed = 0.25;             ///< m/s
    double acceleration = 1;         ///< m/s^2, along the path and towards the centre of a circle each
    double angular_speed = 1;        ///< rad/s
    double angular_acceleration = 5; ///< rad/s^2
};

/** A path of the tool in the base. */
struct ToolPath {
    std::unique_ptr<KDL::Path> path;
    double length;                                           ///< m
    double turn;                                             ///< rad
    double radius = std::numeric_limits<double>::infinity(); ///< m, of a circle
};

ToolPath line(const KDL::Frame& from, const KDL::Frame& to);

/** Whole circles, then the arc over `via` to the end. The tool turns evenly from its first to its last
 *  orientation. @throws Refused if the three places are on one line */
ToolPath circle(const KDL::Frame& from, const KDL::Vector& via, const KDL::Frame& to, int whole_circles);

/** Follows a path with the joints, from where they are, as fast as the limits allow; refuses if the arm
 * cannot follow all the way.
 *  @param percent of the Cartesian limits, 1 to 100 */
std::unique_ptr<Planner> follow(ToolPath path, const Joints& from, const Model& model, const Frames& frames,
                                const JointLimits& joints, const CartesianLimits& cartesian, double percent);

/** The longest course that the arm can follow; refuses if there is none.
 *  @param course of a length; refuses if that is too long */
std::unique_ptr<Planner> farthest(std::function<std::unique_ptr<Planner>(double length)> course,
                                  double longest);

} // namespace kx::sim
