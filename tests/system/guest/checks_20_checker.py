"""The credential checker as the system service that the package installs."""

import pathlib
import resource
import signal
import os
import time

from checker import (ACCEPTED, Stack, asked_by, code, connect, end_service, main_process,
                     running)
from checks import check, eventually, expect, expect_equal, expect_match
from desktop import Session
from machine import (PASSWORDS, SERVICE_FILE, SERVICE_UNIT, SOCKET_FILE, SOCKET_UNIT, add_account,
                     doing_as, messages, now, run, write)

# What PAM's numbers mean.
DENIED, AUTH_ERROR, NEW_PASSWORD = 6, 7, 12
COMMON_AUTH = pathlib.Path("/etc/pam.d/common-auth")
COMMON_ACCOUNT = pathlib.Path("/etc/pam.d/common-account")
FAILLOCK = """auth required pam_faillock.so preauth deny=3
auth [success=2 default=ignore] pam_unix.so nullok
auth [default=ignore] pam_faillock.so authfail deny=3
auth requisite pam_deny.so
auth required pam_faillock.so authsucc deny=3
auth required pam_permit.so
"""

alice = None
before = {}


def prepare():
    """Alice sits at the machine; wrong passwords are counted."""
    global alice  # pylint: disable=global-statement
    for path in (COMMON_AUTH, COMMON_ACCOUNT):
        before[path] = path.read_text(encoding="utf-8")
    write(COMMON_AUTH, FAILLOCK)
    write(COMMON_ACCOUNT, "account required pam_faillock.so\n" + before[COMMON_ACCOUNT])
    for name in ("gina", "hugo", "ivan", "judy", "kurt"):
        add_account(name)
    run("passwd", "--delete", "gina")
    run("chage", "--expiredate", "-1", "hugo")
    run("chage", "--lastday", "0", "ivan")
    run("passwd", "--lock", "judy")
    alice = Session("alice", display=7)


def tidy():
    """As it was."""
    alice.end()
    for path, text in before.items():
        write(path, text)


@check("the own password is accepted, a wrong one refused")
def own_password():
    expect_equal(asked_by("alice", "alice"), ACCEPTED, "the right one")
    expect_equal(code(asked_by("alice", "alice", PASSWORDS["bob"])), AUTH_ERROR, "a wrong one")
    run("faillock", "--user", "alice", "--reset")


@check("root is answered", [SERVICE_FILE, SOCKET_FILE])
def asked_by_root():
    expect_equal(asked_by("root", "carol"), ACCEPTED, "asked by root")


@check("another local user's password is accepted, a wrong one refused")
def other_password():
    expect_equal(asked_by("alice", "carol"), ACCEPTED, "the right one")
    expect_equal(code(asked_by("alice", "carol", PASSWORDS["bob"])), AUTH_ERROR, "a wrong one")
    run("faillock", "--user", "carol", "--reset")


@check("an empty password is refused, also where the account has none")
def empty_password():
    expect(code(asked_by("alice", "carol", "")) != 0, "carol")
    expect(code(asked_by("alice", "gina", "")) != 0, "gina")
    expect(code(asked_by("root", "gina", "something")) != 0, "gina")


@check("an expired account and a password that must be changed are refused")
def expired():
    expect_equal(asked_by("alice", "hugo"), ACCEPTED, "hugo before")
    run("chage", "--expiredate", "0", "hugo")
    expect_equal(code(asked_by("alice", "hugo")), AUTH_ERROR, "hugo")
    expect_equal(code(asked_by("alice", "ivan")), NEW_PASSWORD, "ivan")


@check("a locked account is refused")
def locked_account():
    expect_equal(code(asked_by("alice", "judy")), AUTH_ERROR, "judy")


@check("after three wrong passwords the right one is refused too", [SERVICE_FILE])
def counted():
    run("faillock", "--user", "kurt", "--reset", check=False)
    expect_equal(asked_by("root", "kurt"), ACCEPTED, "before")
    for _ in range(3):
        expect_equal(code(asked_by("root", "kurt", PASSWORDS["bob"])), AUTH_ERROR, "a wrong one")
    expect(code(asked_by("root", "kurt")) != 0, "after them")
    run("faillock", "--user", "kurt", "--reset")
    expect_equal(asked_by("root", "kurt"), ACCEPTED, "after the count is put back")


@check("a user without a session is turned away")
def without_session():
    since = now()
    expect_equal(code(asked_by("mallory", "mallory")), DENIED, "mallory")
    expect_match(rf"password check for uid \d+: refused \({DENIED}\)",
                 messages(since, "--identifier=osupdate-checkpass"), "the journal")


@check("a user whose session is in the background is turned away")
def background_session():
    bob = Session("bob", display=8)
    try:
        expect_equal(asked_by("bob", "bob"), ACCEPTED, "bob in the foreground")
        expect_equal(code(asked_by("alice", "alice")), DENIED, "alice behind him")
        alice.activate()
        expect_equal(code(asked_by("bob", "bob")), DENIED, "bob in the background")
        expect_equal(asked_by("alice", "alice"), ACCEPTED, "alice in the foreground")
    finally:
        bob.end()


def guess(count):
    """Connects as often, asking half of the time, and keeps as many open as it may."""
    resource.setrlimit(resource.RLIMIT_NOFILE, (900, 900))
    held, refused = [], 0
    for number in range(count):
        try:
            connection = connect()
            if number % 2:
                connection.sendall(b"alice\0wrong\0")
                connection.close()
            else:
                held.append(connection)
        except OSError:
            refused += 1
        if len(held) > 400:
            held.pop(0).close()
    for connection in held:
        connection.close()
    return refused


@check("3,000 connections of a stranger change nothing")
def many_connections():
    run("faillock", "--user", "alice", "--reset", check=False)
    doing_as("mallory", lambda: guess(3000))
    begin = time.monotonic()
    expect_equal(asked_by("alice", "alice"), ACCEPTED, "alice afterwards")
    expect(time.monotonic() - begin < 10, "she waited")
    expect_equal(run("systemctl", "is-active", SOCKET_UNIT).output.strip(), "active", "the socket")
    expect_equal(run("systemctl", "is-failed", SERVICE_UNIT, check=False).output.strip(), "active",
                 "the service")
    counted_guesses = run("faillock", "--user", "alice").output.count(" V\n")
    expect_equal(counted_guesses, 0, "guesses that were counted")


@check("however often the service ends, the socket stays", [SERVICE_FILE, SOCKET_FILE])
def ends_often():
    for _ in range(40):
        connect().close()
        eventually(main_process, "the service is started again", 3)
        process = main_process()
        if process:
            os.kill(process, signal.SIGTERM)
    expect_equal(asked_by("root", "carol"), ACCEPTED, "the next question")


@check("the service goes and comes with its socket", [SERVICE_FILE, SOCKET_FILE])
def goes_with_socket():
    process = running()
    try:
        run("systemctl", "stop", SOCKET_UNIT)
        eventually(lambda: not os.path.exists(f"/proc/{process}"), "the service has ended", 5)
        expect(not os.path.exists("/run/velunor/osupdate-checkpass.socket"), "the socket is left")
    finally:
        run("systemctl", "start", SOCKET_UNIT)
    expect_equal(asked_by("root", "carol"), ACCEPTED, "afterwards")


@check("the socket's place outlives the service", [SERVICE_FILE])
def place_stays():
    running()
    end_service()
    time.sleep(0.2)
    expect_equal(asked_by("root", "carol"), ACCEPTED, "the next question")


@check("everybody may connect", [SOCKET_FILE])
def everybody_connects():
    expect_equal(doing_as("mallory", lambda: connect().close()), None, "mallory")


@check("disabled and enabled again the socket comes with the machine", [SOCKET_FILE])
def enabled_again():
    link = pathlib.Path("/etc/systemd/system/sockets.target.wants", SOCKET_UNIT)
    run("systemctl", "disable", SOCKET_UNIT)
    expect(not link.is_symlink(), "it is still enabled")
    run("systemctl", "enable", SOCKET_UNIT, check=False)
    expect(link.is_symlink(), "it is not enabled")


@check("a check that hangs keeps nobody waiting who stops the service", [SERVICE_FILE])
def stops_soon():
    with Stack("auth required pam_exec.so quiet /srv/system-test/hang.sh\n"):
        connection = connect()
        connection.sendall(b"carol\0nothing\0")
        connection.shutdown(1)
        eventually(lambda: run("pgrep", "-f", "hang.sh", check=False).output, "the check hangs")
        begin = time.monotonic()
        run("systemctl", "stop", "--no-block", SERVICE_UNIT)
        try:
            eventually(lambda: run("systemctl", "is-active", SERVICE_UNIT, check=False)
                       .output.strip() not in ("active", "deactivating"), "the service stops", 5)
        finally:
            run("pkill", "-KILL", "-f", "hang.sh", check=False)
            connection.close()
        expect(time.monotonic() - begin > 1, "nothing hung")
