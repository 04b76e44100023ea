"""kx.Arm for asyncio: every call is made by a thread, and the event loop goes on.

    async with kx.aio.Arm("192.0.2.10", 8080, model=46) as arm:
        await (await arm.move_joints(joints_deg=[30, -20, 45, 0, 50, 0])).wait()
        await arm.call(arm.sync.io.set_output, 1, True)

Cancelling a task ends its wait within 50 ms; the arm stops only if told to.
"""
from __future__ import annotations

import asyncio
import contextlib
from collections.abc import AsyncIterator, Awaitable, Callable
from concurrent.futures import ThreadPoolExecutor
from types import TracebackType
from typing import Any, Concatenate, Optional, ParamSpec, TypeVar

from kx import _kx
from kx.errors import Error
from kx.records import Push, State

P = ParamSpec("P")
T = TypeVar("T")

_threads = ThreadPoolExecutor(max_workers=64, thread_name_prefix="kx.aio")


async def call(function: Callable[P, T], /, *args: P.args, **kwargs: P.kwargs) -> T:
    """Calls a function of kx that may wait."""
    token = _kx.Token()

    def work() -> T:
        with token:
            return function(*args, **kwargs)

    working = asyncio.get_running_loop().run_in_executor(_threads, work)
    try:
        return await asyncio.shield(working)
    except asyncio.CancelledError:
        token.cancel()
        await asyncio.wait([working])
        if not working.cancelled():
            working.exception()  # which is the wait's, and known
        raise


def _method(method: Callable[Concatenate[_kx.Arm, P], T]) -> Callable[Concatenate[Arm, P], Awaitable[T]]:
    async def made(self: Arm, /, *args: P.args, **kwargs: P.kwargs) -> T:
        return await call(lambda: method(self.sync, *args, **kwargs))

    made.__doc__ = method.__doc__
    return made


def _motion(method: Callable[Concatenate[_kx.Arm, P], _kx.Motion]) -> Callable[Concatenate[Arm, P], Awaitable[Motion]]:
    async def made(self: Arm, /, *args: P.args, **kwargs: P.kwargs) -> Motion:
        return Motion(await call(lambda: method(self.sync, *args, **kwargs)))

    made.__doc__ = method.__doc__
    return made


class Motion:
    """A motion that the controller has been given. As a context it is waited for at the end, and stopped when the block
    is left by an exception, a cancelled task's included."""

    def __init__(self, sync: _kx.Motion) -> None:
        self.sync = sync
        """the same for threads"""

    async def wait(self, timeout_s: Optional[float] = None) -> bool:
        """Waits until the arm has arrived: True; False when it has not in time."""
        return await call(self.sync.wait, timeout_s)

    async def done(self) -> bool:
        """Whether the arm has arrived."""
        return await call(self.sync.done)

    async def stop(self) -> None:
        """Stops the arm and drops this and all other planned motions."""
        await call(self.sync.stop)

    async def __aenter__(self) -> Motion:
        return self

    async def __aexit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                        traceback: Optional[TracebackType]) -> None:
        if error is not None:
            await self.stop()
            return
        try:
            await self.wait()
        except BaseException:
            with contextlib.suppress(Error):  # the first one tells what happened
                await self.stop()
            raise


class Arm:
    """An arm, connected as long as its context."""

    sync: _kx.Arm
    """the same for threads; its groups go with call()"""

    def __init__(self, host: str, port: int, model: int, **options: Any) -> None:
        """Takes what kx.Arm takes; connects when the context is entered."""
        self._how = (host, port, model), options

    async def __aenter__(self) -> Arm:
        (host, port, model), options = self._how
        self.sync = await call(_kx.Arm, host, port, model, **options)
        return self

    async def __aexit__(self, *error: object) -> None:
        await call(self.sync.close)

    async def call(self, function: Callable[P, T], /, *args: P.args, **kwargs: P.kwargs) -> T:
        """Calls what may wait: `await arm.call(arm.sync.io.set_output, 1, True)`."""
        return await call(function, *args, **kwargs)

    move_joints = _motion(_kx.Arm.move_joints)
    move_to = _motion(_kx.Arm.move_to)
    move_line = _motion(_kx.Arm.move_line)
    move_circle = _motion(_kx.Arm.move_circle)
    stop = _method(_kx.Arm.stop)
    pause = _method(_kx.Arm.pause)
    resume = _method(_kx.Arm.resume)
    state = _method(_kx.Arm.state)
    joints_deg = _method(_kx.Arm.joints_deg)
    joints_rad = _method(_kx.Arm.joints_rad)
    health = _method(_kx.Arm.health)
    wait_until_ready = _method(_kx.Arm.wait_until_ready)

    async def states(self, hz: float, capacity: int = 16) -> AsyncIterator[State]:
        """The state at a rate, until the arm is closed."""
        with await call(self.sync.states, hz, capacity) as states:
            while (state := await call(states.next)) is not None:
                yield state

    async def pushes(self, capacity: int = 256) -> AsyncIterator[Push]:
        """Every push from the first question for one on, until the arm is closed."""
        with self.sync.pushes(capacity) as pushes:
            while (push := await call(pushes.next)) is not None:
                yield push
