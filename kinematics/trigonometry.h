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
inline SineCosine<T> sine_cosine(double x)
{
    if (!(std::fabs(x) < 1e5)) { // beyond it the products below would no longer be exact; or a NaN
        double sine, cosine;
        sincos(x, &sine, &cosine);
        return {static_cast<T>(sine), static_cast<T>(cosine)};
    }
    constexpr double quarter_high = 0x1.921fb544p+0, quarter_low = 0x1.0b4611a626331p-34;
    constexpr double no_fraction = 0x1.8p52; // adding it leaves no bits for a fraction
    const double quarters = (x * (4 / two_pi) + no_fraction) - no_fraction;
    const double r = (x - quarters * quarter_high) - quarters * quarter_low, r2 = r * r;

    using Powers = double __attribute__((vector_size(16))); // odd and even
    const auto& f = inverse_factorial;
    Powers series = {f[17], f[16]};
    for (int n = 15; n > 0; n -= 2)
        series = Powers{f[n], f[n - 1]} - r2 * series;
    const double s = r * series[0], c = series[1];

    const double turned[] = {s, c, -s, -c};
    const int quarter = static_cast<int>(quarters);
    return {static_cast<T>(turned[quarter & 3]), static_cast<T>(turned[(quarter + 1) & 3])};
}

// The angle of (x, y) to within 1e-9, with the conventions of my_atan2f: +pi for x < 0 and y = -0, NaN at the
// origin. Branch-free like the above: the vector is turned by the multiple of an eighth turn that brings it
// within a sixteenth of the x axis, where the series of the arc tangent converges quickly.
inline double arc_tangent(double y, double x)
{
    constexpr double sixteenth = 0.41421356237309505; // its tangent
    const double ax = std::fabs(x), ay = std::fabs(y);
    const int eighths = (ay > sixteenth * ax) + (sixteenth * ay > ax); // of a turn, 0 to 2
    static constexpr double along_x[] = {1, 1, 0}, along_y[] = {0, 1, 1};
    const double t =
        (along_x[eighths] * ay - along_y[eighths] * ax) / (along_x[eighths] * ax + along_y[eighths] * ay);

    // t - t^3/3 + t^5/5 ..., summed as two series of every other term
    const double t2 = t * t, t4 = t2 * t2;
    const double even = 1 + t4 * (1. / 5 + t4 * (1. / 9 + t4 * (1. / 13 + t4 * (1. / 17))));
    const double odd = 1. / 3 + t4 * (1. / 7 + t4 * (1. / 11 + t4 * (1. / 15 + t4 * (1. / 19))));
    const double angle = eighths * (two_pi / 8) + t * (even - t2 * odd); // of (|x|, |y|)

    static constexpr double fold[] = {0, two_pi / 2};
    return std::copysign(std::fabs(fold[x < 0] - angle), y + 0.0);
}

} // namespace kx
