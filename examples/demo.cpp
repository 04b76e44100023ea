// The main job in one go: connect to an arm, read it, set a limit, move joint by joint and back while a
// second thread watches, pause and continue a motion, and see a command refused. Ends with status 0 only if
// everything was as expected.
//
//     demo PORT [MODEL [PICTURE]]        of a controller on this machine, e.g. kx-controller
#include "kx_base.h"
#include "watcher.h"

#include <cstdlib>

namespace {

const char* meaning(int status)
{
    switch (status) {
    case KX_SUCCESS:
        return "success";
    case KX_REFUSED:
        return "the controller refused";
    case KX_SEND_FAILED:
        return "the connection is lost";
    case KX_TIMED_OUT:
        return "no answer in time";
    default:
        return "the answer cannot be read";
    }
}

int surprises = 0;

void expect(bool as_expected, const char* what)
{
    if (as_expected) return;
    printf("\nNOT AS EXPECTED: %s\n", what);
    ++surprises;
}

void expect_success(int status, const char* what)
{
    if (status != KX_SUCCESS) printf("\n%s: status %d, %s\n", what, status, meaning(status));
    expect(status == KX_SUCCESS, what);
}

struct State {
    float joint[7] = {};
    POSE pose = {};
    unsigned short arm_err = 0, sys_err = 0;
};

State read_state(int arm)
{
    State state;
    expect_success(Get_Current_Arm_State(arm, state.joint, &state.pose, &state.arm_err, &state.sys_err),
                   "reading the state");
    return state;
}

void look_at_the_arm(int arm, int model)
{
    const State state = read_state(arm);
    const Position tool = Forward_Kinematics(model, state.joint).position;
    printf("tool at %.1f, %.1f, %.1f mm; arm error %d, controller error %d\n", 1000 * state.pose.x,
           1000 * state.pose.y, 1000 * state.pose.z, state.arm_err, state.sys_err);
    expect(std::hypot(state.pose.x - tool.x, state.pose.y - tool.y, state.pose.z - tool.z) < 1e-5f,
           "the reported tool position is that of our own forward kinematics");
}

void set_a_limit(int arm)
{
    float before[7], after[7];
    expect_success(Get_Joint_Speed(arm, before), "reading the speed limits");
    expect_success(Set_Joint_Speed(arm, 1, 90, true), "setting a speed limit");
    expect_success(Get_Joint_Speed(arm, after), "reading the speed limits");
    printf("speed limit of joint 1 was %.0f degrees/s and is now %.0f\n\n", before[0], after[0]);
    expect(after[0] == 90, "the limit reads back as it was set");
}

void move_joint_by_joint_and_back(int arm, int joints, Watcher& watcher)
{
    const float step[7] = {40, -30, 50, 45, -40, 60, 30};
    float target[7] = {};
    for (int j = 0; j < joints; ++j) {
        target[j] = step[j];
        watcher.phase("move joint " + std::to_string(j + 1));
        expect_success(Movej_Cmd(arm, target, 40, 0, false), "moving one joint");
        expect(watcher.wait_for(target, 10), "the joint arrives where it was sent");
    }
    const float home[7] = {};
    watcher.phase("move all joints back");
    expect_success(Movej_Cmd(arm, home, 40, 0, false), "moving back");
    expect(watcher.wait_for(home, 10), "the arm arrives where it came from");
}

void pause_and_continue(int arm, Watcher& watcher)
{
    const float target[7] = {-60, 25, -45, 30, 35, -90, 45};
    watcher.phase("move all joints");
    expect_success(Movej_Cmd(arm, target, 20, 0, false), "moving");
    sleep_cp(1000);
    expect(watcher.travel(0.3) > 1, "the arm moves");

    watcher.phase("pause", true);
    expect_success(watcher.exclusively([&] { return Move_Pause_Cmd(arm, true); }), "pausing");
    sleep_cp(1500);
    expect(watcher.travel(0.5) == 0, "the arm stands still while paused");

    watcher.phase("continue");
    expect_success(watcher.exclusively([&] { return Move_Continue_Cmd(arm, true); }), "continuing");
    expect(watcher.wait_for(target, 10), "the paused motion arrives where it was sent");
}

// The blocking form of a move returns when the motion has ended, or with what went wrong.
void see_a_command_refused(int arm, Watcher& watcher)
{
    const float beyond[7] = {0, 0, 1000, 0, 0, 0, 0};
    watcher.phase("move joint 3 beyond its limit");
    const int status = watcher.exclusively([&] { return Movej_Cmd(arm, beyond, 20, 0, true); });
    watcher.say("joint 3 to 1000 degrees: status %d, %s", status, meaning(status));
    expect(status == KX_REFUSED, "a target beyond the limits is refused");
    sleep_cp(500);
    expect(watcher.travel(0.4) == 0, "a refused command does not move the arm");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: demo PORT [MODEL [PICTURE]]\n");
        return 2;
    }
    const int port = atoi(argv[1]), model = argc > 2 ? atoi(argv[2]) : 46;
    const std::string picture = argc > 3 ? argv[3] : "demo.svg";
    const int joints = model == 47 ? 7 : 6;

    KX_API_Init(nullptr);
    Init_Sys_Data(46); // gives model 36 its tool transform
    const int arm = Arm_Socket_Start("127.0.0.1", port, model, 0);
    if (Arm_Sockrt_State(arm) != KX_SUCCESS) { // a small descriptor looks like a status code, so ask
        fprintf(stderr, "cannot connect to 127.0.0.1:%d as model %d: status %d\n", port, model, arm);
        return 1;
    }
    printf("KX Service %s, connected to an arm of model %d\n", API_Version(), model);
    look_at_the_arm(arm, model);
    set_a_limit(arm);

    Watcher watcher(arm, model);
    move_joint_by_joint_and_back(arm, joints, watcher);
    pause_and_continue(arm, watcher);
    see_a_command_refused(arm, watcher);
    watcher.stop();
    expect(watcher.picture(picture), "the picture is drawn");
    Arm_Socket_Close(arm);

    printf("\npicture: %s\n", picture.c_str());
    printf(surprises == 0 ? "everything was as expected\n" : "%d things were NOT as expected\n", surprises);
    return surprises == 0 ? 0 : 1;
}
