"""The example of an offline update, through the restart until the new version is installed."""

import pathlib
import shutil

from checks import check, expect, expect_equal, expect_match
from desktop import Session
from documents import Running, command_blocks, run_block
from machine import leave_by_restart, messages, now, release, run

EXAMPLE = pathlib.Path("/usr/share/doc/velunor-os-update/examples/offline-update")
SOURCE = pathlib.Path("/srv/source")
PACKAGE = "example-package"
UNIT = "ask-for-update.service"
STATE = pathlib.Path("/var/lib/ask-for-update/attempts-left")


def publish(version):
    """Puts a version of a package of one file into the source of packages."""
    made = SOURCE / "made"
    file = made / "usr/share/example-package/version"
    file.parent.mkdir(parents=True)
    file.write_text(f"{version}\n")
    (made / "DEBIAN").mkdir()
    (made / "DEBIAN/control").write_text(
        f"Package: {PACKAGE}\nVersion: {version}\nArchitecture: all\n"
        "Maintainer: Nobody <nobody@example.org>\nDescription: a package that is updated\n")
    run("dpkg-deb", "--build", made, SOURCE / f"{PACKAGE}_{version}_all.deb")
    shutil.rmtree(made)
    listed = run("sh", "-c", f"cd {SOURCE} && apt-ftparchive packages .").output
    (SOURCE / "Packages").write_text(listed)
    if release() != "12":
        # PackageKit renews no lists there without a network, as on this machine.
        run("apt-get", "update")


def installed_version():
    return run("dpkg-query", "-W", "-f", "${Version}", PACKAGE).output


def asked(button=None):
    """Starts the service, presses the button if somebody is to be asked, and gives what it said."""
    begin = now()
    desktop = Session("alice", display=32) if button is not None else None
    asking = Running("systemctl", "start", UNIT)
    try:
        if button is not None:
            asking.answer_by(desktop, button)
        expect_equal(asking.wait(), 0, f"the start of the unit, with {asking.said()!r}")
        if button is not None:
            desktop.end()
    finally:
        asking.end()
    return messages(begin, f"--unit={UNIT}")


@check("the offline update's example is taken over as its page says")
def taken_over():
    for _, text in command_blocks(EXAMPLE / "README.md"):
        run_block(text, EXAMPLE)
    expect_equal(run("systemctl", "is-enabled", "ask-for-update.timer").output, "enabled\n", "timer")
    expect_equal(run("systemctl", "is-active", "ask-for-update.timer").output, "active\n", "timer")
    told = run("systemd-analyze", "verify", "/etc/systemd/system/ask-for-update.timer", check=False)
    expect_equal((told.status, told.error), (0, ""), "systemd-analyze verify")


@check("without updates the example asks nobody")
def without_updates():
    for place in pathlib.Path("/etc/apt").glob("sources.list*"):
        if place.is_file():
            place.write_text("")
        else:
            shutil.rmtree(place)
    pathlib.Path("/etc/apt/sources.list").write_text(f"deb [trusted=yes] file:{SOURCE} ./\n")
    publish("1.0")
    run("apt-get", "update")
    run("apt-get", "install", "-y", PACKAGE)
    expect_match("there are no updates", asked(), "the journal")


@check("with nobody at the machine the update waits, and nothing is counted")
def nobody_there():
    publish("2.0")
    expect_match("nobody is logged in; asked again later", asked(), "the journal")
    expect(not STATE.exists(), "a postponement was counted")


@check("a postponed update is counted and waits")
def postponed():
    expect_match("postponed; 2 times are left", asked("Postpone"), "the journal")
    expect_equal(STATE.read_text(), "2\n", "what is left")
    expect_equal(installed_version(), "1.0", "the version")


@check("Update Now restarts the machine into the update")
def proceeds():
    desktop = Session("alice", display=32)
    # The display may be gone before the click has told that it was made.
    Running("systemctl", "start", UNIT).answer_by(desktop, "Update Now", check=False)
    leave_by_restart()


@check("after the restart the new version is installed, and the count has gone")
def updated():
    expect_equal(installed_version(), "2.0", "the version")
    expect(not STATE.exists(), "the count is still there")
    expect(not pathlib.Path("/system-update").exists(), "another update is due")
    expect_match("Success", run("pkcon", "offline-status").output, "PackageKit's account")
    expect_match("there are no updates", asked(), "the journal")
    run("systemctl", "disable", "--now", "ask-for-update.timer")
