#!/usr/bin/python3
"""Small faults put into the sources of a folder, and which of them its own tests notice.

usage: mutate.py ROOT FOLDER

All faults of a folder are compiled at once, each behind a switch. A first run tells which test meets
which fault, and then each fault is switched on for the tests that meet it. What the compiler has to
know is changed in the source and compiled, one after the other.
"""
import concurrent.futures
import filecmp
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
from find import Finder, switched  # noqa: E402

# Folder: preset, test programs, and the least part of its mutants that they must notice.
SUITES = {
    "app": ("core", ["app_test"], 97),
    "prompt": ("core", ["prompt_test"], 97),
    "window": ("core", ["window_test", "model_test"], 97),
    "credentials": ("core", ["credentials_tests", "model_test"], 97),
    "agent": ("release", ["agent_library_tests", "agent_append_tests", "agent_privilege_tests"], 97),
    "platform/property_list": ("release", ["platform_property_list_tests"], 90),
    "platform/posix": ("release", ["process_tests", "credential_checker_tests"], 90),
    "platform": ("core", ["platform_test"], 90),
    "tools/ostrel_agent": ("release", ["agent_launcher_tests"], 90),
    "tools/osupdate_checkpass": ("release", ["credential_checker_tests", "ldap_node_tests"], 90),
}
WORKERS = os.cpu_count() or 1


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, root, place, preset, flags, targets):
        self.place = place
        self.build = place / "build" / preset
        self.targets = targets
        place.mkdir(parents=True, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-z"], cwd=root, stdout=subprocess.PIPE,
                               check=True, text=True).stdout
        for name in filter(None, files.split("\0")):
            # An unchanged file keeps its time, and with it what was made of it.
            if not (place / name).exists() or not filecmp.cmp(root / name, place / name, False):
                (place / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(root / name, place / name)
        made = run(["cmake", "--preset", preset, "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                    "-DCMAKE_CXX_FLAGS=" + flags], cwd=place)
        if made.returncode != 0:
            raise SystemExit(made.stdout)

    def compile(self):
        return run(["cmake", "--build", str(self.build), "-j", str(WORKERS), "--target",
                    *self.targets, "--", "-k0"], cwd=self.place)

    def programs(self):
        return [path for target in self.targets
                for path in self.build.rglob(target) if os.access(path, os.X_OK) and path.is_file()]


class Tests:
    """The tests of a folder, and what each of them meets."""

    def __init__(self, programs, board_size, directory):
        self.programs = programs
        self.size = board_size
        self.directory = directory
        self.local = threading.local()
        self.tests = []      # program, name, seconds
        self.meets = []

    def board(self):
        if not hasattr(self.local, "board"):
            self.local.board = self.directory / f"board-{threading.get_ident()}"
        return self.local.board

    def run_one(self, program, names, mutant, limit):
        board = self.board()
        board.write_bytes(mutant.to_bytes(4, sys.byteorder) + bytes(self.size))
        environment = dict(os.environ, MUTANTS_BOARD=str(board),
                           RC_PARAMS="seed=20241 max_success=400 max_size=40")
        process = subprocess.Popen([program, "--gtest_filter=" + ":".join(names), "--gtest_fail_fast",
                                    "--gtest_brief=1"], env=environment, start_new_session=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            return "late"
        finally:
            try:
                os.killpg(process.pid, 9)
            except ProcessLookupError:
                pass
            process.wait()

    def look(self):
        """Runs each test by itself without any mutant."""
        def one(program, name):
            began = time.monotonic()
            status = self.run_one(program, [name], 0, 120)
            met = self.board().read_bytes()[4:]
            return status, (program, name, time.monotonic() - began), \
                {number for number, byte in enumerate(met) if byte}
        names = []
        for program in self.programs:
            suite = ""
            for line in run([program, "--gtest_list_tests"]).stdout.splitlines():
                line = line.split("#")[0].rstrip()
                if line.endswith(".") and not line.startswith(" "):
                    suite = line
                elif line.startswith("  "):
                    names.append((program, suite + line.strip()))
        with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
            for status, test, met in pool.map(lambda pair: one(*pair), names):
                if status != 0:
                    print(f"left out, it fails without any mutant: {test[1]} ({status})")
                    continue
                self.tests.append(test)
                self.meets.append(met)

    def notice(self, number, everything=False):
        """The program that notices a mutant, or None; "nobody" where no test meets it."""
        chosen = {}
        for test, met in zip(self.tests, self.meets):
            if everything or number in met:
                chosen.setdefault(test[0], []).append(test)
        if not chosen:
            return "nobody"
        for program, tests in chosen.items():
            limit = 10 + 10 * sum(test[2] for test in tests)
            if self.run_one(program, [test[1] for test in tests], number, limit) != 0:
                return program.name
        return None


def arguments_of(build, path):
    commands = json.loads((build / "compile_commands.json").read_text())
    for command in commands:
        if command["file"] == str(path) or path.suffix == ".h":
            words = shlex.split(command["command"])
            kept = [w for w in words if w.startswith(("-I", "-D", "-std", "-isystem"))]
            return (["-x", "c++"] if path.suffix == ".h" else []) + kept
    return None


def put_in(tree, sources):
    """Puts all mutants into the sources; those that do not compile so are told as constant."""
    for _ in range(12):
        for path, (text, mutants) in sources.items():
            path.write_text(switched(text, [m for m in mutants if not m.constant]))
        made = tree.compile()
        if made.returncode == 0:
            return
        bad = {(found[0], int(found[1])) for found in
               re.findall(r"([^\s:]+\.(?:cpp|h)):(\d+)(?::\d+)?:", made.stdout)}
        bad = {(os.path.realpath(tree.build / path), line) for path, line in bad}
        moved = 0
        for path, (text, mutants) in sources.items():
            for mutant in mutants:
                if not mutant.constant and (str(path), mutant.line) in bad:
                    mutant.constant = True
                    moved += 1
        if not moved:
            raise SystemExit(f"{bad}\n{made.stdout[-4000:]}")
    raise SystemExit("the switched sources do not compile")


def mutate(root, folder):
    preset, targets, least = SUITES[folder]
    directory = root / "build" / "mutate" / folder.replace("/", "-")
    directory.mkdir(parents=True, exist_ok=True)
    flags = f"-w -g0 -O0 -include {HERE}/switch.h -DMUTANTS_BOARD='\"{directory}/board\"'"
    tree = Tree(root, directory / "switched", preset, flags, targets)
    plain = Tree(root, directory / "plain", preset, "-w -g0 -O0", targets)
    sources, number = {}, 0
    for path in sorted((tree.place / folder).glob("*.cpp")) + sorted((tree.place / folder).glob("*.h")):
        # The headers of the whole program's interfaces hold declarations.
        arguments = arguments_of(tree.build, path)
        if arguments is None:
            continue
        finder = Finder(str(path), arguments)
        for mutant in finder.mutants:
            number += 1
            mutant.number = number
        sources[path] = (finder.text, finder.mutants)
    print(f"== {folder}: {number} mutants", flush=True)
    put_in(tree, sources)
    tests = Tests(tree.programs(), number + 1, directory)
    tests.look()
    print(f"== {len(tests.tests)} tests", flush=True)

    relative = {path: str(path.relative_to(tree.place)) for path in sources}
    alive, noticed, senseless = [], 0, 0
    waiting = [(path, m) for path, (_, mutants) in sources.items() for m in mutants if not m.constant]
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        for (path, mutant), by in zip(waiting, pool.map(lambda pair: tests.notice(pair[1].number),
                                                        waiting)):
            if by in (None, "nobody"):
                alive.append((path, mutant, "no test meets it" if by else "lives"))
            else:
                noticed += 1
    made = plain.compile()
    if made.returncode != 0:
        raise SystemExit(made.stdout[-4000:])
    slow = Tests(plain.programs(), number + 1, directory)
    slow.tests = [(plain.build / t[0].relative_to(tree.build), *t[1:]) for t in tests.tests]
    slow.meets = [set()] * len(slow.tests)
    for path, (text, mutants) in sources.items():
        own = plain.place / relative[path]
        for mutant in [m for m in mutants if m.constant]:
            own.write_bytes(text[:mutant.begin] + mutant.changed.encode() + text[mutant.end:])
            if plain.compile().returncode != 0:
                senseless += 1
            elif slow.notice(mutant.number, everything=True) is None:
                alive.append((path, mutant, "lives"))
            else:
                noticed += 1
        own.write_bytes(text)
    for path, mutant, how in sorted(alive, key=lambda entry: (entry[0], entry[1].line)):
        print(f"{how}: {mutant.name(relative[path])}")
    counted = noticed + len(alive)
    score = 100 * noticed / counted if counted else 100
    print(f"== {folder}: {noticed} of {counted} mutants noticed, {score:.1f} % "
          f"(wanted {least}); {senseless} do not compile", flush=True)
    return score >= least


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[2] not in SUITES:
        raise SystemExit(f"usage: mutate.py ROOT FOLDER, of {', '.join(SUITES)}")
    sys.exit(0 if mutate(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]) else 1)
