// Pick and place: waits for a part, takes it with the gripper, carries it to another place and puts it down.
// Digital input 1 tells that a part is there, digital output 1 drives a lamp, and the force sensor tells
// whether the gripper really holds something. Ends with status 0 only if all went well.
//
//     4_pick_and_place PORT
//
// of a controller of model 46, e.g. kx-controller --di 1=1 --object 40 --object-mass 1.5
#include "example.h"

// Joint angles, degrees; the tool points down, and joint 1 turns it from one place to the other.
static const float above_pick[6] = {-40, 45, 90, 0, 45, 0}, at_pick[6] = {-40, 55, 90, 0, 35, 0};
static const float above_place[6] = {50, 45, 90, 0, 45, 0}, at_place[6] = {50, 55, 90, 0, 35, 0};

static bool wait_for_part(int arm, int seconds)
{
    unsigned char there = 0;
    for (int i = 0; i < 10 * seconds; ++i, sleep_cp(100))
        if (Get_DI_State(arm, 1, &there) == KX_SUCCESS && there) return true;
    return false;
}

// The load on the flange since the sensor was cleared, N.
static float load(Example& example)
{
    float force[6] = {};
    example.check(Get_Force_Data(example.arm, force), "reading the force sensor");
    const float size = std::hypot(force[0], force[1], force[2]);
    printf("  the flange carries %.0f N more than before\n", size);
    return size;
}

int main(int argc, char** argv)
{
    Example example(argc, argv, "PORT");
    const int arm = example.arm;
    const auto move = [&](const char* name, const float* target, unsigned char speed) {
        return example.step(name, [&] { return Movej_Cmd(arm, target, speed, 0, true); });
    };

    example.step("lamp on", [&] { return Set_DO_State(arm, 1, true, true); });
    example.expect(wait_for_part(arm, 5), "a part is there");

    move("to above the part", above_pick, 50);
    example.step("opening the gripper", [&] { return Set_Gripper_Release(arm, 1000, true); });
    move("down to it", at_pick, 20);
    example.step("clearing the force sensor", [&] { return Clear_Force_Data(arm, true); });
    if (example.step("closing the gripper", [&] { return Set_Gripper_Pick(arm, 500, 300, true); })) {
        move("lifting the part", above_pick, 20);
        move("carrying it", above_place, 50);
        move("putting it down", at_place, 20);
        example.expect(load(example) >= 5, "the gripper holds the part");
        example.step("opening the gripper", [&] { return Set_Gripper_Release(arm, 500, true); });
        example.expect(load(example) < 1, "the part is put down");
        move("away from it", above_place, 50);
    }
    example.step("lamp off", [&] { return Set_DO_State(arm, 1, false, true); });

    return example.result();
}
