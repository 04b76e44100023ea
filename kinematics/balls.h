// Numbers of the two ball joints of the seven-joint arm, shoulder and wrist, side by side: a pair of doubles, or a
// wider vector of such pairs, one for each of several targets. What concerns a whole target stands at both places of
// its pair, and so does what is asked of it. So the same steps do for one target and for several.
//
// Files for different processors include this; so nothing here has a name that they could share.
#pragma once

#include "kinematics/lanes.h"

namespace kx {

template <typename V>
inline constexpr int targets_in = sizeof(V) / sizeof(Pair);

// What a comparison says, and sets of up to 64 things.
template <typename V>
using Holds = decltype(V{} < V{});

// Element i of the result is that of a and b, one behind the other, whose number From tells.
template <typename V, typename From>
inline V shuffled(const V& a, const V& b, From)
{
    return [&]<int... i>(std::integer_sequence<int, i...>)
    {
        return __builtin_shufflevector(a, b, From()(i)...);
    }
    (std::make_integer_sequence<int, 2 * targets_in<V>>());
}
template <typename V>
inline V beside(const V& shoulder, const V& wrist)
{
    return shuffled(shoulder, wrist, [](int i) { return i % 2 ? 2 * targets_in<V> + i : i; });
}
template <typename V>
inline V of_shoulder(const V& both)
{
    return shuffled(both, both, [](int i) { return i - i % 2; });
}
template <typename V>
inline V of_wrist(const V& both)
{
    return shuffled(both, both, [](int i) { return i | 1; });
}
template <typename V>
inline V of_the_other(const V& both)
{
    return shuffled(both, both, [](int i) { return i ^ 1; });
}
template <typename V>
inline V of_both(const V& pairs) // their sum, or what both say
{
    if constexpr (std::is_same_v<V, Holds<V>>)
        return of_shoulder(pairs) & of_wrist(pairs);
    else
        return of_shoulder(pairs) + of_wrist(pairs);
}

template <typename V>
inline V all_of(double number)
{
    return V{} + number;
}

} // namespace kx
