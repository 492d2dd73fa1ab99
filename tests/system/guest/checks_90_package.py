"""The package's life on the machine: upgrades, removal, and what is left in the end."""

import os
import pathlib
import re
import shutil

from checker import ACCEPTED, asked_by, main_process
from checks import check, expect, expect_equal
from machine import (PACKAGE, PACKAGE_FILE, SERVICE_UNIT, SOCKET_UNIT, STATE, add_account, run,
                     write)

SETTINGS = pathlib.Path("/etc/velunor/ostrel-agent.toml")
STACK = pathlib.Path("/etc/pam.d/velunor-osupdate")
PROGRAM = pathlib.Path("/opt/velunor/ostrel_agent/bin/VelunorOSUpdate")
OWN_SETTINGS = '[agent]\nproduct_name = "Acme Agent"\n'
OWN_STACK = "@include common-auth\n@include common-account\nauth optional pam_warn.so\n"
# What the checks, apt and the kernel have for themselves.
NOT_OURS = ("/proc", "/sys", "/dev", "/run/host", "/srv", "/var/cache/apt", "/var/log/journal",
            "/var/log/apt", str(STATE))


def prepare():
    """The package as it came, whatever the checks before have done with it."""
    add_account("carol", "sudo")
    run("apt-get", "purge", "-y", PACKAGE)
    # What an administrator has put there stays.
    shutil.rmtree("/etc/velunor", ignore_errors=True)
    install(PACKAGE_FILE)


def install(package):
    """As an administrator's job does, which keeps what was changed here."""
    run("apt-get", "install", "-y", "--no-install-recommends",
        "-o", "Dpkg::Options::=--force-confdef", "-o", "Dpkg::Options::=--force-confold", package,
        timeout=600)


def newer(version):
    """The package with that version, and settings that its maker has changed."""
    tree, result = STATE / "tree", STATE / f"{version}.deb"
    shutil.rmtree(tree, ignore_errors=True)
    run("dpkg-deb", "--raw-extract", PACKAGE_FILE, tree)
    control = tree / "DEBIAN/control"
    text = control.read_text(encoding="utf-8")
    control.write_text(re.sub(r"(?m)^Version: .*$", f"Version: {version}", text), encoding="utf-8")
    with open(tree / "etc/velunor/ostrel-agent.toml", "a", encoding="utf-8") as settings:
        settings.write(f"# {version}\n")
    run("dpkg-deb", "--root-owner-group", "--build", tree, result)
    shutil.rmtree(tree)
    return result


def state(verb):
    """What systemd says of the socket."""
    return run("systemctl", verb, SOCKET_UNIT, check=False).output.strip()


def version():
    """The version that is installed."""
    return run("dpkg-query", "-W", "-f", "${Version}", PACKAGE).output


def traces():
    """Every path whose name tells that it is of the package."""
    found = []
    for directory, directories, names in os.walk("/"):
        directories[:] = [name for name in directories
                          if os.path.join(directory, name) not in NOT_OURS]
        found += [os.path.join(directory, name) for name in directories + names
                  if re.search("velunor|osupdate|ostrel", name, re.I)]
    return found


@check("an upgrade keeps changed configuration files and has the checker run anew")
def upgrade():
    write(SETTINGS, OWN_SETTINGS)
    write(STACK, OWN_STACK)
    run("systemctl", "start", SERVICE_UNIT)
    process = main_process()
    install(newer("9.0.1"))
    expect_equal(version(), "9.0.1", "its version")
    expect_equal(SETTINGS.read_text(encoding="utf-8"), OWN_SETTINGS, str(SETTINGS))
    expect_equal(STACK.read_text(encoding="utf-8"), OWN_STACK, str(STACK))
    expect_equal((state("is-active"), state("is-enabled")), ("active", "enabled"), "the socket")
    expect(process != 0 and not os.path.exists(f"/proc/{process}"),
           "the service of the version before still runs")
    expect_equal(asked_by("root", "carol"), ACCEPTED, "a question to the new one")


@check("a socket that was disabled stays so over an upgrade")
def stays_disabled():
    run("systemctl", "disable", "--now", SOCKET_UNIT)
    install(newer("9.0.2"))
    expect_equal(version(), "9.0.2", "its version")
    expect_equal((state("is-active"), state("is-enabled")), ("inactive", "disabled"), "the socket")
    run("systemctl", "enable", "--now", SOCKET_UNIT)


@check("removed, it leaves its configuration and nothing that runs")
def removed():
    run("apt-get", "remove", "-y", PACKAGE)
    expect(not PROGRAM.exists() and not pathlib.Path("/usr/bin/ostrel-agent").is_symlink(),
           "programs are left")
    expect_equal(state("is-active"), "inactive", "the socket")
    expect(not os.path.exists("/run/velunor/osupdate-checkpass.socket"), "its place is left")
    expect_equal(SETTINGS.read_text(encoding="utf-8"), OWN_SETTINGS, str(SETTINGS))


@check("installed again, it works with the configuration that was left")
def reinstalled():
    install(PACKAGE_FILE)
    expect_equal((state("is-active"), state("is-enabled")), ("active", "enabled"), "the socket")
    expect_equal(SETTINGS.read_text(encoding="utf-8"), OWN_SETTINGS, str(SETTINGS))
    expect(PROGRAM.exists(), "no program")


@check("purged, it leaves nothing")
def purged():
    expect(len(traces()) > 20, "nothing of the package is found while it is there")
    run("apt-get", "purge", "-y", PACKAGE)
    expect_equal(traces(), [], "left")
    expect_equal(run("systemctl", "list-units", "--all", "--no-legend", "velunor*").output, "",
                 "units")
    expect_equal(oct(os.stat("/opt").st_mode), "0o40755", "/opt")
