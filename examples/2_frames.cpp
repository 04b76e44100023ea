// Frames: reads where the arm is, first its flange in the base frame, then the tip of a gripper, then that tip on a
// table, and steps the tip along the table. Leaves the frames as they were.
//
//     2_frames PORT [MODEL]        of a controller on this machine, e.g. kx-controller
#include "run.h"

// Where the tool is; prints it with the frames it is measured in.
static kx::Pose look(const kx::Arm& arm)
{
    const kx::Pose pose = arm.state().pose;
    printf("%-9s in %-9s  x %7.1f  y %7.1f  z %7.1f mm   rx %6.3f  ry %6.3f  rz %6.3f\n",
           arm.frames.tool().name.c_str(), arm.frames.work().name.c_str(), 1000 * pose.x, 1000 * pose.y,
           1000 * pose.z, pose.rx, pose.ry, pose.rz);
    return pose;
}

static bool refuses(const std::function<void()>& command)
{
    try {
        command();
    } catch (const kx::Refused& refused) {
        printf("refused: %s\n", refused.reason().c_str());
        return true;
    }
    return false;
}

int main(int argc, char** argv)
{
    return run(argc, argv, [](const kx::Arm& arm) {
        const kx::Frame gripper{"gripper", kx::Pose::mm_deg(0, 0, 120), 0.8f, {0, 0, 0.06f}};
        const kx::Frame table{"table", kx::Pose::mm_deg(-300, -400, 100, 0, 0, 90)};
        const std::string tool = arm.frames.tool().name, work = arm.frames.work().name;

        const kx::Degrees six{10, 30, -45, 60, 40, 50}, seven{10, 30, -45, 60, 40, 50, 0};
        arm.move_joints(arm.joint_count() == 7 ? seven : six, {.speed_percent = 50}).wait();
        look(arm);
        arm.frames.set_tool(gripper);
        arm.frames.use_tool("gripper");
        look(arm);
        arm.frames.set_work(table);
        arm.frames.use_work("table");
        const kx::Pose before = look(arm);
        arm.teaching.step_position(kx::Axis::x, 0.05, 50).wait();
        expect(std::fabs(look(arm).x - before.x - 0.05f) < 1e-4f, "the tip goes 50 mm along the table");

        expect(refuses([&] { arm.frames.delete_work("table"); }), "a frame in use stays");
        expect(refuses([&] { arm.frames.use_tool("tweezers"); }), "there are no tweezers");
        arm.frames.use_work(work);
        arm.frames.delete_work("table");
        arm.frames.use_tool(tool);
        arm.frames.delete_tool("gripper");
    });
}
