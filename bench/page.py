"""What the page of kx-controller costs: bench/page.py BIN, where BIN holds kx-controller and 7_stream of a build.

Prints how soon the page is ready in headless Chromium after it was opened, and again from the browser's cache; what the
idle page and its controller then take of one core, processes of the browser included, beside an empty page; and how many
cycles of a 200 Hz stream come late without and with four loads of all files of the page beside it, with the processor time
of the controller for them.
"""
import gzip
import json
import os
import re
import subprocess
import sys
import time
import urllib.error
import urllib.request
from contextlib import closing, contextmanager
from statistics import median

TICK = os.sysconf("SC_CLK_TCK")
SWITCHES = ["--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--use-angle=swiftshader", "--enable-unsafe-swiftshader", "--window-size=1280,720"]


@contextmanager
def running(*command: str):
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        yield process
    finally:
        process.terminate()
        process.wait()


def line_with(process, pattern: str) -> str:
    for line in process.stdout:
        if found := re.search(pattern, line):
            return found[1]
    raise SystemExit(f"{process.args[0]} did not say {pattern}")


def family(pid: int) -> list[int]:
    """A process and all that it has started."""
    children = []
    for task in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{task}/children") as file:
            children += file.read().split()
    return [pid] + [each for child in children for each in family(int(child))]


def processor_time(pid: int) -> float:
    total = 0
    for each in family(pid):
        with open(f"/proc/{each}/stat") as file:
            total += sum(map(int, file.read().rpartition(")")[2].split()[11:13]))
    return total / TICK


class Browser:
    def __init__(self, driver):
        self.base = f"http://127.0.0.1:{line_with(driver, r'successfully on port ([0-9]+)')}/session"
        wanted = {"alwaysMatch": {"goog:chromeOptions": {"args": SWITCHES}, "pageLoadStrategy": "none"}}
        self.base += "/" + self.ask("", {"capabilities": wanted})["sessionId"]

    def ask(self, path: str, body: dict):
        request = urllib.request.Request(self.base + path, json.dumps(body).encode(), {"Content-Type": "application/json"})
        with urllib.request.urlopen(request, timeout=120) as reply:
            return json.load(reply)["value"]

    def close(self):
        urllib.request.urlopen(urllib.request.Request(self.base, method="DELETE"), timeout=120).close()

    def until_ready(self, url: str) -> tuple[float, float]:
        """Seconds from opening the page until its mode is told and its stops act, and until the arm is drawn."""
        self.ask("/url", {"url": "about:blank"})
        self.ask("/url", {"url": url})
        script = """const done = arguments[0], now = () => performance.now() / 1000;
            let ready = 0;
            const look = () => {
                if (!ready && document.querySelector('#mode')?.textContent === 'ready') ready = now();
                return ready && document.querySelector('canvas')?.dataset.flange ? done([ready, now()]) : setTimeout(look, 5);
            };
            look();"""
        while True:
            try:
                return self.ask("/execute/async", {"script": script, "args": []})
            except urllib.error.HTTPError:  # between two pages
                time.sleep(0.05)


def load(page: str, path: str, loaded: set) -> None:
    """Fetches a file and whatever it names, as a browser does that knows none of them yet."""
    if path in loaded:
        return
    loaded.add(path)
    with urllib.request.urlopen(page + path) as reply:
        content = reply.read()
        text = (gzip.decompress(content) if content[:2] == b"\x1f\x8b" else content).decode("utf-8", "replace")
    for name in re.findall(r"""(?:from|import\(|src=|href=|url\()\s*['"]?(\.{0,2}/[\w./-]+\.\w+)""", text):
        load(page, os.path.normpath(os.path.join("/", os.path.dirname(path), name)).lstrip("/"), loaded)


def stream(bin_dir: str, port: str, beside=lambda: None) -> str:
    with running(os.path.join(bin_dir, "7_stream"), port, "46", "10") as process:
        time.sleep(3)
        beside()
        cycles, late = re.search(r"(\d+) set-points, (\d+) of them late", process.communicate()[0]).groups()
        return f"{late} of {cycles} cycles late"


def main(bin_dir: str) -> None:
    controller = os.path.join(bin_dir, "kx-controller")
    with running(controller, "--port", "0", "--web", "0") as arm:
        port = line_with(arm, r"listening on [\d.]+:(\d+)")
        page = line_with(arm, r"page at (\S+)")
        with running("chromedriver", "--port=0") as driver, closing(Browser(driver)) as browser:
            ready, drawn = browser.until_ready(page)
            print(f"at work after {ready:.2f} s, drawn after {drawn:.2f} s")
            ready, drawn = map(median, zip(*(browser.until_ready(page) for _ in range(7))))
            print(f"from the cache {ready:.2f} s and {drawn:.2f} s (medians of 7)")
        for what, address in ("idle", page), ("an empty page", "about:blank"):
            with running("chromedriver", "--port=0") as driver, closing(Browser(driver)) as browser:
                browser.ask("/url", {"url": address})
                time.sleep(10)
                seconds = 40  # within which browsers do what they do now and then
                before = processor_time(arm.pid), processor_time(driver.pid)
                time.sleep(seconds)
                took = processor_time(arm.pid) - before[0], processor_time(driver.pid) - before[1]
                print(f"{what}, of one core: controller {took[0] / seconds:.2%}, browser {took[1] / seconds:.2%}")
        print("stream alone:", stream(bin_dir, port))
        files: set = set()

        def four_loads() -> None:
            before = processor_time(arm.pid)
            for _ in range(4):
                files.clear()
                load(page, "", files)
            print(f"controller took {processor_time(arm.pid) - before:.2f} s with the stream for 4 loads of {len(files)} files")

        print("stream beside four loads:", stream(bin_dir, port, four_loads))
        print("load of the machine: %.1f %.1f %.1f" % os.getloadavg())


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    main(sys.argv[1])
