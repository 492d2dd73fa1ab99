"""Who may do what with the agent service's name on the system bus."""

import time

from bus import INTERFACE, NAME, PLACE, Service, call, listening, owner, request
from checks import check, eventually, expect, expect_equal, expect_match
from machine import POLICY_FILE, as_user, journal, now, user_id

REFUSED = "Access denied|AccessDenied|not allowed|Sender is not authorized"


@check("root may have the name, and call everything behind it", [POLICY_FILE])
def root_serves():
    with Service() as service:
        expect_equal(request("root", "hello"), (0, 's "OK"'), "the reply")
        status, told = call("root", "org.freedesktop.DBus.Introspectable", "Introspect")
        expect_equal(status, 0, told)
        expect("ReplyDataForKey" in told, told)
        eventually(lambda: service.lines() == ["0 Key hello"], "the request is printed")


@check("nobody else may have the name")
def impostor():
    status, told = call("mallory", "org.freedesktop.DBus", "RequestName", "su", NAME, "0",
                        destination="org.freedesktop.DBus", place="/org/freedesktop/DBus")
    expect(status != 0, "mallory has it")
    expect_match(REFUSED, told, "the refusal")
    expect_equal(owner(), "", "its owner")


@check("the name is taken once, and an ordinary user's agent says so")
def taken():
    told = as_user("mallory", "env", "VELUNOR_AGENT_BUS=system", "ostrel-agent", "serve",
                   check=False)
    expect_equal(told.status, 3, told.error)
    expect_match("the name com.velunor.OstrelAgent cannot be had", told.error, "its words")


@check("a stranger's request arrives with the stranger's number", [POLICY_FILE])
def stranger_asks():
    with Service() as service:
        expect_equal(request("mallory", "hello"), (0, 's "OK"'), "the reply")
        eventually(lambda: service.lines() == [f"{user_id('mallory')} Key hello"],
                   "the request is printed")


@check("a stranger may ask whether the service is there", [POLICY_FILE])
def stranger_pings():
    with Service():
        status, told = call("mallory", "org.freedesktop.DBus.Peer", "Ping")
        expect_equal(status, 0, told)


@check("a stranger may not look at the service or call anything else", [POLICY_FILE])
def stranger_looks():
    with Service():
        for interface, member, *arguments in (
                ("org.freedesktop.DBus.Introspectable", "Introspect"),
                ("org.freedesktop.DBus.Properties", "GetAll", "s", INTERFACE),
                ("com.velunor.Other", "ReplyDataForKey"),
                (INTERFACE, "Another")):
            status, told = call("mallory", interface, member, *arguments)
            expect(status != 0, f"{interface}.{member} was answered: {told}")
            expect_match(REFUSED, told, f"{interface}.{member}")


@check("a stranger may not send the service signals", [POLICY_FILE])
def stranger_signals():
    with Service() as service:
        since = now()
        as_user("mallory", "busctl", "--system", "emit", f"--destination={NAME}", PLACE,
                INTERFACE, "News", "s", "hello", check=False)
        eventually(lambda: [entry for entry in journal(since, "_COMM=dbus-daemon")
                            if "Rejected send message" in str(entry.get("MESSAGE"))],
                   "the bus refuses it", 3)
        expect_equal(service.process.poll(), None, "the service's end")


@check("no stranger hears what is sent to the service")
def eavesdropper():
    status, told = call("mallory", "org.freedesktop.DBus.Monitoring", "BecomeMonitor", "asu", "0",
                        "0", destination="org.freedesktop.DBus", place="/org/freedesktop/DBus")
    expect(status != 0, "mallory is a monitor")
    expect_match(REFUSED, told, "the refusal")
    with Service() as service, listening(
            "mallory", "dbus-monitor", "--system", "eavesdrop=true,type=method_call") as heard:
        time.sleep(0.5)
        request("root", "hush-hush")
        eventually(service.lines, "the request is there")
        time.sleep(0.5)
        expect("hush-hush" not in heard() and "ReplyDataForKey" not in heard(), heard())
