"""A prompt that root asks for, and what a person does with it."""

import subprocess
import tempfile
import time

from checks import Failure, eventually
from machine import run

ARGUMENTS = ("OSUpdate", "Debian 12.9", "false", "15", "false", "2")
WITH_CREDENTIALS = ("OSUpdateWithCred",) + ARGUMENTS[1:]

# Middle of each control: from the window's left edge, and from its upper one, or its lower one
# where that is negative.
_PLACES = {"Update Now": (328, -45), "Postpone": (198, -45), "Password": (190, -172),
           "Use another account": (313, 253), "Picture": (61, 254)}


class Asking:
    """A running `ostrel-agent prompt`."""

    def __init__(self, *options, arguments=ARGUMENTS, command=("ostrel-agent",)):
        self.output = tempfile.TemporaryFile("w+")
        self.error = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            [*command, "prompt", *options, "--", *arguments],
            stdin=subprocess.DEVNULL, stdout=self.output, stderr=self.error)

    def wait(self, seconds=20):
        """Its exit status, once it has ended."""
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise Failure(f"the prompt did not end within {seconds} seconds: {self.errors()}") \
                from None

    def answer(self):
        """What it has printed on standard output."""
        self.output.seek(0)
        return self.output.read()

    def errors(self):
        """What it, and the prompt, have printed on standard error."""
        self.error.seek(0)
        return self.error.read()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


class Window:
    """The prompt's window on a session's screen."""

    def __init__(self, session, asking=None):
        """Waits until it is shown."""
        self.session = session

        def shown():
            if asking is not None and asking.process.poll() is not None:
                raise Failure(f"the prompt ended before it was shown: {asking.errors()}")
            return find_window(session)
        self.identifier = eventually(shown, f"a prompt for {session.user}", 20)
        self.settle()

    def settle(self):
        """Waits until it stands still, and takes keys."""
        before = None
        while before != (before := self.geometry()):
            time.sleep(0.2)
        # A second after its first picture it answers.
        time.sleep(1.2)

    def geometry(self):
        """Left, upper edge, width and height."""
        told = self.session.x("xdotool", "getwindowgeometry", "--shell", self.identifier).output
        values = dict(line.split("=") for line in told.splitlines())
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def click(self, control, **options):
        """Moves the pointer to the control and clicks."""
        self.session.x("xdotool", "mousemove", *map(str, self.place(control)), "click", "1",
                       **options)

    def place(self, control):
        """Where the middle of the control is on the screen."""
        left, top, _, height = self.geometry()
        x, y = _PLACES[control]
        return left + x, top + (y if y >= 0 else height + y)

    def type(self, text):
        """Types into whatever has the focus; the text is in no argument."""
        self.session.x("xdotool", "type", "--delay", "20", "--file", "-", stdin=text)


def find_window(session):
    """Identifier of the prompt's window on the session's screen, or None."""
    found = session.x("xdotool", "search", "--onlyvisible", "--class", "velunor",
                      check=False).output.split()
    return found[-1] if found else None


def answered(session, *options, press="Update Now", **more):
    """Asks, presses the button; status, standard output and standard error."""
    with Asking(*options, **more) as asking:
        Window(session, asking).click(press)
        status = asking.wait()
        return status, asking.answer(), asking.errors()


def prompts():
    """Numbers of the prompts that run."""
    return run("pgrep", "-f", "^/opt/velunor/ostrel_agent/bin/VelunorOSUpdate ",
               check=False).output.split()
