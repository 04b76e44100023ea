#!/usr/bin/env python3
"""Doxygen's input filter: completes the comments of a public header, so that every function's page says all of it.

What holds for many functions stands once in the headers: what a descriptor or a block flag is, the status codes of a
family ("Setters return ...", "Getters return ..." in its header's opening comment), the rules of waiting and threads.
This adds it to each function's comment, and derives the comments of the workers and of the C++ class's methods.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORKER = re.compile(r"_(Block|Blcok|BLock|NonBlock|NonBLock|NonBlcok|NoBlock)$")
FUNCTION = re.compile(r"(?P<doc>/\*\*(?:(?!\*/).)*?\*/\n)?KX_API (?P<type>[\w ]+[ *]+)(?P<name>\w+)\((?P<parameters>[^;]*?)\);",
                      re.S)
METHOD = re.compile(r"^    (?:\[\[noreturn\]\] )?[\w ]+[ *]+Service_(\w+)\([^;]*?\);(?: // (.*))?$", re.M)
VARIABLES = re.compile(r"(?P<before>/\*\*(?:(?!\*/).)*?\*/\n)?^(?P<type>[ \w]*?(?:float|int32_t)) (?P<names>\w+(?:, \w+)+);"
                       r"(?P<behind> +/\*\*<(?:(?!\*/).)*?\*/)?$", re.M | re.S)
OTHER_NAMES = {"SetAngle": "setAngle", "Inverse_Kinematics": "inverse_kinematics"}  # of methods

SENDS_ONLY = {"Arm_Sockrt_State", "Movej_CANFD", "Movep_CANFD", "Set_WiFi_AP_Data", "Set_WiFI_STA_Data", "Set_USB_Data",
              "Set_RS485", "Set_Ethernet"}
STREAMING = {"Movej_CANFD", "Movep_CANFD", "Force_Position_Move_POSE", "Force_Position_Move_Joint"}
SILENT = {"Arm_Socket_Close", "Get_Socket_Idx", "Init_Socket_Joint", "Parser_Movej_CANFD", "Stop_PWM"}  # send nothing
UNTIL_ARRIVAL = {"Movej_Cmd", "Movel_Cmd", "Movec_Cmd"}
COMMON = {"sockfd": "the arm's descriptor, from Arm_Socket_Start",
          "block": "true waits for the answer, false queues the request and returns"}
ALONE = ("No other blocking call of the process may be under way meanwhile, whatever its arm, and the callback must not "
         "make one: @ref overlap.")
PLAIN = {"kinematics": "Reentrant: works on its arguments only.",
         "frame_transforms": "Reentrant: works on its arguments only."}
SHARED_PARAMETERS = ("Works on the process-wide parameters of the kinematics: one thread at a time may be in it or any "
                     "other function that does.")


def recorded_calls():
    """What goes over the wire for every command, from the protocol's page."""
    rows = re.findall(r"^\| `((\w+)\(.*?\))` \| `(.*?)` \| (?:`(.*?)`|none) \|$", (ROOT / "docs/protocol.md").read_text(), re.M)
    return {function: (call, request, reply) for call, function, request, reply in rows}


def sleeping_entries():
    """The functions that take 20 ms before they send, from their definitions."""
    found = set()
    for source in [*ROOT.glob("commands/*/*.cpp"), *ROOT.glob("runtime/*.cpp")]:
        for name, body in re.findall(r"^int (\w+)\([^{;]*?\)\n\{\n(.*?)^\}", source.read_text(), re.S | re.M):
            if re.search(r"\bsleeping\(|(?<!quick_)\bquery\(|sleep_cp\(entry_delay_ms\)", body):
                found.add(name)
    return found


def one_by_one(match):
    """Variables declared together share their comment."""
    return "\n".join(f"{match['before'] or ''}{match['type']} {name};{match['behind'] or ''}"
                     for name in match["names"].split(", "))


def names_of(parameters):
    return [re.search(r"(\w+)(?:\[\d*\])?$", p.strip()).group(1) for p in parameters.split(",") if p.strip() != "void"]


class Comment:
    """A comment taken apart: text before its commands, parameters by name, what it returns."""

    def __init__(self, doc):
        lines = [re.sub(r"^\s*\*? ?", "", line) for line in re.sub(r"^/\*\*|\*/\s*$", "", doc or "").split("\n")]
        self.text, self.parameters, self.returns = [], {}, ""
        target = None
        for line in lines:
            if match := re.match(r"@param (\w+(?:, ?\w+)*) ?(.*)", line):
                target = match.group(1)
                self.parameters[target] = match.group(2)
            elif match := re.match(r"@return ?(.*)", line):
                target, self.returns = "@return", match.group(1)
            elif target == "@return":
                self.returns += "\n" + line
            elif target:
                self.parameters[target] += "\n" + line
            else:
                self.text.append(line)

    def of(self, name):
        for names, text in self.parameters.items():
            if name in re.split(", ?", names):
                return text.rstrip()
        return None


def paragraph(comment, start):
    """The sentence or more of an opening comment that begin with these words, up to the end of the paragraph."""
    match = re.search(start + r" return:? (.*?)(?=\n\s*\n|\n@|Getters return|$)", comment, re.S)
    return match and re.sub(r"\s+", " ", match.group(1)).strip(" .") + "."


class Header:
    def __init__(self, path):
        self.path, self.source = Path(path), Path(path).read_text()
        self.family = self.path.stem
        opening = re.search(r"/\*\*? ?(.*?)\*/", self.source, re.S).group(1)
        self.opening = re.sub(r"^ \* ?", "", opening, flags=re.M)
        self.common = dict(COMMON)  # "- `name`, `name` meaning" in the opening comment
        for names, text in re.findall(r"^- ((?:`\w+`(?:, )?)+) ([^\n]*(?:\n(?!- |\s*$)[^\n]*)*)", self.opening, re.M):
            self.common |= {name: text for name in re.findall(r"\w+", names)}
        self.entries = {}
        self.sleeping = sleeping_entries()
        self.calls = recorded_calls()

    def rules(self, name, parameters, form):
        """What the caller must know of waiting and threads."""
        if "sockfd" not in parameters:
            if self.family == "kinematics" and ("model" in parameters or name in (
                    "Forward_Kinematics_e", "Homogeneous_transformation_matrix", "setAngle", "setLwt")):
                return SHARED_PARAMETERS
            return SHARED_PARAMETERS if self.family == "inverse_kinematics" else PLAIN.get(self.family)
        after = " after 20 ms" if name in self.sleeping else " at once"
        until = ("until the motion has ended" if name in UNTIL_ARRIVAL else "at most m_nOutTime milliseconds")
        queue = "puts the request into the queue, from which one request leaves every 5 ms, and returns"
        anywhere = "from any thread, the callback too, at any time"
        if WORKER.sub("", name) in SILENT:
            return f"It sends nothing and waits for no answer: {anywhere}, except where said otherwise."
        if form == "both":
            without = (f"it sends{after}" if name in STREAMING else
                       f"it {queue}{after if after == ' after 20 ms' else ''}")
            return (f"With @p block true it sends{after} and waits for the answer, {until}. {ALONE} With @p block false "
                    f"{without}: {anywhere}.")
        if form == "queues":
            return f"It {queue}: {anywhere}."
        if form == "sends":
            return f"It sends{after} and waits for no answer: {anywhere}."
        return f"It sends{after} and waits for the answer, {until}. {ALONE}"

    def form(self, name, parameters):
        if "block" in parameters:
            return "both"
        if WORKER.search(name):
            if "_No" in name:
                return "sends" if WORKER.sub("", name) in STREAMING else "queues"
            return "sends" if WORKER.sub("", name) in SENDS_ONLY - {"Movej_CANFD", "Movep_CANFD"} else "waits"
        if name == "Add_Queue":
            return "queues"
        return "sends" if name in SENDS_ONLY else "waits"

    def returned(self, comment, form, has_outputs, is_setter):
        base = paragraph(self.opening, "Setters" if is_setter else "Getters") or paragraph(self.opening, "Setters")
        own = re.sub(r"\s+", " ", comment.returns).strip() if "|" not in comment.returns else comment.returns
        text = own
        if (like := re.fullmatch(r"as (\w+)\.?", own)) and like[1] in self.entries:
            return self.entries[like[1]][1]  # whose outputs are said there
        if base and (not own or own.startswith("also")):
            text = base + (" A" + own[1:].rstrip(".") + "." if own else "")
        if has_outputs and not re.search("writt|untouched", text + "\n".join(comment.text)):
            text += (" What was decoded before a fault in the reply stays written." if "stays written" in self.opening
                     else " Unless it is 0, the outputs are untouched.")
        return text

    def document(self, match):
        name, parameters = match["name"], names_of(match["parameters"])
        comment, form = Comment(match["doc"]), self.form(name, parameters)
        base = self.entries.get(WORKER.sub("", name)) if WORKER.search(name) else None
        text = "\n".join(comment.text).strip()
        returns = ""
        if base and not match["doc"]:
            comment.parameters = base[0].parameters
            text = (f"The {'non-blocking' if '_No' in name else 'blocking'} half of @ref {WORKER.sub('', name)}.\n\n"
                    "It skips the checks and the 20 ms that the function may begin with.")
            returns = {"queues": "0, also when the queue was full and the request was dropped",
                       "sends": "0 sent, 6 not sent"}.get(form, base[1]) if "_No" in name else base[1]
            returns = re.sub(r" Also 5 .*", "", returns)  # a check that the entry makes
        elif "int " in match["type"] and "sockfd" in parameters or comment.returns:
            outputs = [p for p in match["parameters"].split(",") if "*" in p and "const" not in p]
            reads = form == "waits" or "Get_" in name
            returns = self.returned(comment, form, bool(outputs) and reads, not name.startswith("Get_"))
        if not WORKER.search(name):
            self.entries[name] = (comment, returns)
        out = ["/**", text, ""]
        for parameter in parameters:
            described = comment.of(parameter) or self.common.get(parameter)
            if described:
                out.append(f"@param {parameter} {described}")
        if returns:
            about = " See @ref status." if "sockfd" in parameters and name not in SILENT else ""
            out += [f"@return {returns.rstrip('. ')}.{about}" if about else "@return " + returns]
        if rules := self.rules(name, parameters, form):
            out += ["@par Waiting and threads" if "sockfd" in parameters else "@par Threads", rules]
        if name in self.calls:
            call, request, reply = self.calls[name]
            answered = f", which `kx-controller` answered with `{reply}`" if reply else ""
            out += ["@par On the wire", f"`{call}` sent `{request}`{answered}: see @ref protocol."]
        return "\n".join(out) + "\n*/\n" + re.sub(r"\s+", " ", match[0][len(match["doc"] or ""):])

    @staticmethod
    def method(match):
        function = OTHER_NAMES.get(match[1], match[1])
        note = "@warning This method " + match[2] + ".\n" if match[2] else ""
        return f"/** Forwards to @ref {function}.\n{note}@copydetails {function} */\n{match[0]}"

    def completed(self):
        if self.family == "kx_service":
            return METHOD.sub(self.method, self.source)
        text = FUNCTION.sub(self.document, VARIABLES.sub(one_by_one, self.source))
        workers = "/** @name Workers\n * Exported, and of use to programs that make their own entries. @{ */"
        if re.search(r"^/\* Workers.*?\*/", text, re.M | re.S):
            text = re.sub(r"^/\* Workers.*?\*/", lambda _: workers, text, flags=re.M | re.S)
            text = text.replace("/** @} */", "/** @} */\n/** @} */")
        return re.sub(r"^/\* Reply decoders (.*?)\*/", "", text, flags=re.M | re.S)


if __name__ == "__main__":
    sys.stdout.write(Header(sys.argv[1]).completed())
