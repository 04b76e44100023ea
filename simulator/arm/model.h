// The geometry of one arm model, asked of the client library: joint limits, poses of joint angles, and joint
// angles of poses.
#pragma once

#include <array>
#include <vector>

#include <kdl/frames.hpp>

#include "kx/types.h"

namespace kx::sim {

/** One value per joint, six or seven; angles in degrees. */
using Joints = std::vector<double>;

/** The library computes on process-wide parameters, so all models of a process live on one thread. */
class Model {
  public:
    /** @param code 36, 46 or 47 */
    explicit Model(int code);

    POSE tool_pose(const Joints& angles) const;

    /** The flange in the base frame; exact also where a pose's angles are not (ry = +-90 degrees). */
    KDL::Frame flange(const Joints& angles) const;

    /** A line that a joint turns about, in the base frame while all joint angles are zero. */
    struct Hinge {
        KDL::Vector point, direction;
    };
    std::vector<Hinge> hinges() const;

    /** How far the elbow of seven joints may swing about the line from shoulder to wrist. */
    enum class Elbow { near, anywhere };

    /** Joint angles that put the flange at a pose, the nearest to others. @throws Refused if there are none
     */
    Joints joints_for(const KDL::Frame& flange, const Joints& reference, Elbow elbow) const;

    const int code;
    Joints lower, upper;           ///< mechanical range of each joint
    std::array<double, 5> lengths; ///< of the links, from the base on, mm

  private:
    Joints bent_towards(const KDL::Frame& target, Joints found) const;
    Joints nearest(const KDL::Frame& flange, const Joints& reference, Elbow elbow) const;
};

} // namespace kx::sim
