"""Says which exported functions of the public headers the reference leaves undocumented: documented.py ROOT XML

A function counts as documented when its page says what it does, describes every parameter and what is returned, and,
for all that take an arm, the rules of waiting and threads. Workers and methods refer to their function instead.
"""
import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

root, xml = Path(sys.argv[1]), Path(sys.argv[2])
headers = "\n".join(path.read_text() for path in root.glob("include/**/*.h"))
exported = [line.split("::")[-1] for line in (root / "cmake/exported_symbols.txt").read_text().split()]
public = {name for name in exported if re.search(rf"^(KX_API|    ).*\b{name}\(", headers, re.M)}

REFERS = re.compile(r"^Service_|_(Block|Blcok|BLock|NonBlock|NonBLock|NonBlcok|NoBlock)$")

faults = {name: "is not in the reference" for name in public}


def text(element):
    return "".join(element.itertext()).strip() if element is not None else ""


for path in xml.glob("*.xml"):
    for member in ElementTree.parse(path).iter("memberdef"):
        name = member.findtext("name")
        if member.get("kind") != "function" or name not in public:
            continue
        about = member.find("detaileddescription")
        described = {text(name) for item in about.iter("parameteritem") if text(item.find("parameterdescription"))
                     for name in item.iter("parametername")}
        parameters = {text(p.find("declname")) for p in member.iter("param")} - {""}
        result = re.sub(r"\w+\(\w+\)", "", text(member.find("type"))).strip()
        rules = [text(section) for section in about.iter("simplesect") if section.get("kind") == "par"]
        fault = None
        if not text(member.find("briefdescription")):
            fault = "does not say what it does"
        elif REFERS.search(name):
            pass
        elif parameters - described:
            fault = "does not describe " + ", ".join(sorted(parameters - described))
        elif result != "void" and not any(s.get("kind") == "return" and text(s) for s in about.iter("simplesect")):
            fault = "does not say what it returns"
        elif "sockfd" in parameters and not any(rule.startswith("Waiting and threads") for rule in rules):
            fault = "does not say how it waits"
        if fault:
            faults[name] = fault
        else:
            faults.pop(name, None)

for name, fault in sorted(faults.items()):
    print(name, fault)
print(f"{len(public) - len(faults)} of {len(public)} public functions are documented")
sys.exit(1 if faults or len(public) < 500 else 0)
