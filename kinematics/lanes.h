// Several poses side by side, as many as the processor's vectors hold: sine and cosine, and the pose of a
// transform. What is written here for vectors of any width gives each pose the bits that it would get alone.
#pragma once

#include "kinematics/arithmetic.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>
#ifdef __AVX__
#include <immintrin.h>
#endif

namespace kx {

// Of doubles, with the floats that go with them.
template <int lanes>
struct Lanes {
    typedef double Double __attribute__((vector_size(8 * lanes)));
    typedef float Float __attribute__((vector_size(4 * lanes)));
    typedef std::int64_t Integer __attribute__((vector_size(8 * lanes))); // what comparing doubles gives
    typedef std::int32_t Narrow __attribute__((vector_size(4 * lanes)));  // and floats
};

// One number for each lane.
template <int lanes, typename Number>
inline typename Lanes<lanes>::Float side_by_side(const Number& number)
{
    typename Lanes<lanes>::Float all = {};
    for (int lane = 0; lane < lanes; ++lane)
        all[lane] = number(lane);
    return all;
}

template <typename Float>
inline auto widened(const Float& a)
{
    return __builtin_convertvector(a, typename Lanes<sizeof(Float) / 4>::Double);
}
template <typename Double>
inline auto rounded_off(const Double& a)
{
    return __builtin_convertvector(a, typename Lanes<sizeof(Double) / 8>::Float);
}

// So that steps can be written for one number and for several.
inline double widened(float a)
{
    return a;
}
inline float rounded_off(double a)
{
    return static_cast<float>(a);
}

#ifdef __AVX512F__ // without a mask, g++ 12 takes its own header to read what is not initialised
inline Lanes<8>::Double widened(const Lanes<8>::Float& a)
{
    return _mm512_maskz_cvtps_pd(0xff, a);
}
inline Lanes<8>::Float rounded_off(const Lanes<8>::Double& a)
{
    return _mm512_maskz_cvtpd_ps(0xff, a);
}
inline Lanes<8>::Double square_root(const Lanes<8>::Double& a)
{
    return _mm512_maskz_sqrt_pd(0xff, a);
}
#elif defined __AVX__ // g++ 12 would convert in halves
inline Lanes<4>::Double widened(const Lanes<4>::Float& a)
{
    return _mm256_cvtps_pd(a);
}
inline Lanes<4>::Float rounded_off(const Lanes<4>::Double& a)
{
    return _mm256_cvtpd_ps(a);
}
inline Lanes<4>::Double square_root(const Lanes<4>::Double& a)
{
    return _mm256_sqrt_pd(a);
}
#endif

// What rounding off makes of a double or of doubles side by side.
template <typename V>
using FloatOf = decltype(rounded_off(V{}));

// Rows become columns: element by element, pair by pair, and so on, what lies across the diagonal changes places.
template <int lanes, int step = 1, typename Float = typename Lanes<lanes>::Float>
inline void transpose(Float* row)
{
    const auto change_places = []<int... j>(Float & a, Float & b, std::integer_sequence<int, j...>)
    {
        const Float first = a;
        a = __builtin_shufflevector(first, b, (j & step ? lanes + j - step : j)...);
        b = __builtin_shufflevector(first, b, (j & step ? lanes + j : j + step)...);
    };
    for (int i = 0; i < lanes; ++i)
        if (!(i & step)) change_places(row[i], row[i + step], std::make_integer_sequence<int, lanes>());
    if constexpr (2 * step < lanes) transpose<lanes, 2 * step>(row);
}

// The steps of sine_cosine<T>, for angles below `reducible`.
template <int lanes, typename V = typename Lanes<lanes>::Double>
inline void reduced_sine_cosine(const V& x, V& sine, V& cosine)
{
    using Integer = typename Lanes<lanes>::Integer;
    const V shifted = x * (4 / two_pi) + no_fraction, quarters = shifted - no_fraction;
    const V r = (x - quarters * quarter_high) - quarters * quarter_low, r2 = r * r;
    const auto& f = inverse_factorial;
    const V odd = r * alternating(r2, [&](int k) { return f[2 * k + 1]; });
    const V even = alternating(r2, [&](int k) { return f[2 * k]; });
    const Integer quarter = std::bit_cast<Integer>(shifted);
    const Integer odd_quarter = -(quarter & 1); // a mask, since not every processor compares such integers
    const Integer either = (std::bit_cast<Integer>(odd) ^ std::bit_cast<Integer>(even)) & odd_quarter;
    const V s = std::bit_cast<V>(std::bit_cast<Integer>(odd) ^ either);
    const V c = std::bit_cast<V>(std::bit_cast<Integer>(even) ^ either);
    const auto negated = [](const V& v,
                            const Integer& odd_pairs) { // by the second bit, which becomes the sign
        return std::bit_cast<V>(std::bit_cast<Integer>(v) ^ ((odd_pairs << 62) & INT64_MIN));
    };
    sine = negated(s, quarter), cosine = negated(c, quarter + 1);
}

template <typename V>
inline SineCosine<V> sine_cosine_of(const V& angle)
{
    SineCosine<V> both;
    reduced_sine_cosine<sizeof(V) / 8>(angle, both.sine, both.cosine);
    return both;
}
inline SineCosine<double> sine_cosine_of(double angle) // any
{
    return sine_cosine<double>(angle);
}

// Without its sign, which that of zero has, too.
template <typename V>
inline V magnitude(const V& a)
{
    return std::bit_cast<V>(std::bit_cast<typename Lanes<sizeof(V) / 8>::Integer>(a) & INT64_MAX);
}
inline double magnitude(double a)
{
    return std::fabs(a);
}

// Of any angle, out of line: a file for newer processors must not emit a function that others share.
SineCosine<double> lone_sine_cosine(double x);

// What a comparison of doubles says, for floats; and the other way round.
template <typename Integer>
inline auto narrowed(const Integer& holds)
{
    return __builtin_convertvector(holds, typename Lanes<sizeof(Integer) / 8>::Narrow);
}
template <typename Narrow>
inline auto broadened(const Narrow& holds)
{
    return __builtin_convertvector(holds, typename Lanes<sizeof(Narrow) / 4>::Integer);
}

// Whether a comparison holds for any.
template <typename Holds>
inline bool any(const Holds& holds)
{
    std::int64_t bits[sizeof(Holds) / 8], all = 0;
    std::memcpy(bits, &holds, sizeof holds);
    for (std::int64_t part : bits)
        all |= part;
    return all != 0;
}
inline bool any(bool holds)
{
    return holds;
}
#ifdef __SSE2__ // by the signs, without a way through memory
inline bool any(const Lanes<2>::Integer& holds)
{
    return _mm_movemask_pd(std::bit_cast<__m128d>(holds)) != 0;
}
#endif
#ifdef __AVX512F__
inline bool any(const Lanes<8>::Integer& holds)
{
    return _mm512_movepi64_mask(std::bit_cast<__m512i>(holds)) != 0;
}
#elif defined __AVX__
inline bool any(const Lanes<4>::Integer& holds)
{
    return _mm256_movemask_pd(std::bit_cast<__m256d>(holds)) != 0;
}
#endif

} // namespace kx
