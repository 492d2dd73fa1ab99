"""The prompt that asks for a password, answered by keys and clicks."""

import json
import pathlib
import struct
import zlib

from checker import Stack
from checks import check, eventually, expect, expect_equal, expect_match
from desktop import Session
from machine import PASSWORDS, add_account, run, user_id
from prompt import WITH_CREDENTIALS, Asking, Window

MAGENTA = (255, 0, 255)

carol = None


def prepare():
    """An administrator sits at the machine; another one exists."""
    global carol  # pylint: disable=global-statement
    add_account("erin", "sudo")
    carol = Session("carol", display=7)


def tidy():
    """She leaves."""
    carol.end()


def png(width, height, colour):
    """A picture of one colour."""
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    row = b"\0" + bytes(colour) * width
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
            + chunk(b"IDAT", zlib.compress(row * height)) + chunk(b"IEND", b""))


def expect_proceed(asking, name):
    """The answer holds the name and its password, which no output of a failure repeats."""
    status = asking.wait()
    expect_equal(status, 0, asking.errors())
    answer = json.loads(asking.answer())
    expect_equal(answer.get("proceed", {}).get("userName"), name, "the name")
    expect(answer["proceed"].get("passwd") == PASSWORDS[name], "another password is answered")


def use_other(window, name, password):
    """Types another account's name and password."""
    window.click("Use another account")
    window.type(name)
    window.session.x("xdotool", "key", "Tab")
    window.type(password)


@check("the console user is the one whom the login manager has at seat0")
def console_user():
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        Window(carol, asking)
        expect_match('"-secureTokenStatus", "carol"', asking.errors(), "who is asked about")


@check("the picture comes from the accounts service")
def picture():
    path = pathlib.Path("/home/carol/picture.png")
    path.write_bytes(png(96, 96, MAGENTA))
    run("busctl", "call", "org.freedesktop.Accounts",
        f"/org/freedesktop/Accounts/User{user_id('carol')}", "org.freedesktop.Accounts.User",
        "SetIconFile", "s", path)
    path.unlink()
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        place = Window(carol, asking).place("Picture")
        eventually(lambda: carol.screen()(*place) == MAGENTA, "the picture is shown")


@check("an administrator's own password is accepted")
def own_password():
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        window.click("Password")
        window.type(PASSWORDS["carol"])
        window.click("Update Now")
        expect_proceed(asking, "carol")


@check("a wrong password keeps the prompt, and the right one then ends it")
def wrong_password():
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        window.click("Password")
        window.type("wrong")
        window.click("Update Now")
        eventually(lambda: "Failed to validate credentials carol" in asking.errors(), "a refusal")
        expect_match("Error Domain=PAM", asking.errors(), "who refuses")
        expect_equal((asking.process.poll(), asking.answer()), (None, ""), "the prompt")
        window.settle()
        window.click("Password")
        window.session.x("xdotool", "key", "ctrl+a")
        window.type(PASSWORDS["carol"])
        window.click("Update Now")
        expect_proceed(asking, "carol")


@check("another administrator's password is accepted")
def other_account():
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        use_other(window, "erin", PASSWORDS["erin"])
        window.click("Update Now")
        expect_proceed(asking, "erin")


@check("an account that may not update is refused with the right password too")
def no_administrator():
    with Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        use_other(window, "bob", PASSWORDS["bob"])
        window.click("Update Now")
        eventually(lambda: "Secure Token not enabled for bob" in asking.errors(), "a refusal")
        expect_equal((asking.process.poll(), asking.answer()), (None, ""), "the prompt")


@check("while a password is checked it is in no argument and no variable")
def nowhere_meanwhile():
    password = PASSWORDS["carol"].encode()
    with Stack("auth optional pam_exec.so quiet /bin/sleep 3\n@include common-auth\n"
               "@include common-account\n"), \
            Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        window.click("Password")
        window.type(PASSWORDS["carol"])
        window.click("Update Now")
        eventually(lambda: run("pgrep", "-f", "^/bin/sleep 3$", check=False).output,
                   "the check goes on", 5)
        seen = 0
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            for name in ("cmdline", "environ"):
                try:
                    text = (process / name).read_bytes()
                except OSError:
                    continue
                seen += 1
                expect(password not in text, f"{process.name} has it in {name}")
        expect(seen > 20, "nothing was looked at")
        expect_proceed(asking, "carol")
