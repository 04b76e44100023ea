"""Two arms in two threads. If one fails, both stop."""
from concurrent.futures import FIRST_EXCEPTION, ThreadPoolExecutor, wait

import kx


def work(arm: kx.Arm, side: int) -> None:
    for angle in (40, 80, 0):
        with arm.move_joints(joints_deg=[side * angle, -20, 45, 0, 50, 0], speed_percent=50):
            pass  # other work; leaving the block waits


with kx.Controller(speed=5) as one, kx.Controller(speed=5) as two:  # or your own
    with kx.Arm(one.host, one.port, model=46) as left, kx.Arm(two.host, two.port, model=46) as right:
        with ThreadPoolExecutor() as threads:
            working = [threads.submit(work, left, 1), threads.submit(work, right, -1)]
            if any(job.exception() for job in wait(working, return_when=FIRST_EXCEPTION).done):
                left.stop()
                right.stop()
        print([job.result() for job in working], left.joints_deg(), right.joints_deg())
