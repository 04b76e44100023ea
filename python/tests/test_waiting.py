"""What waits: Ctrl-C, other threads, cancelling, forks, the end of the interpreter."""
from __future__ import annotations

import asyncio
import contextlib
import os
import select
import signal
import socket
import subprocess
import sys
import threading
import time
from collections.abc import Callable

import pytest

import kx

PROMPT = 0.1  # s within which a Ctrl-C ends a wait
AWAY = [60.0, -20, 45, 0, 50, 0]


@pytest.fixture
def silent() -> int:
    """The port of a controller that never answers."""
    with socket.create_server(("127.0.0.1", 0)) as server:
        yield server.getsockname()[1]


@pytest.fixture
def full() -> int:
    """A port at which no connection is ever made: nobody takes those that wait, and there is no room for more."""
    with socket.create_server(("127.0.0.1", 0), backlog=0) as server, contextlib.ExitStack() as waiting:
        for _ in range(4):
            client = waiting.enter_context(socket.socket())
            client.setblocking(False)
            client.connect_ex(server.getsockname())
        yield server.getsockname()[1]


def interrupted_after(wait: Callable[[], object]) -> float:
    """How long after a Ctrl-C a wait ends."""
    sent: list[float] = []

    def interrupt() -> None:
        sent.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.2, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        wait()
    timer.join()
    return time.monotonic() - sent[0]


def has_braked(arm: kx.Arm) -> None:
    while arm.motion_kind() != "none":
        time.sleep(0.01)


def test_ctrl_c_ends_every_wait(silent: int, full: int, kx_arm: kx.Arm) -> None:
    mute = kx.Arm("127.0.0.1", silent, 46)
    motion = kx_arm.move_joints(joints_deg=AWAY, speed_percent=1)
    waits = {"open": lambda: kx.Arm("127.0.0.1", full, 46), "question": mute.state, "motion": motion.wait,
             "pushes": mute.pushes().next, "iteration": lambda: list(mute.pushes()),
             "states": lambda: list(kx_arm.states(0.01))}

    def after_a_signal_whose_handler_waits() -> object:
        threading.Timer(0.1, os.kill, [os.getpid(), signal.SIGUSR1]).start()
        return motion.wait()

    signal.signal(signal.SIGUSR1, lambda *_: kx_arm.state())
    waits["handler"] = after_a_signal_whose_handler_waits
    # The shorter of two, since others may keep the processor.
    late = {name: after for name, wait in waits.items() if (after := min(interrupted_after(wait) for _ in range(2)))
            > PROMPT}
    assert not late
    assert not motion.done()  # waiting was ended, not the motion
    motion.stop()
    has_braked(kx_arm)
    with kx_arm.stream(acceleration_deg_s2=20, jerk_deg_s3=20) as stream:
        stream.joints(joints_deg=AWAY)
        assert interrupted_after(stream.finish) <= PROMPT
        assert interrupted_after(stream.close) <= PROMPT  # which brakes for longer


@pytest.mark.parametrize("leave", ["exception", "ctrl-c in the block", "ctrl-c at its end"])
def test_a_block_left_by_an_exception_stops_the_arm(kx_arm: kx.Arm, leave: str) -> None:
    def block() -> None:
        with kx_arm.move_joints(joints_deg=AWAY, speed_percent=2) as motion:
            if leave == "exception":
                raise KeyboardInterrupt
            if leave == "ctrl-c in the block":
                motion.wait()

    if leave == "exception":
        with pytest.raises(KeyboardInterrupt):
            block()
    else:
        interrupted_after(block)
    has_braked(kx_arm)
    assert kx_arm.joints_deg()[0] < 59


def test_a_cancelled_task_ends_its_wait(kx_controller: kx.Controller) -> None:
    async def main() -> None:
        async with kx.aio.Arm(kx_controller.host, kx_controller.port, 46) as arm:
            motion = await arm.move_joints(joints_deg=AWAY, speed_percent=2)
            with pytest.raises(asyncio.TimeoutError):
                await asyncio.wait_for(motion.wait(), 0.2)
            assert not await motion.done()
            await motion.stop()
            assert [state.healthy async for state in arm.states(100) if await arm.call(arm.sync.unsubscribe) is None]

            async def moving() -> None:
                async with await arm.move_joints(joints_deg=AWAY, speed_percent=2):
                    pass

            task = asyncio.create_task(moving())
            await asyncio.sleep(0.3)
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task
            while await arm.call(arm.sync.motion_kind) != "none":
                await asyncio.sleep(0.01)
            assert (await arm.joints_deg())[0] < 59

    asyncio.run(main())


def test_a_motion_that_is_lost_in_its_block_says_so(kx_controller: kx.Controller) -> None:
    async def main() -> None:
        async with kx.aio.Arm(kx_controller.host, kx_controller.port, 46) as arm:
            async with await arm.move_joints(joints_deg=AWAY, speed_percent=2):
                kx_controller.close()

    with pytest.raises(kx.Lost) as lost:
        asyncio.run(main())
    assert lost.value.command == "Movej_Cmd"  # not the stop's


@pytest.mark.kx(options=["--fault", "delay 500"])
@pytest.mark.parametrize("wait", ["motion", "port let go"])
def test_other_threads_run_while_one_waits(kx_arm: kx.Arm, wait: str) -> None:
    """Not how fast, but that they run: a wait that kept the interpreter would stop the counting for its 0.5 s."""
    counts = 0
    done = threading.Event()

    def count() -> None:
        nonlocal counts
        while not done.is_set():
            counts += 1
            time.sleep(0.001)

    motion, port = kx_arm.move_joints(joints_deg=AWAY, speed_percent=2), kx_arm.modbus("controller")
    thread = threading.Thread(target=count)
    thread.start()
    before = counts
    if wait == "motion":
        assert not motion.wait(0.5)
    else:
        del port  # which closes it
    during = counts - before
    done.set()
    thread.join()
    assert during >= 5


def test_a_closed_arm_ends_waits_and_iterations(kx_arm: kx.Arm) -> None:
    seen: list[object] = []
    pushes, states = kx_arm.pushes(), kx_arm.states(100, capacity=1000)

    def drain() -> None:
        seen.append(list(pushes))
        seen.append(len(list(states)))
        try:
            motion.wait()
        except kx.Error as error:
            seen.append(type(error))

    motion = kx_arm.move_joints(joints_deg=AWAY, speed_percent=2)
    thread = threading.Thread(target=drain)
    thread.start()
    assert states.next(5) is not None
    kx_arm.close()
    thread.join(5)
    assert seen[0] == [] and seen[2] in (kx.Cancelled, kx.Lost) and states.closed
    assert list(kx_arm.pushes()) == []
    with pytest.raises(kx.Lost):
        kx_arm.state()


def test_a_forked_child_fails_cleanly(kx_controller: kx.Controller) -> None:
    with kx_controller.connect() as arm:
        pushes, states = arm.pushes(), arm.states(200)
        motion = arm.move_joints(joints_deg=AWAY, speed_percent=2)
        assert states.next(5) is not None
        child = os.fork()
        if child == 0:
            failed = 0
            for call in (arm.state, motion.wait, arm.stop, arm.close, pushes.next, states.latest, arm.pushes):
                try:
                    call()
                except kx.Lost:
                    failed += 1
            with kx_controller.connect() as own:  # a child may have arms of its own
                failed += own.joint_count
            del arm, pushes, states
            os._exit(failed)
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7 + 6
        assert arm.state().healthy
        motion.stop()


EXITS = {
    "nothing open": "",
    "states coming": "arm = controller.connect(); states = arm.states(1000); states.next()",
    "a daemon waiting for a motion": "arm = controller.connect(); start(arm.move_joints(joints_deg=AWAY).wait)",
    "a daemon waiting for pushes": "arm = controller.connect(); start(lambda: list(arm.pushes()))",
    "a daemon asking": "arm = controller.connect(); start(lambda: [arm.state() for _ in iter(int, 1)])",
    "an arm in a circle": "arm = controller.connect(); circle = [arm]; circle.append(circle); del arm, circle",
    "an unhandled error": "controller.connect().move_joints(joints_deg=[1000] * 6).wait()",
}


@pytest.mark.parametrize("how", EXITS)
def test_the_interpreter_ends(kx_controller: kx.Controller, how: str) -> None:
    program = f"""
import threading, time, kx
class controller:
    connect = lambda: kx.Arm("127.0.0.1", {kx_controller.port}, 46)
AWAY = {AWAY}
def start(wait):
    threading.Thread(target=wait, daemon=True).start()
    time.sleep(0.1)
{EXITS[how]}
"""
    ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=60)
    assert ended.returncode == (1 if how == "an unhandled error" else 0), ended.stderr
    assert how == "an unhandled error" or not ended.stderr


@pytest.mark.parametrize("end", [signal.SIGTERM, signal.SIGKILL])
def test_a_controller_ends_with_its_program(end: signal.Signals) -> None:
    program = """
import kx, os, signal
controllers = [kx.Controller(), kx.Controller(options=["--control", "-"]), kx.Controller(options=["--control", "0"])]
print(*(controller._process.pid for controller in controllers), flush=True)
signal.pause()
"""
    with subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, text=True) as running:
        controllers = [os.pidfd_open(int(pid)) for pid in running.stdout.readline().split()]
        assert len(controllers) == 3 and not select.select(controllers, [], [], 0)[0]
        running.send_signal(end)
    assert all(select.select([controller], [], [], 30)[0] for controller in controllers)


def test_opens_and_closes(kx_controller: kx.Controller) -> None:
    for i in range(int(os.environ.get("KX_OPENS", "100"))):
        arm = kx_controller.connect()
        if i % 3 == 0:
            arm.pushes(), arm.states(100)
        if i % 2 == 0:
            arm.close()
    assert arm.state().healthy
