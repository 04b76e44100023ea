"""What has happened: looked back to, gone over in recordings, told line by line, taken along as files."""
from __future__ import annotations

import re
from pathlib import Path

import pytest
from conftest import TARGET, Browser, becomes
from selenium.webdriver import Keys


def test_looks_back(begin, browser: Browser) -> None:
    arm = begin(browser, "--speed 10", at="tab=curves")
    browser.draws(arm.joints_deg())
    before = browser.drawn
    arm.move_joints(joints_deg=TARGET, speed_percent=50).wait()
    browser.draws(TARGET)
    after = browser.drawn
    becomes(lambda: (browser.press(Keys.PAGE_UP, on="#plot"), browser.drawn)[1], before)
    assert browser.joint(3) == 40, "the readings are present"
    browser.click("#plot-now")
    becomes(lambda: browser.drawn, after)
    trail, *begun = browser.run("""const play = document.querySelector('#plot-play'),
        { dataset } = document.querySelector('#view canvas'), { trail } = dataset;
        play.click(); play.click(); return [trail, dataset.flange, dataset.trail]""")
    assert begun == [before, trail], "the way back to the begin is none of the arm's"


@pytest.mark.parametrize("kind", ["mcap", "jsonl"])
def test_goes_over_recordings(start, browser: Browser, tmp_path: Path, kind: str) -> None:
    file = tmp_path / f"page.{kind}"
    recorded = start(f"--speed 10 --record {file}")
    arm = recorded.connect()
    arm.joints_deg()
    arm.move_joints(joints_deg=TARGET, speed_percent=50).wait()
    arm.joints_deg()
    recorded.close()
    browser.look_at(start(f"--replay {file}"), mode="recording")
    for place, joints in (("max", TARGET), ("min", [0] * 6)):
        browser.fill("#plot-time", browser.find("#plot-time").get_attribute(place))
        browser.draws(joints, within=2e-3)
        assert browser.joint(3) == pytest.approx(joints[2], abs=0.01)
    assert "client 1 movej" in browser.text("#events")
    browser.click("#plot-play")
    becomes(lambda: browser.joint(3), 40)
    browser.look_at(start(f"--replay {file}", models=(47,)), mode="nothing heard yet")
    browser.shows("#message", "The recording is not shown: it is of an arm with 6 joints")


def test_pairs_the_lines_on_the_wire(begin, flat: Browser) -> None:
    """A reply stands with what it answers, whatever came between; and who reads back is not carried along."""
    arm = begin(flat)
    motion = arm.move_joints(joints_deg=TARGET, speed_percent=10)
    flat.shows("#mode", "moving")
    arm.io.input(1)
    motion.wait()

    def pairs() -> list[list[str]]:
        return flat.run("""const lines = [...document.querySelectorAll('#lines li')].map(({ line }) => line);
            return lines.filter(({ direction, partner }) => direction === '->' && partner)
                .map(({ text, partner }) => [text, lines.find(({ number }) => number === partner)?.text ?? '{}']
                    .map((text) => JSON.parse(text).command))""")

    for pair in (["movej", "current_trajectory_state"], ["get_DI_state", "get_DI_state"]):
        becomes(pairs, lambda found: pair in found, f"{pair}")

    for _ in range(20):
        arm.io.input(1)

    def place() -> list:
        return flat.run("""const list = document.querySelector('#lines');
            return [list.children.length, list.scrollTop, getSelection().toString()]""")

    becomes(place, lambda now: now[0] > 40)
    flat.run("""const list = document.querySelector('#lines'); list.scrollTop = 16;
        getSelection().selectAllChildren(list.children[2])""")
    length, *before = place()
    assert before[1]
    arm.io.input(1)
    assert becomes(place, lambda now: now[0] > length)[1:] == before


def test_faults_are_put_together_and_stand_among_the_events(begin, flat: Browser) -> None:
    begin(flat, at="tab=trouble")
    flat.fill("#fault-kind", "delay")
    flat.fill("#fault-fields label:nth-child(1) input", "3")
    flat.fill("#fault-fields label:nth-child(2) input", "2")
    flat.click("#fault-form .asked button")
    flat.shows("#faults", "delay 3 jitter 2")
    flat.click("#tab-curves")
    becomes(lambda: flat.text("#events button"), lambda told: told.endswith("happens: delay 3 jitter 2"))
    flat.click("#events button")
    assert flat.text("#plot-event").startswith("at ")


def test_gives_files(begin, flat: Browser, tmp_path: Path) -> None:
    arm = begin(flat, at="tab=curves&plot=nothing")  # an address that says what there is not
    arm.move_joints(joints_deg=TARGET, speed_percent=50).wait()
    becomes(lambda: flat.joint(3), 40)
    head, *table = flat.gives("#plot-csv", "joint-angles.csv", tmp_path).decode().splitlines()
    assert head.startswith("time (s),joint 1 (°),joint 2 (°)")
    assert table[-1].endswith(",30,-20,40,0,60,0")
    assert any(0 < float(row.split(",")[3]) < 40 for row in table), "the way there"
    assert flat.gives("#plot-png", "joint-angles.png", tmp_path).startswith(b"\x89PNG")
    becomes(lambda: flat.text("#lines"), lambda lines: '"trajectory_state":true' in lines)
    lines = flat.gives("#wire-save", "wire.txt", tmp_path).decode()
    took = re.search(r'client 1\t->\t([\d.]+) ms.*"movej"', lines)
    assert took and float(took[1]) > 500, lines  # ms of the arm's time
