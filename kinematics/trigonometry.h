// Unit factors, and sine and cosine taken together.
#pragma once

#include <array>
#include <cmath>

namespace kx {

inline constexpr float radians_per_degree = 0.0174533f;
inline constexpr float degrees_per_radian = 57.29578f;
inline constexpr double two_pi = 6.283185307179586;

template <typename T>
struct SineCosine {
    T sine, cosine;
};

inline constexpr auto inverse_factorial = [] {
    std::array<double, 18> f = {1};
    for (int n = 1; n < 18; ++n)
        f[n] = f[n - 1] / n;
    return f;
}();

// Computed in double to within an ulp or so, then rounded to T; as a float it equals what the C library's
// double sine and cosine round to, which was compared for every angle below 1e5. Joint angles come from all
// over the circle, and a library's sine spends more time on mispredicted branches between its ranges than on
// arithmetic. So there are none here: the multiple of a quarter turn nearest to the angle is taken off, in
// two parts of pi / 2 (Cody and Waite, 1980); the rest is small enough for the Taylor series; the quarter
// tells which series is which.
template <typename T>
inline SineCosine<T> sine_cosine(float angle)
{
    const double x = static_cast<double>(angle);
    if (!(std::fabs(x) < 1e5)) { // beyond it the products below would no longer be exact; or a NaN
        double sine, cosine;
        sincos(x, &sine, &cosine);
        return {static_cast<T>(sine), static_cast<T>(cosine)};
    }
    constexpr double quarter_high = 0x1.921fb544p+0, quarter_low = 0x1.0b4611a626331p-34;
    constexpr double no_fraction = 0x1.8p52; // adding it leaves no bits for a fraction
    const double quarters = (x * (4 / two_pi) + no_fraction) - no_fraction;
    const double r = (x - quarters * quarter_high) - quarters * quarter_low, r2 = r * r;

    using Pair = double __attribute__((vector_size(16))); // odd and even powers
    const auto& f = inverse_factorial;
    Pair series = {f[17], f[16]};
    for (int n = 15; n > 0; n -= 2)
        series = Pair{f[n], f[n - 1]} - r2 * series;
    const double s = r * series[0], c = series[1];

    const double turned[] = {s, c, -s, -c};
    const int quarter = static_cast<int>(quarters);
    return {static_cast<T>(turned[quarter & 3]), static_cast<T>(turned[(quarter + 1) & 3])};
}

} // namespace kx
