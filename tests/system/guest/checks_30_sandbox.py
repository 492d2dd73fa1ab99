"""The sandbox of the checker's service: what does not work inside, and what has to."""

import contextlib
import json
import os
import pathlib
import re

import sandbox
from checker import end_service, restart_socket
from checks import check, expect, expect_equal
from machine import SERVICE_FILE, SERVICE_UNIT, TREE, run, write

GIBIBYTE = str(1 << 30)
CHOWN_OVERRIDE_AUDIT = f"{1 << 0 | 1 << 1 | 1 << 29:016x}"

_results = {}


def forget():
    """The next check tries everything anew."""
    _results.clear()


def found(name):
    """A result of the probe, which runs once for all."""
    if not _results:
        _results.update(sandbox.probe())
    return _results[name]


def inside(title, **expected):
    """A check that these are the probe's results."""
    @check(title, [SERVICE_FILE])
    def compare():
        expect_equal({name: found(name) for name in expected}, expected, "in the sandbox")
    return compare


inside("no program gives it more rights", no_new_privileges="1")
inside("it has three capabilities", capabilities=CHOWN_OVERRIDE_AUDIT)
inside("the system is read-only", make_usr="EROFS", make_etc="EROFS", make_state="EROFS",
       make_run="EROFS")
inside("its locks and the counts of wrong passwords can be written", make_runtime="ok",
       make_faillock="ok")
inside("there are no homes", homes=[])
inside("nobody else's temporary files, devices and kernel modules are there", marks=[])
inside("control groups are read-only", make_group="EROFS")
inside("nothing of the kernel is seen but its own processes", tunables="ENOENT",
       kernel_log="ENOENT")
inside("no other user may look into a namespace of its own", new_users="EPERM")
inside("no real-time scheduling", scheduler="EPERM")
inside("no set-user-ID files", set_user_id="EPERM")
inside("the personality is fixed", personality="EPERM")
inside("no calls of another architecture", foreign_call="signal 31")
inside("calls outside a service's needs fail", trace="EPERM")
inside("the clock is closed", clock="EPERM")
inside("sockets of the machine alone",
       families={"unix": "ok", "inet": "EAFNOSUPPORT", "inet6": "EAFNOSUPPORT", "netlink": "ok",
                 "packet": "EAFNOSUPPORT"})


@check("no writable code", [SERVICE_FILE])
def no_writable_code():
    # By a filter of the service manager, or by the kernel where it can do that itself.
    expect(found("writable_code") in ("EPERM", "EACCES"), found("writable_code"))


@check("processes of others are hidden", [SERVICE_FILE])
def hidden_processes():
    options = found("process_options")
    expect("hidepid=invisible" in options or "hidepid=2" in options, options)


@check("it has a host name and a network of its own", [SERVICE_FILE])
def own_names():
    for kind, inside_it in found("namespaces").items():
        expect(inside_it != os.readlink(f"/proc/self/ns/{kind}"), f"{kind} is the machine's")


@check("what it leaves open is what the page about security explains", [SERVICE_FILE])
def exposures():
    told = json.loads(run("systemd-analyze", "security", "--no-pager", "--json=short",
                          SERVICE_UNIT).output)
    page = (TREE / "docs/SECURITY.md").read_text(encoding="utf-8")
    explained = {row.replace("\\|", "|") for row in re.findall(r"(?m)^\| `(\w+=\S*)` \|", page)}
    expect_equal({row["name"] for row in told if float(row["exposure"] or 0)}, explained,
                 "what it leaves open")
    # The file by itself, without what the service manager adds to it.
    run("systemd-analyze", "security", "--no-pager", "--offline=true", "--threshold=15",
        SERVICE_FILE)


@check("all its memory is kept out of swap", [SERVICE_FILE])
def locked_memory():
    expect_equal(sandbox.systemd_says("LimitMEMLOCK"), "infinity", "the limit")
    if sandbox.limits_can_be_raised():
        expect(found("locked_kilobytes") > 4096, f"{found('locked_kilobytes')} kB are locked")


@check("it leaves no core dump", [SERVICE_FILE])
def no_core():
    expect_equal(sandbox.main_limit("Max core file size"), ("0", "0"), "the limit")


@check("what it makes is its own", [SERVICE_FILE])
def file_mode():
    expect_equal(sandbox.main_status("Umask"), "0077", "the mask")
    lock = pathlib.Path("/run/velunor/osupdate-checkpass.lock")
    expect_equal(lock.stat().st_mode & 0o777, 0o600, str(lock))


@check("its memory and the number of its processes are limited", [SERVICE_FILE])
def limits():
    expect_equal(sandbox.group_limit("memory.max", "MemoryMax"), GIBIBYTE, "memory")
    expect_equal(sandbox.group_limit("memory.swap.max", "MemorySwapMax"), "0", "swap")
    expect_equal(sandbox.group_limit("pids.max", "TasksMax"), "1100", "processes")


@contextlib.contextmanager
def wider(text):
    """The service as an administrator has widened it."""
    drop_in = pathlib.Path("/run/systemd/system/velunor-osupdate-checkpass.service.d/wider.conf")
    write(drop_in, f"[Service]\n{text}")
    try:
        run("systemctl", "daemon-reload")
        end_service()
        yield
    finally:
        drop_in.unlink()
        drop_in.parent.rmdir()
        run("systemctl", "daemon-reload")
        restart_socket()


@check("a filter that an administrator widens leaves the clock closed", [SERVICE_FILE])
def wider_filter():
    with wider("SystemCallFilter=@clock\n"):
        expect_equal(sandbox.probe()["clock"], "EPERM", "the clock")


@check("a drop-in lets modules reach a server")
def wider_network():
    page = (TREE / "docs/administration.md").read_text(encoding="utf-8")
    settings = re.search(r"PrivateNetwork=no\nRestrictAddressFamilies=.*\n", page)[0]
    with wider(settings):
        probed = sandbox.probe()
    expect_equal(probed["families"]["inet"], "ok", "sockets of networks")
    expect_equal(probed["namespaces"]["net"], os.readlink("/proc/self/ns/net"), "the network")
