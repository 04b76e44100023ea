#include "kinematics/shared_turn.h"

#include "kinematics/arithmetic.h"

#include <algorithm>

namespace kx {

void SharedTurn::add(double joint_reference, double joint_lower, double joint_upper)
{
    reference[count] = joint_reference, lower[count] = joint_lower, upper[count] = joint_upper;
    ++count;
}

// All joints are shifted from the reference by the same, as far as their limits let them (a condition of
// Lagrange). Those which the limits stop on the side that changes the sum more stay there, and the others are
// shifted anew.
double SharedTurn::at_sum(double sum)
{
    bool stopped[most] = {};
    for (int round = 0; round < count; ++round) {
        double left = sum, excess = 0;
        int free = 0;
        for (int i = 0; i < count; ++i)
            left -= stopped[i] ? angle[i] : reference[i], free += !stopped[i];
        if (free == 0) break;
        for (int i = 0; i < count; ++i)
            if (!stopped[i]) {
                const double wanted = reference[i] + left / free;
                angle[i] = std::clamp(wanted, lower[i], upper[i]);
                excess += angle[i] - wanted;
            }
        if (excess == 0) break;
        for (int i = 0; i < count; ++i)
            stopped[i] |= angle[i] == (excess > 0 ? lower[i] : upper[i]);
    }
    double cost = 0;
    for (int i = 0; i < count; ++i)
        cost += square(angle[i] - reference[i]);
    return cost;
}

// The cost is a convex function of the sum, so the best turn is one of the two beside the sum that costs least.
double SharedTurn::share(double sum)
{
    constexpr double rounding = 1e-6;
    double low = 0, high = 0, cheapest = 0;
    for (int i = 0; i < count; ++i) {
        low += lower[i], high += upper[i];
        cheapest += std::clamp(reference[i], lower[i], upper[i]);
    }
    const double first = sum + two_pi * std::floor((cheapest - sum) / two_pi), second = first + two_pi;
    const auto allowed = [&](double total) { return total >= low - rounding && total <= high + rounding; };
    const double cost_of_first = allowed(first) ? at_sum(first) : INFINITY;
    const double cost_of_second = allowed(second) ? at_sum(second) : INFINITY;
    if (cost_of_second < INFINITY && cost_of_second <= cost_of_first) return cost_of_second;
    return cost_of_first < INFINITY ? at_sum(first) : INFINITY;
}

} // namespace kx
