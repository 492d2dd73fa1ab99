"""The tests of a folder: what each meets, and which notices a fault."""
import concurrent.futures
import os
import pathlib
import queue
import signal
import subprocess
import sys
import time

CORES = os.cpu_count() or 1


def members_of(session):
    """The processes of a session that still run."""
    for status in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            # Behind the name, which may hold any sign: state, parent, group and session.
            fields = status.read_text(errors="replace").rpartition(")")[2].split()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(fields[3]) == session and fields[0] not in "ZX":
            yield int(status.parent.name)


def end_session(session):
    """Kills all of a test's processes: what it starts has groups of its own, and may start more in
    the meantime."""
    while members := list(members_of(session)):
        for process in members:
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass


class Boards:
    """The file that every process of a test maps (see switch.h). Programs find it by its name
    alone, because some are started with an environment of their own; so each test that runs beside
    others has another file mounted there, which only root can do."""

    def __init__(self, file, size):
        self.file = file
        self.size = size
        self.free = queue.SimpleQueue()
        # Most of them wait most of the time.
        self.count = 2 * CORES if os.geteuid() == 0 else 1
        for number in range(self.count):
            self.free.put(self.file if self.count == 1 else self.file.with_name(f"board-{number}"))
        self.write(self.file, 0)

    def write(self, board, mutant):
        board.write_bytes(mutant.to_bytes(4, sys.byteorder) + bytes(self.size))
        # Tests act as other accounts, too.
        board.chmod(0o666)

    def command(self, board):
        if self.count == 1:
            return []
        return ["unshare", "--mount", "--propagation", "private", "sh", "-c",
                'mount --bind "$0" "$1" && shift && exec "$@"', board, self.file]


class Tests:
    """The tests of some programs."""

    def __init__(self, programs, boards):
        self.programs = programs
        self.boards = boards
        self.tests = []      # program, name, seconds
        self.meets = []      # the faults that each meets

    def run(self, program, names, mutant, limit):
        """Runs tests of a program with a fault: its status, or "late", and the faults met."""
        board = self.boards.free.get()
        self.boards.write(board, mutant)
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen",
                           RC_PARAMS="seed=20241 max_success=400 max_size=40")
        process = subprocess.Popen(
            [*self.boards.command(board), program, "--gtest_filter=" + ":".join(names),
             "--gtest_fail_fast", "--gtest_brief=1"], env=environment, start_new_session=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            status = process.wait(limit)
        except subprocess.TimeoutExpired:
            status = "late"
        end_session(process.pid)
        process.wait()
        met = board.read_bytes()[4:]
        self.boards.free.put(board)
        return status, met

    def names(self, program):
        suite = ""
        listed = subprocess.run([program, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True,
                                check=True).stdout
        for line in listed.splitlines():
            line = line.split("#")[0].rstrip()
            if line.endswith(".") and not line.startswith(" "):
                suite = line
            elif line.startswith("  "):
                yield suite + line.strip()

    def look(self):
        """Runs each test by itself without any fault."""
        def one(test):
            began = time.monotonic()
            status, met = self.run(test[0], [test[1]], 0, 120)
            return status, (*test, time.monotonic() - began), \
                {number for number, byte in enumerate(met) if byte}
        found = [(program, name) for program in self.programs for name in self.names(program)]
        with concurrent.futures.ThreadPoolExecutor(self.boards.count) as pool:
            for status, test, met in pool.map(one, found):
                if status != 0:
                    print(f"left out, it fails without any fault: {test[1]} ({status})")
                    continue
                self.tests.append(test)
                self.meets.append(met)

    def meeting(self, numbers):
        return [test for test, met in zip(self.tests, self.meets) if met & numbers]

    def notice(self, mutant, tests):
        """Whether one of these tests notices the fault: the quickest are asked first."""
        waiting = sorted(tests, key=lambda test: test[2])
        together = 0.3
        while waiting:
            taken, seconds = {}, 0
            while waiting and (not taken or seconds + waiting[0][2] < together):
                program, name, time_taken = waiting.pop(0)
                taken.setdefault(program, []).append(name)
                seconds += time_taken
            for program, names in taken.items():
                if self.run(program, names, mutant, 10 + 5 * seconds)[0] != 0:
                    return True
            together = min(4 * together, 5)
        return False
