"""What an arm does for Python programs: values with their units, errors, the groups, the notebook."""
from __future__ import annotations

import pickle
import re
import time
from pathlib import Path

import numpy as np
import pytest

import kx
from kx import _kx

DEGREES = [30.0, -20, 45, 0, 50, 0]


def test_units(kx_arm: kx.Arm) -> None:
    kx_arm.move_joints(joints_rad=np.radians(DEGREES)).wait()
    state = kx_arm.state()
    np.testing.assert_allclose(state.joints_deg, DEGREES, atol=0.01)
    np.testing.assert_allclose(state.joints_rad, np.radians(DEGREES), atol=1e-4)
    np.testing.assert_allclose(kx_arm.joints_rad(), np.radians(DEGREES), atol=1e-4)
    model = kx.Model(46)
    np.testing.assert_allclose(state.pose.matrix, model.pose(joints_deg=DEGREES).matrix, atol=2e-3)
    above = state.pose @ kx.Pose.mm_deg(0, 0, -50)
    kx_arm.move_line(above, speed_percent=50).wait()
    np.testing.assert_allclose(kx_arm.state().pose.position_m, above.position_m, atol=1e-3)


@pytest.mark.parametrize("joints", [{}, {"joints_deg": DEGREES, "joints_rad": DEGREES}, {"joints_deg": DEGREES[:5]}, {"joints_deg": [0] * 7},
                                    {"joints_deg": [DEGREES]}, {"joints_deg": "home"}])
def test_joint_angles_that_are_none(kx_arm: kx.Arm, joints: dict[str, object]) -> None:
    for call in (kx_arm.move_joints, kx_arm.send_joints, kx.Model(46).pose, kx_arm.teaching.add_waypoint):
        with pytest.raises((TypeError, ValueError)):
            call(**joints)


@pytest.mark.parametrize("kind, command, status, wrong", [
    (kx.Refused, "Movej_Cmd", 1, lambda arm: arm.move_joints(joints_deg=[0, 0, 1000, 0, 0, 0]).wait()),
    (kx.BadArgument, "Movej_Cmd", 16, lambda arm: arm.move_joints(joints_deg=[0, 0, np.nan, 0, 0, 0])),
    (kx.BadArgument, "Movej_Cmd", 16, lambda arm: arm.move_joints(joints_deg=[0] * 7)),
    (kx.BadArgument, "Set_DO_State", 16, lambda arm: arm.io.set_output(257, True)),
    (kx.Refused, "Change_Tool_Frame", 1, lambda arm: arm.frames.use_tool("nothing")),
    (kx.Lost, "KX_Link_Open", 5, lambda arm: kx.Arm("127.0.0.1", 1, 46)),
    (kx.Error, "KX_Link_Open", 2, lambda arm: kx.Arm("127.0.0.1", 1, 99)),
    (kx.Error, "Arm_Model_Init", 2, lambda arm: kx.Model(99)),
])
def test_errors_say_what_to_do(kx_arm: kx.Arm, kind: type[kx.Error], command: str, status: int, wrong) -> None:
    with pytest.raises(kx.Error) as caught:
        wrong(kx_arm)
    error = caught.value
    assert type(error) is kind and (error.command, error.status) == (command, status)
    assert error.words == _kx.status_words(status) and error.advice == _kx.status_advice(status)
    assert all(part in str(error) for part in (command, error.words, error.advice))
    assert ("joint 3" in error.reason) == (kind is kx.Refused and command == "Movej_Cmd")
    assert str(pickle.loads(pickle.dumps(error))) == str(error)


def test_times_out(kx_arm: kx.Arm) -> None:
    motion = kx_arm.move_joints(joints_deg=DEGREES, speed_percent=1)
    begin = time.monotonic()
    assert motion.wait(0.1) is False and time.monotonic() - begin >= 0.1
    motion.stop()
    with pytest.raises(kx.Refused, match="stopped"):
        motion.wait()
    for time_s in (-1, float("nan")):
        with pytest.raises(ValueError):
            motion.wait(time_s)


@pytest.mark.kx(speed=20, options=["--di", "1=1", "--object", "40", "--modbus-register", "7=42"])
def test_groups(kx_arm: kx.Arm) -> None:
    arm = kx_arm
    arm.io.set_output(2, True)
    assert arm.io.outputs().digital[1] and arm.io.input(1) and arm.io.inputs().digital[0]
    arm.frames.set_tool("gripper", kx.Pose.mm_deg(0, 0, 120), payload_kg=2, centre_m=(0, 0, 0.05))
    tool = arm.frames.tool("gripper")
    assert tool.pose.z == np.float32(0.12) and tool.payload_kg == 2 and tool.centre_m[2] == pytest.approx(0.05)
    assert "gripper" in arm.frames.tools() and arm.frames.tool().name != "gripper"
    arm.io.set_tool_voltage(24)
    assert arm.io.tool_voltage_volt() == 24
    arm.gripper.pick(20)
    arm.hand.take("pinch")
    with pytest.raises(ValueError, match="open, fist"):
        arm.hand.take("handshake")
    arm.force.hold(10, axis="z", frame="base")
    arm.force.release()
    with arm.modbus("controller") as modbus:
        assert modbus.read_input_register(1, 7) == 42
        modbus.write_coils(1, 3, [True, False, True])
        assert modbus.read_coils(1, 3, 3) == [True, False, True]
    with pytest.raises(kx.Lost):
        modbus.read_coils(1, 3, 3)
    arm.teaching.step_joint(1, 5).wait()
    assert arm.joints_deg()[0] == pytest.approx(5, abs=0.01)
    arm.lift.move_to(100, 100).wait()
    assert arm.lift.state().height_mm == 100 and arm.base.state().mode == "standing"
    assert arm.drives.enabled().all() and arm.drives.errors().tolist() == [0] * 6
    assert arm.system.powered() and arm.connection() == "ready"
    with arm.set_up():
        arm.frames.use_tool("gripper")
        with pytest.raises(kx.Error):
            arm.move_joints(joints_deg=DEGREES).wait()
    assert arm.frames.tool().name == "gripper"
    assert arm.health().temperature_celsius.shape == (6,) and arm.counters().answered > 20


def test_pushes_and_states(kx_arm: kx.Arm) -> None:
    with kx_arm.pushes(capacity=2) as pushes:
        for i in range(5):
            kx_arm.send_joints(joints_deg=[0.1 * i] + [0] * 5)
            time.sleep(0.02)
        while pushes.lost < 3:
            time.sleep(0.01)
        push = next(pushes)
        assert push.type == 1 and push.joints_deg.shape == (6,) and len(pushes) == 1
        assert pushes.next() is not None and pushes.next(0.01) is None
    with kx_arm.states(200) as states:
        first, second = next(states), next(states)
        assert first.asked_s <= first.answered_s <= time.monotonic() and second.asked_s > first.asked_s
    assert states.closed and kx_arm.states(50).next(5).healthy


@pytest.mark.kx(speed=1)
def test_stream(kx_arm: kx.Arm) -> None:
    target = [3.0, 0, 0, 0, 0, 0]
    with kx_arm.stream(velocity_deg_s=20, look_ahead_s=0.2) as stream:
        assert stream.joints(joints_rad=np.radians(target)) and stream.runs
        with pytest.raises(kx.TimedOut):
            stream.finish(0.01)
    assert kx_arm.joints_deg()[0] == pytest.approx(3, abs=0.01)
    with pytest.raises(kx.Lost):
        stream.joints(joints_deg=target)
    with pytest.raises(KeyError), kx_arm.stream() as stream:
        stream.joints(joints_deg=[90, 0, 0, 0, 0, 0])
        raise KeyError
    assert kx_arm.joints_deg()[0] < 80  # it braked on the way
    with kx_arm.stream() as stream:
        assert not stream.joints(joints_deg=[1000, 0, 0, 0, 0, 0])
        assert not stream.finish() and "limits" in stream.end_words and not stream.runs
        assert stream.cycle().sent_deg.shape == (6,) and stream.counters().cycles == 0
    for wrong in ({"rate_hz": 5000}, {"velocity_deg_s": [1, 2]}, {"velocity_deg_s": [20] * 7}, {"jerk_deg_s3": "much"}):
        with pytest.raises((kx.Error, TypeError, ValueError)):
            kx_arm.stream(**wrong)


@pytest.mark.parametrize("number", [36, 46, 47])
def test_kinematics_on_arrays(number: int) -> None:
    model = kx.Model(number)
    random = np.random.default_rng(number)
    lower, upper = model.lower_limits_deg, model.upper_limits_deg
    joints = random.uniform(lower, upper, (300, model.joint_count)).astype(np.float32)
    poses = model.poses(joints_deg=joints)
    np.testing.assert_allclose(poses.euler_rad, model.poses(joints_rad=np.radians(joints)).euler_rad, atol=2e-3)
    for row, pose in zip(joints[:20], poses):
        np.testing.assert_allclose(pose.position_m, model.pose(joints_deg=row).position_m, atol=1e-6)
    targets = kx.Poses.of(poses.position_m, poses.quaternion_wxyz)
    found = model.inverses(targets, joints_deg=joints, threads=2)
    assert found.solved.all() and len(found) == 300
    np.testing.assert_allclose(model.poses(joints_deg=found.joints_deg).position_m, poses.position_m, atol=1e-4)
    unreachable = model.inverse(kx.Pose.m_rad(5, 0, 0), joints_deg=joints[0])
    assert not unreachable and unreachable.joints_deg is None
    # The Jacobian's columns are what the pose does when a joint turns a little.
    turned = joints[0] + np.eye(model.joint_count, dtype=np.float32) * 0.5
    moved = (model.poses(joints_deg=turned).position_m - poses.position_m[0]) / np.radians(0.5)
    np.testing.assert_allclose(model.jacobian(joints_deg=joints[0])[:3], moved.T, atol=0.01)
    for rows in (joints[0], joints[:, 1:], [["a"] * 6]):
        with pytest.raises((TypeError, ValueError)):
            model.poses(joints_deg=rows)


def test_pose() -> None:
    pose = kx.Pose.mm_deg(100, 200, 300, 10, 20, 30)
    same = [kx.Pose.from_matrix(pose.matrix), kx.Pose.from_quaternion(pose.position_m, pose.quaternion_wxyz),
            kx.Pose.m_rad(*pose.position_m, *pose.euler_rad), eval(repr(pose)), pickle.loads(pickle.dumps(pose))]
    for other in same:
        np.testing.assert_allclose(other.matrix, pose.matrix, atol=1e-6)
    assert same[3] == same[4] == pose != pose.inverse() and len({*same[3:], pose}) == 1
    assert len({kx.Pose.m_rad(0, 0, 0), kx.Pose.m_rad(-0.0, 0, 0)}) == 1
    np.testing.assert_allclose((pose @ pose.inverse()).matrix, np.eye(4), atol=1e-6)


@pytest.mark.kx(options=["--trace"])
def test_what_a_controller_prints_is_seen(kx_arm: kx.Arm, capfd: pytest.CaptureFixture[str]) -> None:
    for _ in range(500):  # more than a pipe holds
        kx_arm.state()
    assert '"get_current_arm_state"' in capfd.readouterr().err


def test_notebook(kx_controller: kx.Controller) -> None:
    with kx_controller.connect() as arm:
        html = arm._repr_html_()
        assert html.count("<circle") == 6 and "850.5" in html
        assert arm.state().pose._repr_html_() in html
    assert "closed" in arm._repr_html_() and "<svg" not in arm._repr_html_()


def test_stub_has_the_parameters_of_the_module() -> None:
    """Which stubtest cannot see: compiled functions tell their parameters in their first line only."""
    stub = Path(_kx.__file__).with_name("_kx.pyi").read_text()
    for name, cls in vars(_kx).items():
        if not isinstance(cls, type):
            continue
        body = re.search(rf"^class {name}\b.*?(?=^class |\Z)", stub, re.M | re.S)
        assert body, name
        for member, function in vars(cls).items():
            first = (getattr(function, "__doc__", "") or "").split("\n")[0]
            if not first.startswith(f"{member}(") or member.startswith("__") and member != "__init__":
                continue
            written = re.search(rf"def {member}\((.*?)\) ->", body[0], re.S)
            assert written, f"{name}.{member}"
            has = [n for n in re.findall(r"(\w+): ", first.rpartition(" -> ")[0]) if n not in ("self", "kx")]
            assert re.findall(r"(\w+): ", written[1]) == has, f"{name}.{member}"
