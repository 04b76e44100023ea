"""What a notebook shows of a pose, a state and an arm."""
from __future__ import annotations

from html import escape
from typing import Optional

import numpy as np

from kx import _kx
from kx.errors import Error
from kx.records import State


def _table(rows: list[tuple[str, ...]]) -> str:
    cells = ("".join(f"<td>{escape(cell)}</td>" for cell in row) for row in rows)
    return "<table>" + "".join(f"<tr>{row}</tr>" for row in cells) + "</table>"


def _dials(joints_deg: Optional[np.ndarray[tuple[int], np.dtype[np.float32]]]) -> str:
    """A dial for each joint: 0 points up, positive turns to the left, as seen against the joint's axis."""
    if joints_deg is None:
        return ""
    dials = []
    for i, angle in enumerate(joints_deg):
        x, y = 18 * -np.sin(np.radians(angle)), 18 * -np.cos(np.radians(angle))
        dials.append(f'<g transform="translate({30 + 60 * i} 30)"><circle r="22" fill="none" stroke="#888"/>'
                     f'<line x2="{x:.1f}" y2="{y:.1f}" stroke="#06c" stroke-width="3" stroke-linecap="round"/>'
                     f'<text y="40" text-anchor="middle" font-size="12" fill="currentColor">{angle:.1f}°</text></g>')
    return f'<svg width="{60 * len(dials)}" height="78" font-family="sans-serif">{"".join(dials)}</svg>'


def pose(pose: _kx.Pose) -> str:
    millimetres, degrees = 1000 * pose.position_m, np.degrees(pose.euler_rad)
    return _table([("", "x", "y", "z"),
                   ("position, mm", *(f"{number:.1f}" for number in millimetres)),
                   ("angles, °", *(f"{number:.2f}" for number in degrees))])


def state(state: State) -> str:
    if state.status:
        return _table([("no state", _kx.status_words(state.status))])
    errors = "none" if state.healthy else f"arm {state.arm_error}, controller {state.controller_error}"
    return _dials(state.joints_deg) + pose(state.pose) + _table([("errors", errors)])


def arm(arm: _kx.Arm) -> str:
    """Asks the arm, if it is there."""
    try:
        return state(arm.state())
    except Error as error:
        return _table([("connection", arm.connection()), ("state", str(error))])
