"""What prompts leave behind in logs, and what they must not."""

import os
import pathlib
import re

from checks import check, eventually, expect, expect_equal, expect_match
from checks_50_files import ACCESS_LOG
from desktop import Session
from machine import PASSWORDS, journal, messages, now, run, user_id
from prompt import Asking, Window, answered

TIME = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"

alice = None


def prepare():
    """Alice sits at the machine."""
    global alice  # pylint: disable=global-statement
    alice = Session("alice", display=7)


def tidy():
    """She leaves."""
    alice.end()


@check("the prompt's messages are in the journal under its name and its user's")
def prompt_messages():
    since = now()
    answered(alice, "--active")
    found = journal(since, "SYSLOG_IDENTIFIER=VelunorOSUpdate")
    expect_equal({entry["_UID"] for entry in found}, {str(user_id("alice"))}, "whose they are")
    texts = [entry["MESSAGE"] for entry in found]
    for text in ("Update Now Clicked", "Updating Now without Credentials", "Reply Received OK"):
        expect_equal(texts.count(text), 1, text)


@check("a job's agent has its messages in the journal under its name")
def agent_messages():
    since = now()
    with Asking("--active", command=("systemd-run", "--wait", "--quiet", "--collect",
                                     "ostrel-agent")) as asking:
        Window(alice, asking).click("Postpone")
        expect_equal(asking.wait(), 10, asking.errors())
    text = messages(since, "SYSLOG_IDENTIFIER=ostrel-agent", "_UID=0")
    expect_match("ostrel-agent: using the system bus", text, "the journal")


def locks():
    """The idle locks of prompts, as the login manager lists them."""
    told = run("busctl", "--json=short", "call", "org.freedesktop.login1",
               "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
               "ListInhibitors").output
    return re.findall(r'\["([^"]*)","VelunorOSUpdate","([^"]*)","([^"]*)",(\d+),\d+\]', told)


@check("the machine does not go idle while a prompt waits, and may afterwards")
def idle_lock():
    expect_equal(locks(), [], "locks before")
    with Asking("--active") as asking:
        window = Window(alice, asking)
        expect_equal(locks(), [("idle", "Timer Enabled", "block", str(user_id("alice")))],
                     "locks meanwhile")
        window.click("Postpone")
        expect_equal(asking.wait(), 10, asking.errors())
    eventually(lambda: not locks(), "the lock is gone")


@check("two users share the access log, each prompt has its one line")
def access_log():
    before = ACCESS_LOG.stat().st_size
    status, _, errors = answered(alice, "--active")
    expect_equal(status, 0, errors)
    bob = Session("bob", display=8)
    try:
        status, _, errors = answered(bob, "--active", press="Postpone")
        expect_equal(status, 10, errors)
    finally:
        bob.end()
        alice.activate()
    with open(ACCESS_LOG, encoding="utf-8") as log:
        log.seek(before)
        _, *lines = log.read().split("\n")
    expect_equal(len(lines), 2, f"the number of lines in {lines}")
    for line, user, outcome in zip(lines, ("alice", "bob"), (
            "proceed - NA\t\tUpdate Now Clicked", "postpone - bob\t\tPostpone Clicked")):
        expect(re.fullmatch(rf"{TIME}\t\tOSUpdate\t\t{user}\t\tWithout Credentials - false - "
                            rf"Debian 12\.9 - 15 mins\t\t{outcome}\t\t{TIME}", line), line)


@check("no password that was typed here is in any log or on any disk")
def no_passwords():
    texts = {"the journal": run("journalctl", "--all", "--output=json").output.encode()}
    for top in ("/var/log", "/var/lib/velunor", "/var/tmp", "/tmp", "/run", "/home", "/var/crash",
                "/var/lib/systemd/coredump"):
        for directory, _, names in os.walk(top):
            for path in (pathlib.Path(directory, name) for name in names):
                if path.is_file() and not path.is_symlink() and path.stat().st_size < 1 << 26:
                    texts[str(path)] = path.read_bytes()
    for where, text in texts.items():
        for name, password in PASSWORDS.items():
            expect(password.encode() not in text, f"{where} has the password of {name}")
