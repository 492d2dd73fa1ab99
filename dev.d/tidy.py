#!/usr/bin/env python3
"""clang-tidy over the sources of a build that is made with clang++.

usage: tidy.py BUILD [PART...]    only sources whose paths hold a PART, such as ui/ or secret_test

A source that was found clean is not looked at again while itself, every header that it includes,
the command that compiles it, .clang-tidy and clang-tidy are the same. What is known to be clean is
kept in ~/.cache/velunor-tidy, for every checkout together.
"""
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Each assertion doubles the paths that the analyser follows through a test: in depth it takes twelve
# times as long there without finding more.
SHALLOW = ["--extra-arg=-Xclang", "--extra-arg=-analyzer-config",
           "--extra-arg=-Xclang", "--extra-arg=mode=shallow"]
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or "~/.cache").expanduser() / "velunor-tidy"


@functools.lru_cache(maxsize=None)
def digest_of(path):
    """The digest of a file, none when it cannot be read."""
    try:
        return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    except OSError:
        return None


def digest(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


def write(path, text):
    """Whole or not at all, for other checkouts read it meanwhile."""
    path.parent.mkdir(parents=True, exist_ok=True)
    new = path.with_suffix(f".{os.getpid()}")
    new.write_text(text)
    new.replace(path)


class Source:
    def __init__(self, build, entry, tool):
        self.build = build
        self.file = pathlib.Path(entry["file"])
        self.name = str(self.file.relative_to(ROOT))
        self.command = shlex.split(entry["command"])
        self.directory = entry["directory"]
        self.options = SHALLOW if self.name.startswith("tests/") else []
        configurations = (digest_of(folder / ".clang-tidy") or "" for folder in self.file.parents
                          if folder.is_relative_to(ROOT))
        self.identity = digest(tool, self.portable(entry["command"]), *self.options, *configurations)
        self.includes = CACHE / "includes" / self.identity

    def portable(self, text):
        """The text with names in place of this checkout's directories."""
        return text.replace(str(self.build), "@BUILD@").replace(str(ROOT), "@ROOT@")

    def local(self, text):
        return text.replace("@BUILD@", str(self.build)).replace("@ROOT@", str(ROOT))

    def key_of(self, includes):
        """The name under which a clean result is kept, none when a file is no longer there."""
        digests = [digest_of(self.local(path)) for path in includes]
        if None in digests:
            return None
        return CACHE / "clean" / digest(self.identity, *includes, *digests)

    def scanned_includes(self):
        """Every file that the compiler reads for this source; none when it cannot be compiled."""
        start = next(at for at, word in enumerate(self.command) if word.endswith("clang++"))
        command = [word for word in self.command[start:] if word not in ("-c", "-MD")]
        for option in ("-o", "-MF", "-MT"):
            if option in command:
                at = command.index(option)
                del command[at:at + 2]
        result = subprocess.run([*command, "-M"], cwd=self.directory, text=True,
                                capture_output=True, check=False)
        if result.returncode != 0:
            return None
        paths = result.stdout.replace("\\\n", " ").split(": ", 1)[1].split()
        resolved = (os.path.normpath(os.path.join(self.directory, path)) for path in paths)
        return sorted({self.portable(path) for path in resolved})

    def is_known_clean(self):
        """Whether nothing has changed since it was clean; finds `self.key` for what has."""
        if self.includes.exists():
            self.key = self.key_of(self.includes.read_text().splitlines())
            if self.key and self.key.exists():
                return True
        includes = self.scanned_includes()
        self.key = self.key_of(includes) if includes else None
        if includes:
            write(self.includes, "\n".join(includes))
        return bool(self.key and self.key.exists())

    def findings(self):
        """What clang-tidy says, empty when that is nothing."""
        if self.is_known_clean():
            return ""
        result = subprocess.run(["clang-tidy", "--quiet", "-p", str(self.build), *self.options,
                                 str(self.file)], text=True, capture_output=True, check=False)
        print(f"looked at {self.name}", flush=True)
        if result.returncode != 0:
            return (result.stdout or result.stderr or
                    f"{self.name}: clang-tidy ended with {result.returncode}")
        if self.key:
            write(self.key, self.name)
        return ""


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    parts = sys.argv[2:]
    version = subprocess.run(["clang-tidy", "--version"], text=True, stdout=subprocess.PIPE,
                             check=True)
    entries = json.loads((build / "compile_commands.json").read_text())
    sources = [Source(build, entry, version.stdout) for entry in entries
               if pathlib.Path(entry["file"]).is_relative_to(ROOT)
               and not pathlib.Path(entry["file"]).is_relative_to(ROOT / "build")]
    sources = [source for source in sources
               if not parts or any(part in source.name for part in parts)]
    if not sources:
        sys.exit("tidy: no source is to be looked at")
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        found = {text for text in pool.map(Source.findings, sources) if text}
    for text in sorted(found):
        print(text, file=sys.stderr)
    if found:
        sys.exit(f"tidy: something was found in {len(found)} of {len(sources)} sources")
    print(f"{len(sources)} sources are clean")


if __name__ == "__main__":
    main()
