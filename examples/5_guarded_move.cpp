// A guarded move: lowers the tool slowly and stops as soon as the force sensor feels the table, wherever that
// is. Ends with status 0 only if it was found and left again.
//
//     5_guarded_move PORT        of a controller of model 46, e.g. kx-controller --table 20
#include "example.h"

// Joint angles, degrees: the tool points down. On the way from one to the other it sinks some 150 mm.
static const float above[6] = {0, 60, 90, 0, 30, 0}, below[6] = {0, 82, 90, 0, 8, 0};
static constexpr float enough = 15; // N, to be sure of the contact

static float pressure(int arm)
{
    float force[6] = {};
    if (Get_Force_Data(arm, force) != KX_SUCCESS) return enough; // what cannot be felt must not go on
    return std::hypot(force[0], force[1], force[2]);
}

static POSE tool(int arm)
{
    float joint[7];
    POSE pose = {};
    unsigned short arm_err, sys_err;
    Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err);
    return pose;
}

int main(int argc, char** argv)
{
    Example example(argc, argv, "PORT");
    const int arm = example.arm;
    example.step("to above the table", [&] { return Movej_Cmd(arm, above, 50, 0, true); });
    example.step("clearing the force sensor", [&] { return Clear_Force_Data(arm, true); });
    const float start = tool(arm).z;

    example.step("starting to sink", [&] { return Movej_Cmd(arm, below, 2, 0, false); });
    float felt = 0;
    const unsigned int begin = Get_Program_Runtime();
    while (felt < enough && Get_Program_Runtime() - begin < 15000)
        felt = pressure(arm);
    example.step("stopping", [&] { return Move_Stop_Cmd(arm, true); });
    sleep_cp(200); // to slow down
    felt = pressure(arm);
    printf("  contact %.0f mm below the start, pressing with %.0f N\n", 1000 * (start - tool(arm).z), felt);
    example.expect(felt >= enough, "the table is felt");
    example.expect(felt < 200, "and not pressed hard");

    example.step("away from it", [&] { return Movej_Cmd(arm, above, 20, 0, true); });
    example.expect(pressure(arm) < 1, "nothing is felt above the table");
    return example.result();
}
