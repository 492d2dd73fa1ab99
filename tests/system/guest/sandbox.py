"""What the checker's sandbox lets through, as tried from inside and told by the kernel outside."""

import contextlib
import json
import os
import pathlib
import re
import socket

from checker import Stack, ask, end_service, running
from checks import expect, expect_match
from machine import SERVICE_UNIT, run

CAP_SYS_RESOURCE = 24
LISTENER = "/run/system-test-probe"
PROBE_STACK = f"auth required pam_exec.so quiet /srv/system-test/probe.py {LISTENER}\n"
# Seen from inside where nothing hides them.
MARKS = ("/tmp/mark", "/var/tmp/mark", "/dev/mark", "/usr/lib/modules/mark")


def probe():
    """Results of the probe, by name."""
    for mark in map(pathlib.Path, MARKS):
        if not mark.exists():
            mark.parent.mkdir(exist_ok=True)
            mark.touch()
            # What was not there when the service started is not hidden from it.
            end_service()
    with contextlib.suppress(FileNotFoundError):
        os.unlink(LISTENER)
    with Stack(PROBE_STACK), socket.socket(socket.AF_UNIX) as listener:
        listener.bind(LISTENER)
        listener.listen()
        listener.settimeout(10)
        ask("carol", "nothing")
        try:
            connection, _ = listener.accept()
        except TimeoutError:
            expect(False, "the probe does not come through")
        with connection:
            text = b""
            while piece := connection.recv(65536):
                text += piece
    expect(text, "the probe did not end")
    return json.loads(text)


def main_status(name):
    """A value of the service's process, as the kernel tells it."""
    text = pathlib.Path(f"/proc/{running()}/status").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\s*(.*)$", text, re.M)[1]


def main_limit(name):
    """Soft and hard limit of the service's process."""
    text = pathlib.Path(f"/proc/{running()}/limits").read_text(encoding="utf-8")
    return re.search(rf"^{name}\s+(\S+)\s+(\S+)", text, re.M).groups()


def limits_can_be_raised():
    """Whether the machine may do so; a container inside some others may not."""
    text = pathlib.Path("/proc/1/status").read_text(encoding="utf-8")
    capabilities = int(re.search(r"^CapEff:\s*(.*)$", text, re.M)[1], 16)
    return bool(capabilities & 1 << CAP_SYS_RESOURCE)


def systemd_says(property_name):
    """systemd's own account of the service."""
    return run("systemctl", "show", "--value", "-p", property_name, SERVICE_UNIT).output.strip()


def group_limit(file, property_name):
    """A limit of the service's control group: the kernel's, or systemd's own account where the host
    hands the controller to no container."""
    group = expect_match(r"(?m)^0::(.*)$",
                         pathlib.Path(f"/proc/{running()}/cgroup").read_text(encoding="ascii"),
                         "its control group")[1]
    path = pathlib.Path(f"/sys/fs/cgroup{group}/{file}")
    if path.exists():
        return path.read_text(encoding="ascii").strip()
    return systemd_says(property_name)
