"""Lowers the tool until it feels the table, wherever that is."""
import numpy as np

import kx

with kx.Arm("127.0.0.1", 8080, model=46) as arm:
    arm.move_joints(joints_deg=[0, 60, 90, 0, 30, 0], speed_percent=50).wait()
    arm.force.clear()
    felt = 0.0
    down = arm.move_joints(joints_deg=[0, 82, 90, 0, 8, 0], speed_percent=2)
    while felt < 15 and not down.done():
        felt = float(np.linalg.norm(arm.force.wrench().force_newton))
    down.stop()
    print(f"touched at {1000 * arm.state().pose.z:.0f} mm with {felt:.0f} N")
    assert felt >= 15
