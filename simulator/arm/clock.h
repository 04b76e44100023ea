// Simulated time: seconds since the start, running `speed` times as fast as the real time.
#pragma once

#include <algorithm>
#include <chrono>

namespace kx::sim {

class Clock {
  public:
    using Real = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;

    explicit Clock(double speed) : speed_(speed) {}

    double now() const { return before_ + Seconds(Real::now() - start_).count() * speed_; }

    void set_speed(double speed)
    {
        before_ = now();
        start_ = Real::now();
        speed_ = speed;
    }

    /** Real time until a simulated time; at most an hour, since far events need not be exact. */
    Real::duration until(double time) const
    {
        const double seconds = std::clamp((time - now()) / speed_, 0.0, 3600.0);
        return std::chrono::ceil<Real::duration>(Seconds(seconds));
    }

  private:
    Real::time_point start_ = Real::now(); ///< of the present speed
    double before_ = 0;                    ///< simulated time until then
    double speed_;
};

} // namespace kx::sim
