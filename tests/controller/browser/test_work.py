"""The page at work: with the mouse, by keys, by programs that it makes; and what surrounds the arm."""
from __future__ import annotations

import os
import shlex
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import FAR, Browser, becomes, stopped
from selenium.webdriver import ActionChains, Keys

import kx


def test_shows_the_arm_and_works_it(begin) -> None:
    page, arm = begin(at="tab=surroundings")
    assert not arm.io.input(2)
    page.click('[aria-label="Digital input 2"]')
    becomes(lambda: arm.io.input(2), True)

    motion = arm.move_joints(joints_deg=FAR, speed_percent=3)
    page.shows("#mode", "moving")
    before = page.joint(1)
    becomes(lambda: page.joint(1), lambda now: now > before + 3)
    page.click("#stop")
    stopped(motion)
    page.shows("#mode", "ready")

    # A held button jogs for as long as it is held, and no longer.
    before = page.joint(1)
    page.fill("#jog-speed", "1")
    ActionChains(page).click_and_hold(page.find('[aria-label="Joint 1 up"]')).perform()
    becomes(lambda: page.joint(1), lambda now: now > before + 2)
    ActionChains(page).release().perform()
    page.shows("#mode", "ready")
    joints = arm.joints_deg()
    assert page.joint(1) == pytest.approx(joints[0], abs=1e-3) and joints[0] < 90
    page.draws(joints)
    becomes(lambda: page.text("#lines"), lambda lines: '"trajectory_state":false' in lines)
    page.save_screenshot("page-light.png")
    page.prefer(prefers_color_scheme="dark")
    page.save_screenshot("page-dark.png")
    assert [entry["message"] for entry in page.get_log("browser") if entry["level"] == "SEVERE"] == []


def test_comes_back_after_a_restart(start, browser: Browser) -> None:
    controller = start()
    browser.look_at(controller)
    controller.close()
    browser.shows("#mode", "no connection")
    start(page=controller.page)
    browser.shows("#mode", "ready")
    browser.click("#emergency-stop")
    browser.shows("#errors", "emergency stop")


def test_is_worked_by_keys(begin) -> None:
    page, arm = begin(at="jog-step=10&jog-speed=100")
    page.draws(arm.joints_deg())
    for key in (Keys.ARROW_RIGHT, Keys.ARROW_UP, "+", "-"):
        before = page.get_screenshot_as_png()
        page.press(key, on="#view canvas")
        becomes(page.get_screenshot_as_png, lambda now: now != before)
    page.press(" ", on='[aria-label="Joint 3 up"]')
    becomes(lambda: page.joint(3), 10)
    page.fill("#jog-step", "")
    ActionChains(page).key_down(" ").perform()
    page.shows("#mode", "jogging")
    assert page.text("#running") == "", "nor a motion's number, which would be taken for a joint's"
    ActionChains(page).key_up(" ").perform()
    page.shows("#mode", "ready")
    page.press(Keys.ARROW_RIGHT, on="#tab-move")
    assert page.switch_to.active_element.get_attribute("id") == "tab-curves" and page.find("#curves").is_displayed()
    arm.joints_deg()
    becomes(lambda: (page.press(Keys.ARROW_UP, on="#lines"), page.texts(".chosen .direction"))[1], ["→", "←"])


def test_waypoints_become_programs(begin, tmp_path: Path) -> None:
    page, arm = begin("--speed 10")
    end, away = [30, 20, 40, 0, 60, 0], [10, 10, 60, 0, 50, 0]

    def go(joints: list[float]) -> None:
        arm.move_joints(joints_deg=joints, speed_percent=100).wait()
        becomes(lambda: page.joint(3), joints[2])

    go(away)
    page.click("#place-take")
    go(end)
    page.fill("#target-kind", "line")
    page.click("#place-take")
    for language, ending in (("cpp", "cpp"), ("python", "py")):
        page.gives(f"#place-{language}", f"waypoints.{ending}", tmp_path)
    program = tmp_path / "waypoints"
    compiler = shlex.split(os.environ["KX_COMPILE"])
    subprocess.run([*compiler, "-o", program, f"{program}.cpp", "-lKX_Service"], check=True)
    for way in (lambda: subprocess.run([program], check=True), lambda: page.click("#place-play"),
                lambda: subprocess.run([sys.executable, f"{program}.py"], check=True)):
        go(away)
        way()
        becomes(lambda: page.joint(3), pytest.approx(40, abs=0.05))


def test_the_rest_of_the_machine_is_in_rows(begin) -> None:
    page, arm = begin("--speed 10", at="tab=machine")
    arm.lift.move_to(120, 100).wait()
    becomes(lambda: page.texts("#machine .row"), lambda rows: "lift120 mm" in rows)


def test_pushes_along_the_axes_that_it_names(begin) -> None:
    page, arm = begin("--speed 10", at="tab=surroundings&jog-speed=1")
    joints = [20, 30, 40, 10, 50, 60]
    arm.move_joints(joints_deg=joints, speed_percent=100).wait()

    def forces() -> np.ndarray:
        return np.array([float(value.replace("−", "-")) for value in page.texts("#force .value")[:3]])

    before = forces()
    page.fill("#push-force", "100")
    ActionChains(page).click_and_hold(page.find('[aria-label="Push towards −y of the base"]')).perform()
    pushed = kx.Model(46).pose(joints_deg=joints).matrix[:3, :3].T @ [0, -100, 0]  # seen from the flange
    becomes(lambda: forces() - before, lambda felt: np.abs(felt - pushed).max() < 0.3)
    assert page.text("#force-range").startswith("flange axes")
    assert page.text(".push .note").startswith("push, base axes")
    ActionChains(page).release().perform()


def test_objects_are_no_wider_than_the_gripper_is_open(begin) -> None:
    page, arm = begin("--speed 10", at="tab=surroundings")
    arm.gripper.move_to(50)
    page.shows("#grip", "50.0 mm")
    page.fill("#object-width", "80")
    page.click("#object")
    page.shows("#message", "The gripper is not open that far")
    assert page.text("#object") == "Place object"
    page.fill("#object-width", "40")
    page.click("#object")
    page.shows("#object", "Remove object")
