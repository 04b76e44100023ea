// What the arm makes of the set-points, by what it tells.
#ifndef KX_STREAMING_WATCH_H
#define KX_STREAMING_WATCH_H

#include "streaming/histogram.h"
#include "streaming/motion.h"

namespace kx::streaming {

class Watch {
  public:
    Watch(int joints, const Joints& start) : joints_(joints)
    {
        for (int i = 0; i < joints; ++i)
            measured_[i] = start[i];
    }

    void sent(double time, const Joints& set_point);
    void told(double time, const Joints& measured);

    // For how long set-points have gone unanswered.
    double silence(double now) const { return waiting_since_ > 0 ? now - waiting_since_ : 0; }

    // Largest distance of a joint from its set-point when it was told, degrees.
    double following_error() const { return error_; }
    double largest_following_error() const { return largest_error_; }

    // Whether the arm has told for a while that it does not move.
    bool stands() const { return told_ && measured_at_ - moved_at_ > 0.05; }

    const Histogram& lags() const { return lags_; }
    const Joints& measured() const { return measured_; }
    double measured_at() const { return measured_at_; }

  private:
    struct Sent {
        double time;
        Joints joint;
    };
    static constexpr int remembered = 512;
    const Sent& back(int i) const { return sent_[(count_ - 1 - i) % remembered]; } // i set-points ago
    void find_lag(double time);

    int joints_;
    Sent sent_[remembered] = {};
    unsigned count_ = 0;
    Joints measured_ = {}, moved_to_ = {};
    double measured_at_ = 0, moved_at_ = 0, waiting_since_ = 0;
    bool told_ = false;
    double error_ = 0, largest_error_ = 0;
    Histogram lags_;
};

} // namespace kx::streaming

#endif
