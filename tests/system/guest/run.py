#!/usr/bin/env python3
"""Runs the checks on the booted machine, by root.

usage: run.py [FILE...]

Each file checks_*.py beside this one holds checks; FILE is how the name of one goes on after
"checks_", those that begin with 0 are always run. A line for each check tells its result, the last
one the sum. Ends with 0 when all passed, and with 75 when the machine restarts; run again then, it
goes on where it was.
"""

import importlib
import json
import pathlib
import sys
import traceback

import checks
from machine import RESTART_MARK, STATE, release

RESTARTS = 75


def chosen_files(words):
    """The names of the modules that are run, in their order."""
    names = sorted(path.stem for path in pathlib.Path(__file__).parent.glob("checks_*.py"))
    if not words:
        return names
    return [name for name in names
            if name.startswith("checks_0") or name[len("checks_"):].startswith(tuple(words))]


class Results:
    """What came out so far; survives a restart of the machine."""

    def __init__(self):
        self.path = STATE / "results.json"
        STATE.mkdir(exist_ok=True)
        self.done = json.loads(self.path.read_text()) if self.path.exists() else {}

    def note(self, key, passed):
        """Keeps the result of one check and prints its line."""
        self.done[key] = passed
        self.path.write_text(json.dumps(self.done))
        print(f"{'ok' if passed else 'FAIL'} {key.split(': ', 1)[1]}", flush=True)

    def running(self, key=None):
        """Notes which check runs; without one, tells which ran when the machine restarted."""
        path = STATE / "running"
        if key is not None:
            path.write_text(key)
            return key
        return path.read_text() if path.exists() else None


def succeeds(function):
    """Whether a check passes, or what comes before or after some; says why not on standard error."""
    try:
        function()
        return True
    except checks.Failure as failure:
        print(f"   {function.__module__}: {failure}", file=sys.stderr, flush=True)
    except Exception:  # pylint: disable=broad-except
        traceback.print_exc()
    return False


def main():
    results = Results()
    if RESTART_MARK.exists():
        RESTART_MARK.unlink()
        results.note(results.running(), True)
    for name in chosen_files(sys.argv[1:]):
        module = importlib.import_module(name)
        prepare = getattr(module, "prepare", None)
        pending = [item for item in checks.of_module(name) if item.key not in results.done]
        prepared = not pending or prepare is None or succeeds(prepare)
        for item in pending:
            results.running(item.key)
            passed = prepared and succeeds(item.function)
            if RESTART_MARK.exists():
                return RESTARTS
            results.note(item.key, passed)
        tidy = getattr(module, "tidy", None)
        if pending and prepared and tidy and not succeeds(tidy):
            results.note(f"{name}: {name} leaves the machine as it was", False)
    passed = sum(results.done.values())
    print(f"== {passed} of {len(results.done)} checks passed on Debian {release()}", flush=True)
    return 0 if passed == len(results.done) else 1


if __name__ == "__main__":
    sys.exit(main())
