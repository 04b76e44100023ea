// Trajectories in files: read, and held against limits.
#ifndef KX_STREAMING_TRAJECTORY_H
#define KX_STREAMING_TRAJECTORY_H

#include "kx/stream.h"
#include "streaming/course.h"
#include "streaming/tool_path.h"

namespace kx::streaming {

// The rows of a file. They are the trajectory's, as long as it lives.
class Trajectory {
  public:
    Trajectory() = default;
    Trajectory(const Trajectory&) = delete;
    ~Trajectory();

    // False, and why, if there is no such file or something in it that is no trajectory.
    bool read(const char* path, int joints, KX_TRAJECTORY_FAULT& fault);

    // False, and what comes first, if it breaks limits.
    bool keeps(const ArmLimits& limits, const ToolPath& tool, KX_TRAJECTORY_FAULT& fault) const;

    int rows() const { return rows_; }
    Course course(int joints); // through all rows; to be used as long as this lives
    void swap(Trajectory& other);

  private:
    bool add(const Knot& knot, int line);

    Knot* knots_ = nullptr;
    int* lines_ = nullptr;
    int rows_ = 0, room_ = 0;
};

} // namespace kx::streaming

#endif
