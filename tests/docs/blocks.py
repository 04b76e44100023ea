"""The code blocks of README and guide, taken out of their pages to be compiled and run.

    blocks.py extract OUT PAGE...              writes OUT/<page>_<number>.cpp, and prints "name kind" for every block
    blocks.py run CONTROLLER PAGE NUMBER PROGRAM...   runs a block as its page says

C++ blocks with a main() are programs: compiled, and run until they exit with 0. The others are compiled as the body of
a function that has an `arm`. Python blocks are run; those that import nothing have an `arm`, those with tests are pytest's.
Shell blocks are run with kx-controller in the PATH. What is to be run gets a kx-controller
of its own, whose port takes the place of 8080. Comments above a block say what differs:

    <!-- controller: --model 47 -->   options of its kx-controller
    <!-- on "text": stop -->          when the program prints the text: stop, continue or restart the controller;
                                      in the order given
    <!-- not run: why -->
    <!-- file: name -->               it is also in this file, beside the page
"""
import os
import re
import select
import signal
import subprocess
import sys
from pathlib import Path

BLOCK = re.compile(r"((?:^ *<!--(?:(?!-->).)*-->\n)*)^ *```(\w+)\n(.*?)^ *```$", re.M | re.S)
TIME_LIMIT = 100


class Block:
    def __init__(self, page, number, comments, language, code):
        self.name = f"{Path(page).stem.replace('-', '_')}_{number}"
        self.language, self.code = language, code
        self.notes = [note.strip() for note in re.findall(r"<!--(.*?)-->", comments, re.S)]

    def noted(self, word):
        return [note[len(word):].lstrip(": ") for note in self.notes if note.startswith(word)]

    @property
    def kind(self):
        if self.language == "sh":
            return "skipped" if self.noted("not run") else "shell"
        if self.language == "cpp":
            return "program" if "int main(" in self.code and not self.noted("not run") else "compiled"
        return "python" if self.language == "py" else "skipped"

    def source(self):
        code = self.code.replace(" 8080", " std::atoi(std::getenv(\"KX_PORT\"))")
        if "int main(" in code:
            return "#include <cstdlib>\n" + code
        includes = "\n".join(re.findall(r"^#include.*", code, re.M))
        rest = re.sub(r"^#include.*\n", "", code, flags=re.M)
        return (f"#include <cstdlib>\n#include \"kx_base.h\"\n{includes}\n"
                f"[[maybe_unused]] void block([[maybe_unused]] int arm)\n{{\n{rest}}}\n")

    def python(self):
        code = self.code.replace(" 8080", " int(os.environ['KX_PORT'])")
        if "import kx\n" in code:
            return f"import os\n{code}"
        indented = "".join(f"    {line}" for line in code.splitlines(True))
        return f"import os, kx\nwith kx.Arm('127.0.0.1', int(os.environ['KX_PORT']), model=46) as arm:\n{indented}"


def blocks_of(page):
    return [Block(page, number, *match) for number, match in enumerate(BLOCK.findall(Path(page).read_text()), 1)]


def extract(out, pages):
    out.mkdir(parents=True, exist_ok=True)
    for page in pages:
        for number, block in enumerate(blocks_of(page), 1):
            for file in block.noted("file"):
                if (Path(page).parent / file).read_text() != block.code:
                    sys.exit(f"{block.name} is not what is in {file}")
            if block.language in ("cpp", "py"):
                file = out / f"{block.name}.{block.language}"
                source = block.source() if block.language == "cpp" else block.python()
                if not file.exists() or file.read_text() != source:
                    file.write_text(source)
            print(block.name, block.kind, page, number, sep="|")


class Controller:
    def __init__(self, program, options):
        self.program, self.options, self.port = program, options, "0"
        self.start()

    def start(self):
        self.process = subprocess.Popen([self.program, "--port", self.port, *self.options], stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().split(":")[-1].strip()

    def act(self, action):
        if action == "restart":
            self.process.kill()
            self.process.wait()
            self.start()
        if action == "stop":
            self.process.send_signal(signal.SIGSTOP)
            os.waitid(os.P_PID, self.process.pid, os.WSTOPPED)
        if action == "continue":
            self.process.send_signal(signal.SIGCONT)


def run(controller_program, page, number, program):
    block = blocks_of(page)[number - 1]
    controller = Controller(controller_program, " ".join(block.noted("controller")).split())
    events = [re.match(r'"(.*)": (\w+)', note).groups() for note in block.noted("on")]
    environment = {**os.environ, "KX_PORT": controller.port,
                   "PATH": f"{Path(controller_program).parent}:{os.environ['PATH']}"}
    if block.language == "sh":
        program = ["bash", "-euo", "pipefail", "-c", block.code.replace("8080", "$KX_PORT")]
    running = subprocess.Popen(["stdbuf", "-oL", *program], env=environment, stdout=subprocess.PIPE, text=True)
    try:
        while select.select([running.stdout], [], [], TIME_LIMIT)[0]:
            line = running.stdout.readline()
            if not line:
                break
            print(line, end="")
            if events and events[0][0] in line:
                print("  controller:", events[0][1])
                controller.act(events.pop(0)[1])
        status = running.wait(TIME_LIMIT)
    finally:
        running.kill()
        controller.process.kill()
    if status or events:
        sys.exit(f"{block.name}: exit status {status}, expected events that did not come: {events}")


if __name__ == "__main__":
    if sys.argv[1] == "extract":
        extract(Path(sys.argv[2]), sys.argv[3:])
    else:
        run(sys.argv[2], sys.argv[3], int(sys.argv[4]), sys.argv[5:])
