#!/usr/bin/env python3
"""An agent of a few lines: shows the update prompt, hears its answer and prints it.

usage: agent.py [--active] [--bin DIRECTORY] [--interface FILE] UPDATE MINUTES

Asks the user who runs it, over their session bus; with --active, as root, whoever sits at the
machine, over the system bus. Ends with 0 for proceed, 10 for postpone, 1 without an answer.
Needs python3-gi.
"""

import argparse
import json
import os
import pwd
import sys

from gi.repository import Gio, GLib

NAME = "com.velunor.OstrelAgent"
OBJECT = "/com/velunor/OstrelAgent"
KEY = "PatchOSUpdateNotificationStatus"

arguments = argparse.ArgumentParser()
arguments.add_argument("--active", action="store_true")
arguments.add_argument("--bin", default="/opt/velunor/ostrel_agent/bin")
arguments.add_argument("--interface", default=f"/usr/share/dbus-1/interfaces/{NAME}1.xml")
arguments.add_argument("update")
arguments.add_argument("minutes")
options = arguments.parse_args()

bus = Gio.bus_get_sync(Gio.BusType.SYSTEM if options.active else Gio.BusType.SESSION)
loop = GLib.MainLoop()
answers = []


def ask(name, path, interface, method, *texts):
    """What the method of another program returns; its arguments are texts."""
    given = GLib.Variant(f"({'s' * len(texts)})", texts)
    reply = bus.call_sync(
        name, path, interface, method, given, None, Gio.DBusCallFlags.NONE, -1, None
    )
    return reply.unpack()[0]


def login_manager(path, interface, value):
    """A property of one of the login manager's objects."""
    interface = f"org.freedesktop.login1.{interface}"
    properties = "org.freedesktop.DBus.Properties"
    return ask("org.freedesktop.login1", path, properties, "Get", interface, value)


def user_at_the_machine():
    """The number of the user in the foreground of the first seat."""
    session, path = login_manager("/org/freedesktop/login1/seat/seat0", "Seat", "ActiveSession")
    if not session:
        sys.exit("nobody is logged in at the machine")
    return login_manager(path, "Session", "User")[0]


def prompt_command():
    """The prompt; for another user it is started by that user's own service manager."""
    prompt = [f"{options.bin}/VelunorOSUpdate"]
    prompt += ["OSUpdate", options.update, "false", options.minutes, "false", "0"]
    if not options.active:
        return prompt
    account = pwd.getpwuid(user)
    as_user = ["setpriv", f"--reuid={user}", f"--regid={account.pw_gid}", "--init-groups"]
    as_user += ["--reset-env", "env", f"XDG_RUNTIME_DIR=/run/user/{user}"]
    service = f"example-agent-{os.getpid()}"
    return [*as_user, f"{options.bin}/start-in-session", service, "--", *prompt]


def called(connection, sender, path, interface, method, given, call):
    """Takes an answer. Everybody on the bus can send one: only the asked user's counts."""
    key, message = given.unpack()
    bus_name = "org.freedesktop.DBus"
    sent_by = ask(bus_name, "/org/freedesktop/DBus", bus_name, "GetConnectionUnixUser", sender)
    if sent_by == user and key == KEY:
        # A prompt that asks for a password sends it in here: never log the message itself.
        answers.append(json.loads(bytes(message)))
        call.return_value(GLib.Variant("(s)", ("OK",)))
    else:
        call.return_value(GLib.Variant("(s)", ("Not asked",)))


def has_name(connection, name):
    """The prompt is started once it can reach this agent."""
    launcher = Gio.SubprocessLauncher()
    launcher.setenv("VELUNOR_AGENT_BUS", "system" if options.active else "session", True)
    # It ends when it has got its reply, and without an answer when nothing could be shown.
    launcher.spawnv(prompt_command()).wait_async(None, lambda *_: loop.quit())


user = user_at_the_machine() if options.active else os.getuid()
with open(options.interface, encoding="utf-8") as file:
    node = Gio.DBusNodeInfo.new_for_xml(file.read())
bus.register_object(OBJECT, node.lookup_interface(f"{NAME}1"), called, None, None)
Gio.bus_own_name_on_connection(
    bus, NAME, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, has_name, lambda *_: loop.quit()
)
loop.run()

if not answers:
    sys.exit("there was no answer")
if "proceed" in answers[0]:
    print("proceed")
else:
    print("postpone")
    sys.exit(10)
