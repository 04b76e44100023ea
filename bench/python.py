"""What Python adds: bench/python.py, with PYTHONPATH and KX_CONTROLLER of a build.

Prints, as ratios, how fast another thread runs while one waits for a motion, and what a pose of a batch costs against
the library's own function; then how long a question takes, and how soon a Ctrl-C ends a wait. With --exits N it starts and
ends N interpreters with an arm open and a thread that waits, and says how many did not end well.
"""
import argparse
import ctypes
import os
import re
import signal
import subprocess
import sys
import threading
import time

import numpy as np

import kx


def counted(seconds: float) -> int:
    count, until = 0, time.monotonic() + seconds
    while time.monotonic() < until:
        count += 1
    return count


def rate_during(wait) -> float:
    """The rate of a thread that counts, while this one waits, as a share of its rate while this one only joins it."""
    rates = {True: [], False: []}
    for is_waiting in [False, True] * 12:
        counts = []
        thread = threading.Thread(target=lambda: counts.append(counted(0.5)))
        thread.start()
        if is_waiting:
            wait(0.5)
        thread.join()
        rates[is_waiting].append(counts[0])
    return max(rates[True]) / max(rates[False])  # the most, since others disturb the machine


def batch(number: int, count: int = 100_000) -> tuple[float, float]:
    """Nanoseconds of this thread for a pose of the inverse: by kx.Model, and by the C function on arrays that are there."""
    model = kx.Model(number)
    joints = np.random.default_rng(1).uniform(model.lower_limits_deg, model.upper_limits_deg,
                                              (count, model.joint_count)).astype(np.float32)
    poses = model.poses(joints_deg=joints)
    path = next(line.split()[-1] for line in open("/proc/self/maps") if re.search(r"libKX_Service", line))
    library = ctypes.CDLL(path)
    arm = ctypes.create_string_buffer(512)
    assert library.Arm_Model_Init(arm, number, 0) == 0
    found, codes = np.empty_like(joints), np.empty(count, np.int32)
    arguments = [arm, count, joints.ctypes.data_as(ctypes.c_void_p), poses.rows.ctypes.data_as(ctypes.c_void_p),
                 ctypes.c_float(4), found.ctypes.data_as(ctypes.c_void_p), codes.ctypes.data_as(ctypes.c_void_p), 1]
    times = {"python": [], "c": []}
    for _ in range(25):
        for name, call in (("python", lambda: model.inverses(poses, joints_deg=joints)),
                           ("c", lambda: library.Arm_Model_Inverses(*arguments))):
            begin = time.thread_time()
            call()
            times[name].append((time.thread_time() - begin) / count * 1e9)
    return min(times["python"]), min(times["c"])


def interrupted(wait) -> float:
    sent = []
    timer = threading.Timer(0.2, lambda: (sent.append(time.monotonic()), os.kill(os.getpid(), signal.SIGINT)))
    timer.start()
    try:
        wait()
    except KeyboardInterrupt:
        return time.monotonic() - sent[0]
    raise RuntimeError("it was not interrupted")


def exits(count: int, port: int) -> int:
    program = f"""
import threading, kx
arm = kx.Arm("127.0.0.1", {port}, 46)
states = arm.states(200)
threading.Thread(target=lambda: list(arm.pushes()), daemon=True).start()
states.next()
"""
    bad = 0
    for _ in range(count):
        ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
        if ended.returncode or ended.stderr:
            bad += 1
            print(ended.returncode, ended.stderr)
    return bad


parser = argparse.ArgumentParser()
parser.add_argument("--exits", type=int)
options = parser.parse_args()
signal.signal(signal.SIGINT, signal.default_int_handler)  # who starts this may ignore it
with kx.Controller(speed=1) as controller, controller.connect() as arm:
    if options.exits:
        begin = time.monotonic()
        bad = exits(options.exits, controller.port)
        print(f"{options.exits} interpreters started and ended in {time.monotonic() - begin:.0f} s, {bad} not well")
        sys.exit(bad > 0)
    motion = arm.move_joints(joints_deg=[170, 0, 0, 0, 0, 0], speed_percent=1)
    print(f"another thread runs at {100 * rate_during(motion.wait):.1f} % of its rate during a blocking move")
    for number in (36, 46, 47):
        python, c = batch(number)
        print(f"model {number}: inverse {python:.0f} ns a pose in Python, {c:.0f} ns in C: {python / c:.2f}")
    times = sorted(interrupted(motion.wait) for _ in range(21))
    print(f"a Ctrl-C ends a wait in {1000 * times[10]:.1f} ms (median), {1000 * times[-1]:.1f} ms at most")
    begin = time.perf_counter()
    for _ in range(2000):
        arm.joints_deg()
    print(f"a question takes {(time.perf_counter() - begin) / 2000 * 1e6:.0f} us")
