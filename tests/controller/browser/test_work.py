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


def test_shows_the_arm_and_works_it(begin, browser: Browser) -> None:
    arm = begin(browser, at="tab=surroundings")
    assert not arm.io.input(2)
    browser.click('[aria-label="Digital input 2"]')
    becomes(lambda: arm.io.input(2), True)

    motion = arm.move_joints(joints_deg=FAR, speed_percent=3)
    browser.shows("#mode", "moving")
    before = browser.joint(1)
    becomes(lambda: browser.joint(1), lambda now: now > before + 3)
    for button, mode in (("Pause", "paused"), ("Continue", "moving")):
        browser.shows("#pause", button)
        browser.click("#pause")
        browser.shows("#mode", mode)
    browser.click("#stop")
    stopped(motion)
    browser.shows("#mode", "ready")

    # A held button jogs for as long as it is held, and no longer.
    before = browser.joint(1)
    browser.fill("#jog-speed", "1")
    ActionChains(browser).click_and_hold(browser.find('[aria-label="Joint 1 up"]')).perform()
    becomes(lambda: browser.joint(1), lambda now: now > before + 2)
    ActionChains(browser).release().perform()
    browser.shows("#mode", "ready")
    joints = arm.joints_deg()
    assert browser.joint(1) == pytest.approx(joints[0], abs=1e-3) and joints[0] < 90
    browser.draws(joints)
    becomes(lambda: browser.text("#lines"), lambda lines: '"trajectory_state":false' in lines)
    browser.save_screenshot("page-light.png")
    browser.prefer(prefers_color_scheme="dark")
    browser.save_screenshot("page-dark.png")
    assert [entry["message"] for entry in browser.get_log("browser") if entry["level"] == "SEVERE"] == []


def test_comes_back_after_a_restart(start, flat: Browser) -> None:
    controller = start()
    flat.look_at(controller)
    controller.close()
    flat.shows("#mode", "no connection")
    start(page=controller.page)
    flat.shows("#mode", "ready")
    flat.click("#emergency-stop")
    flat.shows("#errors", "emergency stop")


def test_is_worked_by_keys(begin, browser: Browser) -> None:
    arm = begin(browser, at="jog-step=10&jog-speed=100")
    browser.draws(arm.joints_deg())
    for key in (Keys.ARROW_RIGHT, Keys.ARROW_UP, "+", "-"):
        before = browser.get_screenshot_as_png()
        browser.press(key, on="#view canvas")
        becomes(browser.get_screenshot_as_png, lambda now: now != before)
    browser.press(" ", on='[aria-label="Joint 3 up"]')
    becomes(lambda: browser.joint(3), 10)
    browser.fill("#jog-step", "")
    ActionChains(browser).key_down(" ").perform()
    browser.shows("#mode", "jogging")
    assert browser.text("#running") == "", "nor a motion's number, which would be taken for a joint's"
    ActionChains(browser).key_up(" ").perform()
    browser.shows("#mode", "ready")
    browser.press(Keys.ARROW_RIGHT, on="#tab-move")
    assert browser.switch_to.active_element.get_attribute("id") == "tab-curves"
    assert browser.find("#curves").is_displayed()
    arm.joints_deg()
    becomes(lambda: (browser.press(Keys.ARROW_UP, on="#lines"), browser.texts(".chosen .direction"))[1], ["→", "←"])


def test_waypoints_become_programs(begin, flat: Browser, tmp_path: Path) -> None:
    arm = begin(flat, "--speed 10")
    end, away = [30, 20, 40, 0, 60, 0], [10, 10, 60, 0, 50, 0]

    def go(joints: list[float]) -> None:
        arm.move_joints(joints_deg=joints, speed_percent=100).wait()
        becomes(lambda: flat.joint(3), joints[2])

    go(away)
    flat.click("#place-take")
    go(end)
    flat.fill("#target-kind", "line")
    flat.click("#place-take")
    for language, ending in (("cpp", "cpp"), ("python", "py")):
        flat.gives(f"#place-{language}", f"waypoints.{ending}", tmp_path)
    program = tmp_path / "waypoints"
    compiler = shlex.split(os.environ["KX_COMPILE"])
    subprocess.run([*compiler, "-o", program, f"{program}.cpp", "-lKX_Service"], check=True)
    for way in (lambda: subprocess.run([program], check=True), lambda: flat.click("#place-play"),
                lambda: subprocess.run([sys.executable, f"{program}.py"], check=True)):
        go(away)
        way()
        becomes(lambda: flat.joint(3), pytest.approx(40, abs=0.05))


def test_the_rest_of_the_machine_is_in_rows(begin, flat: Browser) -> None:
    arm = begin(flat, "--speed 10", at="tab=machine")
    arm.lift.move_to(120, 100).wait()
    becomes(lambda: flat.texts("#machine .row"), lambda rows: "lift120 mm" in rows)


def test_pushes_along_the_axes_that_it_names(begin, flat: Browser) -> None:
    arm = begin(flat, "--speed 10", at="tab=surroundings")
    joints = [20, 30, 40, 10, 50, 60]
    arm.move_joints(joints_deg=joints, speed_percent=100).wait()

    def forces() -> np.ndarray:
        return np.array([float(value.replace("−", "-")) for value in flat.texts("#force .value")[:3]])

    before = forces()
    flat.fill("#push-force", "100")
    ActionChains(flat).click_and_hold(flat.find('[aria-label="Push towards −y of the base"]')).perform()
    pushed = kx.Model(46).pose(joints_deg=joints).matrix[:3, :3].T @ [0, -100, 0]  # seen from the flange
    becomes(lambda: forces() - before, lambda felt: np.abs(felt - pushed).max() < 0.3)
    assert flat.text("#force-range").startswith("flange axes")
    assert flat.text(".push .note").startswith("push, base axes")
    ActionChains(flat).release().perform()


def test_objects_are_no_wider_than_the_gripper_is_open(begin, flat: Browser) -> None:
    arm = begin(flat, "--speed 10", at="tab=surroundings")
    arm.gripper.move_to(50)
    flat.shows("#grip", "50.0 mm")
    flat.fill("#object-width", "80")
    flat.click("#object")
    flat.shows("#message", "The gripper is not open that far")
    assert flat.text("#object") == "Place object"
    flat.fill("#object-width", "40")
    flat.click("#object")
    flat.shows("#object", "Remove object")
