// The arm angle whose joints lie nearest to a reference, for one target or for several, by global minimisation with bounds.
//
// Within one branch the squared distance of the joints from their references is a smooth function of the arm
// angle, except where a joint passes the end of its turn. Those arm angles are known in closed form, and so
// are the ends of the feasible arm angles and the points at which the middle angles reverse. Between two
// neighbours of all these (a "piece"), middle angles, sums and differences are monotone, and so are the rates
// of the latter: their values at both ends enclose all in between. That bounds the distance and its curvature
// from below. A piece that cannot hold anything nearer than the best arm angle known is dropped; one on which
// the distance is convex is descended; any other is halved. So nothing is missed, however narrow.
#pragma once

#include "kinematics/joint_distance.h"
#include "kx/arm_model.h"

#include <algorithm>
#include <cstring>

namespace kx {

inline constexpr double least_width = 1e-12; // of a piece, at which rounding rules

// The joints as distances from their references, and the branch.
template <typename V>
struct Deviations {
    Branch<V> branch;
    V outer, middle, inner;
};

// The nearest branch at a point, of those inside the limits.
template <typename V>
Deviations<V> nearest_branch(const Point<V>& p, const JointGoals<V>& goals)
{
    const Branches<V> inside = goals.narrow() ? p.feasible(goals) : Branches<V>{} + all_branches;
    const Branch<V> best(squared_distances(p, goals).least(goals, inside).branch);
    const V outer = best.turned() ? p.outer[1] : p.outer[0];
    const V inner = best.inner_turned() ? p.inner[1] : p.inner[0];
    const V middle = p.angles.middle.value * best.middle_sign();
    return {best, goals.outer.deviation(outer), middle - goals.middle_reference,
            goals.inner.deviation(inner)};
}

// A branch of a piece between two arm angles that come closer and closer about the least distance, where this is convex.
template <typename V>
struct Descent {
    BranchStart<V> start;
    Distance<V> a, b;
    V least_bend;
    Holds<V> halve; // for safety: at least every other step does

    Descent() = default; // whose members have no values
    Descent(const Piece<V>& piece, const Branch<V>& branch)
        : start(piece.start(branch)), a(start.distance(piece.first().angles)),
          b(start.distance(piece.last().angles)), least_bend(piece.least_bend(start)), halve{}
    {
    }
    V width() const { return b.psi - a.psi; }
    Holds<V> wide_enough() const { return width() >= least_width; }
    // What the distance does not fall below: two parabolas continue the ends with the least bend, and none of their points
    // is above the distance. If they open downwards, both are least where they meet; if upwards, the tangents are at least
    // as low where they meet, and a parabola at its vertex.
    V lower_bound() const;
    // Where it may be least: the minimum of the cubic through values and rates; it falls at a and rises at b.
    V next() const;
    // Goes on from there.
    void narrow(const Distance<V>& there);
};

template <typename V>
V Descent<V>::lower_bound() const
{
    const V bend = min(V{}, least_bend);
    const V t = (a.squared - b.squared + (b.rate - bend * width() / 2) * width()) /
                (b.rate - a.rate - bend * width());
    const V meeting = min(width(), max(t, V{}));
    const V meet = a.squared + (a.rate + bend * meeting / 2) * meeting;
    const V vertices =
        beside(a.squared, b.squared) - square(beside(a.rate, b.rate)) / (2 * max(least_bend, V{}));
    // minus infinity if they open downwards
    return max(of_wrist(vertices), max(of_shoulder(vertices), meet));
}

template <typename V>
V Descent<V>::next() const
{
    const V z = 3 * (a.squared - b.squared) / width() + a.rate + b.rate;
    const V root = square_root(max(V(z * z - a.rate * b.rate), V{}));
    const V cubic = b.psi - width() * (b.rate + root - z) / (b.rate - a.rate + 2 * root);
    const Holds<V> inside = (cubic > a.psi) & (cubic < b.psi);
    return (~halve & inside) ? cubic : a.psi + width() / 2;
}

template <typename V>
void Descent<V>::narrow(const Distance<V>& d)
{
    const V before = width();
    const auto move = [&d](Distance<V>& end, const Holds<V>& there) {
        end = {there ? d.psi : end.psi, there ? d.squared : end.squared, there ? d.rate : end.rate};
    };
    move(a, d.rate < 0);
    move(b, !(d.rate < 0));
    halve = width() > before / 2;
}

// The least of what was looked at.
template <typename V>
class Best {
  public:
    V squared_distance() const { return of_shoulder(best_); }
    V psi() const { return of_wrist(best_); } // NaN if it was nowhere feasible
    void offer(const V& psi, const V& squared)
    {
        best_ = squared < squared_distance() ? beside(squared, psi) : best_;
    }
    Holds<V> beaten_by(const V& squared) const
    {
        constexpr double tolerance = 1e-9; // rad^2
        return squared < squared_distance() - tolerance;
    }
    // The branches of a piece that may hold less.
    Branches<V> promising(const Piece<V>& piece, const JointGoals<V>& goals) const
    {
        Branches<V> branches = {};
        for (int n = 0; n < 8; ++n)
            branches |= beaten_by(piece.lower_bounds()(n, goals)) & 1 << n;
        return branches;
    }

  private:
    V best_ = beside(all_of<V>(INFINITY), all_of<V>(NAN)); // squared distance beside arm angle
};

// Of the nearest branch.
template <typename V>
V squared_distance(const Point<V>& p, const JointGoals<V>& goals)
{
    const auto squared = squared_distances(p, goals);
    return goals.narrow() ? squared.least(goals, p.feasible(goals)).squared : squared.least(goals);
}

// Which arm angles keep the middle joints within the greater of their limits.
template <typename V>
class Feasible {
  public:
    Feasible() = default; // whose members have no values
    Feasible(const BallJoints<V>& balls, const JointGoals<V>& goals)
        : nearest_(balls.nearest()), reach_(balls.reach(goals.middle_limit()))
    {
    }
    // The ends, NaN if there are none.
    V first() const { return nearest_ - (reach_ < pi ? reach_ : all_of<V>(NAN)); }
    V last() const { return nearest_ + (reach_ < pi ? reach_ : all_of<V>(NAN)); }
    Holds<V> contains(const V& psi) const { return of_both(keeps(psi, nearest_, reach_)); }
    // The same, for an arm angle of each ball.
    Holds<V> contains_either(const V& psi) const
    {
        return keeps(psi, nearest_, reach_) & keeps(psi, of_the_other(nearest_), of_the_other(reach_));
    }

  private:
    static Holds<V> keeps(const V& psi, const V& nearest, const V& reach) // of one ball
    {
        constexpr double rounding = 1e-9;
        const V off = psi - nearest,
                beyond = abs(V(off - two_pi * rounded(V(off * (1 / two_pi))))) - rounding;
        return beyond <= reach;
    }

    V nearest_, reach_;
};

// Arm angles, at most 2 + 8 + 8, in ascending order; and where limits are narrow 4 + 16 more.
struct Ends {
    static constexpr int usual = 18, most = 38, room = 40; // also for what turns out not to count
    int count = 0;
    double psi[room] = {};
};

// Each goes behind those that are smaller, which are counted: without a branch, and all of them, as numbers that
// differ at least in their last bits. Behind those that were found, nothing is smaller.
template <typename V, int room>
void put_in_order(const double* found, Ends& ends)
{
    constexpr int width = sizeof(V) / sizeof(double), vectors = (room + width - 1) / width;
    double key[vectors * width];
    for (int i = 0; i < vectors * width; ++i)
        key[i] = std::bit_cast<double>((std::bit_cast<std::int64_t>(found[i]) & ~std::int64_t{63}) | i);
    V keys[vectors];
    std::memcpy(keys, key, sizeof keys);
    Holds<V> smaller[vectors] = {};
    for (int i = 0; i < ends.count; ++i)
        for (int k = 0; k < vectors; ++k)
            smaller[k] -= all_of<V>(key[i]) < keys[k];
    std::int64_t place[vectors * width];
    std::memcpy(place, smaller, sizeof place);
    for (int i = 0; i < ends.count; ++i)
        ends.psi[place[i]] = found[i];
}

// Arm angles from one to another, with one between.
template <typename V>
struct Window {
    V from, psi, to;
};

// For each target those of the window that keep the limits of the middle joints, its own two ends among them, between which
// nothing but a smooth, monotone course happens and no limit is passed.
template <typename V>
void ends_of_pieces(const BallJoints<V>& balls, const JointGoals<V>& goals, const Feasible<V>& feasible,
                    const Window<V>& window, Ends* ends)
{
    constexpr int targets = targets_in<V>;
    double found[targets][Ends::room] = {};
    // Of each ball, or the two ends; without a branch: half of them would be mispredicted.
    const auto add = [&](const V& angles, const Holds<V>& kept) {
        double angle[2 * targets];
        std::int64_t counts[2 * targets];
        std::memcpy(angle, &angles, sizeof angle);
        std::memcpy(counts, &kept, sizeof counts);
        for (int target = 0; target < targets; ++target) {
            for (int i = 2 * target; i < 2 * target + 2; ++i) {
                found[target][ends[target].count] = angle[i];
                ends[target].count -= static_cast<int>(counts[i]);
            }
        }
    };
    const auto add_both = [&](V angles) {
        angles -= two_pi * rounded(V((angles - window.psi) * (1 / two_pi)));
        add(angles, (angles >= window.from) & (angles <= window.to) & feasible.contains_either(angles));
    };
    const V window_ends = beside(window.from, window.to);
    add(window_ends, (window.from <= window.to) & feasible.contains_either(window_ends));
    for (const V& angles : {balls.nearest(), V(balls.nearest() + pi), feasible.first(), feasible.last()})
        add_both(angles);
    for (const Roots<V>& turn_ends : {balls.outer_at(goals.outer.start), balls.inner_at(goals.inner.start)})
        for (const V& angles : turn_ends.psi)
            add_both(angles);
    if (goals.narrow()) {
        const V reach = balls.reach(min(abs(goals.middle_lower), abs(goals.middle_upper)));
        add_both(balls.nearest() - reach);
        add_both(balls.nearest() + reach);
        for (const Roots<V>& limits : {balls.outer_at(goals.outer.start + goals.outer.low),
                                       balls.outer_at(goals.outer.start + goals.outer.high),
                                       balls.inner_at(goals.inner.start + goals.inner.low),
                                       balls.inner_at(goals.inner.start + goals.inner.high)})
            for (const V& angles : limits.psi)
                add_both(angles);
    }

    for (int target = 0; target < targets; ++target) {
        if (goals.narrow())
            put_in_order<V, Ends::most>(found[target], ends[target]);
        else
            put_in_order<V, Ends::usual>(found[target], ends[target]);
    }
}

// Of the arm angles up to `range` to either side of psi those that may be as near to the reference as psi, where the squared
// distance is `at_psi`. Joints of a ball that move by a squared distance of s turn it by sqrt(2*s) at most, which they do
// if outer and inner joint turn about one axis. And it is turned from the reference at least by as much as the arm angle
// is from where it is turned least. So half the squares of the distances from these two places, of shoulder and wrist,
// bound s from below: together they are the square of the distance from the middle between the places, and that of
// half of what lies between them.
template <typename V>
Window<V> window_about(const V& psi, double range, const BallJoints<V>& balls, const JointGoals<V>& goals,
                       const V& at_psi)
{
    constexpr double much = 2.4; // just below (pi/2)^2: beyond it the other half of the circle may be as near
    constexpr double rounding = 1e-5;
    const Window<V> all = {psi - range, psi, psi + range};
    Holds<V> wide = !(at_psi < much);
    if (!any(!wide)) return all;
    Window<V> window = {psi, psi, psi};
    const auto least_at =
        balls.least_turned(goals.outer.start + goals.outer.reference, goals.middle_reference,
                           goals.inner.start + goals.inner.reference);
    const auto within_half_a_turn = [](const V& angle) -> V {
        return angle - two_pi * rounded(V(angle * (1 / two_pi)));
    };
    for (int elbow = 0; elbow < 2; ++elbow) {
        const V off = least_at[elbow] - psi;
        const V first = within_half_a_turn(of_shoulder(off));
        const V half = within_half_a_turn(of_wrist(off) - of_shoulder(off)) / 2;
        const V left = at_psi - goals.elbow_cost[elbow] - square(half) + rounding;
        const Holds<V> any_left = left > 0;
        const V centre = first + half, reach = square_root(max(left, V{}));
        wide |= any_left & (magnitude(centre) + reach > pi);
        window.from = min(any_left ? psi + (centre - reach) : psi, window.from);
        window.to = max(any_left ? psi + (centre + reach) : psi, window.to);
    }
    return {wide ? all.from : max(all.from, window.from), psi, wide ? all.to : min(all.to, window.to)};
}

// Puts a point at the arm angle of the least squared distance of all joints from their references, to within 1e-9 rad^2,
// among those up to `range` to either side of psi. False if none of them keeps the limits.
bool nearest_arm_angle(const BallJoints<Pair>& balls, const JointGoals<Pair>& goals, double psi, double range,
                       Point<Pair>& nearest);

// The arm angles that some branch reaches inside the limits, in ascending order from -pi; how many intervals.
int feasible_arm_angles(const BallJoints<Pair>& balls, const JointGoals<Pair>& goals,
                        ARM_INTERVAL intervals[ARM_INTERVALS]);

} // namespace kx
