// Simulated time: seconds since the start, running `speed` times as fast as the real time unless it is paused.
#pragma once

#include <algorithm>
#include <chrono>

namespace kx::sim {

class Clock {
  public:
    using Real = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;

    explicit Clock(double speed) : speed_(speed) {}

    double now() const { return before_ + (paused_ ? 0 : Seconds(Real::now() - start_).count() * speed_); }

    void set_speed(double speed)
    {
        settle();
        speed_ = speed;
    }

    void pause(bool on)
    {
        settle();
        paused_ = on;
    }

    /** Goes on by so much at once. */
    void step(double seconds) { before_ += seconds; }

    /** Real time until a simulated time; at most an hour, since far events need not be exact. */
    Real::duration until(double time) const
    {
        const double left = time - now();
        const double seconds = left <= 0 ? 0 : paused_ ? longest : std::min(left / speed_, longest);
        return std::chrono::ceil<Real::duration>(Seconds(seconds));
    }

  private:
    static constexpr double longest = 3600; // s

    void settle()
    {
        before_ = now();
        start_ = Real::now();
    }

    bool paused_ = false;
    Real::time_point start_ = Real::now(); ///< of the present speed, or pause
    double before_ = 0;                    ///< simulated time until then
    double speed_;
};

} // namespace kx::sim
