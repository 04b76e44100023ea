// How far the joints of the seven-joint arm are from reference joints: at an arm angle, and bounds between
// two. V is a pair of doubles, or several pairs.
#pragma once

#include "kinematics/arm_angle.h"

namespace kx {

// A joint of each ball, held within one turn, of all turns inside its limits the one nearest to the
// reference. If the limits leave less than a turn, their middle is the turn's, and they lie at `low` and
// `high` in it.
template <typename V>
struct Turn {
    V start, reference, low, high; // the latter three counted from the start

    Turn() = default; // whose members have no values, and so below
    Turn(const V& lower, const V& upper, const V& reference);
    // How far beyond the start, in [0, 2*pi], an angle is met that is given up to full turns.
    V position(const V& angle) const;
    // A position's distance from the reference. At either end of the turn a joint may also stand at the
    // other.
    V deviation(const V& position) const;
};

template <typename V>
struct JointGoals {
    Turn<V> outer, inner;
    V middle_reference, middle_lower, middle_upper;
    V elbow_cost[2];     // squared distance of the elbow from its reference, bent either way; or infinite
    Holds<V> leaves_out; // not every branch keeps the limits where the middle joints can

    JointGoals() = default;
    JointGoals(const Turn<V>& outer, const Turn<V>& inner, const V& middle_reference, const V& middle_lower,
               const V& middle_upper, const V& elbow, const V& elbow_bent_other_way);
    // Such limits are not for several targets side by side.
    bool narrow() const { return targets_in<V> == 1 && any(leaves_out); }
    V middle_limit() const { return max(abs(middle_lower), abs(middle_upper)); }
};

// Every arm angle has eight branches: a ball's rotation is the same at (outer + pi, -middle, inner + pi), and
// bending the elbow the other way adds pi to both inner joints. Branch 4*elbow + 2*shoulder + wrist is one bit of a
// set, for each target.
template <typename V>
using Branches = Holds<V>;
inline constexpr int all_branches = 0xff;

// One of them.
template <typename V>
struct Branch {
    Holds<V> elbow, shoulder, wrist;

    explicit Branch(const Branches<V>& one)
    {
        if constexpr (targets_in<V> == 1) { // integers of 64 bits are compared in many steps
            static constexpr Holds<V> says[] = {{0, 0}, {-1, -1}};
            const auto number = std::countr_zero(static_cast<unsigned>(one[0]));
            elbow = says[number >> 2], shoulder = says[number >> 1 & 1], wrist = says[number & 1];
        } else {
            elbow = (one & 0xf0) != 0, shoulder = (one & 0xcc) != 0, wrist = (one & 0xaa) != 0;
        }
    }
    Holds<V> turned() const { return beside(shoulder, wrist); }
    Holds<V> inner_turned() const { return turned() ^ elbow; }
    V middle_sign() const { return turned() ? all_of<V>(-1) : all_of<V>(1); }
};

// The joints at an arm angle, and where in their turns they are: as they are, and turned by pi.
template <typename V>
struct Point {
    BallAngles<V> angles;
    V outer[2], inner[2];

    void move_to(const ArmAngle<V>& arm, const BallJoints<V>& balls, const JointGoals<V>& goals)
    {
        balls.evaluate(arm, angles);
        place(goals);
    }
    void place(const JointGoals<V>& goals); // after the angles
    // Those that keep the limits, to within rounding.
    Branches<V> feasible(const JointGoals<V>& goals) const;
};

// A squared distance for each ball in both positions of it and of the elbow.
template <typename V>
struct SquaredDistances {
    V of[2][2]; // elbow bent the other way, ball turned

    // With the elbow's, in a branch.
    V operator()(int branch, const JointGoals<V>& goals) const
    {
        const auto* const balls = of[branch >> 2];
        return of_shoulder(balls[branch >> 1 & 1]) + of_wrist(balls[branch & 1]) +
               goals.elbow_cost[branch >> 2];
    }
    // Of all branches.
    V least(const JointGoals<V>& goals) const
    {
        const V bent = of_both(min(of[0][0], of[0][1])) + goals.elbow_cost[0];
        const V other_way = of_both(min(of[1][0], of[1][1])) + goals.elbow_cost[1];
        return min(other_way, bent);
    }
    // Of some, and which it is.
    struct Least {
        V squared;
        Branches<V> branch;
    };
    Least least(const JointGoals<V>& goals, const Branches<V>& of_these) const;
};

template <typename V>
SquaredDistances<V> squared_distances(const Point<V>& point, const JointGoals<V>& goals);

// The squared distance of one branch at an arm angle, and its derivative.
template <typename V>
struct Distance {
    V psi, squared, rate;
};

// A branch of a piece, from its first end on.
template <typename V>
struct BranchStart {
    Course<V> sum, difference;             // outer + inner, outer - inner
    V sum_deviation, difference_deviation; // of these from the reference
    V middle_reference;                    // for the middle angle in [0, pi]
    V elbow_cost;

    // At any arm angle of the piece.
    Distance<V> distance(const BallAngles<V>& angles) const;
};

// The arm angles between two that lie so close that, from one to the other, both balls' middle angles move
// one way and no joint goes through an end of its turn. Then the middle angles, the sums and differences of
// outer and inner angles and the rates of these are monotone, and their values at both ends enclose all in
// between.
template <typename V>
class Piece {
  public:
    Piece() = default; // whose members have no values
    Piece(const BallJoints<V>& balls, const JointGoals<V>& goals, const Point<V>& a, const Point<V>& b);

    const Point<V>& first() const { return *a_; }
    const Point<V>& last() const { return *b_; }
    // What the squared distances do not fall below.
    const SquaredDistances<V>& lower_bounds() const { return lower_bounds_; }
    BranchStart<V> start(const Branch<V>& branch) const;
    // Lower bound of the second derivative of the squared distance.
    V least_bend(const BranchStart<V>& start) const;

  private:
    V deviation(const Turn<V>& turn, const V& a, const V& b, const V& rise, const V& rate) const;
    V lower_bound(int turned, int inner_turned) const;

    const BallJoints<V>* balls_;
    const JointGoals<V>* goals_;
    const Point<V>*a_, *b_;
    V sum_rise_, difference_rise_; // from a to b
    V outer_[2], inner_[2];        // deviations at a, as it is and turned by pi
    SquaredDistances<V> lower_bounds_;
};

inline constexpr double at_end = 1e-6; // this near to an end of its turn, a joint counts as standing there

template <typename V>
struct Interval {
    V low, high;

    friend Interval operator-(const Interval& a, const V& b) { return {a.low - b, a.high - b}; }
    friend Interval operator-(const Interval& a) { return {-a.high, -a.low}; }
    friend Interval operator*(const Interval& a, const Interval& b)
    {
        const V p = a.low * b.low, q = a.low * b.high, r = a.high * b.low, s = a.high * b.high;
        return {min(min(p, q), min(r, s)), max(max(p, q), max(r, s))};
    }
};

template <typename V>
inline Interval<V> enclose(const V& a, const V& b)
{
    return {min(a, b), max(a, b)};
}

template <typename V>
inline V least_square(const Interval<V>& a)
{
    return square(max(V{}, max(a.low, V(-a.high))));
}

// How much a sum or difference changes between two arm angles. It is known up to two turns, but changes by
// less than one, towards where its rate tells.
template <typename V>
inline V rise(const Course<V>& a, const Course<V>& b)
{
    const V d = b.value - a.value, two_turns = all_of<V>(2 * two_pi);
    return a.rate < 0 ? d - (d > 1 ? two_turns : V{}) : d + (d < -1 ? two_turns : V{});
}

template <typename V>
Turn<V>::Turn(const V& lower, const V& upper, const V& reference_angle)
{
    const V first = max(lower, min(V(reference_angle - pi), V(upper - two_pi)));
    const auto full = upper - lower >= two_pi;
    start = full ? first : (lower + upper) / 2 - pi;
    reference = reference_angle - start;
    low = full ? V{} : lower - start;
    high = full ? all_of<V>(two_pi) : upper - start;
}

template <typename V>
JointGoals<V>::JointGoals(const Turn<V>& outer_turn, const Turn<V>& inner_turn, const V& reference,
                          const V& lower, const V& upper, const V& elbow, const V& elbow_bent_other_way)
    : outer(outer_turn), inner(inner_turn), middle_reference(reference), middle_lower(lower),
      middle_upper(upper), elbow_cost{elbow, elbow_bent_other_way}
{
    leaves_out = ~of_both((outer.low == 0) & (outer.high == two_pi) & (inner.low == 0) &
                          (inner.high == two_pi) & (lower == -upper));
}

template <typename V>
V Turn<V>::position(const V& angle) const
{
    const V beyond = angle - start;
    return beyond - two_pi * rounded(V(beyond * (1 / two_pi) - 0.5));
}

template <typename V>
V Turn<V>::deviation(const V& position) const
{
    const V at_start = position < at_end ? position + two_pi : position;
    const V at_finish = position > two_pi - at_end ? position - two_pi : position;
    return (reference > pi ? at_start : at_finish) - reference;
}

template <typename V>
void Point<V>::place(const JointGoals<V>& goals)
{
    const auto turned = [](const V& position) { return position > pi ? position - pi : position + pi; };
    outer[0] = goals.outer.position(angles.outer());
    outer[1] = turned(outer[0]);
    inner[0] = goals.inner.position(angles.inner());
    inner[1] = turned(inner[0]);
}

template <typename V>
Branches<V> Point<V>::feasible(const JointGoals<V>& goals) const
{
    constexpr double rounding = 1e-9;
    const auto within = [](const V& x, const V& low, const V& high) {
        return (x >= low - rounding) & (x <= high + rounding);
    };
    Holds<V> outer_kept[2], inner_kept[2];
    for (int turned = 0; turned < 2; ++turned) {
        const V middle = turned ? -angles.middle.value : angles.middle.value;
        outer_kept[turned] = within(outer[turned], goals.outer.low, goals.outer.high) &
                             within(middle, goals.middle_lower, goals.middle_upper);
        inner_kept[turned] = within(inner[turned], goals.inner.low, goals.inner.high);
    }
    Branches<V> kept = {};
    for (int n = 0; n < 8; ++n) {
        const int e = n >> 2, s = n >> 1 & 1, w = n & 1;
        const Holds<V> all = of_shoulder(outer_kept[s] & inner_kept[s ^ e]) &
                             of_wrist(outer_kept[w] & inner_kept[w ^ e]) & (goals.elbow_cost[e] < INFINITY);
        kept |= all & 1 << n;
    }
    return kept;
}

template <typename V>
typename SquaredDistances<V>::Least SquaredDistances<V>::least(const JointGoals<V>& goals,
                                                               const Branches<V>& of_these) const
{
    Least best = {all_of<V>(INFINITY), Branches<V>{} + 1};
    for (int n = 0; n < 8; ++n) {
        const V here = (*this)(n, goals);
        auto nearer = here < best.squared;
        if (goals.narrow()) nearer &= (of_these & 1 << n) != 0;
        best = {nearer ? here : best.squared, nearer ? Branches<V>{} + (1 << n) : best.branch};
    }
    return best;
}

template <typename V>
SquaredDistances<V> squared_distances(const Point<V>& p, const JointGoals<V>& goals)
{
    SquaredDistances<V> squared;
    const V inner[2] = {square(goals.inner.deviation(p.inner[0])), square(goals.inner.deviation(p.inner[1]))};
    for (int turned = 0; turned < 2; ++turned) {
        const V middle = turned ? -p.angles.middle.value : p.angles.middle.value;
        const V others =
            square(goals.outer.deviation(p.outer[turned])) + square(V(middle - goals.middle_reference));
        squared.of[0][turned] = others + inner[turned];
        squared.of[1][turned] = others + inner[1 - turned];
    }
    return squared;
}

template <typename V>
Piece<V>::Piece(const BallJoints<V>& balls, const JointGoals<V>& goals, const Point<V>& a, const Point<V>& b)
    : balls_(&balls), goals_(&goals), a_(&a), b_(&b), sum_rise_(rise(a.angles.sum, b.angles.sum)),
      difference_rise_(rise(a.angles.difference, b.angles.difference))
{
    const V outer_rise = (sum_rise_ + difference_rise_) / 2, inner_rise = (sum_rise_ - difference_rise_) / 2;
    const V sum_rate = a.angles.sum.rate;
    const V outer_rate = (sum_rate + a.angles.difference.rate) / 2, inner_rate = sum_rate - outer_rate;
    for (int turned = 0; turned < 2; ++turned) {
        outer_[turned] = deviation(goals.outer, a.outer[turned], b.outer[turned], outer_rise, outer_rate);
        inner_[turned] = deviation(goals.inner, a.inner[turned], b.inner[turned], inner_rise, inner_rate);
    }
    lower_bounds_ = {{{lower_bound(0, 0), lower_bound(1, 1)}, {lower_bound(0, 1), lower_bound(1, 0)}}};
}

// The deviation at a. The piece does not go through the ends of the turn, so the position that is farther
// from them tells on which side the piece lies; if both are there, the rate tells, or neither end is wrong.
template <typename V>
V Piece<V>::deviation(const Turn<V>& turn, const V& a, const V& b, const V& rise, const V& rate) const
{
    const V inside_a = min(a, V(two_pi - a)), inside_b = min(b, V(two_pi - b)),
            inside = max(inside_a, inside_b);
    V position = inside_a > inside_b ? a : b - rise;
    if (any(!(inside > at_end))) {
        const auto stays = abs(rate) * (b_->angles.psi - a_->angles.psi) <= at_end;
        const auto from_finish = (stays & (turn.reference > pi)) | (~stays & (rate < 0));
        const V at_start = a > pi ? a - two_pi : a, at_finish = a > pi ? a : a + two_pi;
        position = inside > at_end ? position : (from_finish ? at_finish : at_start);
    }
    return position - turn.reference;
}

template <typename V>
V Piece<V>::lower_bound(int turned, int inner_turned) const
{
    const BallAngles<V>&a = a_->angles, &b = b_->angles;
    const V sum = outer_[turned] + inner_[inner_turned], difference = outer_[turned] - inner_[inner_turned];
    const Interval<V> middle = enclose(a.middle.value, b.middle.value);
    const V sums = least_square(enclose<V>(sum, sum + sum_rise_));
    const V differences = least_square(enclose<V>(difference, difference + difference_rise_));
    return (sums + differences) / 2 + least_square((turned ? -middle : middle) - goals_->middle_reference);
}

template <typename V>
BranchStart<V> Piece<V>::start(const Branch<V>& branch) const
{
    const V outer = branch.turned() ? outer_[1] : outer_[0];
    const V inner = branch.inner_turned() ? inner_[1] : inner_[0];
    return {a_->angles.sum,
            a_->angles.difference,
            outer + inner,
            outer - inner,
            branch.middle_sign() * goals_->middle_reference,
            branch.elbow ? goals_->elbow_cost[1] : goals_->elbow_cost[0]};
}

// outer^2 + inner^2 = (sum^2 + difference^2)/2
template <typename V>
Distance<V> BranchStart<V>::distance(const BallAngles<V>& p) const
{
    const V sum_there = sum_deviation + rise(sum, p.sum),
            difference_there = difference_deviation + rise(difference, p.difference);
    const V middle = p.middle.value - middle_reference;
    const V squared = (square(sum_there) + square(difference_there)) / 2 + square(middle);
    const V rate = sum_there * p.sum.rate + difference_there * p.difference.rate + 2 * middle * p.middle.rate;
    return {p.psi, of_both(squared) + elbow_cost, of_both(rate)};
}

template <typename V>
V Piece<V>::least_bend(const BranchStart<V>& start) const
{
    const BallAngles<V>&a = a_->angles, &b = b_->angles;
    // The middle angle's rate grows until it is steepest, and falls from there. Which way it goes, the angles
    // tell; at the ends the rates may be zeros of either sign.
    Interval<V> middle_rate = enclose(a.middle.rate, b.middle.rate);
    const V steepest = a.middle_bend * b.middle_bend < 0 ? balls_->steepest() : V{};
    const auto grows = b.middle.value > a.middle.value;
    middle_rate = {grows ? middle_rate.low : min(middle_rate.low, V(-steepest)),
                   grows ? max(middle_rate.high, steepest) : middle_rate.high};
    const V least_rate2 = least_square(middle_rate);
    const V largest_rate2 = max(square(middle_rate.low), square(middle_rate.high));

    const Interval<V> cosine = enclose(a.cos_middle, b.cos_middle);
    Interval<V> inverse_sine = enclose(a.inverse_sine, b.inverse_sine);
    inverse_sine.low = cosine.low * cosine.high < 0 ? all_of<V>(1) : inverse_sine.low;
    const Interval<V> middle_bend =
        (cosine * Interval<V>{1 - largest_rate2, 1 - least_rate2} - balls_->mean()) * inverse_sine;
    const Interval<V> sum_bend = enclose(a.sum_gain, b.sum_gain) * middle_rate;
    const Interval<V> difference_bend = enclose(a.difference_gain, b.difference_gain) * middle_rate;

    const Interval<V> sum = enclose<V>(start.sum_deviation, start.sum_deviation + sum_rise_);
    const Interval<V> difference =
        enclose<V>(start.difference_deviation, start.difference_deviation + difference_rise_);
    const Interval<V> middle = enclose(a.middle.value, b.middle.value) - start.middle_reference;

    const V sums = least_square(enclose(a.sum.rate, b.sum.rate)) + (sum * sum_bend).low;
    const V differences =
        least_square(enclose(a.difference.rate, b.difference.rate)) + (difference * difference_bend).low;
    return of_both(V(sums + differences + 2 * (least_rate2 + (middle * middle_bend).low)));
}

} // namespace kx
