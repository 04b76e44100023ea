// A guarded move: lowers the tool slowly and stops as soon as the force sensor feels the table, wherever that is.
//
//     5_guarded_move PORT        of a controller of model 46, e.g. kx-controller --table 20
#include "run.h"

// The tool points down. On the way from one to the other it sinks some 150 mm.
static const kx::Degrees above{0, 60, 90, 0, 30, 0}, below{0, 82, 90, 0, 8, 0};
static constexpr float enough = 15; // N, to be sure of the contact

static float pressure(const kx::Arm& arm)
{
    const auto [x, y, z] = arm.force.wrench().force_newton;
    return std::hypot(x, y, z);
}

int main(int argc, char** argv)
{
    return run(argc, argv, [](const kx::Arm& arm) {
        arm.move_joints(above, {.speed_percent = 50}).wait();
        arm.force.clear();
        const float start = arm.state().pose.z;
        {
            const kx::StopOnException guard(arm); // what cannot be felt must not go on
            const auto sinking = arm.move_joints(below, {.speed_percent = 2});
            while (pressure(arm) < enough)
                expect(!sinking.done(), "the table is felt on the way");
            arm.stop();
        }
        std::this_thread::sleep_for(200ms); // to slow down
        const float felt = pressure(arm);
        printf("contact %.0f mm below the start, pressing with %.0f N\n", 1000 * (start - arm.state().pose.z),
               felt);
        expect(felt >= enough && felt < 200, "the table is felt, and not pressed hard");

        arm.move_joints(above).wait();
        expect(pressure(arm) < 1, "nothing is felt above the table");
    });
}
