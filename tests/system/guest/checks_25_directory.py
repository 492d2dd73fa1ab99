"""Accounts of a company's directory, behind a certificate of its own authority."""

import pathlib
import secrets

import ldap_server
from checks import check, eventually, expect_equal, expect_match
from checks_15_credentials import expect_proceed, use_other
from desktop import Session
from machine import PASSWORDS, add_account, run, write
from prompt import WITH_CREDENTIALS, Asking, Window

SETTINGS = pathlib.Path("/etc/velunor/ostrel-agent.toml")
NODE = f"""
[directory]
search_path = ["/Local/Default", "/LDAPv3/corp"]

[directory.node."/LDAPv3/corp"]
uri = "ldaps://{ldap_server.HOST}:{ldap_server.PORT}"
user_base = "{ldap_server.BASE}"
user_filter = "(uid=%u)"
ca_file = "{ldap_server.PLACE}/own-ca.pem"
"""

carol = None
before = ""


def prepare():
    """Nina may update; only the directory knows her password."""
    global carol, before  # pylint: disable=global-statement
    add_account("nina", "sudo")
    run("passwd", "--lock", "nina")
    PASSWORDS["nina"] = secrets.token_hex(12)
    ldap_server.prepare({"nina": PASSWORDS["nina"]})
    before = SETTINGS.read_text(encoding="utf-8")
    without_directory = before.replace("\n[directory]\n", "\n").replace(
        '\nsearch_path = ["/Local/Default"]\n', "\n")
    write(SETTINGS, without_directory + NODE)
    carol = Session("carol", display=7)


def tidy():
    """As it was."""
    carol.end()
    write(SETTINGS, before)


def tried(password, certificate, said):
    """What the prompt says of nina's password, with the server's certificate; it is still there."""
    with ldap_server.Server(certificate), \
            Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        use_other(window, "nina", password)
        window.click("Update Now")
        eventually(lambda: said in asking.errors(), said, 20)
        expect_equal((asking.process.poll(), asking.answer()), (None, ""), "the prompt")
        return asking.errors()


@check("an account of the directory is accepted with its password")
def accepted():
    with ldap_server.Server("own"), Asking("--active", arguments=WITH_CREDENTIALS) as asking:
        window = Window(carol, asking)
        use_other(window, "nina", PASSWORDS["nina"])
        window.click("Update Now")
        expect_proceed(asking, "nina")
        expect_match("Validating /LDAPv3/corp Username nina", asking.errors(), "who was asked")
        expect_match("Domain Validation Success", asking.errors(), "who said yes")


@check("a wrong password for it is refused")
def refused():
    errors = tried("wrong", "own", "Failed to validate credentials nina")
    expect_match("Credentails Error Error Domain=LDAP Code=49", errors, "who says no")


@check("a server with another authority's certificate gets no password")
def foreign_authority():
    errors = tried(PASSWORDS["nina"], "foreign", "Failed to validate credentials nina")
    expect_match("Node Error Error Domain=LDAP", errors, "what is wrong")


@check("a server with another machine's certificate gets no password")
def other_machine():
    errors = tried(PASSWORDS["nina"], "misnamed", "Failed to validate credentials nina")
    expect_match("Node Error Error Domain=LDAP", errors, "what is wrong")
