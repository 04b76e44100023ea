// Joints that turn about one line, and so only their sum counts.
#pragma once

namespace kx {

// Angles of joints that add up to a sum, given up to full turns, within limits, with the least sum of squared
// differences from a reference.
struct SharedTurn {
    static constexpr int most = 4;
    int count = 0;
    double reference[most], lower[most], upper[most], angle[most];

    void add(double reference, double lower, double upper);
    // The least sum of squares, with `angle` set; infinite if the limits do not allow the sum.
    double share(double sum);

  private:
    double at_sum(double sum);
};

} // namespace kx
