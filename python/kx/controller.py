"""A virtual controller of one's own."""
from __future__ import annotations

import os
import shutil
import subprocess
import threading
from types import TracebackType
from typing import Any, Optional, Sequence

from kx._kx import Arm


def _pass_on(descriptor: int) -> None:
    # Not by sys.stderr, whose lock a daemon thread would keep at the end of the interpreter.
    with open(descriptor, "rb", buffering=0) as output, open(2, "wb", buffering=0, closefd=False) as errors:
        shutil.copyfileobj(output, errors)


class Controller:
    """A kx-controller on a free port of this machine, best as a context. It ends with the program at the latest.

    The program is the one that the environment variable KX_CONTROLLER names, or else the kx-controller in the PATH.
    """

    host = "127.0.0.1"
    port: int
    model: int

    def __init__(self, model: int = 46, *, speed: float = 1, options: Sequence[str] = ()) -> None:
        """Starts it. Its time runs `speed` times as fast; `options` are further ones of kx-controller.
        What it prints after its address, with --web or --trace, goes to the standard error."""
        program = os.environ.get("KX_CONTROLLER", "kx-controller")
        command = [program, "--host", self.host, "--port", "0", "--spacing", "0", "--model", str(model),
                   "--speed", str(speed), "--until-eof", *options]
        try:
            # A Ctrl-C is the program's, not the controller's; and the pipe ends with the program, however that ends.
            self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0,
                                             process_group=0)
        except FileNotFoundError as error:
            raise FileNotFoundError(f"there is no {program}: install the package kx-controller, or name the program "
                                    "in KX_CONTROLLER") from error
        assert self._process.stdout
        line = self._process.stdout.readline().decode()
        if not line:
            raise RuntimeError(f"kx-controller ended with status {self._process.wait()}: {' '.join(command)}")
        self.model, self.port = model, int(line.rpartition(":")[2])
        threading.Thread(target=_pass_on, args=[os.dup(self._process.stdout.fileno())], daemon=True).start()

    def connect(self, **options: Any) -> Arm:
        """An arm that is connected to it. The options are those of kx.Arm."""
        return Arm(self.host, self.port, self.model, **options)

    def close(self) -> None:
        """Ends it."""
        with self._process:
            self._process.kill()

    def __enter__(self) -> Controller:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_process"):
            self.close()
