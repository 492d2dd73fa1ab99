"""What makers of agents get: the interface's file and the two examples."""

import json
import os

from checks import check, eventually, expect, expect_equal, expect_match
from desktop import Session
from documents import Running
from machine import as_user, run
from prompt import find_window

NAME = "com.velunor.OstrelAgent"
OBJECT = "/com/velunor/OstrelAgent"
INTERFACE_FILE = f"/usr/share/dbus-1/interfaces/{NAME}1.xml"
KEY = "PatchOSUpdateNotificationStatus"
EXAMPLES = "/usr/share/doc/velunor-os-update/examples/agent"
QUESTION = ("Debian 12.9", "15")

_desktops = {}


def desktop():
    """Alice's, who sits at the machine."""
    return _desktops["alice"]


def prepare():
    _desktops["alice"] = Session("alice", display=31)


def tidy():
    desktop().end()


@check("the service tells of itself on the system bus what the interface's file tells")
def introspection():
    service = Running("ostrel-agent", "serve")
    try:
        eventually(lambda: "serving" in service.said(), "the service has its name")
        told = run("busctl", "introspect", "--xml-interface", NAME, OBJECT).output
        run(os.path.join(os.path.dirname(__file__), "check_interface.py"), INTERFACE_FILE,
            stdin=told)
    finally:
        service.end()


def answer_of_a_stranger(message):
    """What the agent replies to mallory, who sends this answer."""
    data = message.encode()
    return as_user("mallory", "busctl", "--system", "call", NAME, OBJECT, f"{NAME}1",
                   "ReplyDataForKey", "say", KEY, str(len(data)), *map(str, data)).output


def root_asks(program, button):
    """Has the example ask whoever sits there, and mallory answer first; its status and lines."""
    agent = Running(f"{EXAMPLES}/{program}", "--active", *QUESTION)
    try:
        eventually(lambda: find_window(desktop()), f"a prompt: {agent.said()}", 20)
        answer_of_a_stranger(json.dumps({"postponse": {}} if button == "Update Now" else
                                        {"proceed": {}}, separators=(",", ":")))
        agent.answer_by(desktop(), button)
        return agent.wait(), agent.said()
    finally:
        agent.end()


def user_asks(program, button):
    """Has the example of an ordinary user ask themselves, over their own bus."""
    agent = Running("setpriv", "--reuid=alice", "--regid=alice", "--init-groups", "--reset-env",
                    "env", f"XDG_RUNTIME_DIR=/run/user/{os.stat('/home/alice').st_uid}",
                    f"DISPLAY={desktop().display}", f"{EXAMPLES}/{program}", *QUESTION)
    agent.answer_by(desktop(), button)
    return agent.wait(), agent.said()


def heard(outcome, status, answer):
    """Expects that the example has ended so, and said what the answer was."""
    expect_equal(outcome[0], status, f"the status, with {outcome[1]!r}")
    expect_match(rf"(?m)^{answer}$", outcome[1], "what it said")
    expect(("proceed" in outcome[1].split()) != ("postpone" in outcome[1].split()), outcome[1])


@check("root's agent in Python hears the user alone: Update Now")
def python_proceeds():
    heard(root_asks("agent.py", "Update Now"), 0, "proceed")


@check("root's agent in Python hears the user alone: Postpone")
def python_postpones():
    heard(root_asks("agent.py", "Postpone"), 10, "postpone")


@check("root's agent for the shell hears the user alone: Update Now")
def shell_proceeds():
    heard(root_asks("agent.sh", "Update Now"), 0, "proceed")


@check("root's agent for the shell hears the user alone: Postpone")
def shell_postpones():
    heard(root_asks("agent.sh", "Postpone"), 10, "postpone")


@check("a user's own agents hear the answer on the session's bus")
def users_agents():
    heard(user_asks("agent.py", "Postpone"), 10, "postpone")
    heard(user_asks("agent.sh", "Update Now"), 0, "proceed")
