"""What goes wrong."""


class Error(Exception):
    """A command that did not succeed."""

    command: str
    """the C function that was called; its documentation says more"""
    status: int
    """the status code"""
    words: str
    """what that says"""
    reason: str
    """what the controller said, or what is wrong; may be empty"""
    advice: str
    """what to do"""

    def __init__(self, command: str, status: int, words: str, reason: str, advice: str) -> None:
        super().__init__(command, status, words, reason, advice)
        self.command, self.status, self.words, self.reason, self.advice = command, status, words, reason, advice

    def __str__(self) -> str:
        reason = f": {self.reason}" if self.reason else ""
        return f"{self.command}: {self.words}{reason} (status {self.status}). What to do: {self.advice}"


class Refused(Error):
    """The controller refused a command, or a motion was broken off."""


class Lost(Error):
    """The connection is lost, was closed, or could not be made."""


class TimedOut(Error):
    """No answer in time."""


class Cancelled(Error):
    """A wait was ended by a stop, cancel or close, or by the end of the interpreter."""


class BadArgument(Error, ValueError):
    """An argument is out of range, and nothing was sent."""
