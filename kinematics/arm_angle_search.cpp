// The search for one target.
#include "kinematics/arm_angle_search.h"

namespace kx {

namespace {

// What the processor cannot foresee is chosen without a branch, since behind a mispredicted one it begins anew only when the
// arc tangents are known that it depends on.
class Search {
  public:
    Best<Pair> best;

    Search(const BallJoints<Pair>& balls, const JointGoals<Pair>& goals) : balls_(balls), goals_(goals)
    {
        descended_to_.psi = pair(NAN);
    }
    // In these branches, which are feasible all along the piece.
    void refine(const Piece<Pair>& piece, std::int64_t feasible);
    void move_to_best(Point<Pair>& point) const;

  private:
    void descend(Descent<Pair>& descent);

    const BallJoints<Pair>& balls_;
    const JointGoals<Pair>& goals_;
    BallAngles<Pair> descended_to_; // as a rule the best
};

void Search::move_to_best(Point<Pair>& point) const
{
    if (any(descended_to_.psi != best.psi())) {
        point.move_to(ArmAngle<Pair>(best.psi()), balls_, goals_);
    } else {
        point.angles = descended_to_;
        point.place(goals_);
    }
}

void Search::refine(const Piece<Pair>& piece, std::int64_t feasible)
{
    const Point<Pair>&a = piece.first(), &b = piece.last();
    bool halve = false;
    for (auto left = best.promising(piece, goals_)[0] & feasible; left != 0; left &= left - 1) {
        Descent<Pair> descent(piece, Branch<Pair>(Branches<Pair>{} + (left & -left)));
        if (!best.beaten_by(descent.lower_bound())[0]) continue;
        if (descent.least_bend[0] >= 0)
            descend(descent);
        else
            halve = true;
    }
    if (!halve || !(b.angles.psi - a.angles.psi >= least_width)[0]) return;
    Point<Pair> middle;
    middle.move_to(ArmAngle<Pair>((a.angles.psi + b.angles.psi) / 2), balls_, goals_);
    best.offer(middle.angles.psi, squared_distance(middle, goals_));
    refine(Piece<Pair>(balls_, goals_, a, middle), feasible);
    refine(Piece<Pair>(balls_, goals_, middle, b), feasible);
}

void Search::descend(Descent<Pair>& descent)
{
    if (!descent.wide_enough()[0]) return;
    BallAngles<Pair> angles;
    do {
        balls_.evaluate(ArmAngle<Pair>(descent.next()), angles);
        const Distance<Pair> there = descent.start.distance(angles);
        best.offer(there.psi, there.squared);
        descent.narrow(there);
    } while ((descent.wide_enough() & best.beaten_by(descent.lower_bound()))[0]);
    if (!any(angles.psi != best.psi())) descended_to_ = angles;
}

// The branches that are feasible all the way from one end to the next.
std::int64_t feasible_between(double a, double b, const BallJoints<Pair>& balls,
                              const JointGoals<Pair>& goals, const Feasible<Pair>& feasible)
{
    const Pair middle = pair((a + b) / 2);
    if (!feasible.contains(middle)[0]) return 0;
    if (!goals.narrow()) return all_branches;
    Point<Pair> p;
    p.move_to(ArmAngle<Pair>(middle), balls, goals);
    return p.feasible(goals)[0];
}

} // namespace

bool nearest_arm_angle(const BallJoints<Pair>& balls, const JointGoals<Pair>& goals, double middle,
                       double range, Point<Pair>& nearest)
{
    const Pair psi = pair(middle);
    const Feasible feasible(balls, goals);
    Search search(balls, goals);
    Pair at_psi = pair(INFINITY);
    if (feasible.contains(psi)[0]) {
        Point<Pair> own;
        own.move_to(ArmAngle<Pair>(psi), balls, goals);
        at_psi = squared_distance(own, goals);
        search.best.offer(psi, at_psi);
    }
    Ends ends[1];
    ends_of_pieces(balls, goals, feasible, window_about(psi, range, balls, goals, at_psi), ends);
    const auto& [count_of_ends, end] = ends[0];

    // One loop after the other, since within each nothing waits.
    constexpr int most = Ends::most;
    ArmAngle<Pair> arm[most + 1];
    for (int i = 0; i < count_of_ends; i += 2) { // two at once
        const auto [sine, cosine] = sine_cosine_of<Pair>(Pair{end[i], end[i + 1]} / 2);
        arm[i] = {pair(end[i]), {of_shoulder(sine), of_shoulder(cosine)}};
        arm[i + 1] = {pair(end[i + 1]), {of_wrist(sine), of_wrist(cosine)}};
    }
    Point<Pair> point[most];
    for (int i = 0; i < count_of_ends; ++i)
        point[i].move_to(arm[i], balls, goals);
    for (int i = 0; i < count_of_ends; ++i)
        search.best.offer(point[i].angles.psi, squared_distance(point[i], goals));
    Piece<Pair> piece[most]; // those that may hold anything nearer
    double least[most];
    int count = 0;
    least[0] = INFINITY;
    for (int i = 0; i + 1 < count_of_ends; ++i) {
        piece[count] = Piece(balls, goals, point[i], point[i + 1]);
        const Pair bound = piece[count].lower_bounds().least(goals);
        least[count] = bound[0];
        count -= static_cast<int>(search.best.beaten_by(bound)[0]);
    }

    // The most promising one first, and so on.
    for (;;) {
        int next = 0;
        for (int k = 1; k < count; ++k)
            next = least[k] < least[next] ? k : next;
        if (!search.best.beaten_by(pair(least[next]))[0]) break;
        least[next] = INFINITY;
        const double from = piece[next].first().angles.psi[0], to = piece[next].last().angles.psi[0];
        search.refine(piece[next], feasible_between(from, to, balls, goals, feasible));
    }
    if (std::isnan(search.best.psi()[0])) return false;
    search.move_to_best(nearest);
    return true;
}

int feasible_arm_angles(const BallJoints<Pair>& balls, const JointGoals<Pair>& goals,
                        ARM_INTERVAL intervals[ARM_INTERVALS])
{
    const Feasible feasible(balls, goals);
    Ends ends[1];
    ends_of_pieces(balls, goals, feasible, {pair(-pi), pair(0), pair(pi)}, ends);
    int count = 0;
    for (int i = 0; i + 1 < ends[0].count; ++i) {
        const double from = ends[0].psi[i], to = ends[0].psi[i + 1];
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
