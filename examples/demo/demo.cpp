// The main job in one go: connect to an arm, read it, set a limit, move joint by joint and back while a
// second thread watches, pause and continue a motion, move along a line and a circle, and see a command
// refused. Ends with status 0 only if everything was as expected.
//
//     demo PORT [MODEL [PICTURE]]        of a controller on this machine, e.g. kx-controller
#include "example.h"
#include "watcher.h"

namespace {

struct State {
    float joint[7] = {};
    POSE pose = {};
    unsigned short arm_err = 0, sys_err = 0;
};

State read_state(Example& example)
{
    State state;
    example.check(
        Get_Current_Arm_State(example.arm, state.joint, &state.pose, &state.arm_err, &state.sys_err),
        "reading the state");
    return state;
}

void look_at_the_arm(Example& example)
{
    const State state = read_state(example);
    const Position tool = Forward_Kinematics(example.model, state.joint).position;
    printf("tool at %.1f, %.1f, %.1f mm; arm error %d, controller error %d\n", 1000 * state.pose.x,
           1000 * state.pose.y, 1000 * state.pose.z, state.arm_err, state.sys_err);
    example.expect(std::hypot(state.pose.x - tool.x, state.pose.y - tool.y, state.pose.z - tool.z) < 1e-5f,
                   "the reported tool position is that of our own forward kinematics");
}

void set_a_limit(Example& example)
{
    float before[7], after[7];
    example.check(Get_Joint_Speed(example.arm, before), "reading the speed limits");
    example.check(Set_Joint_Speed(example.arm, 1, 90, true), "setting a speed limit");
    example.check(Get_Joint_Speed(example.arm, after), "reading the speed limits");
    printf("speed limit of joint 1 was %.0f degrees/s and is now %.0f\n\n", before[0], after[0]);
    example.expect(after[0] == 90, "the limit reads back as it was set");
}

// A move that waits returns when the arm is there, while the watcher goes on watching.
void move(Example& example, const float* target, unsigned char speed)
{
    example.check(Movej_Cmd(example.arm, target, speed, 0, true), "moving");
    const State state = read_state(example);
    for (int j = 0; j < example.joints; ++j)
        example.expect(std::fabs(state.joint[j] - target[j]) < 0.002,
                       "the joints arrive where they were sent");
}

void move_joint_by_joint_and_back(Example& example, Watcher& watcher)
{
    const float step[7] = {40, -30, 50, 45, -40, 60, 30};
    float target[7] = {};
    for (int j = 0; j < example.joints; ++j) {
        target[j] = step[j];
        watcher.phase("move joint " + std::to_string(j + 1));
        move(example, target, 40);
    }
    const float home[7] = {};
    watcher.phase("move all joints back");
    move(example, home, 40);
}

void pause_and_continue(Example& example, Watcher& watcher)
{
    const float target[7] = {-60, 25, -45, 30, 35, -90, 45};
    watcher.phase("move all joints");
    std::thread mover([&] { move(example, target, 20); });
    sleep_cp(1000);
    example.expect(watcher.travel(0.3) > 1, "the arm moves");

    watcher.phase("pause", Phase::Shown::over_time);
    example.check(Move_Pause_Cmd(example.arm, true), "pausing");
    sleep_cp(1500);
    example.expect(watcher.travel(0.5) == 0, "the arm stands still while paused");

    watcher.phase("continue");
    example.check(Move_Continue_Cmd(example.arm, true), "continuing");
    mover.join();
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
void follow(Example& example, Watcher& watcher, const char* path, int sent, const POSE& end, Beside beside)
{
    example.check(sent, path);
    const std::vector<Sample> samples = watcher.samples_of_phase();
    double farthest = 0;
    for (const Sample& sample : samples)
        farthest = std::max(farthest, beside(Vector{sample.x, sample.y, sample.z}));
    const POSE there = read_state(example).pose;
    watcher.say("%s: %zu places, none more than %.3f mm beside it", path, samples.size(), 1000 * farthest);
    example.expect(samples.size() > 30, "the tool is watched on its way");
    example.expect(farthest < 1e-4, "the tool keeps to its path");
    example.expect(std::hypot(there.x - end.x, there.y - end.y, there.z - end.z) < 1e-4f, "the tool arrives");
}

void move_along_a_line_and_a_circle(Example& example, Watcher& watcher)
{
    const float ready_36[7] = {-90, 30, 60, 0, 90}, ready_46[7] = {0, -30, -60, 0, -90},
                ready_47[7] = {0, 30, 0, 60, 0, 90}; // hand down, in front
    const float* ready = example.model == 36 ? ready_36 : example.model == 46 ? ready_46 : ready_47;
    watcher.phase("get ready");
    move(example, ready, 50);
    const POSE start = read_state(example).pose;

    const Vector from = {start.x, start.y, start.z}, way = {-0.08, 0.2, 0.05};
    const POSE corner = moved(start, way);
    watcher.phase("line", Phase::Shown::along_path);
    follow(example, watcher, "line", Movel_Cmd(example.arm, corner, 50, 0, true), corner,
           [&](const Vector& place) {
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
    follow(example, watcher, "circle", Movec_Cmd(example.arm, via, end, 50, 0, 1, true), end,
           [&](const Vector& place) {
               const Vector spoke = place - centre;
               const double x = dot(spoke, first), y = dot(spoke, second);
               const double out_of_plane = (spoke - first * x - second * y).length();
               return std::hypot(out_of_plane, std::hypot(x, y) - radius);
           });
}

void see_a_command_refused(Example& example, Watcher& watcher)
{
    const float beyond[7] = {0, 0, 1000, 0, 0, 0, 0};
    watcher.phase("move joint 3 beyond its limit");
    const int status = Movej_Cmd(example.arm, beyond, 20, 0, true);
    watcher.say("joint 3 to 1000 degrees: %s", example.words(status).c_str());
    example.expect(status == KX_REFUSED, "a target beyond the limits is refused");
    sleep_cp(500);
    example.expect(watcher.travel(0.4) == 0, "a refused command does not move the arm");
}

} // namespace

int main(int argc, char** argv)
{
    Init_Sys_Data(46); // gives model 36 its tool transform
    Example example(argc, argv, "PORT [MODEL [PICTURE]]");
    const std::string picture = example.text(2, "demo.svg");
    printf("KX Service %s, connected to an arm of model %d\n", API_Version(), example.model);
    look_at_the_arm(example);
    set_a_limit(example);

    Watcher watcher(example.arm, example.model);
    move_joint_by_joint_and_back(example, watcher);
    pause_and_continue(example, watcher);
    move_along_a_line_and_a_circle(example, watcher);
    see_a_command_refused(example, watcher);
    watcher.stop();
    if (example.expect(watcher.picture(picture), "the picture is drawn"))
        printf("\npicture: %s\n", picture.c_str());
    puts(example.result() == 0 ? "everything was as expected" : "something was NOT as expected");
    return example.result();
}
