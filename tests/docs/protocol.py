"""Holds the table of the protocol's page against the list of commands, and the list against the headers.

    protocol.py PROGRAM PAGE [--write]    compares, or writes the table into the page

PROGRAM makes the table.
"""
import difflib
import re
import subprocess
import sys
from pathlib import Path

program, page = sys.argv[1], Path(sys.argv[2])
table = subprocess.run([program], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()

headers = "\n".join(path.read_text() for path in page.parent.parent.glob("include/kx/*.h"))
commands = set(re.findall(r"^KX_API int ([A-Z]\w+)\(int sockfd\b", headers, re.M))
commands -= {name for name in commands if re.search(r"_(No|Non)?(Block|Blcok|BLock)$|^Parser_", name)}
missing = commands - set(re.findall(r"`(\w+)\(", table)) - {"Get_Socket_Idx", "Stop_PWM"}  # which send nothing
if missing:
    sys.exit(f"commands without a row in the list: {sorted(missing)}")

head, marker, old = page.read_text().partition("<!-- the table below is written by tests/docs/protocol.py -->\n")
if "--write" in sys.argv:
    page.write_text(f"{head}{marker}\n{table}\n")
    sys.exit()
different = list(difflib.unified_diff(old.strip().splitlines(), table.splitlines(), str(page), "list", lineterm="", n=0))
print("\n".join(different))
sys.exit(f"{page} is out of date: write it anew with --write" if different else 0)
