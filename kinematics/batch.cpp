// Many poses and many inverses in one call, shared out among threads if asked.
#include "kinematics/batch_poses.h"

#include <algorithm>
#include <atomic>
#include <pthread.h>

namespace kx {

SineCosine<double> lone_sine_cosine(double x)
{
    return sine_cosine<double>(x);
}

void poses_by_two(const Batch& batch, int count, const float* joints, KinPose* result)
{
    poses<2>(batch, count, joints, result);
}

namespace {

constexpr int most_threads = 64, portion = 256;

// Work on elements [0, count), done in portions by whoever comes for the next one.
struct Work {
    void (*run)(const void* what, int first, int count);
    const void* what;
    int count;
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
    Work work = {
        [](const void* what, int first, int number) { (*static_cast<const Run*>(what))(first, number); },
        &run, count};
    const int helpers =
        std::clamp(std::min(threads, (count + portion - 1) / portion) - 1, 0, most_threads - 1);
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
    const Batch batch = {*arm, *g, base_of(arm->installation), !is_identity(arm->tool)};
    auto* side_by_side = poses_by_two;
#ifdef KX_AVX
    if (__builtin_cpu_supports("avx2")) side_by_side = poses_by_four;
    if (__builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        side_by_side = poses_by_eight;
#endif
    share_out(count, threads, [&](int first, int number) {
        side_by_side(batch, number, joints + static_cast<std::ptrdiff_t>(first) * g->joints, poses + first);
    });
}

int Arm_Model_Inverses(const ARM_MODEL* arm, int count, const float* references, const KinPose* targets,
                       float range, float* results, int* codes, int threads)
{
    std::atomic<int> solved{0};
    share_out(count, threads, [&](int first, int number) {
        for (int n = first; n < first + number; ++n) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(n) * arm->joints;
            codes[n] = Arm_Model_Inverse(arm, references + at, &targets[n], range, results + at);
            if (codes[n] == ARM_SOLVED) solved.fetch_add(1, std::memory_order_relaxed);
        }
    });
    return solved;
}
