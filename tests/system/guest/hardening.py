#!/usr/bin/env python3
"""Whether programs and libraries are built so that a fault in them is hard to make use of.

usage: hardening.py FILE...      ends with 1, and says why, when one is not
"""

import platform
import re
import subprocess
import sys

MACHINE_MARKS = {"x86_64": r"\bendbr64\b", "aarch64": r"\b(bti|paciasp)\b"}
# The start-up code that the linker adds may have one or two of its own.
FEWEST_MARKS = 20


def tool(*command):
    """What a program prints."""
    return subprocess.run(command, check=True, text=True, capture_output=True,
                          env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout


def is_elf(path):
    """Whether it is a program or a library."""
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def faults(path):
    """What is missing in a program or library, one line each."""
    headers = tool("readelf", "--wide", "--file-header", "--program-headers", "--dynamic", path)
    symbols = tool("readelf", "--wide", "--dyn-syms", path)
    marks = re.findall(MACHINE_MARKS[platform.machine()],
                       tool("objdump", "--disassemble", "--no-show-raw-insn", path))
    wanted = {
        "loaded at any address": re.search(r"Type:\s+DYN", headers),
        "relocations read-only": "GNU_RELRO" in headers,
        "all of them before the start": re.search(r"FLAGS(_1)?\)\s+.*\b(BIND_)?NOW\b", headers),
        "no code on the stack": re.search(r"GNU_STACK\s.*\sRW\s", headers),
        "no memory both written and run": not re.search(r"LOAD\s.*\sRWE\s", headers),
        "no search path of its own": not re.search(r"\((RPATH|RUNPATH)\)", headers),
    }
    # A plug-in of some functions need not have an occasion for each of these.
    if "INTERP" in headers:
        wanted |= {
            "stack protector": "__stack_chk_fail" in symbols,
            "checked calls of the library": re.search(r"__(?!stack)\w+_chk\b", symbols),
            "control-flow protection": len(marks) >= FEWEST_MARKS,
        }
    return [f"{path}: {name} is missing" for name, there in wanted.items() if not there]


def main():
    files = [path for path in sys.argv[1:] if is_elf(path)]
    if not files:
        sys.exit("no program among the files")
    missing = [fault for path in files for fault in faults(path)]
    if missing:
        sys.exit("\n".join(missing))
    print(f"{len(files)} programs and libraries are hardened")


if __name__ == "__main__":
    main()
