// Numbers of several targets that lie apart, with each target, brought side by side; and taken apart again.
//
// For files that are compiled for different processors; so nothing here has a name that they could share.
#pragma once

#include "kinematics/balls.h"

namespace kx {
namespace {

inline Lanes<4>::Double joined(const Pair& first, const Pair& second)
{
    return __builtin_shufflevector(first, second, 0, 1, 2, 3);
}
#ifdef __AVX512F__ // g++ 12 would load each, and shuffle three times
inline Lanes<8>::Double joined(const Pair& a, const Pair& b, const Pair& c, const Pair& d)
{
    const __m256d first = _mm256_insertf128_pd(_mm256_castpd128_pd256(a), b, 1);
    const __m256d second = _mm256_insertf128_pd(_mm256_castpd128_pd256(c), d, 1);
    return __builtin_shufflevector(first, second, 0, 1, 2, 3, 4, 5, 6, 7);
}
#endif

// What has one target's number for each number of T.
template <typename V, typename T>
struct WideOf;
template <typename V>
struct WideOf<V, Pair> {
    using Type = V;
};
template <typename V>
struct WideOf<V, Holds<Pair>> {
    using Type = Holds<V>;
};
template <typename V, template <typename> class T>
struct WideOf<V, T<Pair>> {
    using Type = T<V>;
};

// `first_of(target)` is where the first number of one is; the next are `stride` pairs further each. Through the processor's
// registers: what was written in parts it would wait for, to read it as a whole.
template <typename V, typename Wide, int stride, typename First>
Wide together_from(const First& first_of)
{
    Wide all;
    const auto bring = [&all](std::size_t i, const auto*... first) {
        const V number = joined(first[i * stride]...);
        std::memcpy(reinterpret_cast<char*>(&all) + i * sizeof(V), &number, sizeof number);
    };
    const auto bring_all = [&bring]<std::size_t... i>(std::index_sequence<i...>, const auto*... first)
    {
        (bring(i, first...), ...);
    };
    [&]<int... target>(std::integer_sequence<int, target...>)
    {
        bring_all(std::make_index_sequence<sizeof(Wide) / sizeof(V)>(), first_of(target)...);
    }
    (std::make_integer_sequence<int, targets_in<V>>());
    return all;
}

// T<V> of each target's T<Pair>, which `of` refers to; T consists of such numbers only.
template <typename V, typename Of>
auto together(const Of& of)
{
    using T = std::remove_cvref_t<decltype(of(0))>;
    using Wide = typename WideOf<V, T>::Type;
    static_assert(sizeof(Wide) / sizeof(V) == sizeof(T) / sizeof(Pair));
    return together_from<V, Wide, 1>([&](int target) { return reinterpret_cast<const Pair*>(&of(target)); });
}

// Others out of those that are together already: `which` counts targets from the first of `all`.
template <typename V, template <typename> class T>
T<V> regrouped(const T<V>* all, const int (&which)[targets_in<V>])
{
    constexpr int targets = targets_in<V>;
    return together_from<V, T<V>, targets>([&](int target) {
        return reinterpret_cast<const Pair*>(&all[which[target] / targets]) + which[target] % targets;
    });
}

// A number for each target.
template <typename V, typename Number>
V each_of(const Number& number)
{
    return [&]<int... target>(std::integer_sequence<int, target...>)
    {
        return joined(pair(number(target))...);
    }
    (std::make_integer_sequence<int, targets_in<V>>());
}

// What is one target's.
template <typename V, template <typename> class T>
void take_apart(const T<V>& all, int target, T<Pair>& own)
{
    for (std::size_t i = 0; i < sizeof own / sizeof(Pair); ++i)
        std::memcpy(reinterpret_cast<char*>(&own) + i * sizeof(Pair),
                    reinterpret_cast<const char*>(&all) + i * sizeof(V) + target * sizeof(Pair),
                    sizeof(Pair));
}

} // namespace
} // namespace kx
