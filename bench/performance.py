#!/usr/bin/env python3
"""Measures all that docs/performance.md says, in one run of a quarter of an hour, and writes it there.

    cmake --preset release -DKX_BENCH=ON && cmake --build --preset release
    python3 bench/performance.py build/release

With names of sections behind it, e.g. `questions streams`, it prints those and writes nothing.
"""
import contextlib
import datetime
import json
import os
import platform
import re
import statistics
import subprocess
import sys
import textwrap
from pathlib import Path

ROOT = Path(__file__).parent.parent
PAGE = ROOT / "docs/performance.md"
BUILD = Path(sys.argv[1] if len(sys.argv) > 1 else "build/release").resolve()
BIN = BUILD / "bin"
MODELS = (36, 46, 47)


def said(*command, **environment) -> str:
    """What a program prints that ends well."""
    run = subprocess.run([str(word) for word in command], check=True, stdout=subprocess.PIPE, text=True,
                         env={**os.environ, **environment})
    return run.stdout


def found(pattern: str, text: str) -> tuple[str, ...]:
    match = re.search(pattern, text)
    if not match:
        raise SystemExit(f"no {pattern!r} in:\n{text}")
    return match.groups()


@contextlib.contextmanager
def controller(*options):
    """The port of a kx-controller."""
    process = subprocess.Popen([BIN / "kx-controller", "--port", "0", *options], stdout=subprocess.PIPE, text=True)
    try:
        yield found(r":(\d+)\n", process.stdout.readline())[0]
    finally:
        process.terminate()
        process.wait()


def table(*rows) -> str:
    """The first row is the head."""
    head, *rest = ["| " + " | ".join(map(str, row)) + " |" for row in rows]
    return "\n".join([head, "|---" * len(rows[0]) + "|", *rest])


def benchmarks(pattern: str, *options) -> dict:
    """Results of kx_bench by name, medians where it repeats."""
    run = json.loads(said(BIN / "kx_bench", "--benchmark_filter=" + pattern, "--benchmark_format=json",
                          *options))["benchmarks"]
    return {each["run_name"].split("/repeats:")[0]: each for each in run if each.get("aggregate_name", "median") == "median"}


def questions() -> str:
    run = benchmarks("^(question|stream|recognition)")
    rows = [("a question, and its answer from another process", "median, us", "99.9 %, us", "processor time of 1,000, ms")]
    for name, what in (("recv", "bare `recv` in the caller"), ("epoll", "bare `epoll` thread that wakes the caller"),
                       ("link", "**link**"), ("classic", "**classic connection**")):
        each = next(result for full, result in run.items() if full.startswith("question_" + name))
        rows.append((what, *(f"{each[counter]:,.1f}" for counter in ("median_us", "p99.9_us", "cpu_ms_per_1000"))))
    known, naive = (run[f"recognition, 4 replies/{name}"]["cpu_time"] for name in ("library", "one name after the other"))
    costs = [("processor time, ns", "link", "classic connection", "cJSON alone"),
             ("a streamed target, without the system's `send`",
              *(f"{run['stream_' + name]['cpu_time']:,.0f}" for name in ("link", "classic", "cjson")))]
    return "\n\n".join([table(*rows), table(*costs),
                        f"To find out what four replies are takes {known:,.0f} ns; to search them for one name after "
                        f"the other, {naive:,.0f} ns."])


def many_links() -> str:
    idle = found(r"(\d+) links, (\d+) s: (\d+) wake-ups", said(BIN / "link_idle", 64, 20))
    scale = said(BIN / "link_scale", 60, 300)
    right, wrong, failed, targets, pushes, memory = map(
        int, found(r"(\d+) right replies, (\d+) wrong, (\d+) failed; (\d+) targets, (\d+) pushes, .* by (-?\d+) KiB", scale))
    return table(("links in one process", "", ""),
                 (f"{idle[0]}, idle for {idle[1]} s", f"{idle[2]} wake-ups", "none is the least"),
                 ("300 for 60 s: 16 streamed at 200 Hz, the others asked by 64 threads",
                  f"{right / 60:,.0f} right replies a second, {wrong} wrong, {failed} failed; {targets:,} targets, "
                  f"{pushes:,} pushes", f"memory grows by {memory} KiB"))


def kinematics() -> str:
    run = benchmarks("^(forward|jacobian|inverse)_", "--benchmark_min_time=0.05")
    columns = ("ns, model 36 / 46 / 47", "classic function", "arm model", "in a batch", "Orocos KDL", "bare trigonometry")
    rows = [
        ("forward", "forward_kx/{}", "forward_model/{}", "forward_batch/{}", "forward_kdl/{}", "forward_floor/{}"),
        ("Jacobian", None, "jacobian_model/{}", None, "jacobian_kdl/{}", None),
        *((f"inverse, reference {name}", f"inverse_kx/flag{{flag}}/{key}/{{}}", f"inverse_model/{key}/{{}}",
           f"inverse_batch/{key}/{{}}", f"inverse_kdl_lma/{key}/{{}}", "inverse_floor/{}")
          for name, key in (("near (47: any arm angle)", "near"), ("anywhere", "far"))),
    ]
    cell = lambda name: " / ".join(f"{run[name.format(m, flag=2 if m == 47 else 0)]['cpu_time']:.0f}" for m in MODELS)
    return table(columns, *((what, *(cell(name) if name else "" for name in names)) for what, *names in rows))


def streams() -> str:
    text = said(BIN / "stream_figures", 30)
    one, seven, cycle, limited = (float(found(f"{words} +(\\d+) ns", text)[0]) / 1000 for words in (
        "way of a joint", "for each of them", "seven joints", "tool limited"))
    rows = [("", "", ""),
            ("the fastest way of one joint", f"{one:.2f} us", ""),
            ("of seven joints together, for each", f"{seven:.1f} us", ""),
            ("a cycle for seven joints", f"{cycle:.1f} us, with limits of the tool {limited:.1f} us", "of 5,000 us")]
    for line in re.findall(r"priority .*", text):
        priority, cycles, median, p99, most, late, lag = found(
            r"priority +(\d+): +(\d+) cycles, late by ms ([\d.]+) median, ([\d.]+) 99 %, ([\d.]+) .*; (\d+) late.*lag ms ([\d.]+)", line)
        rows.append((f"a cycle is late, priority {priority}", f"{median} ms median, {p99} ms 99 %, {most} ms at most",
                     f"{late} of {cycles} by more than half a period; behind its targets {lag} ms"))
    begins, = found(r"braking begins ([\d.]+) ms", text)
    return table(*rows, ("braking after an application's stall begins", f"{begins} ms after the watchdog", "a cycle is 5 ms"))


def recordings() -> str:
    text = said(BIN / "recording_figures", 10)
    size, = found(r"([\d.]+) MB", text)
    rows = [("keeps its caller, us", "median", "99 %")]
    rows += [(name, *found(name.split()[-1] + r" +median +([\d.]+) us, 99 % below +([\d.]+)", text))
             for name in ("a state", "a line of the wire: request", "a line of the wire: reply")]
    return table(*rows) + f"\n\nA minute of 50 states a second, each asked for on the wire, is {size} MB."


def bridge() -> str:
    got, lost, median, p99, most = found(r"(\d+) states in 60 s, (\d+) lost; .* ([\d.]+) ms \(median\), ([\d.]+) ms .*, ([\d.]+)",
                                         said(BIN / "bridge_figures", 60, 200))
    return table(("200 states a second for a minute, into a Fast DDS reader", ""),
                 ("messages", f"{int(got):,} of 12,000 that were due, {lost} of them lost"),
                 ("from the arm to the reader", f"{median} ms median, {p99} ms 99 %, {most} ms at most"))


def python() -> str:
    text = said("/usr/bin/python3", ROOT / "bench/python.py", PYTHONPATH=str(BUILD / "python"), KX_CONTROLLER=str(BIN / "kx-controller"))
    rate, = found(r"runs at ([\d.]+) %", text)
    inverse = re.findall(r"model (\d+): inverse (\d+) ns .* (\d+) ns in C", text)
    median, most = found(r"ends a wait in ([\d.]+) ms \(median\), ([\d.]+)", text)
    question, = found(r"question takes (\d+) us", text)
    return table(("", "Python", "C"),
                 *((f"inverse of a batch, model {number}, ns a pose", mine, c) for number, mine, c in inverse),
                 ("a question, us", question, "see above"),
                 ("another thread during a blocking move", f"{rate} % of its rate", ""),
                 ("Ctrl-C ends a wait", f"{median} ms median, {most} ms at most", ""))


def page() -> str:
    text = said("python3", ROOT / "bench/page.py", BIN)
    first, drawn, again, drawn_again = found(r"after ([\d.]+) s, drawn after ([\d.]+) s\nfrom the cache ([\d.]+) s and ([\d.]+)", text)
    mine, browsers = found(r"idle, of one core: controller ([\d.]+%), browser ([\d.]+%)", text)
    empty, = found(r"empty page, of one core: .*browser ([\d.]+%)", text)
    alone, = found(r"stream alone: (.*)", text)
    beside, = found(r"stream beside four loads: (.*)", text)
    return table(("the page of `kx-controller` in headless Chromium, drawn by software", ""),
                 ("acts, first visit", f"{first} s (drawn {drawn} s)"),
                 ("acts, files cached", f"{again} s (drawn {drawn_again} s)"),
                 ("nobody moves, share of a core", f"controller {mine}, browser {browsers}, which takes {empty} for an empty page"),
                 ("a 200 Hz stream beside it", alone), ("beside four loads of the page", beside))


def controllers() -> str:
    text = said(BIN / "controller_load", 10)
    connections, sent, answered = found(r"(\d+) connections: (\d+) of .* (\d+) answered", text)
    mine, = found(r"controller ([\d.]+) %", text)
    return f"`kx-controller` answers {int(answered):,} of {int(sent):,} targets of {connections} connections at " \
           f"{int(sent) // 10:,} a second in all, and takes {mine} % of a core for it."


def cell() -> str:
    with controller("--object", "40") as port:
        times = re.findall(r"^(\w.*?)  +([\d.]+)", said(BIN / "cell_time", port), re.M)
    return table(("the palletising cell of the examples", "seconds a part, mean of 12"), *times)


def compiling() -> str:
    rows = [("processor seconds, median of 9", "empty program", "includes `kx/arm.hpp`", "uses it (`3_jog`)")]
    for compiler in ("g++", "clang++"):
        text = said(ROOT / "bench/compile_time.sh", compiler)
        rows.append((compiler, *(found(f"{name} ([\\d.]+)", text)[0] for name in ("empty", "includes", "uses"))))
    return table(*rows)


SECTIONS = {  # what each is about, and what is to be known of it
    questions: ("One connection", "The peer is a process that answers at once. Bare `recv` is the floor of any answer, the bare "
                "thread that of any library whose callers do not read the socket themselves. A classic connection pauses "
                "around each command, so that old applications meet what they expect."),
    many_links: ("Many links", ""),
    kinematics: ("Kinematics", "Medians of processor time. Orocos KDL computes a frame only; its inverse (Levenberg-Marquardt) "
                 "finds one solution by iteration and heeds no limits. The floor is what no closed form can do without: the C "
                 "library's sines, cosines and arc tangents of a pose."),
    streams: ("Streams", "The controller is a `kx-controller --spacing 0`."),
    recordings: ("Recordings", ""),
    bridge: ("kx-bridge", "From a `kx-controller --spacing 0`, three processes."),
    python: ("Python", "Least of 25 rounds."),
    page: ("The page", ""),
    controllers: ("The virtual controller", ""),
    cell: ("A cell", "The same commands each time, in real time: on a classic connection, on a link, and on a link with a radius "
           "of 40 mm at the places above."),
    compiling: ("Compiling", ""),
}


def machine() -> str:
    model = found(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())[0]
    return f"{os.cpu_count()} cores of a virtual machine, {model}, Linux {platform.release().split('-')[0]}"


def main() -> None:
    wanted = [section for section in SECTIONS if section.__name__ in sys.argv[2:]]
    commit = said("git", "-C", ROOT, "rev-parse", "--short", "HEAD").strip()
    load = [os.getloadavg()[0]]
    parts = []
    for section in wanted or SECTIONS:
        title, words = SECTIONS[section]
        figures = section()
        parts.append("\n\n".join(filter(None, [f"## {title}", textwrap.fill(words, 118), figures])))
        load.append(os.getloadavg()[0])
        print(parts[-1], file=sys.stdout if wanted else sys.stderr, end="\n\n", flush=True)
    if wanted:
        return
    when = f"{datetime.date.today()}, commit {commit}, {machine()}; runnable threads beside and of the run {min(load):.1f} to " \
           f"{max(load):.1f}, median {statistics.median(load):.1f}."
    head, _, _ = PAGE.read_text().partition("<!-- figures -->")
    PAGE.write_text(head + "<!-- figures -->\n\n" + when + "\n\n" + "\n\n".join(parts) + "\n")


if __name__ == "__main__":
    main()
