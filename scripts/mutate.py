"""The changes of mutate.sh: mutate.py COPY COUNT SEED ROOM..."""
import os
import random
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

copy, count, seed, rooms = Path(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]), sys.argv[4:]
build = copy / "build"
optimised = copy / "optimised"
tests = [room for room in ["runtime", "commands", "link"] if (copy / "tests" / room).exists()]
random.seed(seed)

SKIPPED = r'//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|static_assert[^;]*;'
OPERATORS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
             "+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "?": None}
SIBLINGS = [["sleeping", "direct"], ["guarded", "direct"], ["query", "quick_query"], ["true", "false"],
            ["boolean_state", "parameter_set"], ["push_registration", "waiting_caller"], ["relaxed", None]]
FAULTS = ["KX_SUCCESS", "KX_REFUSED", "KX_WRONG_TYPE", "KX_BAD_REPLY", "KX_SEND_FAILED", "KX_TIMED_OUT"]


def closing(text, opening):
    depth = 0
    for i in range(opening, len(text)):
        depth += (text[i] in "({[") - (text[i] in ")}]")
        if depth == 0:
            return i + 1
    return len(text)


def changes(text, codes):
    """All (begin, end, replacement) of one file."""
    skipped = [m.span() for m in re.finditer(SKIPPED, text, re.M | re.S)]
    found = []

    def change(begin, end, replacement):
        if text[begin:end] != replacement and not any(b <= begin < e for b, e in skipped):
            found.append((begin, end, replacement))

    def each(pattern, replace, group=0):
        for m in re.finditer(pattern, text, re.M):
            replacement = replace(m)
            if replacement is not None:
                change(*m.span(group), replacement)

    each(r'"((?:[^"\\\n]|\\.)*)"', lambda m: m[1] + "x", 1)
    bare = re.sub(r'"(?:[^"\\\n]|\\.)*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', text)
    text, original = bare, text
    each(r' ([<>=!]=|[<>*/%+-]|&&|\|\|) ', lambda m: OPERATORS[m[1]], 1)
    each(r'\+\+|--', lambda m: "--" if m[0] == "++" else "++")
    each(r'!(?=[\w(])', lambda m: "")
    each(r'\b(?<![\w.])(\d+)(?=[\w.]*\b)(?!x)', lambda m: str(int(m[1]) + 1), 1)
    each(r'\bKX_[A-Z_]+\b(?!\()', lambda m: random.choice([c for c in FAULTS if c != m[0]]) if m[0] in FAULTS else None)
    each(r'\bKeyCode::(\w+)', lambda m: random.choice([c for c in codes if c != m[1]]), 1)
    for one, other in SIBLINGS:
        if other:
            each(rf'\b{one}\b', lambda m: other)
            each(rf'\b{other}\b', lambda m: one)
    text = original
    # Order: neighbouring arguments, links of a chain, lines.
    each(r'(?<=[(,\s])(\*?[\w."]+), (\*?[\w."]+)(?=[,)])', lambda m: f"{m[2]}, {m[1]}")
    for m in re.finditer(r'\s*\.\w+\(', bare):
        middle = closing(bare, m.end() - 1)
        following = re.compile(r'\s*\.(?!code\b)\w+\(').match(bare, middle)
        if following:
            end = closing(bare, following.end() - 1)
            change(m.start(), end, text[middle:end] + text[m.start():middle])
    for m in re.finditer(r'^( +)(?! )(.*[;}],?)\n(?=\1(?! )(.*[;}],?)\n)', text, re.M):
        second = text[m.end():].split("\n", 1)[0]
        rows = re.findall(r'^ *\{"(\w+)"', m[0] + second, re.M)
        is_same = len(rows) == 2 and rows[0] not in rows[1] and rows[1] not in rows[0]  # in a table of texts
        if not is_same and not re.search(r'\breturn\b|^\s*\}', m[0] + second):
            change(m.start(), m.end() + len(second), second + "\n" + m[0][:-1])
    return sorted(found)


def run(*command, seconds):
    try:
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=seconds,
                              check=False).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def builds():
    return run("ninja", "-C", build, *(f"tests/{room}/all" for room in tests), seconds=1200)


def library():
    """What a compiler that optimises makes of the library: the same bytes where a change changes nothing."""
    run("ninja", "-C", optimised, "KX_Service", seconds=1200)
    return next(optimised.rglob("libKX_Service.so.*.*")).read_bytes()


def explores(kind):
    """Whether an explorer finds no promise broken; if it does, it need not make that short."""
    if not run("ninja", "-C", optimised, f"{kind}_explorer", seconds=1200):
        return False
    explorer = subprocess.Popen(["timeout", "100", optimised / "bin" / f"{kind}_explorer", "100000"], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, start_new_session=True)
    is_fine = "no promise broken" in explorer.stdout.readline()
    try:
        os.killpg(explorer.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    explorer.wait()
    return is_fine


def passes(*selection):
    return run("ctest", "--test-dir", build / "fast", "-j", "24", "--stop-on-failure", *selection,
               seconds=1200)


def explorers(path):
    """Those that play with the code of this file."""
    if path.parts[0] == "commands":
        return []
    return [kind for kind in ["link", "classic"] if kind in path.parts] or ["link", "classic"]


def nearby(path, text, begin):
    """A pattern of the tests to run first: those of the command around the change, or else of the file."""
    names = re.findall(r'^int (\w+?)(?:_Block|_NonBlock)?\(', text[:begin], re.M)[-1:] + \
        re.findall(r'^int (\w+?)(?:_Block|_NonBlock)?\(', text[begin:], re.M)[:1]
    if path.parts[0] == "commands" and names:
        return "|".join(names)
    if path.parts[1] == "link":
        return "Loss|Lines|Replies|Requests|Reconnect|Outbox|Waits|Tickets|Callbacks|Subscription|Opening"
    return "Exchange|Queue|Pending|Pushes|Receiver"


(build / "fast").mkdir(exist_ok=True)
(build / "fast" / "CTestTestfile.cmake").write_text("".join(f'subdirs("../tests/{room}")\n' for room in tests))
if not builds():
    sys.exit("the tests do not build")
if not all(map(explores, ["link", "classic"])):
    sys.exit("an explorer fails without any change")
if not passes():
    sys.exit(f"tests fail without any change: {(build / 'fast/Testing/Temporary/LastTestsFailed.log').read_text()}")
unchanged = library()

sites = []
sources = sorted(path for room in rooms for path in (copy / room).rglob("*.[ch]*"))
codes = sorted(set(re.findall(r'KeyCode::(\w+)', "".join(path.read_text() for path in sources))))
for path in sources:
    sites += [(path, *change) for change in changes(path.read_text(), codes)]
random.shuffle(sites)
print(f"{len(sites)} places for a change, seed {seed}", flush=True)

tried = survived = 0
began = time.monotonic()
for path, begin, end, replacement in sites:
    if tried == count:
        break
    text = path.read_text()
    path.write_text(text[:begin] + replacement + text[end:])
    name = path.relative_to(copy)
    if builds():
        tried += 1
        is_unnoticed = all(map(explores, explorers(name))) and passes("-R", nearby(name, text, begin)) and passes()
        if is_unnoticed and library() == unchanged:
            tried -= 1
        elif is_unnoticed:
            survived += 1
            line = text.count("\n", 0, begin) + 1
            start, stop = text.rfind("\n", 0, begin) + 1, text.find("\n", end)
            after = text[start:begin] + replacement + text[end:stop]
            shown = [" ".join(part.split()) for part in (text[start:stop], after)]
            print(f"{name}:{line}: {shown[0]} -> {shown[1]}", flush=True)
        if tried % 25 == 0:
            print(f"({tried} tried)", flush=True)
    path.write_text(text)
print(f"{tried} changes, {tried - survived} noticed ({100 * (tried - survived) // max(tried, 1)} %), "
      f"{survived} not, in {time.monotonic() - began:.0f} s")
