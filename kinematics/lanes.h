// Several poses side by side, as many as the processor's vectors hold: sine and cosine, and the pose of a
// transform. What is written here for vectors of any width gives each pose the bits that it would get alone.
#pragma once

#include "kinematics/arithmetic.h"

#include <bit>
#include <cstdint>
#ifdef __AVX__
#include <immintrin.h>
#endif

namespace kx {

// Of doubles, with the floats that go with them.
template <int lanes>
struct Lanes {
    typedef double Double __attribute__((vector_size(8 * lanes)));
    typedef float Float __attribute__((vector_size(4 * lanes)));
    typedef std::int64_t Integer __attribute__((vector_size(8 * lanes)));
};

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
    const V s = (quarter & 1) != 0 ? even : odd, c = (quarter & 1) != 0 ? odd : even;
    sine = (quarter & 2) != 0 ? -s : s;
    cosine = ((quarter + 1) & 2) != 0 ? -c : c;
}

// Of any angle, out of line: a file for newer processors must not emit a function that others share.
SineCosine<double> lone_sine_cosine(double x);

// Whether a comparison holds for any.
template <int lanes>
inline bool any(const typename Lanes<lanes>::Integer& holds)
{
    std::int64_t bits = 0;
    for (int i = 0; i < lanes; ++i)
        bits |= holds[i];
    return bits != 0;
}

} // namespace kx
