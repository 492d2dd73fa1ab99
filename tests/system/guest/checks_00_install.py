"""The package comes onto the machine; everything else needs what is made here."""

import os
import pathlib
import stat

from checks import check, expect, expect_equal
from machine import PACKAGE, PACKAGE_FILE, SOCKET_UNIT, add_account, run

LOG = pathlib.Path("/var/log/velunor/ostrel_agent/UserLogs/rebootaccess.log")


def prepare():
    """Two users, an administrator, and accounts that nobody uses."""
    add_account("alice")
    add_account("bob")
    add_account("carol", "sudo")
    add_account("dave")
    add_account("mallory")


@check("the package is installed with apt")
def installed():
    run("apt-get", "install", "-y", "--no-install-recommends", PACKAGE_FILE,
        timeout=600)
    expect_equal(run("dpkg-query", "-W", "-f", "${db:Status-Status}", PACKAGE).output, "installed",
                 "its state")


@check("the checker's socket listens and comes with the machine")
def socket_listens():
    for verb, state in (("is-active", "active"), ("is-enabled", "enabled")):
        expect_equal(run("systemctl", verb, SOCKET_UNIT, check=False).output.strip(), state, verb)
    expect(stat.S_ISSOCK(os.stat("/run/velunor/osupdate-checkpass.socket").st_mode), "no socket")


@check("the access log can be written by everybody and belongs to nobody")
def access_log():
    about = LOG.stat()
    expect_equal((stat.S_IMODE(about.st_mode), about.st_uid), (0o666, 0), str(LOG))


@check("the systemd units are in order")
def units_in_order():
    told = run("systemd-analyze", "verify", "--man=no", SOCKET_UNIT, check=False)
    expect_equal((told.status, told.error), (0, ""), "systemd-analyze verify")
