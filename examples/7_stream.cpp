// Streams joint targets: every joint swings 10 degrees out and back, some times. Fifty targets a second, and none
// at its time to the millisecond: the stream makes a smooth motion of them, and tells how the arm follows. Ends
// with status 0 only if all were taken, and the arm stands where the last one leads.
//
//     7_stream PORT [MODEL [SECONDS]]        of a controller on this machine, e.g. kx-controller
#include "run.h"

#include <cinttypes>

int main(int argc, char** argv)
{
    return run(
        argc, argv,
        [&](const kx::Arm& arm) {
            const double seconds = argc > 3 ? std::atof(argv[3]) : 10;
            const kx::Degrees from = arm.joints();
            KX_STREAM_OPTIONS options = kx::stream_options();
            options.watchdog = 1; // s: a machine that is busy with other things is forgiven
            options.silence = 2;
            auto stream = arm.stream(options);
            const kx::Time begin = stream.now();
            bool runs = true;
            for (double t = 0; runs && t < seconds;
                 t = std::chrono::duration<double>(stream.now() - begin).count()) {
                kx::Degrees target = from;
                for (float& joint : target)
                    joint += static_cast<float>(5 * (1 - std::cos(M_PI * t)));
                runs = stream.joints(target, stream.now());
                std::this_thread::sleep_for(20ms);
            }
            runs = runs && stream.joints(from, stream.now() + 300ms) && stream.finish();
            const kx::State state = arm.state();
            printf("arm error %d, controller error %d\n", state.arm_error, state.controller_error);
            expect(runs, stream.end_words());
            expect(std::fabs(state.joints[0] - from[0]) < 0.1f, "the arm ends where the last target leads");

            const KX_STREAM_COUNTERS did = stream.counters();
            printf("%" PRIu64 " targets, %" PRIu64 " set-points, %" PRIu64 " of them late, %" PRIu64
                   " limited\n",
                   did.targets, did.cycles, did.late_cycles, did.limited_cycles);
            printf("the sender wakes late by ms: %.3f median, %.3f 99 %%, %.3f at most (priority %d)\n",
                   did.jitter_median, did.jitter_p99, did.jitter_most, did.priority);
            printf("the arm lags behind by ms: %.1f median, %.1f 99 %%; by degrees: %.2f at most\n",
                   did.lag_median, did.lag_p99, did.following_most);
        },
        "PORT [MODEL [SECONDS]]", 3);
}
