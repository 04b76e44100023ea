#include "streaming/posture.h"
#include "kx/kinematics.h"

#include <math.h>
#include <string.h>

namespace kx::streaming {

// Some of the way from one pose to another: straight, and turning about one axis (Shoemake, 1985).
static KinPose between(const KinPose& from, const KinPose& to, float share)
{
    const Quaternion &a = from.quaternion, &b = to.quaternion;
    const float cosine = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    const float angle = acosf(fminf(1, fabsf(cosine)));
    float first = 1 - share, second = share;
    if (angle > 1e-3f) {
        first = sinf(first * angle) / sinf(angle);
        second = sinf(second * angle) / sinf(angle);
    }
    if (cosine < 0) second = -second;
    KinPose pose = to;
    pose.position = {from.position.x + share * (to.position.x - from.position.x),
                     from.position.y + share * (to.position.y - from.position.y),
                     from.position.z + share * (to.position.z - from.position.z)};
    Quaternion& q = pose.quaternion;
    q = {first * a.w + second * b.w, first * a.x + second * b.x, first * a.y + second * b.y,
         first * a.z + second * b.z};
    const float length = sqrtf(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    q = {q.w / length, q.x / length, q.y / length, q.z / length};
    return pose;
}

static float distance(const Position& a, const Position& b)
{
    return sqrtf((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z));
}

static float angle(const Quaternion& a, const Quaternion& b)
{
    return 2 * acosf(fminf(1, fabsf(a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z)));
}

// Whether an elbow or a wrist that was bent is bent the other way. A continuous motion can do that, a leap must not.
static bool has_turned_over(const ARM_MODEL& arm, const float* before, const float* now)
{
    const int elbow = arm.joints == 7 ? 3 : 2, wrist = arm.joints - 2;
    return before[elbow] * now[elbow] < 0 || before[wrist] * now[wrist] < 0;
}

// In steps so small that the nearest solution is one of the same posture, and joints that leap tell of another.
// Where a part of the straight way is out of reach, which does no harm as the joints do not go along it, two things
// are asked of the leap over it.
KX_STREAM_END joints_of(const ARM_MODEL& arm, const POSE& pose, const float* before, float* result)
{
    constexpr float step_length = 0.02f, step_angle = 0.1f; // m, rad
    constexpr float leap = 30, long_leap = 60;              // degrees
    constexpr int most_steps = 200;
    constexpr float everywhere = 4; // rad of arm angle
    const size_t size = sizeof(float) * static_cast<size_t>(arm.joints);
    const KinPose from = Arm_Model_Pose(&arm, before);
    KinPose to = {};
    to.position = {pose.x, pose.y, pose.z};
    to.quaternion = euler2quaternion(pose.rx, pose.ry, pose.rz);
    const float steps_wanted = fmaxf(distance(from.position, to.position) / step_length,
                                     angle(from.quaternion, to.quaternion) / step_angle);
    const int steps = 1 + static_cast<int>(fminf(most_steps, steps_wanted));

    float joint[7], next[7];
    memcpy(joint, before, size);
    bool has_leapt = false;
    for (int i = 1; i <= steps; ++i) {
        const KinPose target =
            i < steps ? between(from, to, static_cast<float>(i) / static_cast<float>(steps)) : to;
        if (Arm_Model_Inverse(&arm, joint, &target, everywhere, next) != ARM_SOLVED) {
            has_leapt = true;
            continue;
        }
        for (int j = 0; j < arm.joints; ++j)
            if (!(fabsf(next[j] - joint[j]) <= (has_leapt ? long_leap : leap))) return KX_STREAM_POSTURE;
        if (has_leapt && has_turned_over(arm, joint, next)) return KX_STREAM_POSTURE;
        memcpy(joint, next, size);
        has_leapt = false;
    }
    if (has_leapt) return KX_STREAM_UNREACHABLE;
    memcpy(result, joint, size);
    return KX_STREAM_RUNS;
}

} // namespace kx::streaming
