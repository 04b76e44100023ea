// Paths through joint space, and how fast they may be run.
#pragma once

#include <limits>
#include <memory>

#include "arm/model.h"

namespace kx::sim {

/** Joint angles along a path. */
class Path {
  public:
    virtual ~Path() = default;

    /** @param s path parameter, 0 at the start to 1 at the end */
    virtual Joints at(double s) const = 0;
};

/** The straight line through joint space: all joints start and arrive together. */
class JointLine : public Path {
  public:
    JointLine(Joints from, Joints to);
    Joints at(double s) const override;

  private:
    Joints from_, to_;
};

/** Bounds on the rate of the path parameter, 1/s and 1/s^2. A path without length has infinite ones. */
struct Pace {
    double speed = std::numeric_limits<double>::infinity();
    double acceleration = std::numeric_limits<double>::infinity();
};

/** The fastest pace on a straight joint-space line that keeps every joint within its limits (per s, per s^2).
 */
Pace joint_line_pace(const Joints& from, const Joints& to, const Joints& max_speed,
                     const Joints& max_acceleration);

/** A path with the pace at which to run it and the deceleration with which to break it off. */
struct Course {
    std::shared_ptr<const Path> path;
    Pace pace;
    double braking; ///< 1/s^2
};

} // namespace kx::sim
