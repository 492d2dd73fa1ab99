"""The machine that the checks run on: commands, accounts, what the journal holds."""

import json
import os
import pathlib
import pwd
import secrets
import subprocess
import time
import traceback

from checks import Failure, expect

# Survives a restart of the machine.
STATE = pathlib.Path("/var/lib/system-test")
# There while the machine is about to restart on purpose.
RESTART_MARK = STATE / "restarts"
# Where the tree's packaging/, docs/ and examples/ are.
TREE = pathlib.Path("/srv/system-test")
PACKAGE = "velunor-os-update"
PACKAGE_FILE = TREE / "package.deb"
SOCKET_FILE = "/usr/lib/systemd/system/velunor-osupdate-checkpass.socket"
SERVICE_FILE = "/usr/lib/systemd/system/velunor-osupdate-checkpass.service"
POLICY_FILE = "/usr/share/dbus-1/system.d/com.velunor.OstrelAgent.conf"
TMPFILES_FILE = "/usr/lib/tmpfiles.d/velunor-os-update.conf"
SOCKET_UNIT = "velunor-osupdate-checkpass.socket"
SERVICE_UNIT = "velunor-osupdate-checkpass.service"

# Name to password; new ones at each start of the checks, known to this process alone.
PASSWORDS = {}


class Outcome:
    """What a command ended with."""

    def __init__(self, status, output, error):
        self.status = status
        self.output = output
        self.error = error


def run(*command, check=True, stdin="", timeout=120, environment=None):
    """Runs a command; an unexpected status fails the check."""
    done = subprocess.run([str(word) for word in command], input=stdin, text=True, timeout=timeout,
                          check=False, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env={**os.environ, **(environment or {})})
    if check and done.returncode != 0:
        raise Failure(f"{' '.join(map(str, command))} ended with {done.returncode}: "
                      f"{done.stdout}{done.stderr}")
    return Outcome(done.returncode, done.stdout, done.stderr)


def release():
    """The number of Debian's release."""
    return next(line.split("=")[1].strip().strip('"')
                for line in open("/etc/os-release", encoding="utf-8")
                if line.startswith("VERSION_ID="))


def user_id(name):
    """The number of an account."""
    return pwd.getpwnam(name).pw_uid


def as_user(name, *command, **options):
    """Runs a command as an ordinary user, with the buses that a session of theirs has."""
    uid = user_id(name)
    return run("setpriv", "--reuid", name, "--regid", str(pwd.getpwnam(name).pw_gid),
               "--init-groups", "--reset-env", "env", f"XDG_RUNTIME_DIR=/run/user/{uid}",
               f"DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/{uid}/bus", "LC_ALL=C.UTF-8",
               *command, **options)


def doing_as(name, action):
    """Calls `action` in a process of that user and gives its result, which JSON can hold."""
    entry = pwd.getpwnam(name)
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            os.close(reader)
            os.initgroups(name, entry.pw_gid)
            os.setresgid(entry.pw_gid, entry.pw_gid, entry.pw_gid)
            os.setresuid(entry.pw_uid, entry.pw_uid, entry.pw_uid)
            with os.fdopen(writer, "w") as pipe:
                json.dump(action(), pipe)
            os._exit(0)
        except BaseException:  # pylint: disable=broad-except
            traceback.print_exc()
            os._exit(1)
    os.close(writer)
    with os.fdopen(reader) as pipe:
        text = pipe.read()
    _, status = os.waitpid(child, 0)
    expect(status == 0, f"what {name} did ended with {status}")
    return json.loads(text)


def set_password(name, password=None):
    """Gives the account a new password, or this one."""
    PASSWORDS[name] = password or secrets.token_hex(12)
    run("chpasswd", stdin=f"{name}:{PASSWORDS[name]}\n")
    return PASSWORDS[name]


def add_account(name, *groups):
    """Makes an account, where it is missing, and gives it a new password."""
    if run("id", name, check=False).status != 0:
        run("useradd", "--create-home", "--shell", "/bin/sh", name)
    for group in groups:
        run("gpasswd", "--add", name, group)
    set_password(name)


def journal(since, *matches):
    """The messages of the journal since a moment that `now()` gave."""
    run("journalctl", "--sync")
    lines = run("journalctl", "--output=json", "--quiet", f"--since=@{since:.6f}", *matches).output
    return [json.loads(line) for line in lines.splitlines()]


def messages(since, *matches):
    """The texts of the journal's messages, one a line."""
    return "\n".join(str(entry.get("MESSAGE")) for entry in journal(since, *matches))


def now():
    """A moment for journal()."""
    return time.time()


def write(path, text, mode=0o644):
    """Makes a file with this text."""
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    path.chmod(mode)


def leave_by_restart(seconds=120):
    """Announces that the machine restarts now by what the check has started, and waits for it. The
    check has passed when that comes; the file's next check goes on after it."""
    RESTART_MARK.touch()
    os.sync()
    time.sleep(seconds)
    RESTART_MARK.unlink()
    raise Failure(f"the machine did not restart within {seconds} seconds")
