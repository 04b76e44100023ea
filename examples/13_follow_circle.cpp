// Follows a target that moves on a circle, as a camera would see it: thirty times a second, not on time to the
// millisecond, and wrong by up to half a millimetre. Draws what came in, what was sent, and what the arm did.
// Ends with status 0 only if the stream ends as it should, and the arm where it began.
//
//     13_follow_circle PORT [MODEL [PICTURE.svg]]        of a controller on this machine, e.g. kx-controller --spacing 0
#include "run.h"

#include <cinttypes>
#include <mutex>
#include <random>
#include <vector>

namespace {

constexpr double radius = 0.06, turn = 3, turns = 3; // m, s
constexpr double error = 0.0005;                     // m, of the camera, at most

struct Place {
    double time, y, z; // s, m
};

// What was seen, sent and measured.
struct Record {
    ARM_MODEL arm;
    std::vector<Place> seen, sent, measured;
    std::mutex mutex;

    Place place(double time, const float* joint) const
    {
        const KinPose pose = Arm_Model_Pose(&arm, joint);
        return {time, pose.position.y, pose.position.z};
    }
};

// Runs in the stream's sender, every cycle.
void record(int, const KX_STREAM_CYCLE* cycle, void* user)
{
    Record& what = *static_cast<Record*>(user);
    const std::lock_guard lock(what.mutex);
    what.sent.push_back(what.place(cycle->time, cycle->sent));
    if (cycle->measured_at > 0 && (what.measured.empty() || what.measured.back().time < cycle->measured_at))
        what.measured.push_back(what.place(cycle->measured_at, cycle->measured));
}

// Time and y; then the place once more, its distance from the circle twentyfold.
void write(FILE* plot, const char* name, const std::vector<Place>& places, const Place& centre)
{
    fprintf(plot, "$%s << end\n", name);
    for (const Place& place : places) {
        const double time = place.time - centre.time, y = place.y - centre.y, z = place.z - centre.z;
        const double shown = (radius + 20 * (std::hypot(y, z) - radius)) / std::hypot(y, z);
        if (time < 2 * turn)
            fprintf(plot, "%.3f %.2f %.2f %.2f\n", time, 1000 * y, 1000 * shown * y, 1000 * shown * z);
    }
    fputs("end\n", plot);
}

bool draw(const char* file, int model, const Record& what, const Place& centre)
{
    FILE* plot = popen("gnuplot", "w");
    if (!plot) return false;
    write(plot, "seen", what.seen, centre);
    write(plot, "sent", what.sent, centre);
    write(plot, "measured", what.measured, centre);
    fprintf(
        plot,
        "set terminal svg size 1100,560 dynamic font 'sans-serif,12' background 'white'\nset output '%s'\n",
        file);
    fputs("set grid linecolor '#e4e4e4'\nset border linecolor '#777777'\nset colorsequence podo\n"
          "set style line 1 pointtype 7 pointsize 0.4 linecolor rgb '#e69f00'\nset style line 2 linewidth 2 "
          "linecolor rgb '#0072b2'\n"
          "set style line 3 linewidth 2 linecolor rgb '#009e73'\n",
          plot);
    fprintf(plot, "set multiplot title 'Model %d follows 30 uneven targets a second' font ',16'\n", model);
    fprintf(plot,
            "set size 0.45,0.95\nset origin 0,0\nset size ratio -1\nset key outside bottom center\n"
            "set title 'the second turn; distances from the circle twentyfold'\nset xlabel 'y, mm'\nset "
            "ylabel 'z, mm'\n"
            "turn(t, y) = t >= %g ? y : NaN\n"
            "plot $seen using (turn($1, $3)):4 with points linestyle 1 title 'commanded', "
            "$sent using (turn($1, $3)):4 with lines linestyle 2 title 'sent, within the limits', "
            "$measured using (turn($1, $3)):4 with lines linestyle 3 title 'measured'\n",
            turn);
    fputs("set size noratio 0.55,0.95\nset origin 0.45,0\nset title 'the beginning, from rest'\nset xlabel "
          "'time, s'\n"
          "set ylabel 'y, mm'\nset xrange [0:1.5]\n"
          "plot $seen with points linestyle 1 title 'commanded', $sent with lines linestyle 2 title 'sent, "
          "within the limits', "
          "$measured with lines linestyle 3 title 'measured'\n",
          plot);
    return pclose(plot) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const auto follow = [&](const kx::Arm& arm) {
        const kx::Degrees six{0, 30, 60, 0, 60, 0}, seven{0, 30, 0, 60, 0, 60, 0};
        arm.move_joints(arm.joint_count() == 7 ? seven : six, {.speed_percent = 50}).wait();
        const kx::Degrees from = arm.joints();

        Record what;
        Arm_Model_Init(&what.arm, arm.model(), 0);
        const KinPose here = Arm_Model_Pose(&what.arm, from.data());
        KX_STREAM_OPTIONS options = kx::stream_options();
        options.look_ahead = 0.15;
        options.watchdog = 1; // so long a pause of the camera is forgiven
        options.silence = 2;
        options.on_cycle = record;
        options.user = &what;
        auto stream = arm.stream(options);

        std::mt19937 chance(1);
        std::uniform_real_distribution<double> wrong(-error, error), late(0, 0.01);
        const double begin = KX_Stream_Clock();
        const Place centre = {begin, here.position.y, here.position.z - radius};
        bool runs = true;
        for (int i = 1; runs && i <= 30 * turn * turns; ++i) {
            std::this_thread::sleep_for(
                std::chrono::duration<double>(begin + i / 30.0 + late(chance) - KX_Stream_Clock()));
            const double time = KX_Stream_Clock(), angle = 2 * M_PI * (time - begin) / turn;
            const Place seen = {time, centre.y + radius * std::sin(angle) + wrong(chance),
                                centre.z + radius * std::cos(angle) + wrong(chance)};
            what.seen.push_back(seen);
            const kx::Pose target =
                kx::Pose::m_rad(here.position.x, seen.y, seen.z, here.euler.rx, here.euler.ry, here.euler.rz);
            runs =
                stream.pose(target, kx::Time(std::chrono::nanoseconds(static_cast<long long>(1e9 * time))));
        }
        runs = runs && stream.joints(from) && stream.finish();
        expect(runs, stream.end_words());
        expect(std::fabs(arm.joints()[0] - from[0]) < 0.1f, "the arm ends where it began");

        double worst = 0;
        for (const Place& place : what.sent)
            if (place.time > begin + 1 && place.time < begin + turn * turns)
                worst =
                    std::max(worst, std::fabs(std::hypot(place.y - centre.y, place.z - centre.z) - radius));
        const KX_STREAM_COUNTERS did = stream.counters();
        printf("%" PRIu64 " targets, wrong by up to %.2f mm; set-points off the circle by up to %.2f mm\n",
               did.targets, 1000 * std::hypot(error, error), 1000 * worst);
        printf("%" PRIu64 " of %" PRIu64 " set-points limited; the arm lags behind by %.0f ms\n",
               did.limited_cycles, did.cycles, did.lag_median);
        if (argc > 3) expect(draw(argv[3], arm.model(), what, centre), "gnuplot draws the picture");
    };
    return run(argc, argv, follow, "PORT [MODEL [PICTURE.svg]]", 3);
}
