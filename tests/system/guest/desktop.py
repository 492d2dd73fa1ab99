"""Sessions of users on the machine's first seat, and what is on their screens."""

import os
import pathlib
import struct
import subprocess

from checks import eventually, expect
from machine import as_user, run, user_id

SIZE = (1280, 900)


class Session:
    """A session of the login manager. Graphical, it has an X server and a window manager."""

    def __init__(self, user, kind="x11", seat="seat0", display=0):
        """Opens it, in the foreground of the seat; `kind` is that of the login manager."""
        self.user = user
        self.display = f":{display}"
        self.unit = f"session-of-{user}-{kind}-{display}"
        self.frame = pathlib.Path(f"/run/screens/{user}-{display}")
        environment = f"XDG_SESSION_TYPE={kind} XDG_SESSION_CLASS=user"
        if seat:
            environment += f" XDG_SEAT={seat}"
        command = "exec sleep infinity"
        if kind == "x11":
            self.frame.mkdir(parents=True, exist_ok=True)
            os.chown(self.frame, user_id(user), -1)
            command = (
                f"Xvfb {self.display} -screen 0 {SIZE[0]}x{SIZE[1]}x24 -fbdir {self.frame}"
                " -nolisten tcp -noreset & "
                f"export DISPLAY={self.display}; "
                "until xprop -root >/dev/null 2>&1; do sleep 0.1; done; "
                "dbus-update-activation-environment --systemd DISPLAY; exec openbox")
        known = set(sessions())
        # A user manager of a session that has just ended would go away under this one.
        eventually(lambda: run("systemctl", "is-active", f"user@{user_id(user)}.service",
                               check=False).output.strip() != "deactivating", "an old session ends")
        run("systemd-run", "--quiet", "--collect", f"--unit={self.unit}", f"--uid={user}",
            "-p", "PAMName=login", "-p", f"Environment={environment}",
            "/bin/sh", "-c", command)
        self.identifier = eventually(
            lambda: next((name for name in set(sessions()) - known
                          if session_property(name, "Name") == user
                          and session_property(name, "Class") == "user"), None),
            f"a session of {user}", 20)
        if kind == "x11":
            eventually(self._is_ready, f"the desktop of {user}", 30)

    def _is_ready(self):
        told = as_user(self.user, "systemctl", "--user", "show-environment", check=False).output
        return f"DISPLAY={self.display}\n" in told and "_NET_SUPPORTING_WM_CHECK(" in self.x(
            "xprop", "-root", "_NET_SUPPORTING_WM_CHECK", check=False).output

    def x(self, *command, **options):
        """Runs a command on the session's display."""
        return run(*command, environment={"DISPLAY": self.display}, **options)

    def start(self, *command):
        """Starts a program of the user on the display; its process."""
        uid = user_id(self.user)
        return subprocess.Popen(
            ["setpriv", "--reuid", self.user, "--regid", str(uid), "--init-groups", "--reset-env",
             "env", f"DISPLAY={self.display}", f"XDG_RUNTIME_DIR=/run/user/{uid}", *command],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def activate(self):
        """Brings it into the foreground of its seat."""
        run("loginctl", "activate", self.identifier)
        eventually(lambda: session_property(self.identifier, "Active") == "yes",
                   f"{self.user} is in the foreground")

    def end(self):
        """The user logs out."""
        run("systemctl", "stop", self.unit, check=False)
        # The display is ended by whoever manages it.
        run("systemctl", "stop", f"session-{self.identifier}.scope", check=False)
        eventually(lambda: self.identifier not in sessions(), f"{self.user} is logged out", 20)

    def screen(self):
        """A function that gives red, green and blue at a place of the screen as it is now."""
        data = (self.frame / "Xvfb_screen0").read_bytes()
        header = struct.unpack(">25I", data[:100])
        start, stride = header[0] + header[19] * 12, header[12]
        expect(header[11] == 32, "the screen has an unknown format")

        def colour(x, y):
            blue, green, red, _ = data[start + y * stride + x * 4:][:4]
            return red, green, blue
        return colour


def sessions():
    """Identifiers of the sessions that the login manager knows."""
    return [line.split()[0] for line in run("loginctl", "--no-legend", "list-sessions")
            .output.splitlines()]


def session_property(identifier, name):
    """What the login manager says of a session; empty when it has gone."""
    return run("loginctl", "show-session", "--value", "-p", name, identifier,
               check=False).output.strip()
