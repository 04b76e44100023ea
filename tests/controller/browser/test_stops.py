"""Who may stop the arm and who may move it: whatever the browser can and however many look on."""
from __future__ import annotations

import socket

import pytest
from conftest import FAR, Browser, becomes, stopped
from selenium.webdriver import ActionChains, Keys


def test_stops_without_3d(start, flat: Browser) -> None:
    controller = start()
    arm = controller.connect()
    flat.look_at(controller)
    motion = arm.move_joints(joints_deg=FAR, speed_percent=3)
    flat.shows("#mode", "moving")
    flat.press(Keys.ESCAPE)
    stopped(motion)
    flat.click("#emergency-stop")
    flat.shows("#errors", "emergency stop")
    becomes(arm.motion_kind, "none")
    flat.draws(arm.joints_deg())


@pytest.mark.parametrize("width", [1280, 820, 400])
def test_stops_stay_where_they_are(begin, flat: Browser, width: int) -> None:
    arm = begin(flat)
    flat.resize(width, 720)

    def places() -> list[list[float]]:
        return flat.run("""return ['#stop', '#emergency-stop', 'main'].map((id) => {
            const { x, y, width, height } = document.querySelector(id).getBoundingClientRect();
            return [x, y, width, id === 'main' ? 0 : height]; })""")

    before = places()
    assert flat.run("return document.documentElement.scrollWidth") <= width
    motion = arm.move_joints(joints_deg=FAR, speed_percent=3)
    flat.shows("#mode", "moving")
    assert places() == before
    flat.click("#emergency-stop")
    stopped(motion)
    flat.shows("#errors", "emergency stop")
    assert places() == before


def test_many_windows_share_one_stream(start, flat: Browser) -> None:
    controller = start()
    for window in range(8):  # a browser opens six connections to an address
        if window:
            flat.switch_to.new_window("window")
        flat.look_at(controller, at="tab=surroundings")
        channel = f'[aria-label="Digital input {window % 4 + 1}"]'
        flat.click(channel)
        becomes(lambda: flat.find(channel).get_attribute("aria-pressed"), "true" if window < 4 else "false")


def test_the_browser_that_is_one_too_many_is_told_and_stops(start, flat: Browser) -> None:
    controller = start()
    others = [socket.create_connection(("127.0.0.1", controller.page)) for _ in range(24)]
    for other in others:
        other.sendall(b"GET /events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n")
        other.recv(1)
    flat.look_at(controller, mode="24 browsers are looking on already, and no more can")
    arm = controller.connect()
    motion = arm.move_joints(joints_deg=FAR, speed_percent=3)
    flat.click("#stop")
    stopped(motion)
    for other in others:
        other.close()
    flat.shows("#mode", "ready")


def test_what_one_page_holds_another_is_told_of(start, flat: Browser) -> None:
    controller = start()
    flat.look_at(controller, at="jog-speed=1")
    flat.switch_to.new_window("window")
    flat.look_at(controller, at="jog-speed=1")
    one, other = flat.window_handles

    flat.switch_to.window(one)  # whose button is held without the keyboard, which only one window has
    flat.run("arguments[0].dispatchEvent(new KeyboardEvent('keydown', { key: ' ' }))", flat.find('[aria-label="Joint 3 up"]'))
    flat.switch_to.window(other)
    flat.shows("#running", "another page at 127.0.0.1 holds joint 3")
    flat.press(" ", on='[aria-label="Joint 1 up"]')
    flat.shows("#message", "Another page holds joint 3, at 127.0.0.1")
    assert flat.text("#mode") == "jogging"
    flat.click("#stop")
    flat.shows("#mode", "ready")
    assert controller.connect().joints_deg()[0] == 0
    flat.switch_to.window(one)
    flat.shows("#message", "It was let go")


def test_works_several_arms(start, browser: Browser) -> None:
    controller = start("--control 0", models=(46, 47))
    first, second = (controller.connect(arm) for arm in (0, 1))
    browser.look_at(controller, at="arm=2&view=front")
    becomes(lambda: bool(browser.drawn), True)
    for x, shown in ((-110, "Arm 47"), (-191, "Arm 46")):  # px from the middle: beside the arms, and on one of them
        ActionChains(browser).move_to_element_with_offset(browser.find("#view canvas"), x, 75).click().perform()
        browser.shows("#model", shown)
    chip = "#chips > :nth-child({}) {}".format
    browser.click(chip(2, "button"))
    motion = first.move_joints(joints_deg=FAR, speed_percent=3)
    other = second.move_joints(joints_deg=[*FAR, 0], speed_percent=3)
    for arm in (1, 2):
        browser.shows(chip(arm, ".note"), "moving")
    browser.click(chip(1, "> :last-child"))
    stopped(motion)
    assert browser.text("#mode") == "moving" and not other.done(), "the arm that is worked with"
    motion = first.move_joints(joints_deg=FAR, speed_percent=3)
    browser.shows(chip(1, ".note"), "moving")
    browser.press(Keys.ESCAPE)
    stopped(motion)
    stopped(other)

    # Whatever acts, acts on the chosen arm, and what is told is of that one.
    browser.click("#emergency-stop")
    browser.shows("#errors", "emergency stop")
    browser.click(chip(1, "button"))
    assert browser.text("#model") == "Arm 46" and "#arm=1" in browser.current_url
    browser.shows("#mode", "ready")
    assert len(browser.texts(".joint")) == 6 and "emergency_stop" not in browser.text("#lines")
    browser.draws(first.joints_deg())

    # So does whoever stands beside the controller, and says to which arm.
    with socket.create_connection(("127.0.0.1", controller.control)) as control, control.makefile("rw") as line:
        for said, answer in (("arm 2 joint-error 7", "ok"),
                             ("joint-error 7", "error: joint-error: JOINT is a number from 1 to 6, not 7"),
                             ("arm 3 off", "error: there is no arm 3"), ("collision", "ok")):
            print(said, file=line, flush=True)
            assert line.readline().strip() == answer, said
    browser.shows("#errors", "collision")
    browser.click(chip(2, "button"))
    becomes(lambda: browser.text("#errors"), lambda told: "collision, joint 7: error" in told)
