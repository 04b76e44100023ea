// Inverse kinematics of seven-joint arms for several targets at once: the search of the single call, with a pair of lanes for
// each. A step is taken as long as one of them needs it; so those go side by side that need about as many. What is
// rare is left to the single call: singular places, targets without a solution, references that have no arm angle.
//
// For files that are compiled for different processors; so nothing here has a name that they could share.
#pragma once

#include "kinematics/batch_targets.h"
#include "kinematics/seven_joints.h"

namespace kx {
namespace {

// Puts what belongs to targets here and there side by side. T has numbers of V, and else what is the same for all; `from` tells
// which pair in `all` each target's is, as they follow each other.
template <typename V, typename T>
void gather(const T* all, const int (&from)[targets_in<V>], T& together)
{
    for (int target = 0; target < targets_in<V>; ++target) {
        const auto* const pairs = reinterpret_cast<const char*>(&all[from[target] / targets_in<V>]) +
                                  from[target] % targets_in<V> * sizeof(Pair);
        auto* const to = reinterpret_cast<char*>(&together) + target * sizeof(Pair);
        for (std::size_t number = 0; number < sizeof(T); number += sizeof(V))
            std::memcpy(to + number, pairs + number, sizeof(Pair));
    }
}

// What is searched for some targets; then their solutions.
template <typename V>
class SevenSideBySide {
    static constexpr int targets = targets_in<V>, lanes = 2 * targets;

  public:
    SevenSideBySide() {} // whose members have no values
    // The ends of pieces are the start of a search.
    void begin(const SevenBatch& batch, const float* const (&references)[lanes],
               const KinPose* const (&poses)[lanes], Ends* ends);
    void solve(const SevenBatch& batch, const Ends* const (&ends)[targets]);
    bool solved(int target) const { return !left_[2 * target]; }
    float degrees(int joint, int target) const { return static_cast<float>(joint_[joint][2 * target]); }

  private:
    V nearest_arm_angle(const Ends* const (&ends)[targets]) const;

    Holds<V> left_, is_there_; // to the single call; already where it shall go
    V joint_[7];               // of the reference, radians; then of the solution, degrees
    V elbow_;                  // angle
    BallJoints<V> balls_;
    JointGoals<V> goals_;
    Feasible<V> feasible_;
    V psi_, at_psi_; // squared distance there
};

template <typename V>
void SevenSideBySide<V>::begin(const SevenBatch& batch, const float* const (&references)[lanes],
                               const KinPose* const (&poses)[lanes], Ends* ends)
{
    left_ = Holds<V>{};
    for (int i = 0; i < 7; ++i) {
        const auto degrees = reference_of<lanes>(batch, i, references);
        left_ |= !(magnitude(widened(degrees)) <= most_reasonable);
        joint_[i] = widened(typename Lanes<lanes>::Float(degrees * radians_per_degree));
    }
    const SevenTarget<V> target(batch.model, batch.lengths, flanges<lanes>(batch, poses));
    const RotorOf<V> line = target.line();
    const Reference<V> present(batch.lengths, joint_);
    const Elbow<V> elbow = Elbow<V>::of_cosine(batch.lengths, target.elbow_cosine);
    const BallRotors<V> rotors(line, elbow, target.rotation);
    balls_ = BallJoints<V>(rotors.shoulder, rotors.wrist);
    const Holds<V> stretched = balls_.nearly_stretched();
    left_ |= !(magnitude(target.elbow_cosine) < 1 - elbow_rounding);
    left_ |= present.has_no_plane(line) | of_shoulder(stretched) | of_wrist(stretched);
    is_there_ = present.is_at(target);
    elbow_ = elbow.angle;
    goals_ = goals_of(joint_, batch.limits, elbow_, true);
    feasible_ = Feasible<V>(balls_, goals_);

    psi_ = present.arm_angle();
    Point<V> own;
    own.move_to(ArmAngle<V>(psi_), balls_, goals_);
    at_psi_ = feasible_.contains(psi_) ? squared_distances(own, goals_).least(goals_) : all_of<V>(INFINITY);
    ends_of_pieces(balls_, goals_, feasible_, window_about(psi_, batch.range, balls_, goals_, at_psi_), ends);
}

template <typename V>
void SevenSideBySide<V>::solve(const SevenBatch& batch, const Ends* const (&ends)[targets])
{
    const V psi = nearest_arm_angle(ends);
    Point<V> nearest;
    nearest.move_to(ArmAngle<V>(psi), balls_, goals_);
    const auto theta = joints_at(nearest, goals_, joint_, batch.limits, elbow_);
    Holds<V> moved = {};
    for (int i = 0; i < 7; ++i) {
        moved |= !(magnitude(V(theta[i] - joint_[i])) < regular_change);
        const auto [lower, upper] = batch.degrees[i];
        joint_[i] =
            widened(onto(lower, upper, rounded_off(V(theta[i] * degrees_per_radian)), limit_rounding));
    }
    left_ |= (psi != psi) | (moved & is_there_);
}

// NaN where none keeps the limits.
template <typename V>
V SevenSideBySide<V>::nearest_arm_angle(const Ends* const (&ends)[targets]) const
{
    const V never = all_of<V>(INFINITY);
    Search<V> search(balls_, goals_);
    search.offer(psi_, left_ ? -never : never); // nothing can win where it is left
    search.offer(psi_, at_psi_);

    int most = 0;
    for (const Ends* of_target : ends)
        most = of_target->count > most ? of_target->count : most;
    const V count = each_of<V>([&](int target) { return ends[target]->count; });
    Point<V> point[Ends::usual];
    for (int i = 0; i < most; ++i) {
        const V end =
            each_of<V>([&](int target) { return i < ends[target]->count ? ends[target]->psi[i] : 0; });
        point[i].move_to(ArmAngle<V>(end), balls_, goals_);
        search.offer(end, count > i ? search.squared_distance(point[i]) : never);
    }
    V least[Ends::usual];
    for (int i = 0; i + 1 < most; ++i) {
        const V bound = Piece<V>(balls_, goals_, point[i], point[i + 1]).lower_bounds().least(goals_);
        least[i] = (count > i + 1) & search.can_win(bound) ? bound : never;
    }

    // The most promising one first, and so on.
    for (;;) {
        V next = {}, smallest = never;
        for (int i = 0; i + 1 < most; ++i) {
            const auto smaller = least[i] < smallest;
            next = smaller ? all_of<V>(i) : next;
            smallest = smaller ? least[i] : smallest;
        }
        const Holds<V> wanted = search.can_win(smallest);
        if (!any(wanted)) return search.best();
        int from[targets];
        for (int target = 0; target < targets; ++target)
            from[target] = static_cast<int>(next[2 * target]) * targets + target;
        for (int i = 0; i + 1 < most; ++i)
            least[i] = next == i ? never : least[i];
        Point<V> a, b;
        gather<V>(point, from, a);
        gather<V>(point + 1, from, b);
        search.refine(Piece<V>(balls_, goals_, a, b),
                      wanted & feasible_between(a.angles.psi, b.angles.psi, balls_, goals_, feasible_));
    }
}

template <int lanes>
void inverses_of_seven(const SevenBatch& batch, int count, const float* references, const KinPose* targets,
                       float* results, int* codes)
{
    using V = typename Lanes<lanes>::Double;
    constexpr int at_once = targets_in<V>,
                  most = 64; // for so many it is known what they need before they are searched
    for (; count > 0;
         count -= most, references += most * 7, targets += most, results += most * 7, codes += most) {
        const int number = count < most ? count : most;
        SevenSideBySide<V> as_given[most / at_once];
        Ends ends[most];
        for (int first = 0; first < number; first += at_once) {
            const float* reference[lanes];
            const KinPose* target[lanes];
            for (int lane = 0; lane < lanes; ++lane) { // the last one also fills lanes that are left over
                const int own = first + lane / 2, n = own < number ? own : number - 1;
                reference[lane] = references + n * 7;
                target[lane] = targets + n;
            }
            as_given[first / at_once].begin(batch, reference, target, &ends[first]);
        }

        int places[Ends::usual + 2] = {}, order[most];
        for (int n = 0; n < number; ++n)
            ++places[ends[n].count + 1];
        for (int k = 1; k < Ends::usual + 2; ++k)
            places[k] += places[k - 1];
        for (int n = 0; n < number; ++n)
            order[places[ends[n].count]++] = n;

        for (int first = 0; first < number; first += at_once) {
            int from[at_once];
            const Ends* their_ends[at_once];
            for (int i = 0; i < at_once; ++i) {
                from[i] = order[first + i < number ? first + i : number - 1];
                their_ends[i] = &ends[from[i]];
            }
            SevenSideBySide<V> alike;
            gather<V>(as_given, from, alike);
            alike.solve(batch, their_ends);
            for (int i = 0; i < at_once && first + i < number; ++i) {
                codes[from[i]] = alike.solved(i) ? ARM_SOLVED : left_to_single_call;
                for (int joint = 0; joint < 7 && alike.solved(i); ++joint)
                    results[from[i] * 7 + joint] = alike.degrees(joint, i);
            }
        }
    }
}

} // namespace
} // namespace kx
