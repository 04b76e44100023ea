"""What an arm tells. Times are seconds of time.monotonic(); numbers of joints are arrays, of six or seven."""
from __future__ import annotations

from dataclasses import dataclass
from typing import Optional

import numpy as np
import numpy.typing as npt

from kx._kx import Pose
from kx.words import BaseMode

Floats = npt.NDArray[np.float32]


@dataclass(frozen=True, eq=False)
class State:
    """What an arm does at a moment."""

    joints_deg: Floats
    pose: Pose
    """the tool in the active frames"""
    arm_error: int
    """error code of the arm, 0 when healthy"""
    controller_error: int
    """error code of the controller, 0 when healthy"""
    asked_s: float
    """when the question left; of Arm.states(), otherwise 0"""
    answered_s: float
    """when the answer had come, likewise: the state is from between the two"""
    status: int
    """0, or, of Arm.states(): the status code that says why there is nothing in it"""

    @property
    def joints_rad(self) -> Floats:
        return np.radians(self.joints_deg)

    @property
    def healthy(self) -> bool:
        """whether there are no errors"""
        return self.status == 0 and self.arm_error == 0 and self.controller_error == 0

    def _repr_html_(self) -> str:
        from kx import display
        return display.state(self)


@dataclass(frozen=True, eq=False)
class JointHealth:
    """What the joints report besides their angles."""

    temperature_celsius: Floats
    voltage_volt: Floats
    current_ampere: Floats
    error: npt.NDArray[np.int32]
    """error codes, 0 when healthy"""
    controller_error: int
    """error code of the controller, 0 when healthy"""


@dataclass(frozen=True, eq=False)
class Push:
    """What the controller pushes while targets are streamed."""

    type: int
    """1 joint targets, 2 pose targets, 3 force-position"""
    result: int
    """0, or another number when the target was refused and there is no state in it"""
    joints_deg: Floats
    pose: Pose
    """the tool, zeros where the push had none"""
    received_s: float

    @property
    def joints_rad(self) -> Floats:
        return np.radians(self.joints_deg)


@dataclass(frozen=True)
class Frame:
    """A named frame stored by the controller."""

    name: str
    pose: Pose
    """relative to the flange (tool) or to the base (work)"""
    payload_kg: float
    """of tool frames only"""
    centre_m: tuple[float, float, float]
    """centre of mass of the payload; of tool frames only"""


@dataclass(frozen=True)
class Channels:
    """All channels of the controller, inputs or outputs; the first one is channel 1."""

    digital: list[bool]
    volts: list[float]


@dataclass(frozen=True)
class ToolChannel:
    """A channel of the tool flange."""

    is_output: bool
    is_on: bool


@dataclass(frozen=True, eq=False)
class Wrench:
    """Force and torque at the flange, along and about x, y, z."""

    force_newton: Floats
    torque_newton_metre: Floats


@dataclass(frozen=True)
class LiftState:
    """State of the lift."""

    height_mm: int
    current_milliampere: int
    error: int
    """error code, 0 when healthy"""


@dataclass(frozen=True)
class BaseState:
    """State of the mobile base."""

    battery_percent: int
    voltage_millivolt: int
    current_milliampere: int
    """negative while charging"""
    error: int
    """error code, 0 when healthy"""
    mode: BaseMode
    station: int
    """at which station, 0 between stations"""


@dataclass(frozen=True)
class ControllerState:
    """Supply and health of a controller."""

    voltage_volt: float
    current_ampere: float
    temperature_celsius: float
    error: int
    """error code, 0 when healthy"""


@dataclass(frozen=True)
class SoftwareVersions:
    """The software versions of a controller."""

    planner: str
    control: str


@dataclass(frozen=True, eq=False)
class Solution:
    """What the inverse kinematics found."""

    code: int
    """0 solved, 1 out of reach, 3 reached only beyond the limits"""
    joints_deg: Optional[Floats]
    """None if there is no solution"""

    @property
    def joints_rad(self) -> Optional[Floats]:
        return None if self.joints_deg is None else np.radians(self.joints_deg)

    def __bool__(self) -> bool:
        return self.code == 0


@dataclass(frozen=True)
class Dexterity:
    """How well an arm can move where it stands. Lengths count in metres."""

    manipulability: float
    """product of the Jacobian's singular values; 0 at a singularity"""
    distance: float
    """smallest singular value"""
    condition: float
    """smallest singular value over the greatest, 0 to 1"""


@dataclass(frozen=True)
class Counters:
    """What a connection has done since it was opened."""

    sent: int
    """requests"""
    received: int
    """lines, whatever they were"""
    answered: int
    """replies that found their request"""
    refused: int
    """of these, those that said false"""
    pushes: int
    timed_out: int
    """calls that ended in TimedOut"""
    late: int
    """replies that came after their call had ended"""
    foreign: int
    """replies that no request was open for"""
    dropped: int
    """lines that were no JSON object, or too long"""
    callbacks_lost: int
    """pushes that came faster than they could be put into queues"""
    states_missed: int
    """subscribed states that were due before the last one had been answered"""
    losses: int
    """of the connection"""
    reconnects: int
    """that succeeded"""
    waiting: int
    """requests that are open now"""
    outbox: int
    """bytes that wait to be sent now"""
    round_trips: tuple[int, ...]
    """of the waiting calls; element i counts those of at least 2^(i-1) and less than 2^i us"""


@dataclass(frozen=True, eq=False)
class StreamCycle:
    """One cycle of a stream."""

    time_s: float
    """when the set-point left"""
    target_deg: Floats
    """where the targets lead at that time"""
    sent_deg: Floats
    """the set-point, within the limits"""
    measured_deg: Floats
    """what the arm last told"""
    measured_s: float
    """when that came; 0: nothing came yet"""
    is_limited: bool
    """the limits kept the set-point from where the targets lead"""


@dataclass(frozen=True)
class StreamCounters:
    """What a stream has done since it was opened. Times are -1 where nothing was measured yet."""

    priority: int
    """what the sender runs with; 0 as all others"""
    targets: int
    """that were taken"""
    ignored: int
    """that were not"""
    late_targets: int
    """of those taken: came when they should already have been passed"""
    cycles: int
    """set-points sent"""
    late_cycles: int
    """of these: left more than half a period late"""
    limited_cycles: int
    """of these: the limits kept them from where the targets lead"""
    pushes: int
    """answers of the controller"""
    jitter_median_ms: float
    """how late the sender wakes"""
    jitter_p99_ms: float
    """of 100 wakes the latest but one"""
    jitter_most_ms: float
    """the latest of all"""
    lag_median_ms: float
    """how long the arm takes to be where its set-points were, while it moves"""
    lag_p99_ms: float
    """likewise"""
    following_error_deg: float
    """largest distance of a joint from its set-point, now"""
    following_most_deg: float
    """the same since opening"""
