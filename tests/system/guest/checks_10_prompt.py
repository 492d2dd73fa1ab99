"""Root asks whoever sits at the machine, and hears the answer."""

import json

from checks import check, expect, expect_equal
from desktop import Session, session_property
from machine import user_id
from prompt import answered

alice = None


def prepare():
    """Alice sits at the machine."""
    global alice  # pylint: disable=global-statement
    alice = Session("alice", display=7)


def tidy():
    """She leaves."""
    alice.end()


@check("the desktop is a graphical session in the foreground of seat0")
def session_is_real():
    found = {name: session_property(alice.identifier, name)
             for name in ("Type", "Class", "Seat", "State", "User")}
    expect_equal(found, {"Type": "x11", "Class": "user", "Seat": "seat0", "State": "active",
                         "User": str(user_id("alice"))}, "the session")


@check("Update Now is heard by root: status 0 and the answer's JSON")
def proceed():
    status, answer, errors = answered(alice, "--active")
    expect_equal((status, json.loads(answer or "null")), (0, {"proceed": {}}), errors)


@check("Postpone is heard by root: status 10 and the answer's JSON")
def postpone():
    status, answer, errors = answered(alice, "--user", "alice", press="Postpone")
    expect(status == 10, errors)
    expect_equal(json.loads(answer), {"postponse": {"userName": "alice"}}, "the answer")
