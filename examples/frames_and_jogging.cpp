// Frames and jogging: reads where the arm is, first its flange in the base frame, then the tip of a gripper,
// then that tip on a table, and steps the tip along the table; jogs a joint until told to stop, and steps it
// back. Leaves the frames as they were. Ends with status 0 only if every command did what it should.
//
//     frames_and_jogging PORT [MODEL]        of a controller on this machine, e.g. kx-controller
#include "kx_base.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

int surprises = 0;

void expect(bool as_expected, const char* what)
{
    if (as_expected) return;
    printf("NOT AS EXPECTED: %s\n", what);
    ++surprises;
}

void expect_success(int status, const char* what)
{
    if (status != KX_SUCCESS) printf("status %d: ", status);
    expect(status == KX_SUCCESS, what);
}

struct State {
    float joint[7] = {};
    POSE pose = {};
};

// Prints the pose with the frames it is measured in.
State look(int arm)
{
    State state;
    unsigned short arm_err, sys_err;
    FRAME tool = {}, work = {};
    expect_success(Get_Current_Tool_Frame(arm, &tool), "reading the active tool frame");
    expect_success(Get_Current_Work_Frame(arm, &work), "reading the active work frame");
    expect_success(Get_Current_Arm_State(arm, state.joint, &state.pose, &arm_err, &sys_err),
                   "reading the state");
    const POSE& pose = state.pose;
    printf("%-9s in %-9s  x %7.1f  y %7.1f  z %7.1f mm   rx %6.3f  ry %6.3f  rz %6.3f\n", tool.frame_name,
           work.frame_name, 1000 * pose.x, 1000 * pose.y, 1000 * pose.z, pose.rx, pose.ry, pose.rz);
    return state;
}

void use_frames(int arm)
{
    FRAME flange = {}, base = {};
    expect_success(Get_Current_Tool_Frame(arm, &flange), "reading the tool frame");
    expect_success(Get_Current_Work_Frame(arm, &base), "reading the work frame");
    look(arm);

    const POSE tip = {0, 0, 0.12f, 0, 0, 0}; // relative to the flange; the gripper carries 0.8 kg
    expect_success(Manual_Set_Tool_Frame(arm, "gripper", tip, 0.8f, 0, 0, 0.06f, true),
                   "storing a tool frame");
    expect_success(Change_Tool_Frame(arm, "gripper", true), "changing to it");
    look(arm);

    const POSE corner = {-0.3f, -0.4f, 0.1f, 0, 0, static_cast<float>(M_PI / 2)}; // of the table, in the base
    expect_success(Manual_Set_Work_Frame(arm, "table", corner, true), "storing a work frame");
    expect_success(Change_Work_Frame(arm, "table", true), "changing to it");
    const State before = look(arm);
    expect_success(Pos_Step_Cmd(arm, X_Dir, 0.05f, 50, true), "stepping along the table");
    expect(std::fabs(look(arm).pose.x - before.pose.x - 0.05f) < 1e-4f, "the tip went 50 mm along the table");

    expect(Delete_Work_Frame(arm, "table", true) == KX_REFUSED, "a frame in use cannot be deleted");
    expect(Change_Tool_Frame(arm, "tweezers", true) == KX_REFUSED, "nor can an unknown one be used");
    expect_success(Change_Work_Frame(arm, base.frame_name, true), "changing back");
    expect_success(Delete_Work_Frame(arm, "table", true), "deleting the work frame");
    expect_success(Change_Tool_Frame(arm, flange.frame_name, true), "changing back");
    expect_success(Delete_Tool_Frame(arm, "gripper", true), "deleting the tool frame");
}

void jog_and_step(int arm)
{
    printf("\njogging joint 1\n");
    const State before = look(arm);
    expect_success(Joint_Teach_Cmd(arm, 1, 1, 20, true), "jogging joint 1 upwards");
    sleep_cp(1000);
    expect_success(Teach_Stop_Cmd(arm, true), "stopping");
    sleep_cp(500); // to slow down
    const State after = look(arm);
    const float way = after.joint[0] - before.joint[0];
    printf("joint 1 went %.1f degrees, and steps back\n", way);
    expect(way > 1, "jogging moves the joint");

    expect_success(Joint_Step_Cmd(arm, 1, -way, 50, true), "stepping back");
    expect(std::fabs(look(arm).joint[0] - before.joint[0]) < 0.002, "the step leads back");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: frames_and_jogging PORT [MODEL]\n");
        return 2;
    }
    KX_API_Init(nullptr);
    const int arm = Arm_Socket_Start("127.0.0.1", atoi(argv[1]), argc > 2 ? atoi(argv[2]) : 46, 0);
    if (Arm_Sockrt_State(arm) != KX_SUCCESS) {
        fprintf(stderr, "cannot connect to 127.0.0.1:%s: status %d\n", argv[1], arm);
        return 1;
    }
    const float bent[7] = {10, 30, -45, 60, 40, 50, 0}; // degrees
    expect_success(Movej_Cmd(arm, bent, 50, 0, true), "moving to where there is something to see");
    use_frames(arm);
    jog_and_step(arm);
    Arm_Socket_Close(arm);
    return surprises == 0 ? 0 : 1;
}
