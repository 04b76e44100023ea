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

faults = {name: ["is not in the reference"] for name in public}


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
        returns = re.sub(r"\w+\(\w+\)", "", text(member.find("type"))).strip() != "void"
        said = {kind: [text(section) for section in about.iter("simplesect") if section.get("kind") == kind]
                for kind in ("return", "par")}
        refers = REFERS.search(name)
        faults[name] = [fault for fault, holds in (
            ("does not say what it does", text(member.find("briefdescription"))),
            ("does not describe " + ", ".join(sorted(parameters - described)), refers or parameters <= described),
            ("does not say what it returns", refers or not returns or any(said["return"])),
            ("does not say how it waits", refers or "sockfd" not in parameters
             or any(rule.startswith("Waiting and threads") for rule in said["par"])),
        ) if not holds]

faults = {name: found for name, found in faults.items() if found}
for name, found in sorted(faults.items()):
    print(name, *found, sep=", ")
print(f"{len(public) - len(faults)} of {len(public)} public functions are documented")
sys.exit(1 if faults or len(public) < 500 else 0)
