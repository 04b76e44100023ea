// Inverse kinematics of seven-joint arms for many targets: the search of the single call in steps that several targets take
// side by side, with a pair of lanes for each. Targets need different steps, and more or fewer of them. So more of them are
// under way than go side by side, and a step is taken when it is due for as many as do; each goes the way that it would
// go alone. What is rare is left to the single call: singular places, targets without a solution, references that have no
// arm angle, searches that need much room.
//
// For files that are compiled for different processors; so nothing here has a name that they could share.
#pragma once

#include "kinematics/batch_targets.h"
#include "kinematics/seven_joints.h"
#include "kinematics/together.h"

#include <functional>

namespace kx {
namespace {

// Among the arm angles the nearest is searched; then it becomes joints.
template <typename V>
struct SevenProblem {
    V joint[7];        // of the reference, radians
    V elbow;           // angle
    Holds<V> is_there; // the reference, where it shall go
    BallJoints<V> balls;
    JointGoals<V> goals;
};

template <typename V>
struct SevenStart {
    SevenProblem<V> problem;
    Feasible<V> feasible;
    V psi, at_psi; // of the reference; the squared distance there
};

template <int lanes>
class SevenSideBySide {
    using V = typename Lanes<lanes>::Double;
    static constexpr int targets = targets_in<V>;

  public:
    SevenSideBySide(const SevenBatch& batch, const float* references, const KinPose* poses, float* results,
                    int* codes)
        : batch_(batch), references_(references), poses_(poses), results_(results), codes_(codes)
    {
        for (Search& search : searches_)
            free_.push(search);
    }
    void solve(int count);

  private:
    enum Step { look, descend, halve, finish, steps };

    static constexpr int at_once = 64; // for so many it is known what they need before they are searched
    static constexpr int most_searches =
        steps * targets; // then a step is due for all lanes, or there is room
    static constexpr int most_pieces = 7, most_points = 18;
    static constexpr int all_that_can_win = all_branches + 1; // in place of branches that are not yet known

    struct Between { // two points
        int from, to;
    };
    struct Search : SevenProblem<Pair> {
        int target;
        Best<Pair> best;
        // Pieces that promise something lie between points 0 and 1, 2 and 3, and so on; then come middles of pieces.
        Point<Pair> point[most_points];
        double least[most_pieces + 1]; // bounds of these pieces, ascending; then infinity
        int points, pieces, next;
        Between half[most_points]; // later ones, while the earlier ones are searched
        int halves;

        Between piece;        // is looked at
        Holds<Pair> branches; // of it, left to look at
        bool to_halve;
        Descent<Pair> descent;

        SevenProblem<Pair>& problem() { return *this; }
        Point<Pair>& first() { return point[piece.from]; }
        Point<Pair>& last() { return point[piece.to]; }
    };
    struct Searches { // the last come first
        Search* search[most_searches];
        int count = 0;

        void push(Search& s) { search[count++] = &s; }
        Search& pop() { return *search[--count]; }
    };
    struct Group { // the first also fills lanes that are left over
        Search* search[targets];
        int count;

        template <typename Member>
        auto all(const Member& member) const
        {
            return together<V>([&](int i) -> auto& { return std::invoke(member, *search[i]); });
        }
    };

    void begin(int first, int number);
    void start_searches(int first, const int* numbers, int count);
    void take_step();
    void look_at_branch(const Group& group);
    void descend_once(const Group& group);
    void halve_piece(const Group& group);
    void finish_search(const Group& group);

    void go_on(Search& search);
    void next_piece(Search& search);
    void look_at(Search& search, const Between& piece);
    void end(Search& search, int code);

    const SevenBatch& batch_;
    const float* const references_;
    const KinPose* const poses_;
    float* const results_;
    int* const codes_;

    SevenStart<V> start_[at_once / targets];
    Ends ends_[at_once];
    Search searches_[most_searches];
    Searches free_, waiting_[steps];
};

template <int lanes>
void SevenSideBySide<lanes>::solve(int count)
{
    for (int first = 0; first < count; first += at_once) {
        const int number = std::min(count - first, at_once);
        begin(first, number);

        // Those side by side that have about as many pieces.
        int places[Ends::usual + 2] = {}, order[at_once];
        const auto each = [&](const auto& use) {
            for (int n = 0; n < number; ++n)
                if (codes_[first + n] != left_to_single_call) use(n, ends_[n].count);
        };
        each([&](int, int ends) { ++places[ends + 1]; });
        for (int k = 1; k < Ends::usual + 2; ++k)
            places[k] += places[k - 1];
        const int kept = places[Ends::usual + 1];
        each([&](int n, int ends) { order[places[ends]++] = n; });

        for (int done = 0; done < kept; done += targets) {
            while (free_.count < targets)
                take_step();
            start_searches(first, order + done, std::min(kept - done, targets));
        }
    }
    while (free_.count < most_searches)
        take_step();
}

// Up to the ends of the pieces among which the nearest lies.
template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::begin(int first, int number)
{
    for (int done = 0; done < number; done += targets) {
        const float* reference[lanes];
        const KinPose* pose[lanes];
        for (int lane = 0; lane < lanes; ++lane) { // the last one also fills lanes that are left over
            const int n = first + std::min(done + lane / 2, number - 1);
            reference[lane] = references_ + n * 7;
            pose[lane] = poses_ + n;
        }
        auto& [problem, feasible, psi, at_psi] = start_[done / targets];
        auto& [joint, elbow, is_there, balls, goals] = problem;
        Holds<V> left = {}; // to the single call
        for (int i = 0; i < 7; ++i) {
            const auto degrees = reference_of<lanes>(batch_, i, reference);
            left |= !(magnitude(widened(degrees)) <= most_reasonable);
            joint[i] = widened(typename Lanes<lanes>::Float(degrees * radians_per_degree));
        }
        const SevenTarget<V> target(batch_.model, batch_.lengths, flanges<lanes>(batch_, pose));
        const RotorOf<V> line = target.line();
        const Reference<V> present(batch_.lengths, joint);
        const Elbow<V> bent = Elbow<V>::of_cosine(batch_.lengths, target.elbow_cosine);
        const BallRotors<V> rotors(line, bent, target.rotation);
        balls = BallJoints<V>(rotors.shoulder, rotors.wrist);
        const Holds<V> stretched = balls.nearly_stretched();
        left |= !(magnitude(target.elbow_cosine) < 1 - elbow_rounding);
        left |= present.has_no_plane(line) | of_shoulder(stretched) | of_wrist(stretched);
        is_there = present.is_at(target);
        elbow = bent.angle;
        goals = goals_of(joint, batch_.limits, elbow, true);
        feasible = Feasible<V>(balls, goals);

        psi = present.arm_angle();
        Point<V> own;
        own.move_to(ArmAngle<V>(psi), balls, goals);
        at_psi = feasible.contains(psi) ? squared_distance(own, goals) : all_of<V>(INFINITY);
        for (int i = 0; i < targets; ++i)
            ends_[done + i] = {};
        ends_of_pieces(balls, goals, feasible, window_about(psi, batch_.range, balls, goals, at_psi),
                       &ends_[done]);
        for (int i = 0; i < targets && done + i < number; ++i)
            codes_[first + done + i] = left[2 * i] ? left_to_single_call : ARM_UNKNOWN; // so far
    }
}

// First at the ends of pieces, then in those that promise something nearer.
template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::start_searches(int first, const int* numbers, int count)
{
    int which[targets]; // the last one also fills lanes that are left over
    for (int i = 0; i < targets; ++i)
        which[i] = numbers[std::min(i, count - 1)];
    const auto [problem, feasible, psi, at_psi] = regrouped<V>(start_, which);
    const auto& balls = problem.balls;
    const auto& goals = problem.goals;
    const Ends* ends_of[targets];
    int most = 0;
    for (int i = 0; i < targets; ++i) {
        ends_of[i] = &ends_[which[i]];
        most = std::max(most, ends_of[i]->count);
    }
    const V ends = each_of<V>([&](int i) { return ends_of[i]->count; });

    const V never = all_of<V>(INFINITY);
    Best<V> best;
    best.offer(psi, at_psi);
    Point<V> point[Ends::usual];
    for (int i = 0; i < most; ++i) {
        const V end = each_of<V>([&](int k) { return ends_of[k]->psi[i]; });
        point[i].move_to(ArmAngle<V>(end), balls, goals);
        best.offer(end, ends > i ? squared_distance(point[i], goals) : never);
    }
    V least[Ends::usual];
    for (int i = 0; i + 1 < most; ++i) {
        const V bound = Piece<V>(balls, goals, point[i], point[i + 1]).lower_bounds().least(goals);
        const V middle = (point[i].angles.psi + point[i + 1].angles.psi) / 2;
        least[i] = (ends > i + 1) & best.beaten_by(bound) & feasible.contains(middle) ? bound : never;
    }

    Search* begun[targets];
    for (int i = 0; i < count; ++i) {
        Search& s = *(begun[i] = &free_.pop());
        s.target = first + numbers[i];
        take_apart(problem, i, s.problem());
        take_apart(best, i, s.best);
        s.pieces = s.next = s.halves = 0;
    }
    // The most promising piece first, and so on.
    for (int pieces = 0; pieces < most_pieces; ++pieces) {
        V next = {}, smallest = never;
        for (int i = 0; i + 1 < most; ++i) {
            const auto smaller = least[i] < smallest;
            next = smaller ? all_of<V>(i) : next;
            smallest = smaller ? least[i] : smallest;
        }
        if (!any(smallest < never)) break;
        for (int i = 0; i + 1 < most; ++i)
            least[i] = next == i ? never : least[i];
        for (int i = 0; i < count; ++i) {
            if (!(smallest[2 * i] < INFINITY)) continue;
            Search& s = *begun[i];
            const Point<V>* const ends_of_piece = &point[static_cast<int>(next[2 * i])];
            take_apart(ends_of_piece[0], i, s.point[2 * pieces]);
            take_apart(ends_of_piece[1], i, s.point[2 * pieces + 1]);
            s.least[pieces] = smallest[2 * i];
            s.pieces = pieces + 1;
        }
    }
    Holds<V> more = {};
    for (int i = 0; i + 1 < most; ++i)
        more |= least[i] < never;
    for (int i = 0; i < count; ++i) {
        Search& s = *begun[i];
        s.least[s.pieces] = INFINITY;
        more[2 * i] ? end(s, left_to_single_call) : next_piece(s);
    }
}

// One that is due for as many as go side by side, if there is one.
template <int lanes>
void SevenSideBySide<lanes>::take_step()
{
    const auto lanes_for = [&](int step) { return std::min(waiting_[step].count, targets); };
    int step = 0;
    for (int k = 1; k < steps; ++k)
        if (lanes_for(k) >= lanes_for(step)) step = k;
    const int number = lanes_for(step);
    Group group = {{&waiting_[step].pop()}, number};
    for (int i = 1; i < targets; ++i)
        group.search[i] = i < number ? &waiting_[step].pop() : group.search[0];
    switch (step) {
    case look:
        return look_at_branch(group);
    case descend:
        return descend_once(group);
    case halve:
        return halve_piece(group);
    case finish:
        return finish_search(group);
    }
}

template <int lanes>
void SevenSideBySide<lanes>::go_on(Search& s)
{
    if (s.branches[0] != 0) return waiting_[look].push(s);
    if (s.to_halve) return s.points < most_points ? waiting_[halve].push(s) : end(s, left_to_single_call);
    next_piece(s);
}

template <int lanes>
void SevenSideBySide<lanes>::next_piece(Search& s)
{
    if (s.halves > 0) {
        const Between later = s.half[--s.halves];
        s.points = later.from + 1;
        return look_at(s, later);
    }
    if (!s.best.beaten_by(pair(s.least[s.next]))[0]) return waiting_[finish].push(s);
    s.points = 2 * s.pieces;
    look_at(s, {2 * s.next, 2 * s.next + 1});
    ++s.next;
}

template <int lanes>
void SevenSideBySide<lanes>::look_at(Search& s, const Between& piece)
{
    s.piece = piece;
    s.branches = Holds<Pair>{} + all_that_can_win;
    s.to_halve = false;
    waiting_[look].push(s);
}

template <int lanes>
void SevenSideBySide<lanes>::end(Search& s, int code)
{
    codes_[s.target] = code;
    free_.push(s);
}

template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::look_at_branch(const Group& group)
{
    const auto balls = group.all(&Search::balls);
    const auto goals = group.all(&Search::goals);
    const auto best = group.all(&Search::best);
    const auto a = group.all(&Search::first);
    const auto b = group.all(&Search::last);
    const Branches<V> branches = group.all(&Search::branches);
    const Piece<V> piece(balls, goals, a, b);
    const Branches<V> left = branches == all_that_can_win ? best.promising(piece, goals) : branches;
    const Descent<V> descent(piece, Branch<V>(left & -left));
    const Holds<V> wanted = (left != 0) & best.beaten_by(descent.lower_bound()) & descent.wide_enough();
    const Holds<V> convex = descent.least_bend >= 0, others = left & (left - 1);
    for (int i = 0; i < group.count; ++i) {
        Search& s = *group.search[i];
        s.branches = Holds<Pair>{} + others[2 * i];
        s.to_halve |= wanted[2 * i] && !convex[2 * i];
        if (wanted[2 * i] && convex[2 * i]) {
            take_apart(descent, i, s.descent);
            waiting_[descend].push(s);
        } else {
            go_on(s);
        }
    }
}

template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::descend_once(const Group& group)
{
    const auto balls = group.all(&Search::balls);
    auto descent = group.all(&Search::descent);
    auto best = group.all(&Search::best);
    Holds<V> goes_on;
    do { // or more often, while all go on
        BallAngles<V> angles;
        balls.evaluate(ArmAngle<V>(descent.next()), angles);
        const Distance<V> there = descent.start.distance(angles);
        best.offer(there.psi, there.squared);
        descent.narrow(there);
        goes_on = descent.wide_enough() & best.beaten_by(descent.lower_bound());
    } while (!any(~goes_on));
    for (int i = 0; i < group.count; ++i) {
        Search& s = *group.search[i];
        take_apart(best, i, s.best);
        if (goes_on[2 * i]) {
            take_apart(descent, i, s.descent);
            waiting_[descend].push(s);
        } else {
            go_on(s);
        }
    }
}

template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::halve_piece(const Group& group)
{
    const auto balls = group.all(&Search::balls);
    const auto goals = group.all(&Search::goals);
    auto best = group.all(&Search::best);
    const V a = group.all(&Search::first).angles.psi, b = group.all(&Search::last).angles.psi;
    Point<V> middle;
    middle.move_to(ArmAngle<V>((a + b) / 2), balls, goals);
    best.offer(middle.angles.psi, squared_distance(middle, goals));
    for (int i = 0; i < group.count; ++i) {
        Search& s = *group.search[i];
        take_apart(best, i, s.best);
        take_apart(middle, i, s.point[s.points]);
        s.half[s.halves++] = {s.points, s.piece.to};
        look_at(s, {s.piece.from, s.points++});
    }
}

template <int lanes>
[[gnu::flatten]] void SevenSideBySide<lanes>::finish_search(const Group& group)
{
    const auto problem = group.all(&Search::problem);
    const V psi = group.all(&Search::best).psi();
    Point<V> nearest;
    nearest.move_to(ArmAngle<V>(psi), problem.balls, problem.goals);
    const auto theta = joints_at(nearest, problem.goals, problem.joint, batch_.limits, problem.elbow);
    Holds<V> moved = {};
    typename Lanes<lanes>::Float degrees[7];
    for (int i = 0; i < 7; ++i) {
        moved |= !(magnitude(V(theta[i] - problem.joint[i])) < regular_change);
        const auto [lower, upper] = batch_.degrees[i];
        degrees[i] = onto(lower, upper, rounded_off(V(theta[i] * degrees_per_radian)), limit_rounding);
    }
    const Holds<V> left = (psi != psi) | (moved & problem.is_there); // NaN where none keeps the limits
    for (int i = 0; i < group.count; ++i) {
        Search& s = *group.search[i];
        if (left[2 * i]) {
            end(s, left_to_single_call);
            continue;
        }
        for (int joint = 0; joint < 7; ++joint)
            results_[s.target * 7 + joint] = degrees[joint][2 * i];
        end(s, ARM_SOLVED);
    }
}

template <int lanes>
void inverses_of_seven(const SevenBatch& batch, int count, const float* references, const KinPose* poses,
                       float* results, int* codes)
{
    SevenSideBySide<lanes>(batch, references, poses, results, codes).solve(count);
}

} // namespace
} // namespace kx
