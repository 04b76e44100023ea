// The main job in one go: connect to an arm, read it, set a limit, move joint by joint and back while a
// second thread watches, pause and continue a motion, move along a line and a circle, and see a command
// refused. Ends with status 0 only if everything was as expected.
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

    watcher.phase("pause", Phase::Shown::over_time);
    expect_success(watcher.exclusively([&] { return Move_Pause_Cmd(arm, true); }), "pausing");
    sleep_cp(1500);
    expect(watcher.travel(0.5) == 0, "the arm stands still while paused");

    watcher.phase("continue");
    expect_success(watcher.exclusively([&] { return Move_Continue_Cmd(arm, true); }), "continuing");
    expect(watcher.wait_for(target, 10), "the paused motion arrives where it was sent");
}

struct Vector {
    double x, y, z; // m

    Vector operator+(const Vector& b) const { return {x + b.x, y + b.y, z + b.z}; }
    Vector operator*(double f) const { return {x * f, y * f, z * f}; }
    Vector operator-(const Vector& b) const { return *this + b * -1; }
    double length() const { return std::hypot(x, y, z); }
};

double dot(const Vector& a, const Vector& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// A pose in another place.
POSE moved(POSE pose, const Vector& way)
{
    pose.x += static_cast<float>(way.x);
    pose.y += static_cast<float>(way.y);
    pose.z += static_cast<float>(way.z);
    return pose;
}

// Sends the tool along a path, and holds what the watcher saw against it.
// @param beside gives the distance of a place from the path, m
template <class Beside>
void follow(Watcher& watcher, const char* path, int sent, const POSE& end, Beside beside)
{
    expect_success(sent, path);
    expect(watcher.wait_for_end(15), "the motion ends");
    const std::vector<Sample> samples = watcher.samples_of_phase();
    double farthest = 0;
    for (const Sample& sample : samples)
        farthest = std::max(farthest, beside(Vector{sample.x, sample.y, sample.z}));
    const Sample& last = samples.back();
    watcher.say("%s: %zu places, none more than %.3f mm beside it", path, samples.size(), 1000 * farthest);
    expect(samples.size() > 30, "the tool is watched on its way");
    expect(farthest < 1e-4, "the tool keeps to its path");
    expect(std::hypot(last.x - end.x, last.y - end.y, last.z - end.z) < 1e-4, "the tool arrives");
}

void move_along_a_line_and_a_circle(int arm, int model, Watcher& watcher)
{
    const float ready_36[7] = {-90, 30, 60, 0, 90}, ready_46[7] = {0, -30, -60, 0, -90},
                ready_47[7] = {0, 30, 0, 60, 0, 90}; // hand down, in front
    const float* ready = model == 36 ? ready_36 : model == 46 ? ready_46 : ready_47;
    watcher.phase("get ready");
    expect_success(Movej_Cmd(arm, ready, 50, 0, false), "moving");
    expect(watcher.wait_for(ready, 10), "the arm gets ready");
    const POSE start = watcher.exclusively([&] { return read_state(arm).pose; });

    const Vector from = {start.x, start.y, start.z}, way = {-0.08, 0.2, 0.05};
    const POSE corner = moved(start, way);
    watcher.phase("line", Phase::Shown::along_path);
    follow(watcher, "line", Movel_Cmd(arm, corner, 50, 0, false), corner, [&](const Vector& place) {
        const Vector gone = place - from;
        const double part = std::clamp(dot(gone, way) / dot(way, way), 0.0, 1.0);
        return (gone - way * part).length();
    });

    // A circle in the plane of two directions, begun at the first: once round, and two thirds more.
    const double radius = 0.08, degree = 3.14159265358979 / 180;
    const Vector first = {0.8, 0.6, 0}, second = {-0.36, 0.48, 0.8}, centre = from + way - first * radius;
    const auto at = [&](double angle) {
        return moved(start,
                     centre - from +
                         (first * std::cos(angle * degree) + second * std::sin(angle * degree)) * radius);
    };
    const POSE via = at(120), end = at(240);
    watcher.phase("circle", Phase::Shown::along_path);
    follow(watcher, "circle", Movec_Cmd(arm, via, end, 50, 0, 1, false), end, [&](const Vector& place) {
        const Vector spoke = place - centre;
        const double x = dot(spoke, first), y = dot(spoke, second);
        const double out_of_plane = (spoke - first * x - second * y).length();
        return std::hypot(out_of_plane, std::hypot(x, y) - radius);
    });
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
    move_along_a_line_and_a_circle(arm, model, watcher);
    see_a_command_refused(arm, watcher);
    watcher.stop();
    expect(watcher.picture(picture), "the picture is drawn");
    Arm_Socket_Close(arm);

    printf("\npicture: %s\n", picture.c_str());
    printf(surprises == 0 ? "everything was as expected\n" : "%d things were NOT as expected\n", surprises);
    return surprises == 0 ? 0 : 1;
}
