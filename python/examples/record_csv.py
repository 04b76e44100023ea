"""Records a motion into a CSV file, a hundred times a second."""
import csv

import kx

with kx.Arm("127.0.0.1", 8080, model=46) as arm, open("motion.csv", "w", newline="") as file:
    rows = csv.writer(file)
    rows.writerow(["time_s", *(f"joint_{i}_deg" for i in range(1, 7)), "x_m", "y_m", "z_m"])
    with arm.states(hz=100, capacity=1000) as states:
        motion = arm.move_joints(joints_deg=[60, -20, 45, 0, 50, 0])
        for state in states:
            rows.writerow([f"{state.answered_s:.4f}", *state.joints_deg, *state.pose.position_m])
            if motion.done():
                break
    print("states lost because this was too slow:", states.lost)
