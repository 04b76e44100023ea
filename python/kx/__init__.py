"""Robot arms for Python programs.

    import kx

    with kx.Arm("192.0.2.10", 8080, model=46) as arm:
        arm.move_joints(joints_deg=[30, -20, 45, 0, 50, 0]).wait()
        arm.io.set_output(1, True)

Names say their units; angles of joints are numpy arrays. What goes wrong is a kx.Error that says what to do.
"""
from kx import aio as aio
from kx._kx import Arm, CallTimeout, Modbus, Motion, Pose, Pushes, States, Stream
from kx.controller import Controller
from kx.errors import BadArgument, Cancelled, Error, Lost, Refused, TimedOut
from kx.model import Model, Poses, Solutions
from kx.records import (BaseState, Channels, ControllerState, Counters, Dexterity, Frame, JointHealth, LiftState, Push,
                        SoftwareVersions, Solution, State, StreamCounters, StreamCycle, ToolChannel, Wrench)

__all__ = [
    "Arm", "BadArgument", "BaseState", "CallTimeout", "Cancelled", "Channels", "Controller", "ControllerState",
    "Counters", "Dexterity", "Error", "Frame", "JointHealth", "LiftState", "Lost", "Modbus", "Model", "Motion", "Pose",
    "Poses", "Push", "Pushes", "Refused", "SoftwareVersions", "Solution", "Solutions", "State", "States", "Stream", "StreamCounters",
    "StreamCycle", "TimedOut", "ToolChannel", "Wrench", "aio",
]
