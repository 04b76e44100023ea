"""Teaches a table's frame by three points, and moves a tool in it."""
import kx

CORNER, ON_X, ON_Y = [0, 60, 90, 0, 30, 0], [10, 50, 105, 0, 25, 0], [20, 60, 90, 0, 30, 0]

with kx.Arm("127.0.0.1", 8080, model=46) as arm:
    arm.frames.set_tool("gripper", kx.Pose.mm_deg(0, 0, 120), payload_kg=1, centre_m=(0, 0, 0.06))
    arm.frames.use_tool("gripper")
    for number, joints in enumerate([CORNER, ON_X, ON_Y], 1):
        arm.move_joints(joints_deg=joints, speed_percent=50).wait()  # or led there by hand
        arm.frames.teach_work_point("table", number)
    arm.frames.use_work("table")

    here = arm.state().pose
    print("in the table's axes:", here)
    arm.move_line(here @ kx.Pose.mm_deg(0, 0, -20), speed_percent=10).wait()  # 20 mm back along the tool
