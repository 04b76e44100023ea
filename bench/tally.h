// Counting successes for the sweeps.
#pragma once

#include <algorithm>
#include <cstdio>

struct Tally {
    long total = 0, good = 0;
    double worst = 0;

    void add(bool is_good) { ++total, good += is_good; }
    void add(double value, double bound)
    {
        add(value <= bound);
        worst = std::max(worst, value);
    }
    void print(const char* what) const
    {
        std::printf("  %-62s %9ld of %9ld  %9.5f %%", what, good, total, 100.0 * good / total);
        if (worst > 0) std::printf("  worst %.2g", worst);
        std::printf("\n");
    }
};
