"""Commands in documents, run as they are written."""

import subprocess
import tempfile
import time

from checks import Failure, expect_equal
from prompt import Window, find_window


def command_blocks(path):
    """The blocks of commands of a document, marked "sh": the heading above it, and its text."""
    section, block = "", None
    for line in path.read_text(encoding="utf-8").splitlines():
        if block is None and line.startswith("#"):
            section = line.lstrip("# ")
        elif block is None and line == "```sh":
            block = []
        elif block is not None and line == "```":
            yield section, "\n".join(block) + "\n"
            block = None
        elif block is not None:
            block.append(line)


class Running:
    """A program that root runs, and what it says."""

    def __init__(self, *command, directory=None, environment=None):
        self.output = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(command, cwd=directory, env=environment,
                                        stdin=subprocess.DEVNULL, stdout=self.output,
                                        stderr=subprocess.STDOUT)

    def said(self):
        """Everything that it has written so far."""
        self.output.seek(0)
        return self.output.read()

    def answer_by(self, session, button, **options):
        """Presses the button of its prompt."""
        end = time.monotonic() + 30
        while not find_window(session):
            if self.process.poll() is not None or time.monotonic() > end:
                raise Failure(f"there was no prompt: {self.said()}")
            time.sleep(0.1)
        Window(session).click(button, **options)

    def wait(self, seconds=60):
        """Its exit status, once it has ended; the prompts that it shows stay unanswered."""
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failure(f"it did not end: {self.said()}") from None
        finally:
            self.end()

    def end(self):
        """Ends it where it still runs."""
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def run_block(text, directory, session=None):
    """Runs the commands to their end and presses Update Now in each prompt; what they wrote. Fails
    where one of them does."""
    running = Running("/bin/sh", "-e", "-c", text, directory=directory)
    end = time.monotonic() + 300
    try:
        while running.process.poll() is None:
            if session is not None and find_window(session):
                Window(session).click("Update Now")
                while find_window(session) and running.process.poll() is None:
                    time.sleep(0.1)
            if time.monotonic() > end:
                raise Failure(f"the commands did not end: {running.said()}")
            time.sleep(0.1)
    finally:
        running.end()
    expect_equal(running.process.returncode, 0, f"the status, with {running.said()!r}")
    return running.said()
