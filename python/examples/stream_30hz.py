"""Follows what a camera sees, thirty times a second: the stream makes smooth motion of it."""
import time

import numpy as np

import kx


def see(seconds: float) -> list[float]:  # the camera, which is not that regular
    time.sleep(max(0, 1 / 30 + np.random.default_rng().normal(0, 0.005)))
    return [30 * np.sin(seconds), -20, 45, 0, 50, 0]


with kx.Arm("127.0.0.1", 8080, model=46) as arm, arm.stream(look_ahead_s=0.1) as stream:
    begin = time.monotonic()
    while (now := time.monotonic()) - begin < 3:
        if not stream.joints(joints_deg=see(now - begin), time_s=time.monotonic()):
            raise SystemExit(stream.end_words)
    stream.finish()
    print(stream.counters())
