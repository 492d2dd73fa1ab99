"""The package's programs, and the directories and files that its tmpfiles.d entry makes."""

import pathlib
import shutil
import stat

import hardening
from checks import check, expect, expect_equal
from machine import PACKAGE, TMPFILES_FILE, as_user, run

STATE = pathlib.Path("/var/lib/velunor/ostrel_agent")
LOGS = pathlib.Path("/var/log/velunor/ostrel_agent")
USER_LOGS = LOGS / "UserLogs"
ACCESS_LOG = USER_LOGS / "rebootaccess.log"
COUNTS = pathlib.Path("/run/faillock")


def create():
    """As at each start of the machine."""
    run("systemd-tmpfiles", "--create", pathlib.Path(TMPFILES_FILE).name)


def state_of(path):
    """Mode and owner."""
    about = path.lstat()
    return oct(stat.S_IMODE(about.st_mode)), about.st_uid, about.st_gid


def made_again(path, mode):
    """A check that the path comes back when it is lost, and right when it was changed."""
    @check(f"{path} is made, and put right, at each start", [TMPFILES_FILE])
    def made():
        before = path.read_bytes() if path.is_file() else None
        if path == COUNTS:
            shutil.rmtree(path, ignore_errors=True)
            create()
            expect_equal(state_of(path), (mode, 0, 0), "made")
        path.chmod(0o700)
        create()
        expect_equal(state_of(path), (mode, 0, 0), "put right")
        if before is not None:
            expect_equal(path.read_bytes(), before, "what it holds")
            path.unlink()
            create()
            expect_equal((path.is_file(), path.exists() and state_of(path)), (True, (mode, 0, 0)),
                         "made")
            path.write_bytes(before)
    return made


made_again(STATE, "0o755")
made_again(LOGS, "0o755")
made_again(USER_LOGS, "0o1777")
made_again(ACCESS_LOG, "0o666")
made_again(COUNTS, "0o755")


@check("no user may take another one's log away")
def sticky():
    as_user("alice", "touch", USER_LOGS / "OSUpdateNotification_alice.log")
    for path in (USER_LOGS / "OSUpdateNotification_alice.log", ACCESS_LOG):
        told = as_user("bob", "rm", "-f", path, check=False)
        expect(told.status != 0 and path.exists(), f"bob has removed {path}")


@check("its programs are hardened")
def hardened():
    installed = [pathlib.Path(line) for line in run("dpkg", "--listfiles", PACKAGE).output.split("\n")]
    programs = [path for path in installed if path.is_file() and hardening.is_elf(path)]
    expect(len(programs) >= 4, f"only these: {programs}")
    faults = [fault for path in programs for fault in hardening.faults(str(path))]
    expect(not faults, "; ".join(faults))
