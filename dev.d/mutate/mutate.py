#!/usr/bin/python3
"""Small faults put into the sources of a folder, and which of them its own tests notice.

usage: mutate.py [--living] ROOT FOLDER

All faults of a folder are compiled at once, each behind a switch. A first run tells which test meets
which fault, and then each fault is switched on for the tests that meet it. What the compiler has to
know is changed in the source and compiled, one after the other. A folder's name stands for the
folders in it, too, unless it ends in "/.".

--living: of the sources that are still those of the last run only the faults that lived then; for
whoever has added tests since.
"""
import concurrent.futures
import dataclasses
import filecmp
import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
from find import Finder, switched  # noqa: E402
from suites import SUITES, below, sources_of  # noqa: E402
from tests import CORES, Boards, Tests  # noqa: E402


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, root, place, suite, flags):
        self.place = place
        self.build = place / "build" / suite.preset
        self.targets = suite.targets
        place.mkdir(parents=True, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-z"], cwd=root, stdout=subprocess.PIPE,
                               check=True, text=True).stdout
        for name in filter(None, files.split("\0")):
            # An unchanged file keeps its time, and with it what was made of it.
            if not (place / name).exists() or not filecmp.cmp(root / name, place / name, False):
                (place / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(root / name, place / name)
        made = run(["cmake", "--preset", suite.preset, "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS_DEBUG=", "-DCMAKE_CXX_FLAGS=-w -g0 -O0 " + flags], cwd=place)
        if made.returncode != 0:
            raise SystemExit(made.stdout)

    def compile(self):
        return run(["cmake", "--build", str(self.build), "-j", str(CORES), "--target",
                    *self.targets, "--", "-k0"], cwd=self.place)

    def programs(self):
        return [path for target in self.targets
                for path in self.build.rglob(target) if os.access(path, os.X_OK) and path.is_file()]


def arguments_of(build, path):
    """How the compiler is told to read a source; a header as the sources beside it."""
    commands = json.loads((build / "compile_commands.json").read_text())
    if path.suffix == ".h":
        commands.sort(key=lambda command: pathlib.Path(command["file"]).parent != path.parent)
    for command in commands:
        if command["file"] == str(path) or path.suffix == ".h":
            words = shlex.split(command["command"])
            kept = [w for before, w in zip(["", *words], words) if before == "-isystem" or
                    w.startswith(("-I", "-D", "-std", "-isystem", "-fPIC"))]
            # A header of a library may lean on what stands before it.
            return (["-x", "c++", "-include", "cstdint"] if path.suffix == ".h" else []) + kept
    return None


def put_in(tree, sources):
    """Puts all mutants into the sources; those that do not compile so are told as constant."""
    for _ in range(12):
        for path, (text, mutants) in sources.items():
            both = switched(text, [m for m in mutants if not m.constant])
            if path.read_text() != both:
                path.write_text(both)
        made = tree.compile()
        if made.returncode == 0:
            return
        bad = {(found[0], int(found[1])) for found in
               re.findall(r"([^\s:]+\.(?:cpp|h)):(\d+)(?::\d+)?:", made.stdout)}
        bad = {(os.path.realpath(tree.build / path), line) for path, line in bad}
        known = [(path, m) for path, (_, mutants) in sources.items() for m in mutants
                 if not m.constant]
        moved = [m for path, m in known if (str(path), m.line) in bad] or \
                [m for path, m in known
                 if any(str(path) == name and m.line <= line <= m.last for name, line in bad)]
        for mutant in moved:
            mutant.constant = True
        if not moved:
            raise SystemExit(f"{bad}\n{made.stdout[-4000:]}")
    raise SystemExit("the switched sources do not compile")


def mutants_of(tree, folder):
    sources, number = {}, 0
    paths = sources_of(tree.place, folder)
    # What the toolkit makes of such a source has to be there before clang reads it.
    if any(b'.moc"' in path.read_bytes() for path in paths):
        tree.compile()
    for path in paths:
        # What the preset does not build has no tests here.
        arguments = arguments_of(tree.build, path)
        if arguments is None:
            continue
        finder = Finder(str(path), arguments)
        for mutant in finder.mutants:
            number += 1
            mutant.number = number
        sources[path] = (finder.text, finder.mutants)
    return sources, number


def with_constant(mutants, constant):
    """The mutants that can be switched, around one that is in force."""
    others = [m for m in mutants
              if not m.constant and (m.begin, m.end) != (constant.begin, constant.end)]
    fixed = dataclasses.replace(constant, switched=(constant.changed,))
    return sorted([*others, fixed], key=lambda mutant: (mutant.begin, -mutant.end))


def known_from(last, place, sources):
    """What the last run tells of the sources that are still the same: noticed, and senseless."""
    noticed, senseless = set(), set()
    for path, (text, mutants) in sources.items():
        known = last.get(str(path.relative_to(place)), {})
        if known.get("source") == hashlib.sha256(text).hexdigest():
            noticed |= {mutants[at].number for at in known["noticed"]}
            senseless |= {mutants[at].number for at in known["senseless"]}
    return noticed, senseless


def mutate(root, folder, living):
    suite = SUITES[folder]
    directory = root / "build" / "mutate" / suite.preset
    directory.mkdir(parents=True, exist_ok=True)
    board = directory / "board"
    tree = Tree(root, directory / "tree", suite,
                f"-include {HERE}/switch.h -DMUTANTS_BOARD='\"{board}\"'")
    sources, number = mutants_of(tree, folder)
    print(f"== {folder}: {number} mutants", flush=True)
    record = directory / (folder.replace("/", "-") + ".json")
    last = json.loads(record.read_text()) if living and record.exists() else {}
    noticed, senseless = known_from(last, tree.place, sources)
    put_in(tree, sources)
    tests = Tests(tree.programs(), Boards(board, number + 1))
    tests.look()
    print(f"== {len(tests.tests)} tests", flush=True)

    met = set().union(*tests.meets)

    def tell(path, mutant, found):
        if found:
            noticed.add(mutant.number)
        else:
            how = "lives" if mutant.constant or mutant.number in met else "no test meets it"
            print(f"{how}: {mutant.name(path.relative_to(tree.place))}", flush=True)

    waiting = [(path, m) for path, (_, mutants) in sources.items() for m in mutants
               if not m.constant and m.number not in noticed]
    with concurrent.futures.ThreadPoolExecutor(tests.boards.count) as pool:
        results = pool.map(lambda pair: tests.notice(pair[1].number,
                                                     tests.meeting({pair[1].number})), waiting)
        for (path, mutant), found in zip(waiting, results):
            tell(path, mutant, found)
    for path, (text, mutants) in sources.items():
        near = tests.meeting({m.number for m in mutants})
        others = [test for test in tests.tests if test not in near]
        for mutant in mutants:
            if not mutant.constant or mutant.number in noticed | senseless:
                continue
            path.write_text(switched(text, with_constant(mutants, mutant)))
            if tree.compile().returncode != 0:
                senseless.add(mutant.number)
            else:
                tell(path, mutant, tests.notice(0, near) or tests.notice(0, others))
        path.write_text(switched(text, [m for m in mutants if not m.constant]))
    record.write_text(json.dumps({
        str(path.relative_to(tree.place)): {
            "source": hashlib.sha256(text).hexdigest(),
            "noticed": [at for at, m in enumerate(mutants) if m.number in noticed],
            "senseless": [at for at, m in enumerate(mutants) if m.number in senseless]}
        for path, (text, mutants) in sources.items()}))
    counted = number - len(senseless)
    score = 100 * len(noticed) / counted if counted else 100
    print(f"== {folder}: {len(noticed)} of {counted} mutants noticed, {score:.1f} % "
          f"(wanted {suite.least}); {len(senseless)} do not compile", flush=True)
    return score >= suite.least


def main(words):
    living = words[:1] == ["--living"]
    words = words[1:] if living else words
    if len(words) != 2 or not below(words[1]):
        raise SystemExit(f"usage: mutate.py [--living] ROOT FOLDER, of {', '.join(SUITES)}")
    results = [mutate(pathlib.Path(words[0]).resolve(), folder, living)
               for folder in below(words[1])]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
