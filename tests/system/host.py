#!/usr/bin/env python3
"""Boots a machine in a container and has the checks run in it.

usage: host.py MACHINE ARCHIVES [--keep] [--without-lines] [FILE...]

MACHINE is a root file system with the checks in /srv/system-test, ARCHIVES what is shown at
/var/cache/apt/archives. FILE names checks as their file begins; all are run without it. With
--without-lines each line of the installed units and rules is taken out instead, and FILE is a part
of the name of one. The machine is removed where everything passed and --keep is not there. Ends
with 0 then, else with 1.
"""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

# What the checks end with when the machine restarts in the middle of them.
RESTARTS = 75
# What systemd-nspawn ends with when the machine restarts and another has to start it again.
BOOTS_AGAIN = 133
# How long a machine has to come up, updates on the way included.
START_SECONDS = 180
CHECKS = "/srv/system-test/run.py"
WITHOUT_LINES = "/srv/system-test/lines.py"
ENVIRONMENT = ["-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root", "TERM=dumb",
               "LC_ALL=C.UTF-8", "DEBIAN_FRONTEND=noninteractive", "PYTHONDONTWRITEBYTECODE=1"]


class Machine:
    """A container of systemd with a /run of its own; it restarts when it is told to inside."""

    def __init__(self, root, archives):
        self.root = pathlib.Path(root).resolve()
        self.log = open(f"{self.root}.log", "wb")
        self.command = [
            "systemd-nspawn", "--quiet", f"--directory={self.root}", "--machine=prompt-system",
            "--register=no", "--keep-unit", "--console=pipe", "--private-network",
            # What is written need not survive a loss of power.
            "--suppress-sync=yes",
            # As on a machine, and not in a container, memory may be locked and the clock be asked.
            "--system-call-filter=@memlock @clock",
            f"--bind={archives}:/var/cache/apt/archives", "--boot"]
        tree = "/sys/fs/cgroup/unified"
        self.group = pathlib.Path(tree if os.path.isdir(tree) else "/sys/fs/cgroup",
                                  f"prompt-system-{os.getpid()}")
        self.container = self._boot()

    def _boot(self):
        # The container's own traces below /run are nobody else's business, and its units no part of
        # another machine's.
        inside = (f'mkdir -p {self.group} && echo $$ >{self.group}/cgroup.procs && '
                  'mount -t tmpfs tmpfs /run && exec "$@"')
        return subprocess.Popen(
            ["unshare", "--mount", "--propagation", "private", "sh", "-c", inside, "sh",
             *self.command],
            # Whatever this machine has: the other hierarchy tells nobody inside that a unit is
            # empty.
            env={**os.environ, "SYSTEMD_NSPAWN_UNIFIED_HIERARCHY": "1"},
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log, start_new_session=True)

    def leader(self):
        """Number of the machine's first process, 0 while there is none."""
        children = f"/proc/{self.container.pid}/task/{self.container.pid}/children"
        try:
            for child in pathlib.Path(children).read_text().split():
                about = pathlib.Path(f"/proc/{child}/status").read_text()
                # Its number inside; before it is systemd it sets the container up.
                if re.search(r"^Name:\tsystemd\n(.*\n)*NSpid:.*\t1\n", about):
                    return int(child)
        except OSError:
            pass
        return 0

    def run(self, *command, **options):
        """Runs a command in the machine; its status, other than 0 too where the machine goes."""
        words = ["nsenter", "-t", str(self.leader()), "-m", "-u", "-i", "-n", "-p", "-C", "env",
                 *ENVIRONMENT, *command]
        entered = subprocess.Popen(words, stdin=subprocess.DEVNULL, **options)
        while True:
            _, status = os.waitpid(entered.pid, os.WUNTRACED)
            if not os.WIFSTOPPED(status):
                entered.returncode = os.waitstatus_to_exitcode(status)
                return entered.returncode
            # A machine that goes down stops everything before it ends it, and nsenter stops with what
            # it has started; the machine would wait for ever for somebody to take note of its end.
            os.kill(entered.pid, signal.SIGCONT)

    def is_up(self):
        """Whether everything is started; not so while an update is made on the way."""
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        return self.leader() != 0 and self.run(
            "sh", "-c", "! test -L /system-update && systemctl is-active multi-user.target && "
            "systemctl is-system-running | grep -E 'running|degraded'", **quiet) == 0

    def wait_until_up(self, but=0):
        """Waits until the machine is up whose first process is not `but`."""
        end = time.monotonic() + START_SECONDS
        while self.leader() in (0, but) or not self.is_up():
            if self.container.poll() == BOOTS_AGAIN:
                self.container = self._boot()
            if self.container.poll() is not None or time.monotonic() > end:
                sys.exit(f"the machine did not come up; {self.log.name} says what it did")
            time.sleep(0.2)

    def end(self):
        """Takes it down, without care for what runs there."""
        kill = self.group / "cgroup.kill"
        if kill.exists():
            kill.write_text("1")
        self.container.wait()
        self.log.close()
        # The last of its processes may still be on their way out.
        for group, _, _ in os.walk(self.group, topdown=False):
            for _ in range(100):
                with contextlib.suppress(OSError):
                    os.rmdir(group)
                    break
                time.sleep(0.1)


def follow(machine, program, arguments):
    """Runs the checks over all restarts; whether everything passed."""
    machine.wait_until_up()
    while True:
        leader = machine.leader()
        status = machine.run("python3", program, *arguments)
        restarts = status == RESTARTS or pathlib.Path(
            machine.root, "var/lib/system-test/restarts").exists()
        if not restarts:
            return status == 0
        machine.wait_until_up(but=leader)


def main():
    machine_root, archives, *arguments = sys.argv[1:]
    options = {word for word in arguments if word.startswith("--")}
    program = WITHOUT_LINES if "--without-lines" in options else CHECKS
    machine = Machine(machine_root, archives)
    passed = False
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        passed = follow(machine, program, [word for word in arguments if word not in options])
    finally:
        machine.end()
    if passed and "--keep" not in options:
        shutil.rmtree(machine.root)
        os.unlink(machine.log.name)
    else:
        print(f"== the machine is left in {machine.root}", file=sys.stderr)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
