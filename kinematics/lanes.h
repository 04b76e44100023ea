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

#ifdef __AVX__
inline Lanes<4>::Double square_root(Lanes<4>::Double a)
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
    V odd = V{} + f[17], even = V{} + f[16];
    for (int n = 15; n > 0; n -= 2)
        odd = f[n] - r2 * odd, even = f[n - 1] - r2 * even;
    odd = r * odd;
    const Integer quarter = std::bit_cast<Integer>(shifted);
    const V s = (quarter & 1) != 0 ? even : odd, c = (quarter & 1) != 0 ? odd : even;
    sine = (quarter & 2) != 0 ? -s : s;
    cosine = ((quarter + 1) & 2) != 0 ? -c : c;
}

// Of any angle, out of line: a file for newer processors must not emit a function that others share.
SineCosine<double> lone_sine_cosine(double x);

template <int lanes, typename V = typename Lanes<lanes>::Double>
inline void sine_cosine(const V& x, V& sine, V& cosine)
{
    reduced_sine_cosine<lanes>(x, sine, cosine);
    for (int i = 0; i < lanes; ++i)
        if (!(std::fabs(x[i]) < reducible)) {
            const auto [s, c] = lone_sine_cosine(x[i]);
            sine[i] = s, cosine[i] = c;
        }
}

} // namespace kx
