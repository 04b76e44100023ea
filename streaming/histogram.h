// How often times of some length occurred, sixteen classes an octave.
#ifndef KX_STREAMING_HISTOGRAM_H
#define KX_STREAMING_HISTOGRAM_H

#include <math.h>
#include <stdint.h>

namespace kx::streaming {

class Histogram {
  public:
    void add(double seconds)
    {
        const double octaves = seconds > shortest ? log2(seconds / shortest) : 0;
        const int place = static_cast<int>(octaves * an_octave);
        ++count_[place < classes ? place : classes - 1];
        ++all_;
        most_ = fmax(most_, seconds);
    }

    // What so much of all does not exceed, by the middle of its class; -1 if there is nothing.
    double quantile(double share) const
    {
        uint64_t passed = 0;
        for (int i = 0; i < classes; ++i) {
            passed += count_[i];
            if (all_ > 0 && static_cast<double>(passed) >= share * static_cast<double>(all_))
                return shortest * exp2((i + 0.5) / an_octave);
        }
        return -1;
    }

    double most() const { return all_ > 0 ? most_ : -1; }

  private:
    static constexpr double shortest = 1e-6;
    static constexpr int an_octave = 16, classes = 24 * an_octave; // to 17 s
    uint64_t count_[classes] = {}, all_ = 0;
    double most_ = 0;
};

} // namespace kx::streaming

#endif
