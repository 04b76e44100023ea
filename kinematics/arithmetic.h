// The arithmetic that the kinematics share: unit factors; numbers side by side; rounding, sine and cosine,
// arc tangent; a vector in space; the rotation of fixed-axis angles.
//
// Numbers side by side are the compiler's vectors of doubles: arithmetic and comparison work on all at once,
// and a comparison chooses between two of them with ?: element by element. Each element gets the bits that it
// would get alone, since no step but + - * / and the square root occurs, which are rounded the same
// everywhere.
#pragma once

#include "kx/types.h"

#include <array>
#include <cmath>
#include <type_traits>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kx {

inline constexpr float radians_per_degree = 0.0174533f;
inline constexpr float degrees_per_radian = 57.29578f;
inline constexpr double pi = 3.141592653589793, two_pi = 2 * pi;

using Pair = double __attribute__((vector_size(16)));

inline Pair pair(double both)
{
    return Pair{both, both};
}

template <typename V>
inline V min(V a, V b)
{
    return a < b ? a : b;
}
template <typename V>
inline V max(V a, V b)
{
    return a > b ? a : b;
}
template <typename V>
inline V abs(V a)
{
    return max(a, -a);
}
template <typename V>
inline V square(V a)
{
    return a * a;
}
inline double square_root(double a)
{
    return std::sqrt(a);
}
inline Pair square_root(Pair a)
{
#ifdef __SSE2__
    return _mm_sqrt_pd(a);
#else
    return Pair{std::sqrt(a[0]), std::sqrt(a[1])};
#endif
}

inline constexpr double no_fraction = 0x1.8p52; // adding it leaves no bits for a fraction

// To the nearest integer, below 2^51.
template <typename V>
inline V rounded(V a)
{
    return (a + no_fraction) - no_fraction;
}

template <typename T>
struct SineCosine {
    T sine, cosine;
};

// Of a quarter turn, in two parts (Cody and Waite, 1980), and the Taylor series for what is left of an angle.
inline constexpr double quarter_high = 0x1.921fb544p+0, quarter_low = 0x1.0b4611a626331p-34;
inline constexpr double reducible = 1e5; // beyond it the products with these would no longer be exact
inline constexpr auto inverse_factorial = [] {
    std::array<double, 18> f = {1};
    for (int n = 1; n < 18; ++n)
        f[n] = f[n - 1] / n;
    return f;
}();

// c(0) - c(1)*t + c(2)*t^2 - ... + c(8)*t^8, with few steps that wait for one another.
template <typename V, typename Coefficient>
inline V alternating(const V& t, const Coefficient& c)
{
    const V t2 = t * t, t4 = t2 * t2;
    const V low = (c(0) - c(1) * t) + (c(2) - c(3) * t) * t2;
    const V high = (c(4) - c(5) * t) + (c(6) - c(7) * t) * t2;
    return low + (high + c(8) * t4) * t4;
}

// Computed in double to within an ulp or so, then rounded to T; as a float it equals what the C library's
// double sine and cosine round to, which was compared for every angle below 1e5. Joint angles come from all
// over the circle, and a library's sine spends more time on mispredicted branches between its ranges than on
// arithmetic. So there are none here: the multiple of a quarter turn nearest to the angle is taken off; the
// rest is small enough for the Taylor series; the quarter tells which series is which.
template <typename T>
inline SineCosine<T> sine_cosine(double x)
{
    if (!(std::fabs(x) < reducible)) { // or a NaN
        double sine, cosine;
        sincos(x, &sine, &cosine);
        return {static_cast<T>(sine), static_cast<T>(cosine)};
    }
    const double quarters = rounded(x * (4 / two_pi));
    const double r = (x - quarters * quarter_high) - quarters * quarter_low, r2 = r * r;

    const auto& f = inverse_factorial; // odd and even powers side by side
    const Pair series = alternating(pair(r2), [&](int k) { return Pair{f[2 * k + 1], f[2 * k]}; });
    const double s = r * series[0], c = series[1];

    const double turned[] = {s, c, -s, -c};
    const int quarter = static_cast<int>(quarters);
    return {static_cast<T>(turned[quarter & 3]), static_cast<T>(turned[(quarter + 1) & 3])};
}

// arctan(x*tan(pi/8)) for |x| <= 1 as a polynomial in x, from its Chebyshev series (Clenshaw, 1962)
//   2*sum (-1)^k * tan(pi/16)^(2k+1) / (2k+1) * T_2k+1(x),
// cut off where it falls below 2e-13. Coefficients of x, x^3, x^5, ...
inline constexpr auto arc_tangent_series = [] {
    constexpr int terms = 8;
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

// The angle of (x, y) to within 2e-13, without branches, with the conventions of my_atan2f: +pi for x < 0 and
// y = -0, NaN at the origin.
template <typename V>
requires(!std::is_arithmetic_v<V>) inline V arc_tangent(V y, V x)
{
    constexpr double tan_eighth = 0.41421356237309504880;
    const V ax = abs(x), ay = abs(y), low = min(ax, ay), high = max(ay, ax); // of NaNs, either has one
    const auto upper = low > tan_eighth * high; // then the angle is taken from pi/4
    const V t = (upper ? low - high : low) / (tan_eighth * (upper ? low + high : high)), t2 = t * t;
    const auto& c = arc_tangent_series;
    const V t4 = t2 * t2;
    const V series = ((c[0] + c[1] * t2) + (c[2] + c[3] * t2) * t4) +
                     ((c[4] + c[5] * t2) + (c[6] + c[7] * t2) * t4) * (t4 * t4);
    V angle = t * series + (upper ? V{} + pi / 4 : V{});
    angle = ay > ax ? pi / 2 - angle : angle;
    angle = x < 0 ? pi - angle : angle;
    return y < 0 ? -angle : angle;
}

inline double arc_tangent(double y, double x)
{
    return arc_tangent(pair(y), pair(x))[0];
}

template <typename V>
struct VectorOf {
    V x, y, z;
};
using Vector = VectorOf<double>;

inline Vector operator+(const Vector& a, const Vector& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(double s, const Vector& a)
{
    return {s * a.x, s * a.y, s * a.z};
}
inline double dot(const Vector& a, const Vector& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector cross(const Vector& a, const Vector& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

template <typename V>
using RotationOf = std::array<std::array<V, 3>, 3>; // rows
using Rotation = RotationOf<double>;

inline Rotation rotation_of(const Euler& e)
{
    const auto [sx, cx] = sine_cosine<double>(e.rx);
    const auto [sy, cy] = sine_cosine<double>(e.ry);
    const auto [sz, cz] = sine_cosine<double>(e.rz);
    return {{{cz * cy, cz * sy * sx - sz * cx, cz * sy * cx + sz * sx},
             {sz * cy, cz * cx + sx * sz * sy, sz * sy * cx - cz * sx},
             {-sy, sx * cy, cy * cx}}};
}

} // namespace kx
