// Two double-precision numbers side by side: what holds for the shoulder of the seven-joint arm and, with the
// same operations, for its wrist. Arithmetic and comparison work on both at once; a comparison chooses
// between two pairs with ?: element by element.
#pragma once

#include <array>
#include <cmath>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kx {

using Pair = double __attribute__((vector_size(16)));

inline Pair pair(double both)
{
    return Pair{both, both};
}
inline Pair min(Pair a, Pair b)
{
    return a < b ? a : b;
}
inline Pair max(Pair a, Pair b)
{
    return a > b ? a : b;
}
inline Pair abs(Pair a)
{
    return max(a, -a);
}
inline Pair square(Pair a)
{
    return a * a;
}
inline Pair square_root(Pair a)
{
#ifdef __SSE2__
    return _mm_sqrt_pd(a);
#else
    return Pair{std::sqrt(a[0]), std::sqrt(a[1])};
#endif
}

// Rounds to the nearest integer; sums of this size have no bits for a fraction.
inline Pair rounded(Pair a)
{
    const Pair large = pair(0x1.8p52);
    return (a + large) - large;
}

// arctan(x*tan(pi/8)) for |x| <= 1 as a polynomial in x, from its Chebyshev series (Clenshaw, 1962)
//   2*sum (-1)^k * tan(pi/16)^(2k+1) / (2k+1) * T_2k+1(x),
// cut off where it falls below 1.2e-10. Coefficients of x, x^3, x^5, ...
inline constexpr auto arc_tangent_series = [] {
    constexpr int terms = 6;
    constexpr double q = 0.198912367379658006912;                // tan(pi/16)
    std::array<double, terms> sum = {}, t = {1}, previous = {1}; // T_1 and T_-1 are both x
    double factor = 2 * q;
    for (int k = 0; k < terms; ++k) {
        std::array<double, terms> next = {};
        for (int n = 0; n < terms; ++n) {
            sum[n] += factor / (2 * k + 1) * t[n];
            next[n] = (n > 0 ? 4 * t[n - 1] : 0) - 2 * t[n] - previous[n]; // T_n+2 = 2*(2x^2 - 1)*T_n - T_n-2
        }
        previous = t;
        t = next;
        factor *= -q * q;
    }
    return sum;
}();

// atan2 to within 1.2e-10, without branches; NaN at the origin.
inline Pair arc_tangent(Pair y, Pair x)
{
    constexpr double pi = 3.14159265358979323846, tan_eighth = 0.41421356237309504880;
    const Pair ax = abs(x), ay = abs(y), low = min(ax, ay), high = max(ax, ay);
    const auto upper = low > tan_eighth * high; // then the angle is taken from pi/4
    const Pair t = (upper ? low - high : low) / (tan_eighth * (upper ? low + high : high)), t2 = t * t;
    const auto& c = arc_tangent_series;
    const Pair t4 = t2 * t2,
               series = (c[0] + c[1] * t2) + (c[2] + c[3] * t2) * t4 + (c[4] + c[5] * t2) * (t4 * t4);
    Pair angle = t * series + (upper ? pair(pi / 4) : pair(0));
    angle = ay > ax ? pi / 2 - angle : angle;
    angle = x < 0 ? pi - angle : angle;
    return y < 0 ? -angle : angle;
}

} // namespace kx
