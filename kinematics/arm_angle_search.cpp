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
    const double meeting = t > 0 ? std::min(t, width) : 0;
    const double bound = a.squared + (a.rate + bend * meeting / 2) * meeting;
    if (least_bend <= 0) return bound;
    const double vertex_a = a.squared - a.rate * a.rate / (2 * least_bend);
    const double vertex_b = b.squared - b.rate * b.rate / (2 * least_bend);
    return std::max({bound, vertex_a, vertex_b});
}

// The minimum of the cubic through values and rates; it falls at a and rises at b.
double cubic_minimum(const Distance& a, const Distance& b)
{
    const double width = b.psi - a.psi;
    const double z = 3 * (a.squared - b.squared) / width + a.rate + b.rate;
    const double root = std::sqrt(std::max(0.0, z * z - a.rate * b.rate));
    return b.psi - width * (b.rate + root - z) / (b.rate - a.rate + 2 * root);
}

class Search {
  public:
    Search(const BallJoints& balls, const JointGoals& goals) : balls_(balls), goals_(goals) {}

    double squared_distance(const Point& p) const // of the nearest branch
    {
        const Branches branches = goals_.narrow ? p.feasible(goals_) : all_branches;
        return squared_distances(p, goals_).least(goals_, branches);
    }
    void consider(const Point& p) { offer(p.angles.psi, squared_distance(p)); }
    // Between two points, where the same branches are feasible all the way.
    void refine(const Point& a, const Point& b, Branches feasible);

    double psi() const { return psi_; }
    bool can_win(double squared_distance) const { return squared_distance < least_ - tolerance; }

  private:
    void offer(double psi, double squared)
    {
        psi_ = squared < least_ ? psi : psi_;
        least_ = squared < least_ ? squared : least_;
    }
    void descend(const Piece& piece, const BranchStart& start, Distance a, Distance b, double least_bend);

    const BallJoints& balls_;
    const JointGoals& goals_;
    double psi_ = NAN, least_ = INFINITY; // the best so far
};

void Search::refine(const Point& a, const Point& b, Branches feasible)
{
    const Piece piece(balls_, goals_, a, b);
    const SquaredDistances bounds = piece.lower_bounds();
    bool halve = false;
    for (int n = 0; n < 8; ++n) {
        const Branch branch = branch_of(n);
        if (!(feasible >> n & 1) || !can_win(bounds(branch, goals_))) continue;
        const BranchStart start = piece.start(branch);
        const Distance at_a = piece.distance(start, a.angles), at_b = piece.distance(start, b.angles);
        const double bend = piece.least_bend(start);
        if (!can_win(lower_bound(at_a, at_b, bend))) continue;
        if (bend >= 0)
            descend(piece, start, at_a, at_b, bend);
        else
            halve = true;
    }
    if (!halve || b.angles.psi - a.angles.psi < least_width) return;
    const double psi = (a.angles.psi + b.angles.psi) / 2;
    Point middle;
    middle.move_to(ArmAngle(psi), balls_, goals_);
    consider(middle);
    refine(a, middle, feasible);
    refine(middle, b, feasible);
}

// Convex between a and b, and falling at a, rising at b.
void Search::descend(const Piece& piece, const BranchStart& start, Distance a, Distance b, double least_bend)
{
    bool halve = false; // for safety: at least every other step does
    while (can_win(lower_bound(a, b, least_bend))) {
        const double width = b.psi - a.psi, half = a.psi + width / 2;
        if (width < least_width) return;
        double psi = halve ? half : cubic_minimum(a, b);
        if (!(psi > a.psi && psi < b.psi)) psi = half;
        BallAngles angles;
        balls_.evaluate(ArmAngle(psi), angles);
        const Distance d = piece.distance(start, angles);
        offer(psi, d.squared);
        (d.rate < 0 ? a : b) = d;
        halve = b.psi - a.psi > width / 2;
    }
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

// Arm angles, at most 3 + 8 + 8, in ascending order; and where limits are narrow 4 + 16 more.
struct Ends {
    static constexpr int most = 39;
    int count = 0;
    double psi[most];
};

// The feasible ones among those from psi - range to psi + range between which nothing but a smooth, monotone
// course happens and no limit is passed, with psi itself.
Ends ends_of_pieces(const BallJoints& balls, const JointGoals& goals, const Feasible& feasible, double psi,
                    double range)
{
    double found[Ends::most + 1];
    Ends ends;
    const auto add = [&](double angle) { // without a branch: half of them would be mispredicted
        found[ends.count] = angle;
        ends.count += (angle >= psi - range) & (angle <= psi + range) & feasible.contains(angle);
    };
    const auto add_both = [&](Pair angles) {
        angles -= two_pi * rounded((angles - psi) * (1 / two_pi));
        add(angles[0]);
        add(angles[1]);
    };
    for (double angle : {psi - range, psi, psi + range})
        add(angle);
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

    for (int i = 0; i < ends.count; ++i) { // again without a branch, the place of each is counted
        int smaller = 0;
        for (int j = 0; j < ends.count; ++j)
            smaller += (found[j] < found[i]) | ((found[j] == found[i]) & (j < i));
        ends.psi[smaller] = found[i];
    }
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

} // namespace

Deviations nearest_branch(const BallJoints& balls, const JointGoals& goals, double psi)
{
    Point p;
    p.move_to(ArmAngle(psi), balls, goals);
    const SquaredDistances squared = squared_distances(p, goals);
    const Branches feasible = goals.narrow ? p.feasible(goals) : all_branches;
    Branch best = {};
    double least = INFINITY;
    for (int n = 0; n < 8; ++n)
        if (const double d = squared(branch_of(n), goals); feasible >> n & 1 && d < least)
            best = branch_of(n), least = d;
    const auto [e, s, w] = best;
    const Pair outer = {p.outer[s][0], p.outer[w][1]}, inner = {p.inner[s ^ e][0], p.inner[w ^ e][1]};
    const Pair middle = p.angles.middle.value * Pair{s ? -1.0 : 1.0, w ? -1.0 : 1.0};
    return {best, goals.outer.deviation(outer), middle - goals.middle_reference,
            goals.inner.deviation(inner)};
}

// A lower bound of the squared distance that needs no joint angles. Joints of a ball that move by a squared distance of
// s turn it by sqrt(2*s) at most, which they do if outer and inner joint turn about one axis. And it is turned from the
// reference at least by as much as the arm angle is from where it is turned least.
class TurnedFar {
  public:
    // Unless a small one is known already, it rules out too little to be worth it.
    TurnedFar(const BallJoints& balls, const JointGoals& goals, double known)
        : goals_(goals), used_(known < 3)
    {
        if (used_)
            least_at_ = balls.least_turned(goals.outer.start + goals.outer.reference, goals.middle_reference,
                                           goals.inner.start + goals.inner.reference);
    }
    // At any arm angle between these; NaN if it says nothing.
    double lower_bound(double from, double to) const
    {
        if (!used_) return NAN;
        double bound[2];
        for (int e = 0; e < 2; ++e) {
            const Pair off = (from + to) / 2 - least_at_[e];
            const Pair beside = abs(off - two_pi * rounded(off * (1 / two_pi))) - (to - from) / 2;
            const Pair turn = max(beside, pair(0));
            bound[e] = (square(turn[0]) + square(turn[1])) / 2 + goals_.elbow_cost[e];
        }
        constexpr double rounding = 1e-5;
        return std::min(bound[0], bound[1]) - rounding;
    }

  private:
    const JointGoals& goals_;
    const bool used_;
    std::array<Pair, 2> least_at_ = {};
};

double nearest_arm_angle(const BallJoints& balls, const JointGoals& goals, double psi, double range)
{
    const Feasible feasible(balls, goals);
    const Ends ends = ends_of_pieces(balls, goals, feasible, psi, range);
    constexpr int most = Ends::most;

    Search search(balls, goals);
    Point point[most];
    double at_psi = INFINITY;
    const int own = static_cast<int>(std::find(ends.psi, ends.psi + ends.count, psi) - ends.psi);
    if (own < ends.count) {
        point[own].move_to(ArmAngle(psi), balls, goals);
        at_psi = search.squared_distance(point[own]);
    }
    const TurnedFar turned(balls, goals, at_psi);
    bool possible[most], needed[most] = {ends.count == 1}; // pieces, and their ends
    for (int i = 0; i + 1 < ends.count; ++i) {
        possible[i] = !(turned.lower_bound(ends.psi[i], ends.psi[i + 1]) > at_psi);
        needed[i] |= possible[i];
        needed[i + 1] = possible[i];
    }
    int number[most], count = 0;
    for (int i = 0; i < ends.count; ++i) {
        number[count] = i;
        count += needed[i] & (i != own);
    }
    ArmAngle arm[most]; // one loop after the other, since within each nothing waits
    for (int k = 0; k < count; ++k)
        arm[k] = ArmAngle(ends.psi[number[k]]);
    for (int k = 0; k < count; ++k)
        point[number[k]].move_to(arm[k], balls, goals);
    for (int i = 0; i < ends.count; ++i)
        if (needed[i] | (i == own)) search.consider(point[i]);

    struct Start {
        double lower_bound;
        const Point* point;
        Branches feasible;
    } starts[most];
    count = 0;
    for (int i = 0; i + 1 < ends.count; ++i) {
        if (!possible[i]) continue;
        const double lower_bound =
            Piece(balls, goals, point[i], point[i + 1]).lower_bounds().least(goals, all_branches);
        if (!search.can_win(lower_bound)) continue;
        const Branches branches = feasible_between(ends.psi[i], ends.psi[i + 1], balls, goals, feasible);
        starts[count] = {lower_bound, &point[i], branches};
        count += branches != 0;
    }
    std::sort(starts, starts + count,
              [](const Start& a, const Start& b) { return a.lower_bound < b.lower_bound; });
    for (int i = 0; i < count && search.can_win(starts[i].lower_bound); ++i)
        search.refine(starts[i].point[0], starts[i].point[1], starts[i].feasible);
    return search.psi();
}

int feasible_arm_angles(const BallJoints& balls, const JointGoals& goals,
                        ARM_INTERVAL intervals[ARM_INTERVALS])
{
    const Feasible feasible(balls, goals);
    const Ends ends = ends_of_pieces(balls, goals, feasible, 0, pi);
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
