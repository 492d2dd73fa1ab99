"""Every command of the administrators' page, as it is written and in its order."""

import pathlib
import secrets
import shutil
import socket

import ldap_server
from checks import check, expect, expect_equal, expect_match
from desktop import Session
from documents import command_blocks, run_block
from machine import PACKAGE, PACKAGE_FILE, PASSWORDS, TREE, add_account, messages, now, run

PAGE = TREE / "docs/administration.md"
# Where the commands are given.
PLACE = pathlib.Path("/srv/administration")
DROP_INS = pathlib.Path("/etc/systemd/system/velunor-osupdate-checkpass.service.d")
CHECKER = "/opt/velunor/ostrel_agent/bin/osupdate-checkpass"
PROMPT = "--identifier=VelunorOSUpdate"

_machine = {}


def prepare():
    """A machine without the package, with its file, a user at the screen and a directory server."""
    add_account("alice")
    _machine["alice"] = Session("alice", display=33)
    ldap_server.prepare({"dave": secrets.token_hex(12)})
    _machine["directory"] = ldap_server.Server("own").__enter__()
    PLACE.mkdir(exist_ok=True)
    shutil.copy(ldap_server.PLACE / "own-ca.pem", PLACE / "corp-ca.pem")
    version = run("dpkg-deb", "--field", PACKAGE_FILE, "Version").output.strip()
    shutil.copy(PACKAGE_FILE, PLACE / f"{PACKAGE}_{version}_amd64.deb")
    run("apt-get", "purge", "-y", PACKAGE)


def tidy():
    # An administrator's own; no package takes it away.
    shutil.rmtree(DROP_INS)
    run("systemctl", "daemon-reload")
    _machine["alice"].end()
    _machine["directory"].__exit__()
    run("apt-get", "install", "-y", "--no-install-recommends", PACKAGE_FILE)


def state_of_package():
    """What dpkg knows of the package."""
    return run("dpkg-query", "-W", "-f", "${db:Status-Status}", PACKAGE, check=False).output


def after_install(said, _):
    expect_equal(state_of_package(), "installed", "the package")
    expect_match(r"(?m)^active$", said, "the socket")
    expect_match(r"(?m)^ostrel-agent \d", said, "the version")


def after_asking(said, begin):
    expect_match(r'\{"proceed":\{\}\}|install now', said, "the answer")
    expect_match("Update Now Clicked", messages(begin, PROMPT), "the prompt's journal")


def after_settings(said, _):
    if "ENABLED" in said:
        expect_match("the prompt ended without an answer", said, "what tells of the settings")


def directory_answer(name, uri, authorities):
    """What the checker says when it asks a directory server for an account."""
    return run(CHECKER, "ldap", uri, "ou=people,dc=example,dc=org", "(uid=%u)", authorities, "1",
               stdin=f"{name}\0wrong\0", check=False).output


def after_directory(said, _):
    if not said:
        return
    # The rows of the table below the command.
    expect_match(r"^ready\nrefused 49 ", said, "the account is there")
    uri, trusted = "ldaps://ldap.example.org", "/etc/velunor/ldap-ca.pem"
    expect_match(r"^ready\nrefused (?!49 )\d", directory_answer("nobody-knows", uri, trusted),
                 "no such account")
    for wrong in ((uri, ldap_server.PLACE / "foreign-ca.pem"), ("ldaps://127.0.0.1", trusted)):
        expect_match(r"^refused -11 ", directory_answer("dave", *wrong), f"certificate of {wrong}")
    expect_match(r"^refused -1 ", directory_answer("dave", f"{uri}:9", trusted), "no connection")
    with socket.create_server(("127.0.0.1", 0)) as silent:
        late = f"ldaps://ldap.example.org:{silent.getsockname()[1]}"
        expect_match(r"^refused -5 ", directory_answer("dave", late, trusted), "no answer in time")


def after_fingerprint(_said, _begin):
    wanted = f"alice\0{PASSWORDS['alice']}\0"
    expect_equal(run(CHECKER, stdin=wanted).output, "accepted\n", "the right password")
    wrong = run(CHECKER, stdin="alice\0another\0", check=False)
    expect_equal(wrong.status, 1, "the wrong password")


def after_messages(_said, begin):
    told = messages(begin, PROMPT)
    expect_match("Changed Title: Your desktop is updated today", told, "the prompt's journal")
    expect_match("Setting Rebranded Name: Example Desktop Service", told, "the prompt's journal")


def after_languages(_said, begin):
    expect_match("Postpone Button : Not Now", messages(begin, PROMPT), "the prompt's journal")


def after_logs(said, _):
    expect_match("Opened Application", said, "the journal")
    expect_match(r"\t\tOSUpdate\t\talice\t\t", said, "the access log")


def after_uninstall(_said, _begin):
    expect(state_of_package() in ("", "not-installed"), "the package is still there")


OUTCOMES = {"Install": after_install, "Ask a user": after_asking, "Settings": after_settings,
            "A directory server (LDAP)": after_directory,
            "Fingerprint readers and cards": after_fingerprint,
            "Messages and brand": after_messages, "Languages": after_languages,
            "Logs": after_logs, "Uninstall": after_uninstall}


def add_check(section, number, text):
    """Makes a check of one block of commands."""
    @check(f"administration, {section}, commands {number}")
    def commands():
        begin = now()
        said = run_block(text, PLACE, _machine["alice"])
        if section in OUTCOMES:
            OUTCOMES[section](said, begin)


_numbers = {}
for _section, _text in command_blocks(PAGE):
    _numbers[_section] = _numbers.get(_section, 0) + 1
    add_check(_section, _numbers[_section], _text)


@check("administration: each section that has an outcome has commands")
def sections_have_commands():
    missing = [section for section in OUTCOMES if section not in _numbers]
    expect(not missing, f"no commands in {missing}")
