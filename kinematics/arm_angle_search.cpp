// Global minimisation by bounds.
//
// Within one branch the squared distance of the joints from their references is a smooth function of the arm
// angle, except where a joint passes the end of its turn. Those arm angles are known in closed form, and so
// are the ends of the feasible arm angles and the points at which the middle angles reverse. Between two
// neighbours of all these (a "piece"), middle angles, sums and differences are monotone, and so are the rates
// of the latter: their values at both ends enclose all in between. That bounds the distance and its curvature
// from below. A piece that cannot hold anything nearer than the best arm angle known is dropped; one on which
// the distance is convex is descended; any other is halved. So nothing is missed, however narrow.
#include "kinematics/arm_angle_search.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace kx {

namespace {

constexpr double tolerance = 1e-9;    // rad^2
constexpr double least_width = 1e-12; // of a piece, at which rounding rules

// Lower bound between two arm angles, given one of the second derivative: two parabolas continue the ends
// with this bend, and none of their points is above the distance. If they open downwards, both are least
// where they meet; if upwards, the tangents are at least as low where they meet, and a parabola at its
// vertex.
double lower_bound(const Distance& a, const Distance& b, double least_bend)
{
    const double width = b.psi - a.psi, bend = std::min(least_bend, 0.0);
    const double t =
        (a.squared - b.squared + (b.rate - bend * width / 2) * width) / (b.rate - a.rate - bend * width);
    const double meeting = std::min(std::max(0.0, t), width);
    const double meet = a.squared + (a.rate + bend * meeting / 2) * meeting;
    const Pair vertices =
        Pair{a.squared, b.squared} - square(Pair{a.rate, b.rate}) / (2 * std::max(0.0, least_bend));
    return std::max({meet, vertices[0], vertices[1]}); // minus infinity if they open downwards
}

// The minimum of the cubic through values and rates; it falls at a and rises at b.
double cubic_minimum(const Distance& a, const Distance& b)
{
    const double width = b.psi - a.psi;
    const double z = 3 * (a.squared - b.squared) / width + a.rate + b.rate;
    const double root = std::sqrt(std::max(0.0, z * z - a.rate * b.rate));
    return b.psi - width * (b.rate + root - z) / (b.rate - a.rate + 2 * root);
}

// What the processor cannot foresee is chosen without a branch, since behind a mispredicted one it begins anew only when the
// arc tangents are known that it depends on.
class Search {
  public:
    Search(const BallJoints& balls, const JointGoals& goals) : balls_(balls), goals_(goals)
    {
        descended_to_.psi = NAN;
    }

    double squared_distance(const Point& p) const // of the nearest branch
    {
        const Branches branches = goals_.narrow ? p.feasible(goals_) : all_branches;
        return squared_distances(p, goals_).least(goals_, branches);
    }
    void consider(const Point& p) { offer(p.angles.psi, squared_distance(p)); }
    // In these branches, which are feasible all along the piece.
    void refine(const Piece& piece, Branches feasible);
    // Where it is least of all that was looked at; false if it was nowhere feasible.
    bool best(Point& point) const;

    bool can_win(double squared_distance) const { return squared_distance < best_[0] - tolerance; }

  private:
    void offer(double psi, double squared)
    {
        best_ = pair(squared) < pair(best_[0]) ? Pair{squared, psi} : best_;
    }
    void descend(const Piece& piece, const BranchStart& start, Distance a, Distance b, double least_bend);

    const BallJoints& balls_;
    const JointGoals& goals_;
    Pair best_ = {INFINITY, NAN}; // squared distance and arm angle
    BallAngles descended_to_;     // as a rule the best
};

bool Search::best(Point& point) const
{
    if (std::isnan(best_[1])) return false;
    if (descended_to_.psi == best_[1]) {
        point.angles = descended_to_;
        point.place(goals_);
    } else {
        point.move_to(ArmAngle(best_[1]), balls_, goals_);
    }
    return true;
}

void Search::refine(const Piece& piece, Branches feasible)
{
    const Point &a = piece.first(), &b = piece.last();
    Branches promising = 0;
    for (int n = 0; n < 8; ++n)
        promising |= Branches{can_win(piece.lower_bounds()(branch_of(n), goals_))} << n;
    bool halve = false;
    for (promising &= feasible; promising; promising &= promising - 1) {
        const BranchStart start = piece.start(branch_of(std::countr_zero(promising)));
        const Distance at_a = piece.distance(start, a.angles), at_b = piece.distance(start, b.angles);
        const double bend = piece.least_bend(start);
        if (!can_win(lower_bound(at_a, at_b, bend))) continue;
        if (bend >= 0)
            descend(piece, start, at_a, at_b, bend);
        else
            halve = true;
    }
    if (!halve || b.angles.psi - a.angles.psi < least_width) return;
    Point middle;
    middle.move_to(ArmAngle((a.angles.psi + b.angles.psi) / 2), balls_, goals_);
    consider(middle);
    refine(Piece(balls_, goals_, a, middle), feasible);
    refine(Piece(balls_, goals_, middle, b), feasible);
}

// Convex between a and b, and falling at a, rising at b.
void Search::descend(const Piece& piece, const BranchStart& start, Distance a, Distance b, double least_bend)
{
    BallAngles angles;
    angles.psi = NAN;
    bool halve = false; // for safety: at least every other step does
    while (can_win(lower_bound(a, b, least_bend))) {
        const double width = b.psi - a.psi, half = a.psi + width / 2;
        if (width < least_width) break;
        double psi = halve ? half : cubic_minimum(a, b);
        if (!(psi > a.psi && psi < b.psi)) psi = half;
        balls_.evaluate(ArmAngle(psi), angles);
        const Distance d = piece.distance(start, angles);
        offer(psi, d.squared);
        (d.rate < 0 ? a : b) = d;
        halve = b.psi - a.psi > width / 2;
    }
    if (angles.psi == best_[1]) descended_to_ = angles;
}

// Which arm angles keep the middle joints within the greater of their limits.
class Feasible {
  public:
    Feasible(const BallJoints& balls, const JointGoals& goals)
        : nearest_(balls.nearest()), reach_(balls.reach(goals.middle_limit()))
    {
    }
    // The ends, NaN if there are none.
    Pair first() const { return nearest_ - (reach_ < pi ? reach_ : pair(NAN)); }
    Pair last() const { return nearest_ + (reach_ < pi ? reach_ : pair(NAN)); }
    bool contains(double psi) const
    {
        constexpr double rounding = 1e-9;
        const Pair off = psi - nearest_, beyond = abs(off - two_pi * rounded(off * (1 / two_pi))) - rounding;
        return (beyond[0] <= reach_[0]) & (beyond[1] <= reach_[1]);
    }

  private:
    Pair nearest_, reach_;
};

// Arm angles, at most 2 + 8 + 8, in ascending order; and where limits are narrow 4 + 16 more.
struct Ends {
    static constexpr int usual = 18, most = 38;
    int count = 0;
    double psi[most + 1]; // and room for one more
};

// Each goes behind those that are smaller, which are counted: without a branch, and all of them, as numbers that
// differ at least in their last bits. Behind those that were found, nothing is smaller.
template <int room>
void put_in_order(const double* found, Ends& ends)
{
    double key[room + 2];
    for (int i = 0; i < room + 2; ++i)
        key[i] = std::bit_cast<double>((std::bit_cast<std::int64_t>(found[i]) & ~std::int64_t{63}) | i);
    Pair keys[room / 2 + 1];
    std::memcpy(keys, key, sizeof keys);
    for (int i = 0; i < ends.count; ++i) {
        const Pair own = pair(key[i]);
        auto smaller = own < own;
        for (const Pair& others : keys)
            smaller += others < own; // each that is counts as -1
        ends.psi[-(smaller[0] + smaller[1])] = found[i];
    }
}

// Arm angles from one to another, with one between.
struct Window {
    double from, psi, to;
};

// Those of the window that keep the limits of the middle joints, its own two ends among them, between which nothing but a
// smooth, monotone course happens and no limit is passed.
Ends ends_of_pieces(const BallJoints& balls, const JointGoals& goals, const Feasible& feasible,
                    const Window& window)
{
    double found[Ends::most + 2];
    std::fill(std::begin(found), std::end(found), INFINITY);
    Ends ends;
    const auto add = [&](double angle) { // without a branch: half of them would be mispredicted
        found[ends.count] = angle;
        ends.count += (angle >= window.from) & (angle <= window.to) & feasible.contains(angle);
    };
    const auto add_both = [&](Pair angles) {
        angles -= two_pi * rounded((angles - window.psi) * (1 / two_pi));
        add(angles[0]);
        add(angles[1]);
    };
    add(window.from);
    add(window.to);
    for (Pair angles : {balls.nearest(), balls.nearest() + pi, feasible.first(), feasible.last()})
        add_both(angles);
    for (const Roots& turn_ends : {balls.outer_at(goals.outer.start), balls.inner_at(goals.inner.start)})
        for (Pair angles : turn_ends.psi)
            add_both(angles);
    if (goals.narrow) {
        const Pair reach = balls.reach(min(abs(goals.middle_lower), abs(goals.middle_upper)));
        add_both(balls.nearest() - reach);
        add_both(balls.nearest() + reach);
        for (const Roots& limits : {balls.outer_at(goals.outer.start + goals.outer.low),
                                    balls.outer_at(goals.outer.start + goals.outer.high),
                                    balls.inner_at(goals.inner.start + goals.inner.low),
                                    balls.inner_at(goals.inner.start + goals.inner.high)})
            for (Pair angles : limits.psi)
                add_both(angles);
    }

    found[ends.count] = INFINITY; // not what was left out last
    if (goals.narrow)
        put_in_order<Ends::most>(found, ends);
    else
        put_in_order<Ends::usual>(found, ends);
    return ends;
}

// The branches that are feasible all the way from one end to the next.
Branches feasible_between(double a, double b, const BallJoints& balls, const JointGoals& goals,
                          const Feasible& feasible)
{
    const double middle = (a + b) / 2;
    if (!feasible.contains(middle)) return 0;
    if (!goals.narrow) return all_branches;
    Point p;
    p.move_to(ArmAngle(middle), balls, goals);
    return p.feasible(goals);
}

// Of the arm angles up to `range` to either side of psi those that may be as near to the reference as psi, where the squared
// distance is `at_psi`. Joints of a ball that move by a squared distance of s turn it by sqrt(2*s) at most, which they do
// if outer and inner joint turn about one axis. And it is turned from the reference at least by as much as the arm angle
// is from where it is turned least. So half the squares of the distances from these two places, of shoulder and wrist,
// bound s from below: together they are the square of the distance from the middle between the places, and that of
// half of what lies between them.
Window window_about(double psi, double range, const BallJoints& balls, const JointGoals& goals, double at_psi)
{
    constexpr double much = 2.4; // just below (pi/2)^2: beyond it the other half of the circle may be as near
    constexpr double rounding = 1e-5;
    const Window all = {psi - range, psi, psi + range};
    if (!(at_psi < much)) return all;
    Window window = {psi, psi, psi};
    const auto least_at =
        balls.least_turned(goals.outer.start + goals.outer.reference, goals.middle_reference,
                           goals.inner.start + goals.inner.reference);
    for (int elbow = 0; elbow < 2; ++elbow) {
        const Pair off = least_at[elbow] - psi;
        const double first = off[0] - two_pi * rounded(off[0] * (1 / two_pi));
        const double between = off[1] - off[0],
                     half = (between - two_pi * rounded(between * (1 / two_pi))) / 2;
        const double left = at_psi - goals.elbow_cost[elbow] - square(half) + rounding;
        if (!(left > 0)) continue;
        const double centre = first + half, reach = std::sqrt(left);
        if (std::fabs(centre) + reach > pi) return all;
        window.from = std::min(window.from, psi + (centre - reach));
        window.to = std::max(window.to, psi + (centre + reach));
    }
    return {std::max(window.from, all.from), psi, std::min(window.to, all.to)};
}

} // namespace

Deviations nearest_branch(const Point& p, const JointGoals& goals)
{
    const Branch best =
        squared_distances(p, goals).nearest(goals, goals.narrow ? p.feasible(goals) : all_branches);
    const auto [e, s, w] = best;
    const Pair outer = {p.outer[s][0], p.outer[w][1]}, inner = {p.inner[s ^ e][0], p.inner[w ^ e][1]};
    const Pair middle = p.angles.middle.value * best.middle_sign();
    return {best, goals.outer.deviation(outer), middle - goals.middle_reference,
            goals.inner.deviation(inner)};
}

bool nearest_arm_angle(const BallJoints& balls, const JointGoals& goals, double psi, double range,
                       Point& nearest)
{
    const Feasible feasible(balls, goals);
    Search search(balls, goals);
    double at_psi = INFINITY;
    Point own;
    if (feasible.contains(psi)) {
        own.move_to(ArmAngle(psi), balls, goals);
        at_psi = search.squared_distance(own);
        search.consider(own);
    }
    const Ends ends = ends_of_pieces(balls, goals, feasible, window_about(psi, range, balls, goals, at_psi));

    // One loop after the other, since within each nothing waits.
    constexpr int most = Ends::most;
    ArmAngle arm[most + 1];
    for (int i = 0; i < ends.count; i += 2)
        two_arm_angles(Pair{ends.psi[i], ends.psi[i + 1]}, &arm[i]);
    Point point[most];
    for (int i = 0; i < ends.count; ++i)
        point[i].move_to(arm[i], balls, goals);
    for (int i = 0; i < ends.count; ++i)
        search.consider(point[i]);
    Piece piece[most]; // those that may hold anything nearer
    double least[most];
    int count = 0;
    least[0] = INFINITY;
    for (int i = 0; i + 1 < ends.count; ++i) {
        piece[count] = Piece(balls, goals, point[i], point[i + 1]);
        least[count] = piece[count].lower_bounds().least(goals, all_branches);
        count += search.can_win(least[count]);
    }

    // The most promising one first, and so on.
    for (;;) {
        int next = 0;
        for (int k = 1; k < count; ++k)
            next = least[k] < least[next] ? k : next;
        if (!search.can_win(least[next])) return search.best(nearest);
        least[next] = INFINITY;
        const double from = piece[next].first().angles.psi, to = piece[next].last().angles.psi;
        search.refine(piece[next], feasible_between(from, to, balls, goals, feasible));
    }
}

int feasible_arm_angles(const BallJoints& balls, const JointGoals& goals,
                        ARM_INTERVAL intervals[ARM_INTERVALS])
{
    const Feasible feasible(balls, goals);
    const Ends ends = ends_of_pieces(balls, goals, feasible, {-pi, 0, pi});
    int count = 0;
    for (int i = 0; i + 1 < ends.count; ++i) {
        const double from = ends.psi[i], to = ends.psi[i + 1];
        if (feasible_between(from, to, balls, goals, feasible) == 0) continue;
        if (count > 0 && intervals[count - 1].to == from)
            intervals[count - 1].to = to;
        else
            intervals[count++] = {from, to};
    }
    // What reaches pi goes on from -pi.
    if (count > 1 && intervals[0].from == -pi && intervals[count - 1].to == pi) {
        intervals[count - 1].to = intervals[0].to + two_pi;
        std::copy(intervals + 1, intervals + count--, intervals);
    }
    return count;
}

} // namespace kx
