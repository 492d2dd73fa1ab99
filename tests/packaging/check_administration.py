#!/usr/bin/env python3
"""Whether the administrators' page names every line of the prompt's log and every setting.

usage: check_administration.py SOURCE-TREE
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
LITERAL = r'"((?:[^"\\]|\\.)*)"'


def log_lines():
    """How each line begins that the program writes to the log."""
    for folder in ("app", "window", "prompt", "credentials", "platform/linux/session"):
        for file in sorted((ROOT / folder).rglob("*.cpp")):
            text = file.read_text(encoding="utf-8")
            for call in re.finditer(r"\blog_?\.write\((.*?)\);", text, re.DOTALL):
                # What stands behind a "+" is the rest of a line.
                for literal in re.finditer(r"(\+\s*)?" + LITERAL, call[1]):
                    if not literal[1]:
                        yield literal[2]


def settings():
    """The keys that the reader of the settings knows."""
    text = (ROOT / "agent/linux/settings.cpp").read_text(encoding="utf-8")
    reader = r"\b(?:agent|service|credentials|directory|node)\.(?:text|path|texts|seconds)\("
    yield from re.findall(reader + LITERAL, text)


def main():
    page = (ROOT / "docs/administration.md").read_text(encoding="utf-8")
    lines, keys = sorted(set(log_lines())), sorted(set(settings()))
    if len(lines) < 40 or len(keys) < 12:
        sys.exit(f"only {len(lines)} lines of the log and {len(keys)} settings were found")
    missing = [line for line in lines if f"`{line.rstrip(' :')}" not in page]
    missing += [key for key in keys if not re.search(rf"(?m)^#? ?{key} = ", page)]
    if missing:
        sys.exit("docs/administration.md says nothing of:\n" + "\n".join(missing))


main()
