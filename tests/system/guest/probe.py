#!/usr/bin/env python3
"""Started by PAM in the checker's sandbox: tries what must not work there, and what must, and tells
the results to whoever listens at the socket that is its argument."""

import ctypes
import errno
import json
import mmap
import os
import pathlib
import re
import resource
import socket
import sys

LIBC = ctypes.CDLL(None, use_errno=True)
CLONE_NEWUSER = 0x10000000
ADDRESSES_NOT_RANDOM = 0x0040000
UNKNOWN_SCHEDULER = 9
X32_GETPID = 0x40000000 | 39


def result(action):
    """What an action gives, or the name of its error."""
    try:
        value = action()
    except OSError as error:
        return errno.errorcode.get(error.errno, str(error.errno))
    return "ok" if value is None else value


def call(name, *arguments):
    """A function of the C library; its error is raised."""
    if getattr(LIBC, name)(*arguments) == -1:
        number = ctypes.get_errno()
        raise OSError(number, os.strerror(number))


def in_child(action):
    """The same in a process of its own, which may be killed for it."""
    child = os.fork()
    if child == 0:
        outcome = result(action)
        os._exit(0 if outcome == "ok" else getattr(errno, str(outcome), 255))
    _, status = os.waitpid(child, 0)
    if os.WIFSIGNALED(status):
        return f"signal {os.WTERMSIG(status)}"
    number = os.WEXITSTATUS(status)
    return "ok" if number == 0 else errno.errorcode.get(number, str(number))


def make(path):
    """Makes a file and removes it."""
    os.close(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600))
    os.unlink(path)


def make_group():
    """Makes a control group and removes it."""
    path = "/sys/fs/cgroup/probe"
    os.mkdir(path)
    os.rmdir(path)


def set_user_id():
    """Makes a set-user-ID file and removes it."""
    path = "/tmp/set-user-id"
    os.close(os.open(path, os.O_WRONLY | os.O_CREAT, 0o600))
    try:
        os.chmod(path, 0o4755)
    finally:
        os.unlink(path)


def status(name, process="self"):
    """A value of a process's own account."""
    text = pathlib.Path(f"/proc/{process}/status").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\s*(.*)$", text, re.M)[1]


def mounts():
    """Mount point to options, those of the file system among them."""
    found = {}
    for line in pathlib.Path("/proc/self/mountinfo").read_text(encoding="utf-8").splitlines():
        words = line.split()
        found[words[4]] = ",".join([words[5], words[-1]])
    return found


def families():
    """Which kinds of sockets can be made."""
    kinds = {"unix": (socket.AF_UNIX, socket.SOCK_STREAM),
             "inet": (socket.AF_INET, socket.SOCK_STREAM),
             "inet6": (socket.AF_INET6, socket.SOCK_STREAM),
             "netlink": (socket.AF_NETLINK, socket.SOCK_RAW),
             "packet": (socket.AF_PACKET, socket.SOCK_RAW)}
    return {name: result(lambda kind=kind: socket.socket(*kind).close())
            for name, kind in kinds.items()}


def probe():
    """All results by name."""
    mounted = mounts()
    return {
        "no_new_privileges": status("NoNewPrivs"),
        "capabilities": status("CapBnd"),
        "locked_kilobytes": int(status("VmLck", os.getppid()).split()[0]),
        "core": resource.getrlimit(resource.RLIMIT_CORE),
        "make_usr": result(lambda: make("/usr/probe")),
        "make_etc": result(lambda: make("/etc/probe")),
        "make_state": result(lambda: make("/var/lib/probe")),
        "make_run": result(lambda: make("/run/probe")),
        "make_runtime": result(lambda: make("/run/velunor/probe")),
        "make_faillock": result(lambda: make("/run/faillock/probe")),
        "homes": result(lambda: os.listdir("/home")),
        "marks": [path for path in ("/tmp/mark", "/var/tmp/mark", "/dev/mark",
                                    "/usr/lib/modules/mark") if os.path.exists(path)],
        "make_group": result(make_group),
        "namespaces": {kind: os.readlink(f"/proc/self/ns/{kind}") for kind in ("net", "uts")},
        "kernel_log": result(lambda: os.close(os.open("/proc/kmsg", os.O_RDONLY))),
        "tunables": result(lambda: os.close(os.open("/proc/sys/kernel/core_pattern", os.O_WRONLY))),
        "process_options": mounted["/proc"],
        "new_users": in_child(lambda: call("unshare", CLONE_NEWUSER)),
        "scheduler": result(
            lambda: os.sched_setscheduler(0, UNKNOWN_SCHEDULER, os.sched_param(0))),
        "set_user_id": result(set_user_id),
        "personality": in_child(lambda: call("personality", ADDRESSES_NOT_RANDOM)),
        "writable_code": result(lambda: mmap.mmap(
            -1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC).close()),
        "foreign_call": in_child(lambda: call("syscall", X32_GETPID)),
        "trace": in_child(lambda: call("ptrace", 0, 0, 0, 0)),
        "clock": in_child(lambda: call("adjtimex", ctypes.create_string_buffer(512))),
        "families": families(),
    }


def main():
    with socket.socket(socket.AF_UNIX) as listener:
        listener.connect(sys.argv[1])
        listener.sendall(json.dumps(probe()).encode())


main()
