"""What tests of the page begin with: a browser, a controller on free ports, the page, and an application beside it."""
from __future__ import annotations

import contextlib
import functools
import io
import os
import re
import subprocess
import time
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import numpy as np
import PIL.Image
import pytest
from selenium import webdriver
from selenium.webdriver import ActionChains
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

import kx

PATIENCE = 30  # s, for what takes no certain time
FAR = [150, -30, 60, 0, 60, 0]  # degrees; the arm goes there slowly, and is stopped on its way
TARGET = [30, -20, 40, 0, 60, 0]


def becomes(look: Callable[[], Any], wanted: Any, why: str = "") -> Any:
    """Looks until what is seen equals what is wanted, or is what that asks for; gives what was seen."""
    __tracebackhide__ = True  # what was seen last says more
    right = wanted if callable(wanted) else lambda seen: seen == wanted
    end = time.monotonic() + PATIENCE
    while not right(seen := look()):
        if time.monotonic() > end:
            pytest.fail(f"{why} seen last: {seen!r}" + ("" if callable(wanted) else f", not {wanted!r}"))
        time.sleep(0.05)
    return seen


def stopped(motion: kx.Motion) -> None:
    with pytest.raises(kx.Refused):
        assert motion.wait(PATIENCE), "the motion goes on"


class Controller:
    """A kx-controller with a page. Its time is real time unless its options say otherwise."""

    def __init__(self, options: str = "", models: tuple[int, ...] = (46,), page: int = 0) -> None:
        self.models = models
        words = f"--port 0 --until-eof --web {page} {options}" + "".join(f" --model {model}" for model in models)
        self._process = subprocess.Popen([os.environ["KX_CONTROLLER"], *words.split()], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)
        self.ports = [self._listens() for _ in models]
        self.page = self._listens()
        self.control = self._listens() if "--control" in words else 0

    def _listens(self) -> int:
        line = self._process.stdout.readline()
        assert (port := re.search(r":(\d+)\D*$", line)), f"kx-controller says {line!r}"
        return int(port[1])

    def connect(self, arm: int = 0, model: int = 0) -> kx.Arm:
        return kx.Arm("127.0.0.1", self.ports[arm], model or self.models[arm])

    def close(self) -> None:
        with self._process:
            self._process.terminate()


class Browser(webdriver.Chrome):
    def __init__(self, *flags: str) -> None:
        options = webdriver.ChromeOptions()
        # As root in a container there is no sandbox.
        for flag in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1280,720",
                     "--hide-scrollbars", *flags):
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        super().__init__(service=Service("/usr/bin/chromedriver"), options=options)

    def begin_anew(self) -> Browser:
        """With one window. What a page keeps is its controller's, which has another port each time."""
        first, *others = self.window_handles
        for window in others:
            self.switch_to.window(window)
            self.close()
        self.switch_to.window(first)
        self.get("about:blank")
        self.resize(1280, 720)
        self.prefer()
        self.get_log("browser")
        return self

    def look_at(self, controller: Controller, at: str = "", mode: str = "ready") -> None:
        self.get(f"http://127.0.0.1:{controller.page}/#{at}")
        self.shows("#mode", mode)

    def resize(self, width: int, height: int) -> None:
        self.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, **wishes: str) -> None:
        """prefers_color_scheme="dark", for instance."""
        features = [{"name": name.replace("_", "-"), "value": value} for name, value in wishes.items()]
        self.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})

    run = webdriver.Chrome.execute_script

    def find(self, selector: str) -> Any:
        return self.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector: str) -> None:
        """Where a user would; fails if something else is in the way."""
        self.find(selector).click()

    def press(self, key: str, on: str = "body") -> None:
        self.run("arguments[0].focus()", self.find(on))
        ActionChains(self).send_keys(key).perform()

    def fill(self, selector: str, value: str) -> None:
        self.run("const [field, value] = arguments; field.value = value;"
                 "for (const type of ['input', 'change']) field.dispatchEvent(new Event(type))",
                 self.find(selector), value)

    def texts(self, selector: str) -> list[str]:
        return self.run("return [...document.querySelectorAll(arguments[0])].map((e) => e.textContent)", selector)

    def text(self, selector: str) -> str:
        return "".join(self.texts(selector)[:1])

    def shows(self, selector: str, text: str) -> None:
        __tracebackhide__ = True
        becomes(lambda: self.text(selector), text, selector)

    def joint(self, number: int) -> float:
        """The reading."""
        return float(self.text(f'[data-name="Joint {number}"]').strip("°").replace("−", "-"))

    @property
    def drawn(self) -> str:
        """Where the flange is drawn, m; nothing as long as there is no drawing."""
        return self.run("return document.querySelector('#view canvas')?.dataset.flange ?? ''")

    def draws(self, joints: Any, within: float = 2e-4) -> None:
        place = kx.Model(46).pose(joints_deg=joints).position_m
        becomes(lambda: np.array(self.drawn.split() or [np.nan] * 3, float),
                lambda drawn: np.linalg.norm(drawn - place) < within, f"flange, which is at {place},")

    def pixels(self, colour: Callable[..., np.ndarray]) -> int:
        """How many there are in the picture of the arm, told by their red, green and blue."""
        picture = np.asarray(PIL.Image.open(io.BytesIO(self.get_screenshot_as_png())).convert("RGB"))
        return int(colour(*np.moveaxis(picture[100:540, :832].astype(int), 2, 0)).sum())

    def gives(self, selector: str, name: str, folder: Path) -> bytes:
        """The file that the page gives its user when something is clicked."""
        self.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(folder)})
        self.click(selector)
        becomes((folder / name).exists, True, name)
        return (folder / name).read_bytes()


@pytest.fixture(scope="session")
def chromium() -> Iterator[Callable[..., Browser]]:
    with contextlib.ExitStack() as stack:
        yield functools.cache(lambda *flags: stack.enter_context(Browser(*flags)))


@pytest.fixture
def browser(chromium: Callable[..., Browser]) -> Browser:
    """Draws in 3D, which takes its time without a GPU."""
    return chromium("--use-angle=swiftshader", "--enable-unsafe-swiftshader").begin_anew()


@pytest.fixture
def flat(chromium: Callable[..., Browser]) -> Browser:
    """Draws nothing in 3D: for what has to do with no picture, or with many windows."""
    return chromium("--disable-3d-apis").begin_anew()


@pytest.fixture
def start() -> Iterator[Callable[..., Controller]]:
    """Starts controllers that end with the test."""
    with contextlib.ExitStack() as stack:
        yield lambda *args, **options: stack.enter_context(contextlib.closing(Controller(*args, **options)))


@pytest.fixture
def begin(start: Callable[..., Controller]) -> Callable[..., kx.Arm]:
    """Opens the page of an arm that is ready, at what its address says, and connects to the arm."""
    def begin(page: Browser, options: str = "", at: str = "") -> kx.Arm:
        controller = start(options)
        page.look_at(controller, at)
        return controller.connect()
    return begin
