"""Holds the table of the protocol's page against what the library and kx-controller say to each other.

    protocol.py CONTROLLER PROGRAM PAGE [--write]    compares, or writes the table into the page

PROGRAM makes the table. Numbers in replies may differ, since they tell of an arm that has moved, and of time.
"""
import difflib
import re
import subprocess
import sys
from pathlib import Path

controller_program, program, page = sys.argv[1], sys.argv[2], Path(sys.argv[3])
OPTIONS = ["--port", "0", "--speed", "10", "--object", "40", "--log", "/dev/null",
           *["--lead", "60,-30,-60,0,-90,0", "--lead", "-60,-30,-60,0,-90,0"] * 3]  # a way that takes time to replay

controller = subprocess.Popen([controller_program, *OPTIONS], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
try:
    port = controller.stdout.readline().split(":")[-1].strip()
    table = subprocess.run([program, port], stdout=subprocess.PIPE, text=True, timeout=100, check=True).stdout.strip()
    table = table.replace("| `` |", "| none |")
finally:
    controller.kill()

# Every command has its row.
headers = "\n".join(path.read_text() for path in page.parent.parent.glob("include/kx/*.h"))
commands = set(re.findall(r"^KX_API int ([A-Z]\w+)\(int sockfd\b", headers, re.M))
commands -= {name for name in commands if re.search(r"_(No|Non)?(Block|Blcok|BLock)$|^Parser_", name)}
missing = commands - set(re.findall(r"`(\w+)\(", table)) - {"Get_Socket_Idx", "Stop_PWM"}  # which send nothing
if missing:
    sys.exit(f"commands without a row: {sorted(missing)}")

head, marker, old = page.read_text().partition("<!-- the table below is written by tests/docs/protocol.py -->\n")
if "--write" in sys.argv:
    page.write_text(f"{head}{marker}\n{table}\n")
    sys.exit()


def comparable(text):
    lines = []
    for line in text.strip().splitlines():
        start, _, reply = line.rpartition(" | ")
        reply = re.sub(r'"error":"[^"]*"', '"error":""', reply)
        lines.append(start + " | " + re.sub(r"-?\d+(\.\d+)?", "0", reply))
    return lines


different = list(difflib.unified_diff(comparable(old), comparable(table), str(page), "now", lineterm="", n=0))
print("\n".join(different))
sys.exit(f"{page} is out of date: write it anew with --write" if different else 0)
