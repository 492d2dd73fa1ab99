"""Root asks whoever sits at the machine, and hears the answer."""

import json
import re
import time

from checks import check, eventually, expect, expect_equal, expect_match
from desktop import Session, session_property
from machine import as_user, run, user_id
from prompt import Asking, Window, answered, find_window, prompts

ONE_MINUTE = ("OSUpdate", "Debian 12.9", "false", "1", "false", "2")
PROCEED = (0, {"proceed": {}})

alice = None


def prepare():
    """Alice sits at the machine."""
    global alice  # pylint: disable=global-statement
    alice = Session("alice", display=7)


def tidy():
    """She leaves."""
    alice.end()


def refused(*options):
    """Status and last line of a prompt that is never shown, and how long that took."""
    begin = time.monotonic()
    with Asking(*options) as asking:
        status = asking.wait(5)
        expect(time.monotonic() - begin < 3, "it took its time")
        expect_equal(asking.answer(), "", "an answer")
        return status, asking.errors().splitlines()[-1]


@check("the desktop is a graphical session in the foreground of seat0")
def session_is_real():
    found = {name: session_property(alice.identifier, name)
             for name in ("Type", "Class", "Seat", "State", "User")}
    expect_equal(found, {"Type": "x11", "Class": "user", "Seat": "seat0", "State": "active",
                         "User": str(user_id("alice"))}, "the session")


@check("Update Now is heard by root: status 0 and the answer's JSON")
def proceed():
    status, answer, errors = answered(alice, "--active")
    expect_equal((status, json.loads(answer or "null")), PROCEED, errors)


@check("Postpone is heard by root: status 10 and the answer's JSON")
def postpone():
    status, answer, errors = answered(alice, "--user", "alice", press="Postpone")
    expect(status == 10, errors)
    expect_equal(json.loads(answer), {"postponse": {"userName": "alice"}}, "the answer")


@check("the prompt runs as the user, in a service of the user's manager")
def runs_in_session():
    with Asking("--active") as asking:
        Window(alice, asking)
        about, = prompts()
        expect_equal(run("ps", "-o", "user=", "-p", about).output.strip(), "alice", "its user")
        with open(f"/proc/{about}/cgroup", encoding="utf-8") as groups:
            expect_match(rf"user@{user_id('alice')}\.service/.*velunor-os-update-\d+\.service",
                         groups.read(), "its control group")


@check("a launcher that is killed takes the prompt with it")
def killed_launcher():
    with Asking("--active") as asking:
        Window(alice, asking)
        asking.process.kill()
        eventually(lambda: not prompts(), "the prompt has ended", 5)


@check("a prompt that nobody answers in time ends with status 5")
def timed_out():
    with Asking("--timeout", "2", "--active") as asking:
        expect_equal(asking.wait(6), 5, asking.errors())
        eventually(lambda: not prompts(), "the prompt has ended", 5)


@check("an unknown user is told at once, with status 7")
def unknown_user():
    expect_equal(refused("--user", "zoe"), (7, "ostrel-agent: there is no user zoe"), "refusal")


@check("a user without a session is told at once, with status 6")
def no_session():
    expect_equal(refused("--user", "dave"),
                 (6, "ostrel-agent: dave has no session in the foreground"), "refusal")


@check("of two users on one seat the one in the foreground is asked")
def foreground_decides():
    bob = Session("bob", display=8)
    try:
        expect_equal(refused("--user", "alice"),
                     (6, "ostrel-agent: alice has no session in the foreground"), "alice")
        status, answer, errors = answered(bob, "--active")
        expect_equal((status, json.loads(answer or "null")), PROCEED, errors)
        alice.activate()
        status, answer, errors = answered(alice, "--active")
        expect_equal((status, json.loads(answer or "null")), PROCEED, errors)
        expect(find_window(bob) is None, "bob was asked")
    finally:
        bob.end()


@check("a session without a seat is not at the machine, but can be asked by name")
def session_without_seat():
    bob = Session("bob", seat="", display=8)
    try:
        expect_equal(session_property(bob.identifier, "Seat"), "", "bob's seat")
        status, _, errors = answered(alice, "--active")
        expect_equal(status, 0, errors)
        status, _, errors = answered(bob, "--user", "bob", press="Postpone")
        expect_equal(status, 10, errors)
    finally:
        bob.end()


@check("a text console in the foreground is told at once, with status 8")
def text_console():
    console = Session("bob", kind="tty")
    try:
        told = "ostrel-agent: the session of {} is not graphical"
        expect_equal(refused("--active"), (8, told.format("the user at the machine")), "--active")
        expect_equal(refused("--user", "bob"), (8, told.format("bob")), "--user")
    finally:
        console.end()
        alice.activate()


@check("a graphical session that no manager knows the display of ends with status 8")
def without_display():
    bob = Session("bob", seat="", display=8)
    try:
        run("systemctl", "--user", "--machine", "bob@", "unset-environment", "DISPLAY")
        expect_equal(refused("--user", "bob"), (8, "ostrel-agent: the session has no display"),
                     "refusal")
    finally:
        bob.end()


@check("a user who logs out in the middle ends it with status 9, at once")
def logs_out():
    bob = Session("bob", seat="", display=8)
    try:
        with Asking("--user", "bob") as asking:
            Window(bob, asking)
            run("systemctl", "stop", bob.unit)
            begin = time.monotonic()
            expect_equal(asking.wait(), 9, asking.errors())
            expect(time.monotonic() - begin < 4, "it took its time")
            expect_match("the session ended before the answer", asking.errors(), "its words")
            eventually(lambda: not prompts(), "the prompt has ended", 5)
    finally:
        bob.end()


@check("the prompt waits below a locked screen, and its time goes on")
def locked_screen():
    run("loginctl", "lock-session", alice.identifier)
    lock = alice.start("i3lock", "--nofork", "--color=204060")

    def children():
        tree = alice.x("xwininfo", "-root", "-children").output
        # The toolkit has windows of one point or three that are never shown.
        return [line for line in tree.splitlines()
                if line.strip().startswith("0x") and not re.search(r" [1-9]x[1-9]\+", line)]
    try:
        eventually(lambda: any("i3lock" in line for line in children()), "the lock is there")
        begin = time.monotonic()
        with Asking("--active", arguments=ONE_MINUTE) as asking:
            eventually(lambda: find_window(alice), "the prompt", 20)
            while asking.process.poll() is None:
                expect("i3lock" in children()[0], f"above the lock: {children()[0]}")
                colour = alice.screen()
                expect(all(colour(x, y) == (0x20, 0x40, 0x60)
                           for x in range(840, 1240, 20) for y in range(420, 860, 20)),
                       "the prompt can be seen")
                expect(time.monotonic() - begin < 75, "the time stands still")
                time.sleep(0.5)
            expect_equal(asking.wait(), 10, asking.errors())
            expect(time.monotonic() - begin > 58, "the time was cut")
    finally:
        lock.kill()
        lock.wait()


@check("nobody logged in is told at once, with status 6")
def nobody():
    alice.end()
    try:
        expect_equal(refused("--active"), (6, "ostrel-agent: nobody is logged in at the machine"),
                     "refusal")
    finally:
        prepare()


@check("an ordinary user cannot ask another one")
def not_root():
    told = as_user("bob", "ostrel-agent", "prompt", "--user", "alice", "--", *ONE_MINUTE,
                   check=False)
    expect_equal((told.status, told.error),
                 (2, "ostrel-agent: only root can ask another user\n"), "bob")
