"""Kinematics on arrays."""
from __future__ import annotations

from typing import Optional

import numpy as np
import numpy.typing as npt

from kx import _kx

Floats = npt.NDArray[np.float32]


class Poses:
    """Many poses: n rows of position, quaternion and Euler angles. Indexing gives a kx.Pose."""

    def __init__(self, rows: npt.ArrayLike) -> None:
        """Takes rows of x, y, z (m), w, x, y, z (unit quaternion), rx, ry, rz (rad)."""
        self.rows: Floats = np.asarray(rows, np.float32)
        if self.rows.ndim != 2 or self.rows.shape[1] != 10:
            raise ValueError("an array of shape (n, 10) is wanted")

    @classmethod
    def of(cls, position_m: npt.ArrayLike, quaternion_wxyz: npt.ArrayLike) -> Poses:
        """Poses of positions and unit quaternions, as targets of Model.inverses(): their Euler angles are NaN."""
        position, quaternion = np.asarray(position_m, np.float32), np.asarray(quaternion_wxyz, np.float32)
        return cls(np.hstack([position, quaternion, np.full_like(position, np.nan)]))

    @property
    def position_m(self) -> Floats:
        return self.rows[:, 0:3]

    @property
    def quaternion_wxyz(self) -> Floats:
        return self.rows[:, 3:7]

    @property
    def euler_rad(self) -> Floats:
        return self.rows[:, 7:10]

    def __len__(self) -> int:
        return len(self.rows)

    def __getitem__(self, index: int) -> _kx.Pose:
        row = self.rows[index]
        if np.isnan(row[7:]).any():
            return _kx.Pose.from_quaternion(row[:3], row[3:7])
        return _kx.Pose.m_rad(*row[:3], *row[7:])


class Solutions:
    """What the inverse kinematics found for many targets."""

    def __init__(self, joints_deg: Floats, codes: npt.NDArray[np.int32]) -> None:
        self.joints_deg: Floats = joints_deg
        """a row for each target; where there is no solution it has no meaning"""
        self.codes: npt.NDArray[np.int32] = codes
        """for each target 0 solved, 1 out of reach, 3 reached only beyond the limits"""

    @property
    def joints_rad(self) -> Floats:
        return np.radians(self.joints_deg)

    @property
    def solved(self) -> npt.NDArray[np.bool_]:
        solved: npt.NDArray[np.bool_] = self.codes == 0
        return solved

    def __len__(self) -> int:
        return len(self.codes)


def _rows(joints_deg: Optional[npt.ArrayLike], joints_rad: Optional[npt.ArrayLike]) -> npt.ArrayLike:
    if joints_deg is not None and joints_rad is None:
        return joints_deg
    if joints_rad is not None and joints_deg is None:
        degrees: Floats = np.degrees(np.asarray(joints_rad, np.float32))
        return degrees
    raise TypeError("joint angles are given either by joints_deg or by joints_rad")


class Model(_kx.Model):
    """An arm's kinematics: geometry, tool, installation, joint limits. Any number of threads may use one that nobody
    changes."""

    def poses(self, *, joints_deg: Optional[npt.ArrayLike] = None, joints_rad: Optional[npt.ArrayLike] = None,
              threads: int = 1) -> Poses:
        """The tool's poses for rows of joint angles. Arrays of np.float32 in degrees are taken as they are, without a
        copy."""
        return Poses(self._poses(_rows(joints_deg, joints_rad), threads))

    def inverses(self, targets: Poses, *, joints_deg: Optional[npt.ArrayLike] = None,
                 joints_rad: Optional[npt.ArrayLike] = None, range_rad: float = 4, threads: int = 1) -> Solutions:
        """For each target the joint angles nearest to its own row of those given; otherwise as inverse()."""
        return Solutions(*self._inverses(targets.rows, _rows(joints_deg, joints_rad), range_rad, threads))
