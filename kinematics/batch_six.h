// Inverse kinematics of six-joint arms for several targets at once: the search of the single call, with a lane for
// each. A lane takes its shoulders and elbows nearest first, and a step is left out once it brings none of them
// any nearer. What is rare is left to the single call: singular places, targets without a solution.
//
// For files that are compiled for different processors; so nothing here has a name that they could share.
#pragma once

#include "kinematics/batch_targets.h"
#include "kinematics/six_joints.h"

namespace kx {
namespace {

template <int lanes>
class SixSideBySide {
  public:
    using Double = typename Lanes<lanes>::Double;
    using Float = typename Lanes<lanes>::Float;

    SixSideBySide(const SixBatch& shared, const float* const (&references)[lanes],
                  const KinPose* const (&targets)[lanes]);
    void solve();

    bool solved(int lane) const { return best_distance[lane] >= 0 && best_distance[lane] < INFINITY; }
    Float degrees(int joint) const
    {
        const auto [lower, upper] = batch.degrees[joint];
        return onto(lower, upper, Float(best[joint] * degrees_per_radian), limit_rounding);
    }

  private:
    // A candidate's joints and their squared distance from the reference, infinite if its limits leave it
    // out; and what else of it is needed.
    struct Shoulder {
        Float q1, distance;
        Direction<Double> theta1;
        Double x; // of the wrist centre
    };
    struct Elbow {
        Float q3, distance;
        Direction<Double> theta3;
    };

    void try_shoulder(const Shoulder& shoulder);
    void try_elbow(const Shoulder& shoulder, const Elbow& elbow);
    void try_wrist(const Float (&arm_joints)[3], const RotationOf<Double>& wrist, const Float& distance);

    Float as_far_as(int joint, const Float& q) const { return square(Float(q - reference[joint])); }
    Float unless_left_out(int joint, const Float& q, const Float& distance) const
    {
        const auto out = (q < batch.inside[joint].lower) | (q > batch.inside[joint].upper);
        return out ? Float{} + INFINITY : distance;
    }
    Float at_joint(int joint, const Double& angle) const
    {
        const auto [low, high] = batch.radians[joint];
        return as_joint<Double>(angle, side_within<Double>(low, high, widened(reference[joint])));
    }
    template <typename Holds>
    void leave(const Holds& rare)
    {
        best_distance = narrowed(rare) ? Float{} - INFINITY : best_distance;
    }

    const SixBatch& batch;
    Float reference[6]; // radians
    TransformOf<Double> flange;
    Double centre[3];                                  // of the wrist
    Float best[6], best_distance = Float{} + INFINITY; // minus infinity for what is left to the single call
};

template <int lanes>
SixSideBySide<lanes>::SixSideBySide(const SixBatch& shared, const float* const (&references)[lanes],
                                    const KinPose* const (&targets)[lanes])
    : batch(shared), flange(flanges<lanes>(shared, targets))
{
    for (int i = 0; i < 6; ++i)
        best[i] = reference[i] = reference_of<lanes>(batch, i, references) * radians_per_degree;
    centre[0] = flange.p.x - batch.arm.lwt * flange.r[0][2];
    centre[1] = flange.p.y - batch.arm.lwt * flange.r[1][2];
    centre[2] = flange.p.z - batch.arm.lwt * flange.r[2][2];
}

template <int lanes>
void SixSideBySide<lanes>::solve()
{
    const Shoulders<Double> both(batch.arm, centre[0], centre[1]);
    leave(!(both.x >= near_axis));
    Shoulder shoulder[2];
    for (int i = 0; i < 2; ++i) {
        auto& [q1, distance, theta1, x] = shoulder[i];
        x = i == 0 ? both.x : -both.x;
        const auto [c, s] = both.theta1(batch.arm, x);
        theta1 = {c * both.scale, s * both.scale};
        q1 = at_joint(0, arc_tangent(s, c) - batch.arm.offset[0]);
        distance = unless_left_out(0, q1, as_far_as(0, q1));
    }
    const auto& [a, b] = shoulder;
    const auto swap = b.distance < a.distance;
    for (const auto second : {swap, !swap}) {
        const auto is_second = broadened(second);
        try_shoulder(
            {second ? b.q1 : a.q1,
             second ? b.distance : a.distance,
             {is_second ? b.theta1.cosine : a.theta1.cosine, is_second ? b.theta1.sine : a.theta1.sine},
             is_second ? b.x : a.x});
    }
}

template <int lanes>
void SixSideBySide<lanes>::try_shoulder(const Shoulder& shoulder)
{
    const auto nearer = shoulder.distance < best_distance;
    if (!any(nearer)) return;
    const Double c = elbow_cosine<Double>(batch.arm, shoulder.x - batch.arm.a2, centre[2] - batch.arm.d1);
    leave(broadened(nearer) & (c > nearly_stretched_cosine));
    const auto in_reach = narrowed(abs(c) < rounding_bound);
    const Double cosine = max(c, Double{} - 1), sine = square_root(1 - cosine * cosine);
    Elbow elbow[2];
    for (int i = 0; i < 2; ++i) {
        auto& [q3, distance, theta3] = elbow[i];
        theta3 = theta3_of<Double>(batch.arm, {cosine, i == 0 ? sine : -sine});
        q3 = at_joint(2, arc_tangent(theta3.sine, theta3.cosine) - batch.arm.offset[2]);
        distance = in_reach ? shoulder.distance + as_far_as(2, q3) : Float{} + INFINITY;
        distance = unless_left_out(2, q3, distance);
    }
    const auto& [a, b] = elbow;
    const auto swap = as_far_as(2, b.q3) < as_far_as(2, a.q3);
    for (const auto second : {swap, !swap}) {
        const auto is_second = broadened(second);
        try_elbow(shoulder, {second ? b.q3 : a.q3,
                             second ? b.distance : a.distance,
                             {is_second ? b.theta3.cosine : a.theta3.cosine,
                              is_second ? b.theta3.sine : a.theta3.sine}});
    }
}

template <int lanes>
void SixSideBySide<lanes>::try_elbow(const Shoulder& shoulder, const Elbow& elbow)
{
    if (!any(elbow.distance < best_distance)) return;
    const auto [low, high] = batch.radians[1];
    const UpperArm<Double> upper =
        upper_arm_of<Double>(batch.arm, shoulder.x - batch.arm.a2, centre[2] - batch.arm.d1, elbow.theta3,
                             side_within<Double>(low, high, widened(reference[1])));
    const Float distance = elbow.distance + as_far_as(1, upper.q2);
    if (!any(distance < best_distance)) return;
    try_wrist({shoulder.q1, upper.q2, elbow.q3}, wrist_of(flange.r, shoulder.theta1, upper), distance);
}

template <int lanes>
void SixSideBySide<lanes>::try_wrist(const Float (&arm_joints)[3], const RotationOf<Double>& wrist,
                                     const Float& distance)
{
    const Double sine = wrist_sine<Double>(wrist);
    leave(broadened(distance < best_distance) & (sine < vanishing));
    const WristAngles<Double> at(wrist, sine);
    const auto [low, high] = batch.radians[5];
    for (double half_turn : {0.0, pi}) {
        const Float joint[6] = {
            arm_joints[0],
            arm_joints[1],
            arm_joints[2],
            at_joint(3, at.theta4 + half_turn),
            at_joint(4, half_turn == 0 ? at.theta5 : -at.theta5),
            turn_inside<Double>(at.theta6 + half_turn - batch.arm.offset[5], reference[5], low, high)};
        auto kept = distance == distance;
        for (int i = 0; i < 6; ++i)
            kept &= (joint[i] >= batch.inside[i].lower) & (joint[i] <= batch.inside[i].upper);
        Float total = distance;
        for (int i = 3; i < 6; ++i)
            total += as_far_as(i, joint[i]);
        const auto nearer = kept & (total < best_distance);
        for (int i = 0; i < 6; ++i)
            best[i] = nearer ? joint[i] : best[i];
        best_distance = nearer ? total : best_distance;
    }
}

template <int lanes>
void inverses_of_six(const SixBatch& batch, int count, const float* references, const KinPose* targets,
                     float* results, int* codes)
{
    for (int done = 0; done < count; done += lanes) {
        const float* reference[lanes];
        const KinPose* target[lanes];
        for (int lane = 0; lane < lanes; ++lane) { // the last one also fills lanes that are left over
            const int n = done + lane < count ? done + lane : count - 1;
            reference[lane] = references + static_cast<std::ptrdiff_t>(n) * 6;
            target[lane] = targets + n;
        }
        SixSideBySide<lanes> six(batch, reference, target);
        six.solve();
        const int used = count - done < lanes ? count - done : lanes;
        for (int lane = 0; lane < used; ++lane)
            codes[done + lane] = six.solved(lane) ? ARM_SOLVED : left_to_single_call;
        for (int i = 0; i < 6; ++i) {
            const auto degrees = six.degrees(i);
            for (int lane = 0; lane < used; ++lane)
                if (six.solved(lane))
                    results[static_cast<std::ptrdiff_t>(done + lane) * 6 + i] = degrees[lane];
        }
    }
}

} // namespace
} // namespace kx
