// Many poses and many inverses in one call, shared out among threads if asked.
#include "kinematics/batch.h"
#include "kinematics/batch_six.h"
#include "kx/kinematics.h"

#include <algorithm>
#include <atomic>
#include <pthread.h>

namespace kx {

SineCosine<double> lone_sine_cosine(double x)
{
    return sine_cosine<double>(x);
}

// Two poses side by side take longer than one after the other.
const SideBySide by_two = {2,
                           [](const PoseBatch& batch, int count, const float* joints, KinPose* result) {
                               for (int n = 0; n < count; ++n)
                                   result[n] = Arm_Model_Pose(&batch.arm, joints + n * batch.arm.joints);
                           },
                           inverses_of_six<2>, nullptr};
int most_lanes = 8;

const SideBySide& widest()
{
#ifdef KX_AVX
    if (most_lanes >= 8 && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        return by_eight;
    if (most_lanes >= 4 && __builtin_cpu_supports("avx2")) return by_four;
#endif
    return by_two;
}

InverseBatch::InverseBatch(const ARM_MODEL& arm) : model(arm), has_tool(!is_identity(arm.tool))
{
    for (int i = 0; i < arm.joints; ++i)
        degrees[i] = {arm.lower[i], arm.upper[i]};
    const auto& [rx, ry, rz] = arm.installation;
    is_turned = rx != 0 || ry != 0 || rz != 0;
    if (has_tool) tool_inverse = matrix_inv(arm.tool);
    if (is_turned) base = rotation_of(arm.installation);
}

SixBatch::SixBatch(const ARM_MODEL& six) : InverseBatch(six), arm(six_joint_arm(six))
{
    for (int i = 0; i < 6; ++i) {
        radians[i] = {degrees[i].lower * radians_per_degree, degrees[i].upper * radians_per_degree};
        const double lower = radians[i].lower - inside_slack, upper = radians[i].upper + inside_slack;
        inside[i] = {static_cast<float>(lower), static_cast<float>(upper)};
        if (inside[i].lower < lower) inside[i].lower = std::nextafter(inside[i].lower, INFINITY);
        if (inside[i].upper > upper) inside[i].upper = std::nextafter(inside[i].upper, -INFINITY);
    }
}

SevenBatch::SevenBatch(const ARM_MODEL& seven, double of_arm_angles)
    : InverseBatch(seven), lengths(geometry(seven.model)->lengths), limits(limits_of_seven(seven, false)),
      range(std::min(of_arm_angles, pi))
{
    const Pair straight[7] = {};
    usual = range >= 0 && !goals_of(straight, limits, pair(0), true).narrow();
}

namespace {

constexpr int most_threads = 64, portion_of_many = 256, portion_of_one = 65536;

// Work on elements [0, count), done in portions by whoever comes for the next one.
struct Work {
    void (*run)(const void* what, int first, int count);
    const void* what;
    int count, portion;
    std::atomic<int> next{0};

    void take_part()
    {
        for (int first; (first = next.fetch_add(portion)) < count;)
            run(what, first, std::min(portion, count - first));
    }
};

void* take_part(void* work)
{
    static_cast<Work*>(work)->take_part();
    return nullptr;
}

// `run` must not touch what others work on. A thread that cannot be had is one less.
template <typename Run>
void share_out(int count, int threads, const Run& run)
{
    if (count <= 0) return;
    const int helpers = std::clamp(threads, 1, std::min(most_threads, 1 + (count - 1) / portion_of_many)) - 1;
    Work work = {
        [](const void* what, int first, int number) { (*static_cast<const Run*>(what))(first, number); },
        &run, count, helpers > 0 ? portion_of_many : portion_of_one};
    pthread_t helper[most_threads];
    int started = 0;
    while (started < helpers && pthread_create(&helper[started], nullptr, take_part, &work) == 0)
        ++started;
    work.take_part();
    for (int i = 0; i < started; ++i)
        pthread_join(helper[i], nullptr);
}

} // namespace
} // namespace kx

using namespace kx;

void Arm_Model_Poses(const ARM_MODEL* arm, int count, const float* joints, KinPose* poses, int threads)
{
    const Geometry* const g = geometry(arm->model);
    if (!g) {
        std::fill_n(poses, std::max(count, 0), KinPose{});
        return;
    }
    const PoseBatch batch = {*arm, *g, base_of(arm->installation), !is_identity(arm->tool)};
    const SideBySide& width = widest();
    share_out(count, threads, [&](int first, int number) {
        width.poses(batch, number, joints + static_cast<std::ptrdiff_t>(first) * g->joints, poses + first);
    });
}

int Arm_Model_Inverses(const ARM_MODEL* arm, int count, const float* references, const KinPose* targets,
                       float range, float* results, int* codes, int threads)
{
    std::atomic<int> solved{0};
    const auto share = [&](const auto& batch, auto side_by_side) {
        share_out(count, threads, [&](int first, int number) {
            const auto at = [&](auto* joints, int n) {
                return joints + static_cast<std::ptrdiff_t>(n) * arm->joints;
            };
            if (side_by_side)
                side_by_side(batch, number, at(references, first), targets + first, at(results, first),
                             codes + first);
            int own = 0;
            for (int n = first; n < first + number; ++n) {
                if (!side_by_side || codes[n] == left_to_single_call)
                    codes[n] = Arm_Model_Inverse(arm, at(references, n), &targets[n], range, at(results, n));
                own += codes[n] == ARM_SOLVED;
            }
            solved.fetch_add(own, std::memory_order_relaxed);
        });
    };
    if (arm->model == 36 || arm->model == 46) {
        share(SixBatch(*arm), widest().inverses_of_six);
    } else if (arm->model == 47) {
        const SevenBatch seven(*arm, range);
        share(seven, seven.usual ? widest().inverses_of_seven : nullptr);
    } else {
        std::fill_n(codes, std::max(count, 0), ARM_UNKNOWN);
    }
    return solved;
}
