// The main job in one go: connect to an arm, read it, set a limit, move joint by joint and back while a
// second thread watches, pause and continue a motion, move along a line and a circle, and see a command
// refused. Ends with status 0 only if everything was as expected.
//
//     demo PORT [MODEL [PICTURE]]        of a controller on this machine, e.g. kx-controller
#include "run.h"
#include "watcher.h"

namespace {

void look_at_the_arm(const kx::Arm& arm)
{
    const kx::State state = arm.state();
    const kx::Pose tool = *arm.kinematics().pose(state.joints);
    printf("tool at %.1f, %.1f, %.1f mm; arm error %d, controller error %d\n", 1000 * state.pose.x,
           1000 * state.pose.y, 1000 * state.pose.z, state.arm_error, state.controller_error);
    expect(std::hypot(state.pose.x - tool.x, state.pose.y - tool.y, state.pose.z - tool.z) < 1e-5f,
           "the reported tool position is that of our own forward kinematics");
}

void set_a_limit(const kx::Arm& arm)
{
    const float before = arm.drives.max_speeds_deg_s()[0];
    arm.drives.set_max_speed(1, 90);
    const float after = arm.drives.max_speeds_deg_s()[0];
    printf("speed limit of joint 1 was %.0f degrees/s and is now %.0f\n\n", before, after);
    expect(after == 90, "the limit reads back as it was set");
}

// The first angles of a target that is given for seven joints.
kx::Degrees target_for(const kx::Arm& arm, const std::array<float, 7>& angles)
{
    return std::span(angles).first(static_cast<size_t>(arm.joint_count()));
}

// A move that is waited for, while the watcher goes on watching.
void move(const kx::Arm& arm, const kx::Degrees& target, int speed)
{
    arm.move_joints(target, {.speed_percent = speed}).wait();
    const kx::Degrees joints = arm.joints();
    for (int j = 0; j < joints.size(); ++j)
        expect(std::fabs(joints[j] - target[j]) < 0.002, "the joints arrive where they were sent");
}

void move_joint_by_joint_and_back(const kx::Arm& arm, Watcher& watcher)
{
    const float step[7] = {40, -30, 50, 45, -40, 60, 30};
    kx::Degrees target = target_for(arm, {});
    for (int j = 0; j < target.size(); ++j) {
        target[j] = step[j];
        watcher.phase("move joint " + std::to_string(j + 1));
        move(arm, target, 40);
    }
    watcher.phase("move all joints back");
    move(arm, target_for(arm, {}), 40);
}

void pause_and_continue(const kx::Arm& arm, Watcher& watcher)
{
    const kx::Degrees target = target_for(arm, {-60, 25, -45, 30, 35, -90, 45});
    watcher.phase("move all joints");
    const auto motion = arm.move_joints(target);
    std::this_thread::sleep_for(1s);
    expect(watcher.travel(0.3) > 1, "the arm moves");

    watcher.phase("pause", Phase::Shown::over_time);
    arm.pause();
    std::this_thread::sleep_for(1500ms);
    expect(watcher.travel(0.5) == 0, "the arm stands still while paused");

    watcher.phase("continue");
    arm.resume();
    motion.wait();
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
kx::Pose moved(kx::Pose pose, const Vector& way)
{
    pose.x += static_cast<float>(way.x);
    pose.y += static_cast<float>(way.y);
    pose.z += static_cast<float>(way.z);
    return pose;
}

// Waits until the tool has gone along a path, and holds what the watcher saw against it.
// @param beside gives the distance of a place from the path, m
template <class Beside>
void follow(const kx::Arm& arm, Watcher& watcher, const char* path, const kx::Motion<kx::Throwing>& motion,
            const kx::Pose& end, Beside beside)
{
    motion.wait();
    const std::vector<Sample> samples = watcher.samples_of_phase();
    double farthest = 0;
    for (const Sample& sample : samples)
        farthest = std::max(farthest, beside(Vector{sample.x, sample.y, sample.z}));
    const kx::Pose there = arm.state().pose;
    watcher.say("%s: %zu places, none more than %.3f mm beside it", path, samples.size(), 1000 * farthest);
    expect(samples.size() > 30, "the tool is watched on its way");
    expect(farthest < 1e-4, "the tool keeps to its path");
    expect(std::hypot(there.x - end.x, there.y - end.y, there.z - end.z) < 1e-4f, "the tool arrives");
}

void move_along_a_line_and_a_circle(const kx::Arm& arm, Watcher& watcher)
{
    const kx::Degrees ready = arm.model() == 36   ? kx::Degrees{-90, 30, 60, 0, 90, 0} // hand down, in front
                              : arm.model() == 46 ? kx::Degrees{0, -30, -60, 0, -90, 0}
                                                  : kx::Degrees{0, 30, 0, 60, 0, 90, 0};
    watcher.phase("get ready");
    move(arm, ready, 50);
    const kx::Pose start = arm.state().pose;

    const Vector from = {start.x, start.y, start.z}, way = {-0.08, 0.2, 0.05};
    const kx::Pose corner = moved(start, way);
    watcher.phase("line", Phase::Shown::along_path);
    follow(arm, watcher, "line", arm.move_line(corner, {.speed_percent = 50}), corner,
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
    const kx::Pose via = at(120), end = at(240);
    watcher.phase("circle", Phase::Shown::along_path);
    follow(arm, watcher, "circle", arm.move_circle(via, end, {.speed_percent = 50}, 1), end,
           [&](const Vector& place) {
               const Vector spoke = place - centre;
               const double x = dot(spoke, first), y = dot(spoke, second);
               const double out_of_plane = (spoke - first * x - second * y).length();
               return std::hypot(out_of_plane, std::hypot(x, y) - radius);
           });
}

void see_a_command_refused(const kx::Arm& arm, Watcher& watcher)
{
    watcher.phase("move joint 3 beyond its limit");
    bool is_refused = false;
    try {
        arm.move_joints(target_for(arm, {0, 0, 1000})).wait();
    } catch (const kx::Refused& refused) {
        watcher.say("joint 3 to 1000 degrees: %s", refused.reason().c_str());
        is_refused = true;
    }
    expect(is_refused, "a target beyond the limits is refused");
    std::this_thread::sleep_for(500ms);
    expect(watcher.travel(0.4) == 0, "a refused command does not move the arm");
}

} // namespace

int main(int argc, char** argv)
{
    const auto demonstrate = [&](const kx::Arm& arm) {
        const std::string picture = argc > 3 ? argv[3] : "demo.svg";
        printf("KX Service %s, connected to an arm of model %d\n", API_Version(), arm.model());
        look_at_the_arm(arm);
        set_a_limit(arm);

        Watcher watcher(arm);
        move_joint_by_joint_and_back(arm, watcher);
        pause_and_continue(arm, watcher);
        move_along_a_line_and_a_circle(arm, watcher);
        see_a_command_refused(arm, watcher);
        watcher.stop();
        expect(watcher.picture(picture), "the picture is drawn");
        printf("\npicture: %s\neverything was as expected\n", picture.c_str());
    };
    return run(argc, argv, demonstrate, "PORT [MODEL [PICTURE]]", 3);
}
