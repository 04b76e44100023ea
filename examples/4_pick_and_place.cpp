// Pick and place: waits for a part, takes it with the gripper, carries it to another place and puts it down.
// Digital input 1 tells that a part is there, digital output 1 drives a lamp, and the force sensor tells
// whether the gripper really holds something.
//
//     4_pick_and_place PORT
//
// of a controller of model 46, e.g. kx-controller --di 1=1 --object 40 --object-mass 1.5
#include "run.h"

// The tool points down, and joint 1 turns it from one place to the other.
static const kx::Degrees above_pick{-40, 45, 90, 0, 45, 0}, at_pick{-40, 55, 90, 0, 35, 0};
static const kx::Degrees above_place{50, 45, 90, 0, 45, 0}, at_place{50, 55, 90, 0, 35, 0};

static void wait_for_part(const kx::Arm& arm)
{
    for (int i = 0; i < 50 && !arm.io.input(1); ++i)
        std::this_thread::sleep_for(100ms);
    expect(arm.io.input(1), "a part is there");
}

// The load on the flange since the sensor was cleared, N.
static float load(const kx::Arm& arm)
{
    const auto [x, y, z] = arm.force.wrench().force_newton;
    printf("the flange carries %.0f N more than before\n", std::hypot(x, y, z));
    return std::hypot(x, y, z);
}

int main(int argc, char** argv)
{
    return run(argc, argv, [](const kx::Arm& arm) {
        const kx::Pace slow{.speed_percent = 20}, fast{.speed_percent = 50};
        arm.io.set_output(1, true);
        wait_for_part(arm);

        arm.move_joints(above_pick, fast).wait();
        arm.gripper.open();
        arm.move_joints(at_pick, slow).wait();
        arm.force.clear();
        arm.gripper.pick(30);

        arm.move_joints(above_pick, slow); // the controller takes one motion after the other
        arm.move_joints(above_place, fast);
        arm.move_joints(at_place, slow).wait();
        expect(load(arm) >= 5, "the gripper holds the part");
        arm.gripper.open();
        expect(load(arm) < 1, "the part is put down");
        arm.move_joints(above_place, fast).wait();
        arm.io.set_output(1, false);
    });
}
