"""What a file of checks needs to say what it expects."""

import re
import time


class Failure(Exception):
    """A check has not found what it expected; the text says what it found."""


class Check:
    """One check: its name, which is one line of the output, and what it does."""

    def __init__(self, name, function, files):
        self.name = name
        self.function = function
        self.files = files
        self.seconds = 0.0

    @property
    def key(self):
        """Tells it from the checks of the same name in other files."""
        return f"{self.function.__module__}: {self.name}"


_registered = []


def check(name, lines_of=()):
    """Makes a function a check. `lines_of` names the installed files whose lines it looks after; it
    takes seconds at most then, and can be run in any order, however often."""
    def register(function):
        _registered.append(Check(name, function, lines_of))
        return function
    return register


def of_module(module):
    """The checks of a module, in the order of its text."""
    return [item for item in _registered if item.function.__module__ == module]


def looking_after(file):
    """The checks that look after an installed file."""
    return [item for item in _registered if file in item.files]


def expect(condition, what):
    """Fails with the text unless the condition holds."""
    if not condition:
        raise Failure(what)


def expect_equal(found, expected, what):
    """Fails unless both are equal."""
    expect(found == expected, f"{what}: {found!r} instead of {expected!r}")


def expect_match(pattern, text, what):
    """Fails unless the pattern is found in the text; gives the match."""
    match = re.search(pattern, text)
    expect(match, f"{what}: nothing like {pattern!r} in {text!r}")
    return match


def eventually(condition, what, seconds=10.0):
    """Waits until the condition gives something true, and gives that."""
    end = time.monotonic() + seconds
    while True:
        found = condition()
        if found:
            return found
        expect(time.monotonic() < end, f"not within {seconds:g} seconds: {what}")
        time.sleep(0.05)
