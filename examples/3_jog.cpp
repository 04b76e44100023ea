// Jogging: moves a joint until told to stop, and steps it back. Ends with status 0 only if every command did what it
// should.
//
//     3_jog PORT [MODEL]        of a controller on this machine, e.g. kx-controller
#include "example.h"

int main(int argc, char** argv)
{
    Example example(argc, argv, "PORT [MODEL]");
    const int arm = example.arm;
    float before[7], after[7];
    example.step("where is the arm?", [&] { return Get_Joint_Degree(arm, before); });
    example.step("jogging joint 1 upwards", [&] { return Joint_Teach_Cmd(arm, 1, 1, 20, true); });
    sleep_cp(1000);
    example.step("stopping", [&] { return Teach_Stop_Cmd(arm, true); });
    sleep_cp(500); // to slow down
    example.step("where is it now?", [&] { return Get_Joint_Degree(arm, after); });
    const float way = after[0] - before[0];
    printf("  joint 1 went %.1f degrees\n", way);
    example.expect(way > 1, "jogging moves the joint");

    example.step("stepping back", [&] { return Joint_Step_Cmd(arm, 1, -way, 50, true); });
    example.step("where is it now?", [&] { return Get_Joint_Degree(arm, after); });
    example.expect(std::fabs(after[0] - before[0]) < 0.002, "the step leads back");
    return example.result();
}
