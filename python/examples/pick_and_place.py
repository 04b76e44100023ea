"""Takes a part with the gripper as soon as one is there, and puts it down elsewhere."""
import time

import kx

ABOVE, AT, AWAY = [-40, 45, 90, 0, 45, 0], [-40, 55, 90, 0, 35, 0], [50, 45, 90, 0, 45, 0]

with kx.Arm("127.0.0.1", 8080, model=46) as arm:
    while not arm.io.input(1):  # a part is there
        time.sleep(0.1)
    arm.io.set_tool_voltage(24)
    arm.move_joints(joints_deg=ABOVE, speed_percent=50).wait()
    arm.gripper.open()
    arm.move_joints(joints_deg=AT).wait()
    arm.force.clear()
    arm.gripper.pick(force_newton=30)
    arm.move_joints(joints_deg=ABOVE).wait()
    print(f"the arm carries {max(abs(arm.force.wrench().force_newton)):.0f} N")
    arm.move_joints(joints_deg=AWAY, speed_percent=50).wait()
    arm.gripper.open()
