// Frames: reads where the arm is, first its flange in the base frame, then the tip of a gripper, then that tip on a
// table, and steps the tip along the table. Leaves the frames as they were. Ends with status 0 only if every command
// did what it should.
//
//     2_frames PORT [MODEL]        of a controller on this machine, e.g. kx-controller
#include "example.h"

// Where the tool is; prints it with the frames it is measured in.
static POSE look(Example& example)
{
    float joint[7];
    POSE pose = {};
    unsigned short arm_err, sys_err;
    FRAME tool = {}, work = {};
    example.check(Get_Current_Tool_Frame(example.arm, &tool), "reading the active tool frame");
    example.check(Get_Current_Work_Frame(example.arm, &work), "reading the active work frame");
    example.check(Get_Current_Arm_State(example.arm, joint, &pose, &arm_err, &sys_err), "reading the state");
    printf("  %-9s in %-9s  x %7.1f  y %7.1f  z %7.1f mm   rx %6.3f  ry %6.3f  rz %6.3f\n", tool.frame_name,
           work.frame_name, 1000 * pose.x, 1000 * pose.y, 1000 * pose.z, pose.rx, pose.ry, pose.rz);
    return pose;
}

int main(int argc, char** argv)
{
    Example example(argc, argv, "PORT [MODEL]");
    const int arm = example.arm;
    const float bent[7] = {10, 30, -45, 60, 40, 50, 0}; // degrees
    const POSE tip = {0, 0, 0.12f, 0, 0, 0};            // relative to the flange; the gripper carries 0.8 kg
    const POSE corner = {-0.3f, -0.4f, 0.1f, 0, 0, static_cast<float>(M_PI / 2)}; // of the table, in the base
    FRAME flange = {}, base = {};

    example.step("to where there is something to see", [&] { return Movej_Cmd(arm, bent, 50, 0, true); });
    example.step("which tool frame is active?", [&] { return Get_Current_Tool_Frame(arm, &flange); });
    example.step("which work frame is active?", [&] { return Get_Current_Work_Frame(arm, &base); });
    look(example);
    example.step("storing a tool frame",
                 [&] { return Manual_Set_Tool_Frame(arm, "gripper", tip, 0.8f, 0, 0, 0.06f, true); });
    example.step("changing to it", [&] { return Change_Tool_Frame(arm, "gripper", true); });
    look(example);
    example.step("storing a work frame", [&] { return Manual_Set_Work_Frame(arm, "table", corner, true); });
    example.step("changing to it", [&] { return Change_Work_Frame(arm, "table", true); });
    const POSE before = look(example);
    example.step("stepping along the table", [&] { return Pos_Step_Cmd(arm, X_Dir, 0.05f, 50, true); });
    example.expect(std::fabs(look(example).x - before.x - 0.05f) < 1e-4f,
                   "the tip went 50 mm along the table");

    example.step(
        "deleting a frame in use", [&] { return Delete_Work_Frame(arm, "table", true); }, KX_REFUSED);
    example.step(
        "using an unknown one", [&] { return Change_Tool_Frame(arm, "tweezers", true); }, KX_REFUSED);
    example.step("changing back", [&] { return Change_Work_Frame(arm, base.frame_name, true); });
    example.step("deleting the work frame", [&] { return Delete_Work_Frame(arm, "table", true); });
    example.step("changing back", [&] { return Change_Tool_Frame(arm, flange.frame_name, true); });
    example.step("deleting the tool frame", [&] { return Delete_Tool_Frame(arm, "gripper", true); });
    return example.result();
}
