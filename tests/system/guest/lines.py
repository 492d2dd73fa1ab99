#!/usr/bin/env python3
"""Takes out each line of what the package installs, one at a time, and tells which check notices.

usage: lines.py [FILE...]

For each line of the units, the bus policy and the tmpfiles.d entry: the line is taken out of the
installed file, the services read it anew, and the checks that look after the file run until one
fails. Comments, section headers and what only describes (Description, Documentation, the document
type) are left out of it. A line of the policy without which it would not be XML stands for its
whole element. FILE names some of the files by a part of their name. Ends with 0 when each line is needed.
"""

import importlib
import pathlib
import re
import sys
import time
import xml.etree.ElementTree

import checks
import run as runner
from checker import restart_socket
from machine import POLICY_FILE, SERVICE_FILE, SOCKET_FILE, SOCKET_UNIT, TMPFILES_FILE, run

FILES = (SOCKET_FILE, SERVICE_FILE, POLICY_FILE, TMPFILES_FILE)


def is_well_formed(text):
    """Whether it is an XML document without texts, as a policy is."""
    try:
        elements = xml.etree.ElementTree.fromstring(text).iter()
    except xml.etree.ElementTree.ParseError:
        return False
    return not any((element.text or "").strip() or (element.tail or "").strip()
                   for element in elements)


def without_element(lines, start):
    """The text without the element that begins on a line."""
    for end in range(start + 1, len(lines) + 1):
        text = "".join(lines[:start] + lines[end:])
        if is_well_formed(text):
            return text
    return None


def shorter_policies(lines):
    """Pairs of what is taken out and what is left, for the policy."""
    comment = False
    for index, line in enumerate(lines):
        comment = comment or "<!--" in line
        is_comment, comment = comment, comment and "-->" not in line
        if is_comment or re.match(r'\s*(</|<!|"|<busconfig>)', line):
            continue
        text = "".join(lines[:index] + lines[index + 1:])
        if is_well_formed(text):
            yield line.strip(), text
        elif line.lstrip().startswith("<"):
            text = without_element(lines, index)
            yield line.strip() + " ...", text


def shorter(path, text):
    """Pairs of the line that is taken out and the text that is left."""
    lines = text.splitlines(keepends=True)
    if path == POLICY_FILE:
        yield from shorter_policies(lines)
        return
    for index, line in enumerate(lines):
        if line.strip() and not re.match(r"\s*[#\[]|Description=|Documentation=", line):
            yield line.strip(), "".join(lines[:index] + lines[index + 1:])


def read_anew(path):
    """Has whoever uses the file read it, and tries everything anew."""
    if path in (SOCKET_FILE, SERVICE_FILE):
        run("systemctl", "daemon-reload")
        run("systemctl", "reset-failed", check=False)
        run("systemctl", "enable", SOCKET_UNIT, check=False)
        restart_socket()
    if path == POLICY_FILE:
        run("busctl", "call", "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", "ReloadConfig", check=False)
    importlib.import_module("checks_30_sandbox").forget()


def passes(item):
    """Whether a check passes; notes how long it takes, and says why not on standard error."""
    begin = time.monotonic()
    try:
        item.function()
        return True
    except Exception as problem:  # pylint: disable=broad-except
        print(f"   {problem}", file=sys.stderr, flush=True)
        return False
    finally:
        item.seconds = time.monotonic() - begin


def first_failure(items):
    """Name of the first check that fails, or None."""
    return next((item.name for item in items if not passes(item)), None)


def needed(path):
    """Takes out each line of the file; how many, and how many were noticed."""
    text = pathlib.Path(path).read_text(encoding="utf-8")
    count = caught = 0
    read_anew(path)
    items = checks.looking_after(path)
    failure = first_failure(items)
    if failure:
        sys.exit(f"{path} as it is installed fails: {failure}")
    # The quick ones first, by what they took when nothing was missing, and of these what the
    # service is for before what it must not do.
    items.sort(key=lambda item: (item.seconds > 1, item.key if item.seconds <= 1 else item.seconds))
    for line, left in shorter(path, text):
        begin = time.monotonic()
        pathlib.Path(path).write_text(left, encoding="utf-8")
        try:
            read_anew(path)
            failure = first_failure(list(items))
        except checks.Failure:
            failure = "the units start"
        finally:
            pathlib.Path(path).write_text(text, encoding="utf-8")
        count += 1
        caught += failure is not None
        result = f"caught by: {failure}" if failure else "NOT MISSED"
        print(f"{pathlib.Path(path).name}: {line}: {result} ({time.monotonic() - begin:.1f} s)",
              flush=True)
    read_anew(path)
    return count, caught


def main():
    for name in runner.chosen_files([]):
        module = importlib.import_module(name)
        if name.startswith("checks_0"):
            module.prepare()
            for item in checks.of_module(name):
                if not runner.succeeds(item.function):
                    sys.exit(f"failed: {item.name}")
    checker_checks = importlib.import_module("checks_20_checker")
    checker_checks.prepare()
    chosen = [path for path in FILES
              if not sys.argv[1:] or any(word in path for word in sys.argv[1:])]
    sums = [needed(path) for path in chosen]
    checker_checks.tidy()
    count, caught = (sum(column) for column in zip(*sums))
    print(f"== {caught} of {count} lines are needed", flush=True)
    return 0 if caught == count else 1


if __name__ == "__main__":
    sys.exit(main())
