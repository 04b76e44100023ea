"""What is seen is so: whose arm it is, how its joints are, where its gripper is; and everybody can see it."""
from __future__ import annotations

import re
from pathlib import Path

import numpy as np
from conftest import TARGET, Browser, becomes
from selenium.webdriver import Keys

import kx


def test_tells_whose_arm_it_shows(start, browser: Browser) -> None:
    behind, shown = start(), start()
    browser.look_at(shown, at="tab=surroundings")

    def buttons() -> list[bool]:
        return [browser.find(button).is_displayed() for button in (
            "#stop", "#emergency-stop", "#power", "#teach", "#object", '[aria-label="Joint 1 up"]')]

    assert all(buttons())
    shown.close()
    source = f"127.0.0.1:{behind.ports[0]}"
    start(f"--proxy {source}", page=shown.page)
    browser.shows("#mode", "looking on")
    browser.shows("#running", f"{source}, last reply now")
    assert not any(buttons()), "there is nothing simulated to act on"
    behind.close()
    browser.shows("#mode", "silent")
    assert re.fullmatch(f"{source}, last reply \\d+ s ago", browser.text("#running"))

    wrong = start(f"--proxy 127.0.0.1:{start(models=(47,)).ports[0]}")
    browser.look_at(wrong, mode="another arm")
    wrong.connect(model=47).joints_deg()
    becomes(lambda: browser.text("#running"), lambda told: told.endswith(" has 7 joints; this page is told model 46"))


def test_goes_on_after_it_was_hidden(begin, browser: Browser) -> None:
    """What was seen before a window was hidden is neither told again nor joined to what comes after."""
    arm = begin(browser, "--speed 10")

    def trail() -> str:
        return browser.find("#view canvas").get_attribute("data-trail")

    def motions() -> int:
        return sum('"movej"' in line for line in browser.texts("#lines li"))

    def hide(hidden: bool) -> None:
        browser.run("""Object.defineProperty(document, 'hidden', { configurable: true, value: arguments[0] });
            document.dispatchEvent(new Event('visibilitychange'))""", hidden)

    arm.move_joints(joints_deg=TARGET, speed_percent=50).wait()
    becomes(motions, 1)
    browser.draws(TARGET)
    drawn = trail()
    hide(True)
    arm.move_joints(joints_deg=[-40, *TARGET[1:]], speed_percent=50).wait()
    hide(False)
    becomes(motions, 2)
    browser.draws([-40, *TARGET[1:]])
    assert trail() == drawn, "no way that nobody saw"


def test_tints_joints(begin, browser: Browser) -> None:
    arm = begin(browser, "--speed 100", at="tab=trouble")
    browser.draws(arm.joints_deg())

    def fault(text: str) -> None:
        browser.fill("#fault", text)
        browser.click("#fault-form .asked button")

    def turn(degrees: float) -> None:
        arm.move_joints(joints_deg=[0, 0, 0, 0, 0, degrees], speed_percent=100).wait()

    for why, colour, begins, ends in (
            ("error", lambda r, g, b: (r > 100) & (g < r / 2) & (b < r / 2),
             lambda: fault("joint-error 2"), lambda: browser.click("#clear-errors")),
            ("limit", lambda r, g, b: (r > 120) & (g < 0.85 * r) & (g > 0.4 * r) & (b < 0.4 * r),
             lambda: turn(359.5), lambda: turn(0)),
            ("no power", lambda r, g, b: (r < 70) & (g < 70) & (b < 70),
             lambda: browser.click("#power"), lambda: browser.click("#power"))):
        before = browser.pixels(colour)
        begins()
        becomes(lambda: browser.pixels(colour), lambda now: now > before + 60, f"pixels, {before} before {why},")
        ends()
        becomes(lambda: browser.pixels(colour), lambda now: now < before + 20, f"pixels, {before} before {why},")


def test_is_read_by_everybody(begin, browser: Browser) -> None:
    begin(browser)
    assert len(browser.texts("output, [role=status], [role=alert], [aria-live]")) == 2, "the mode, and what was refused"
    faint = (Path(__file__).parent / "contrast.js").read_text()
    for colours in ("none", "active"):
        for scheme in ("light", "dark"):
            browser.prefer(prefers_color_scheme=scheme, forced_colors=colours)
            assert browser.run(faint) == [], f"{scheme}, forced colours: {colours}"
    browser.prefer(forced_colors="active")
    behind = [browser.find(part).value_of_css_property("background-color") for part in (".lamp", "header")]
    assert behind[0] != behind[1], "a lamp is seen"
    browser.save_screenshot("page-forced.png")


def test_the_keyboard_reaches_the_view_and_it_shows(begin, browser: Browser) -> None:
    arm = begin(browser)
    browser.draws(arm.joints_deg())
    browser.press(Keys.TAB, on="#emergency-stop")
    view = browser.switch_to.active_element
    assert view.tag_name == "canvas" and view.value_of_css_property("outline-style") == "solid"
    assert view.get_attribute("aria-label").startswith("Arm 46")


def test_a_gripper_that_the_tool_does_not_reckon_with_is_pale(begin, browser: Browser) -> None:
    """What the arm touches is found at the tool's tip, so fingers beyond it go through the table."""
    arm = begin(browser)
    browser.draws(arm.joints_deg())

    def dark() -> int:
        return browser.pixels(lambda *colours: np.max(colours, axis=0) < 110)

    without = dark()
    for length, seen in ((108.5, lambda now: now > without + 300), (107.5, lambda now: now < without + 100)):
        name = f"{length}mm"
        arm.frames.set_tool(name, kx.Pose.mm_deg(0, 0, length))
        arm.frames.use_tool(name)
        becomes(dark, seen, f"dark pixels, {without} without a tool,")
