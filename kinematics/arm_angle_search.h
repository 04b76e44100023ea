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
    const Branches<V> inside = goals.narrow ? p.feasible(goals) : Branches<V>{} + all_branches;
    const Branch<V> best(squared_distances(p, goals).least(goals, inside).branch);
    const V outer = best.turned() ? p.outer[1] : p.outer[0];
    const V inner = best.inner_turned() ? p.inner[1] : p.inner[0];
    const V middle = p.angles.middle.value * best.middle_sign();
    return {best, goals.outer.deviation(outer), middle - goals.middle_reference,
            goals.inner.deviation(inner)};
}

// Lower bound between two arm angles, given one of the second derivative: two parabolas continue the ends
// with this bend, and none of their points is above the distance. If they open downwards, both are least
// where they meet; if upwards, the tangents are at least as low where they meet, and a parabola at its
// vertex.
template <typename V>
V lower_bound(const Distance<V>& a, const Distance<V>& b, const V& least_bend)
{
    const V width = b.psi - a.psi, bend = min(V{}, least_bend);
    const V t =
        (a.squared - b.squared + (b.rate - bend * width / 2) * width) / (b.rate - a.rate - bend * width);
    const V meeting = min(width, max(t, V{}));
    const V meet = a.squared + (a.rate + bend * meeting / 2) * meeting;
    const V vertices =
        beside(a.squared, b.squared) - square(beside(a.rate, b.rate)) / (2 * max(least_bend, V{}));
    // minus infinity if they open downwards
    return max(of_wrist(vertices), max(of_shoulder(vertices), meet));
}

// The minimum of the cubic through values and rates; it falls at a and rises at b.
template <typename V>
V cubic_minimum(const Distance<V>& a, const Distance<V>& b)
{
    const V width = b.psi - a.psi;
    const V z = 3 * (a.squared - b.squared) / width + a.rate + b.rate;
    const V root = square_root(max(V(z * z - a.rate * b.rate), V{}));
    return b.psi - width * (b.rate + root - z) / (b.rate - a.rate + 2 * root);
}

// What the processor cannot foresee is chosen without a branch, since behind a mispredicted one it begins anew only when the
// arc tangents are known that it depends on.
template <typename V>
class Search {
  public:
    Search(const BallJoints<V>& balls, const JointGoals<V>& goals) : balls_(balls), goals_(goals)
    {
        descended_to_.psi = all_of<V>(NAN);
    }

    V squared_distance(const Point<V>& p) const // of the nearest branch
    {
        const auto squared = squared_distances(p, goals_);
        return goals_.narrow ? squared.least(goals_, p.feasible(goals_)).squared : squared.least(goals_);
    }
    void offer(const V& psi, const V& squared)
    {
        best_ = squared < of_shoulder(best_) ? beside(squared, psi) : best_;
    }
    // In these branches, which are feasible all along the piece.
    void refine(const Piece<V>& piece, const Branches<V>& feasible);

    Holds<V> can_win(const V& squared_distance) const
    {
        constexpr double tolerance = 1e-9; // rad^2
        return squared_distance < of_shoulder(best_) - tolerance;
    }
    // Where it is least of all that was looked at; NaN if it was nowhere feasible.
    V best() const { return of_wrist(best_); }
    void move_to_best(Point<V>& point) const;

  private:
    static constexpr double least_width = 1e-12; // of a piece, at which rounding rules

    // Where it is wanted, since the lower bound can win.
    void descend(const Piece<V>& piece, const BranchStart<V>& start, Distance<V> a, Distance<V> b,
                 const V& least_bend, const Holds<V>& wanted);

    const BallJoints<V>& balls_;
    const JointGoals<V>& goals_;
    V best_ = beside(all_of<V>(INFINITY), all_of<V>(NAN)); // squared distance beside arm angle
    BallAngles<V> descended_to_;                           // as a rule the best
};

template <typename V>
void Search<V>::move_to_best(Point<V>& point) const
{
    if (any(descended_to_.psi != best())) {
        point.move_to(ArmAngle<V>(best()), balls_, goals_);
    } else {
        point.angles = descended_to_;
        point.place(goals_);
    }
}

template <typename V>
void Search<V>::refine(const Piece<V>& piece, const Branches<V>& feasible)
{
    const Point<V>&a = piece.first(), &b = piece.last();
    Branches<V> promising = {};
    for (int n = 0; n < 8; ++n)
        promising |= can_win(piece.lower_bounds()(n, goals_)) & 1 << n;
    promising &= feasible;
    Holds<V> halve = {};
    const auto left = [&]() -> Holds<V> { // where there are any
        if constexpr (targets_in<V> == 1)
            return Holds<V>{} - (promising[0] != 0);
        else
            return promising != 0;
    };
    for (Holds<V> tried = left(); any(tried); promising &= promising - 1, tried = left()) {
        const BranchStart<V> start = piece.start(Branch<V>(promising & -promising));
        const Distance<V> at_a = piece.distance(start, a.angles), at_b = piece.distance(start, b.angles);
        const V bend = piece.least_bend(start);
        const Holds<V> wanted = tried & can_win(lower_bound(at_a, at_b, bend));
        const Holds<V> convex = wanted & (bend >= 0);
        if (any(convex)) descend(piece, start, at_a, at_b, bend, convex);
        halve |= wanted & !convex;
    }
    halve &= b.angles.psi - a.angles.psi >= least_width;
    if (!any(halve)) return;
    Point<V> middle;
    middle.move_to(ArmAngle<V>((a.angles.psi + b.angles.psi) / 2), balls_, goals_);
    offer(middle.angles.psi, halve ? squared_distance(middle) : all_of<V>(INFINITY));
    refine(Piece<V>(balls_, goals_, a, middle), feasible & halve);
    refine(Piece<V>(balls_, goals_, middle, b), feasible & halve);
}

// Convex between a and b, and falling at a, rising at b.
template <typename V>
void Search<V>::descend(const Piece<V>& piece, const BranchStart<V>& start, Distance<V> a, Distance<V> b,
                        const V& least_bend, const Holds<V>& wanted)
{
    const auto move = [](Distance<V>& to, const Holds<V>& where, const Distance<V>& d) {
        to = {where ? d.psi : to.psi, where ? d.squared : to.squared, where ? d.rate : to.rate};
    };
    BallAngles<V> angles;
    angles.psi = all_of<V>(NAN);
    V width = b.psi - a.psi;
    Holds<V> halve = {}; // for safety: at least every other step does
    for (Holds<V> going = wanted & (width >= least_width); any(going);
         going &= (width >= least_width) & can_win(lower_bound(a, b, least_bend))) {
        const V cubic = cubic_minimum(a, b);
        const Holds<V> usual = ~halve & (cubic > a.psi) & (cubic < b.psi);
        const V psi = usual ? cubic : a.psi + width / 2;
        balls_.evaluate(ArmAngle<V>(psi), angles);
        const Distance<V> d = piece.distance(start, angles);
        offer(psi, going ? d.squared : all_of<V>(INFINITY));
        move(a, going & (d.rate < 0), d);
        move(b, going & !(d.rate < 0), d);
        halve = b.psi - a.psi > width / 2;
        width = b.psi - a.psi;
    }
    if (targets_in<V> == 1 && !any(angles.psi != best())) descended_to_ = angles;
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
    Holds<V> contains(const V& psi) const
    {
        constexpr double rounding = 1e-9;
        const V off = psi - nearest_,
                beyond = abs(V(off - two_pi * rounded(V(off * (1 / two_pi))))) - rounding;
        return of_both(beyond <= reach_);
    }

  private:
    V nearest_, reach_;
};

// Arm angles, at most 2 + 8 + 8, in ascending order; and where limits are narrow 4 + 16 more.
struct Ends {
    static constexpr int usual = 18, most = 38;
    int count = 0;
    double psi[most + 1]; // and room for one more
};

// Each goes behind those that are smaller, which are counted: without a branch, and all of them, as numbers that
// differ at least in their last bits. Behind those that were found, nothing is smaller.
template <typename V, int room>
void put_in_order(const double* found, Ends& ends)
{
    constexpr int width = sizeof(V) / sizeof(double), vectors = (room + 1 + width) / width;
    double key[vectors * width];
    for (int i = 0; i < room + 2; ++i)
        key[i] = std::bit_cast<double>((std::bit_cast<std::int64_t>(found[i]) & ~std::int64_t{63}) | i);
    std::fill(key + room + 2, std::end(key), INFINITY);
    V keys[vectors];
    std::memcpy(keys, key, sizeof keys);
    for (int i = 0; i < ends.count; ++i) {
        const V own = all_of<V>(key[i]);
        Holds<V> smaller = {};
        for (const V& others : keys)
            smaller += others < own; // each that is counts as -1
        std::int64_t count = 0;
        for (int lane = 0; lane < width; ++lane)
            count -= smaller[lane];
        ends.psi[count] = found[i];
    }
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
    double found[targets][Ends::most + 2];
    for (auto& of_target : found)
        std::fill(std::begin(of_target), std::end(of_target), INFINITY);
    const auto add = [&](const V& angle) { // without a branch: half of them would be mispredicted
        const Holds<V> kept = (angle >= window.from) & (angle <= window.to) & feasible.contains(angle);
        for (int target = 0; target < targets; ++target) {
            found[target][ends[target].count] = angle[2 * target];
            ends[target].count -= static_cast<int>(kept[2 * target]);
        }
    };
    const auto add_both = [&](V angles) {
        angles -= two_pi * rounded(V((angles - window.psi) * (1 / two_pi)));
        add(of_shoulder(angles));
        add(of_wrist(angles));
    };
    add(window.from);
    add(window.to);
    for (const V& angles : {balls.nearest(), V(balls.nearest() + pi), feasible.first(), feasible.last()})
        add_both(angles);
    for (const Roots<V>& turn_ends : {balls.outer_at(goals.outer.start), balls.inner_at(goals.inner.start)})
        for (const V& angles : turn_ends.psi)
            add_both(angles);
    if (goals.narrow) {
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
        found[target][ends[target].count] = INFINITY; // not what was left out last
        if (goals.narrow)
            put_in_order<V, Ends::most>(found[target], ends[target]);
        else
            put_in_order<V, Ends::usual>(found[target], ends[target]);
    }
}

// The branches that are feasible all the way from one end to the next.
template <typename V>
Branches<V> feasible_between(const V& a, const V& b, const BallJoints<V>& balls, const JointGoals<V>& goals,
                             const Feasible<V>& feasible)
{
    const V middle = (a + b) / 2;
    const Holds<V> contained = feasible.contains(middle);
    if (!goals.narrow || !any(contained)) return contained & all_branches;
    Point<V> p;
    p.move_to(ArmAngle<V>(middle), balls, goals);
    return contained & p.feasible(goals);
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
