"""Tests of one's own program; pytest finds the fixtures where the package is installed."""
import pytest

import kx


def put_down(arm: kx.Arm) -> bool:  # the program
    try:
        arm.move_joints(joints_deg=[50, 45, 90, 0, 45, 0], speed_percent=50).wait()
    except kx.Refused:
        return False
    arm.gripper.open()
    return True


@pytest.mark.kx(speed=20)
def test_it_puts_down(kx_arm: kx.Arm) -> None:
    assert put_down(kx_arm)
    assert kx_arm.joints_deg()[0] == pytest.approx(50, abs=0.01)


@pytest.mark.kx(options=["--fault", "refuse movej"])
def test_it_puts_nothing_down_on_the_way(kx_arm: kx.Arm) -> None:
    assert not put_down(kx_arm)
