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

    double now() const
    {
        return before_ + (paused_ || waits_ ? 0 : Seconds(present() - start_).count() * speed_);
    }

    /** While any of these lives, all happens at the same time, however long it takes and however fast time runs; what has
     *  passed meanwhile is made up for afterwards. */
    class Moment {
      public:
        explicit Moment(Clock& clock) : clock_(clock)
        {
            if (clock_.moments_++ == 0) clock_.held_ = Real::now();
        }
        ~Moment() { --clock_.moments_; }
        Moment(const Moment&) = delete;
        Moment& operator=(const Moment&) = delete;

      private:
        Clock& clock_;
    };

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

    /** Stands still for a short while. */
    void wait(bool on)
    {
        if (on != waits_) settle();
        waits_ = on;
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

    Real::time_point present() const { return moments_ > 0 ? held_ : Real::now(); }

    void settle()
    {
        before_ = now();
        start_ = present();
    }

    bool paused_ = false, waits_ = false;
    int moments_ = 0;
    Real::time_point held_;                ///< since the first of them
    Real::time_point start_ = Real::now(); ///< of the present speed, or pause
    double before_ = 0;                    ///< simulated time until then
    double speed_;
};

} // namespace kx::sim
