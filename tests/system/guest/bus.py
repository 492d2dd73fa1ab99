"""The agent service's place on the system bus, and those who should have none there."""

import contextlib
import subprocess
import tempfile

from checks import eventually
from machine import as_user, run

NAME = "com.velunor.OstrelAgent"
PLACE = "/com/velunor/OstrelAgent"
INTERFACE = "com.velunor.OstrelAgent1"


def owner():
    """Who has the name; empty where nobody has."""
    told = run("busctl", "call", "org.freedesktop.DBus", "/org/freedesktop/DBus",
               "org.freedesktop.DBus", "GetNameOwner", "s", NAME, check=False)
    return told.output.strip()


class Service:
    """`ostrel-agent serve`, by root."""

    def __init__(self, *options):
        self.printed = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(["ostrel-agent", "serve", *options], stdout=self.printed,
                                        stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        eventually(lambda: owner() or self.process.poll() is not None, "the service has its name")

    def lines(self):
        """What it has printed."""
        self.printed.seek(0)
        return self.printed.read().splitlines()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(10)


def call(user, interface, member, *arguments, destination=NAME, place=PLACE):
    """A call by that user; its status, and what was printed in one text."""
    words = ["busctl", "--system", "--timeout=5", "call", destination, place, interface, member,
             *arguments]
    told = run(*words, check=False) if user == "root" else as_user(user, *words, check=False)
    return told.status, (told.output + told.error).strip()


def request(user, text, interface=INTERFACE, member="ReplyDataForKey"):
    """A call as the prompt makes it, with that text as the message."""
    message = text.encode()
    return call(user, interface, member, "say", "Key", str(len(message)), *map(str, message))


@contextlib.contextmanager
def listening(user, *command):
    """What a program of that user prints meanwhile, as a function that gives the text."""
    with tempfile.TemporaryFile("w+") as printed:
        process = subprocess.Popen(
            ["setpriv", "--reuid", user, "--regid", user, "--init-groups", *command],
            stdin=subprocess.DEVNULL, stdout=printed, stderr=subprocess.STDOUT)

        def text():
            printed.seek(0)
            return printed.read()
        try:
            yield text
        finally:
            process.kill()
            process.wait()
