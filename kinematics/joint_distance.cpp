#include "kinematics/joint_distance.h"

namespace kx {
namespace {

constexpr double at_end = 1e-6; // this near to an end of its turn, a joint counts as standing there

struct Interval {
    Pair low, high;
};

Interval between(Pair a, Pair b)
{
    return {min(a, b), max(a, b)};
}

Interval operator-(const Interval& a, Pair b)
{
    return {a.low - b, a.high - b};
}

Interval operator-(const Interval& a)
{
    return {-a.high, -a.low};
}

Interval operator*(const Interval& a, const Interval& b)
{
    const Pair p = a.low * b.low, q = a.low * b.high, r = a.high * b.low, s = a.high * b.high;
    return {min(min(p, q), min(r, s)), max(max(p, q), max(r, s))};
}

Pair least_square(const Interval& a)
{
    return square(max(pair(0), max(a.low, -a.high)));
}

// How much a sum or difference changes between two arm angles. It is known up to two turns, but changes by
// less than one, towards where its rate tells.
Pair rise(const Course& a, const Course& b)
{
    const Pair d = b.value - a.value, two_turns = pair(2 * two_pi), none = pair(0);
    return a.rate < 0 ? d - (d > 1 ? two_turns : none) : d + (d < -1 ? two_turns : none);
}

} // namespace

Turn::Turn(Pair lower, Pair upper, Pair reference_angle)
{
    const Pair first = max(lower, min(reference_angle - pi, upper - two_pi));
    const auto full = upper - lower >= two_pi;
    start = full ? first : (lower + upper) / 2 - pi;
    reference = reference_angle - start;
    low = full ? pair(0) : lower - start;
    high = full ? pair(two_pi) : upper - start;
}

JointGoals::JointGoals(const Turn& outer_turn, const Turn& inner_turn, Pair reference, Pair lower, Pair upper,
                       double elbow, double elbow_bent_other_way)
    : outer(outer_turn), inner(inner_turn), middle_reference(reference), middle_lower(lower),
      middle_upper(upper), elbow_cost{elbow, elbow_bent_other_way}
{
    const auto free = [](Pair low, Pair high) { return (low[0] == high[0]) & (low[1] == high[1]); };
    narrow = !(free(outer.low, pair(0)) & free(outer.high, pair(two_pi)) & free(inner.low, pair(0)) &
               free(inner.high, pair(two_pi)) & free(lower, -upper));
}

Pair Turn::position(Pair angle) const
{
    const Pair beyond = angle - start;
    return beyond - two_pi * rounded(beyond * (1 / two_pi) - 0.5);
}

Pair Turn::deviation(Pair position) const
{
    const Pair at_start = position < at_end ? position + two_pi : position;
    const Pair at_finish = position > two_pi - at_end ? position - two_pi : position;
    return (reference > pi ? at_start : at_finish) - reference;
}

void Point::move_to(const ArmAngle& arm, const BallJoints& balls, const JointGoals& goals)
{
    balls.evaluate(arm, angles);
    place(goals);
}

void Point::place(const JointGoals& goals)
{
    const auto turned = [](Pair position) { return position > pi ? position - pi : position + pi; };
    outer[0] = goals.outer.position(angles.outer());
    outer[1] = turned(outer[0]);
    inner[0] = goals.inner.position(angles.inner());
    inner[1] = turned(inner[0]);
}

Branches Point::feasible(const JointGoals& goals) const
{
    constexpr double rounding = 1e-9;
    const auto within = [](Pair x, Pair low, Pair high) {
        return (x >= low - rounding) & (x <= high + rounding);
    };
    decltype(within(Pair{}, Pair{}, Pair{})) outer_kept[2], inner_kept[2];
    for (int turned = 0; turned < 2; ++turned) {
        const Pair middle = turned ? -angles.middle.value : angles.middle.value;
        outer_kept[turned] = within(outer[turned], goals.outer.low, goals.outer.high) &
                             within(middle, goals.middle_lower, goals.middle_upper);
        inner_kept[turned] = within(inner[turned], goals.inner.low, goals.inner.high);
    }
    Branches kept = 0;
    for (int n = 0; n < 8; ++n) {
        const auto [e, s, w] = branch_of(n);
        const bool all = outer_kept[s][0] & outer_kept[w][1] & inner_kept[s ^ e][0] & inner_kept[w ^ e][1];
        if (all && goals.elbow_cost[e] < INFINITY) kept |= 1u << n;
    }
    return kept;
}

double SquaredDistances::least_of(Branches branches, const JointGoals& goals) const
{
    double least = INFINITY;
    for (int n = 0; n < 8; ++n)
        if (branches >> n & 1) least = std::min(least, (*this)(branch_of(n), goals));
    return least;
}

Branch SquaredDistances::nearest(const JointGoals& goals, Branches branches) const
{
    int best = 0;
    double least = INFINITY;
    for (int n = 0; n < 8; ++n) {
        const double squared = branches >> n & 1 ? (*this)(branch_of(n), goals) : INFINITY;
        best += (squared < least) * (n - best); // a choice without a branch
        least = std::min(least, squared);
    }
    return branch_of(best);
}

SquaredDistances squared_distances(const Point& p, const JointGoals& goals)
{
    SquaredDistances squared;
    const Pair inner[2] = {square(goals.inner.deviation(p.inner[0])),
                           square(goals.inner.deviation(p.inner[1]))};
    for (int turned = 0; turned < 2; ++turned) {
        const Pair middle = turned ? -p.angles.middle.value : p.angles.middle.value;
        const Pair others =
            square(goals.outer.deviation(p.outer[turned])) + square(middle - goals.middle_reference);
        squared.of[0][turned] = others + inner[turned];
        squared.of[1][turned] = others + inner[1 - turned];
    }
    return squared;
}

Piece::Piece(const BallJoints& balls, const JointGoals& goals, const Point& a, const Point& b)
    : balls_(&balls), goals_(&goals), a_(&a), b_(&b), sum_rise_(rise(a.angles.sum, b.angles.sum)),
      difference_rise_(rise(a.angles.difference, b.angles.difference))
{
    const Pair outer_rise = (sum_rise_ + difference_rise_) / 2,
               inner_rise = (sum_rise_ - difference_rise_) / 2;
    const Pair sum_rate = a.angles.sum.rate;
    const Pair outer_rate = (sum_rate + a.angles.difference.rate) / 2, inner_rate = sum_rate - outer_rate;
    for (int turned = 0; turned < 2; ++turned) {
        outer_[turned] = deviation(goals.outer, a.outer[turned], b.outer[turned], outer_rise, outer_rate);
        inner_[turned] = deviation(goals.inner, a.inner[turned], b.inner[turned], inner_rise, inner_rate);
    }
    lower_bounds_ = {{{lower_bound(0, 0), lower_bound(1, 1)}, {lower_bound(0, 1), lower_bound(1, 0)}}};
}

// The deviation at a. The piece does not go through the ends of the turn, so the position that is farther
// from them tells on which side the piece lies; if both are there, the rate tells, or neither end is wrong.
Pair Piece::deviation(const Turn& turn, Pair a, Pair b, Pair rise, Pair rate) const
{
    const Pair inside_a = min(a, two_pi - a), inside_b = min(b, two_pi - b), inside = max(inside_a, inside_b);
    Pair position = inside_a > inside_b ? a : b - rise;
    if (!(inside[0] > at_end && inside[1] > at_end)) {
        const auto stays = abs(rate) * (b_->angles.psi - a_->angles.psi) <= at_end;
        const Pair falls = pair(1), grows = pair(0);
        const Pair from_finish = stays ? (turn.reference > pi ? falls : grows) : (rate < 0 ? falls : grows);
        const Pair at_start = a > pi ? a - two_pi : a, at_finish = a > pi ? a : a + two_pi;
        position = inside > at_end ? position : from_finish > 0 ? at_finish : at_start;
    }
    return position - turn.reference;
}

Pair Piece::lower_bound(int turned, int inner_turned) const
{
    const BallAngles &a = a_->angles, &b = b_->angles;
    const Pair sum = outer_[turned] + inner_[inner_turned],
               difference = outer_[turned] - inner_[inner_turned];
    const Interval middle = between(a.middle.value, b.middle.value);
    const Pair sums = least_square(between(sum, sum + sum_rise_));
    const Pair differences = least_square(between(difference, difference + difference_rise_));
    return (sums + differences) / 2 + least_square((turned ? -middle : middle) - goals_->middle_reference);
}

BranchStart Piece::start(const Branch& branch) const
{
    const auto [e, s, w] = branch;
    const Pair outer = {outer_[s][0], outer_[w][1]}, inner = {inner_[s ^ e][0], inner_[w ^ e][1]};
    return {outer + inner, outer - inner, branch.middle_sign(), goals_->elbow_cost[e]};
}

// outer^2 + inner^2 = (sum^2 + difference^2)/2
Distance Piece::distance(const BranchStart& start, const BallAngles& p) const
{
    const Pair sum = start.sum + rise(a_->angles.sum, p.sum),
               difference = start.difference + rise(a_->angles.difference, p.difference);
    const Pair middle = p.middle.value - start.middle_sign * goals_->middle_reference;
    const Pair squared = (square(sum) + square(difference)) / 2 + square(middle);
    const Pair rate = sum * p.sum.rate + difference * p.difference.rate + 2 * middle * p.middle.rate;
    return {p.psi, squared[0] + squared[1] + start.elbow_cost, rate[0] + rate[1]};
}

double Piece::least_bend(const BranchStart& start) const
{
    const BallAngles &a = a_->angles, &b = b_->angles;
    // The middle angle's rate grows until it is steepest, and falls from there. Which way it goes, the angles
    // tell; at the ends the rates may be zeros of either sign.
    Interval middle_rate = between(a.middle.rate, b.middle.rate);
    const Pair steepest = a.middle_bend * b.middle_bend < 0 ? balls_->steepest() : pair(0);
    const auto grows = b.middle.value > a.middle.value;
    middle_rate = {grows ? middle_rate.low : min(middle_rate.low, -steepest),
                   grows ? max(middle_rate.high, steepest) : middle_rate.high};
    const Pair least_rate2 = least_square(middle_rate);
    const Pair largest_rate2 = max(square(middle_rate.low), square(middle_rate.high));

    const Interval cosine = between(a.cos_middle, b.cos_middle);
    Interval inverse_sine = between(a.inverse_sine, b.inverse_sine);
    inverse_sine.low = cosine.low * cosine.high < 0 ? pair(1) : inverse_sine.low;
    const Interval middle_bend =
        (cosine * Interval{1 - largest_rate2, 1 - least_rate2} - balls_->mean()) * inverse_sine;
    const Interval sum_bend = between(a.sum_gain, b.sum_gain) * middle_rate;
    const Interval difference_bend = between(a.difference_gain, b.difference_gain) * middle_rate;

    const Interval sum = between(start.sum, start.sum + sum_rise_);
    const Interval difference = between(start.difference, start.difference + difference_rise_);
    const Interval middle =
        between(a.middle.value, b.middle.value) - start.middle_sign * goals_->middle_reference;

    const Pair sums = least_square(between(a.sum.rate, b.sum.rate)) + (sum * sum_bend).low;
    const Pair differences =
        least_square(between(a.difference.rate, b.difference.rate)) + (difference * difference_bend).low;
    const Pair bend = sums + differences + 2 * (least_rate2 + (middle * middle_bend).low);
    return bend[0] + bend[1];
}

} // namespace kx
