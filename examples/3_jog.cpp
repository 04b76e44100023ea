// Jogging: moves a joint until told to stop, and steps it back.
//
//     3_jog PORT [MODEL]        of a controller on this machine, e.g. kx-controller
#include "run.h"

int main(int argc, char** argv)
{
    return run(argc, argv, [](const kx::Arm& arm) {
        const float before = arm.joints()[0];
        arm.teaching.jog_joint(1, kx::Direction::positive, 20);
        std::this_thread::sleep_for(1s);
        arm.teaching.stop_jogging();
        std::this_thread::sleep_for(500ms); // to slow down
        const float way = arm.joints()[0] - before;
        printf("joint 1 went %.1f degrees\n", way);
        expect(way > 1, "jogging moves the joint");

        arm.teaching.step_joint(1, -way, 50).wait();
        expect(std::fabs(arm.joints()[0] - before) < 0.002, "the step leads back");
    });
}
