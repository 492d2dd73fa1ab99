"""A directory server with a certificate of an authority of its own."""

import base64
import hashlib
import os
import pathlib
import shutil
import subprocess

from checks import eventually
from machine import run, write

PLACE = pathlib.Path("/run/directory")
# As the administrators' page has them.
HOST = "ldap.example.org"
PORT = 636
BASE = "ou=people,dc=example,dc=org"


def certificate(name, host):
    """Makes an authority and a server's certificate that is from it."""
    authority, server = PLACE / f"{name}-ca", PLACE / name
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj",
        f"/CN={name} authority", "-keyout", f"{authority}.key", "-out", f"{authority}.pem")
    run("openssl", "req", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={host}",
        "-keyout", f"{server}.key", "-out", f"{server}.csr")
    write(f"{server}.ext", f"subjectAltName=DNS:{host}\n")
    run("openssl", "x509", "-req", "-days", "30", "-in", f"{server}.csr", "-CA", f"{authority}.pem",
        "-CAkey", f"{authority}.key", "-CAcreateserial", "-extfile", f"{server}.ext",
        "-out", f"{server}.pem")
    pathlib.Path(f"{authority}.pem").chmod(0o644)


def prepare(accounts):
    """Makes certificates and a database with these accounts and passwords."""
    shutil.rmtree(PLACE, ignore_errors=True)
    PLACE.mkdir()
    (PLACE / "data").mkdir()
    certificate("own", HOST)
    certificate("foreign", HOST)
    certificate("misnamed", "elsewhere.example.org")
    # The misnamed one is from the right authority.
    run("openssl", "x509", "-req", "-days", "30", "-in", PLACE / "misnamed.csr", "-CA",
        PLACE / "own-ca.pem", "-CAkey", PLACE / "own-ca.key", "-CAcreateserial", "-extfile",
        PLACE / "misnamed.ext", "-out", PLACE / "misnamed.pem")
    hosts = pathlib.Path("/etc/hosts")
    known = hosts.read_text(encoding="utf-8") if hosts.exists() else ""
    if HOST not in known:
        write(hosts, f"{known}127.0.0.1 {HOST}\n")
    entries = ["dn: dc=example,dc=org\nobjectClass: domain\ndc: example\n",
               f"dn: {BASE}\nobjectClass: organizationalUnit\nou: people\n"]
    for name, password in accounts.items():
        salt = os.urandom(8)
        digest = base64.b64encode(hashlib.sha1(password.encode() + salt).digest() + salt).decode()
        entries.append(f"dn: uid={name},{BASE}\nobjectClass: inetOrgPerson\nuid: {name}\n"
                       f"cn: {name}\nsn: {name}\nuserPassword: {{SSHA}}{digest}\n")
    configure("own")
    run("slapadd", "-f", PLACE / "slapd.conf", stdin="\n".join(entries))


def configure(name):
    """Writes the configuration with the certificate of that name."""
    write(PLACE / "slapd.conf", f"""
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
pidfile {PLACE}/slapd.pid
modulepath /usr/lib/ldap
moduleload back_mdb
TLSCertificateFile {PLACE}/{name}.pem
TLSCertificateKeyFile {PLACE}/{name}.key
access to attrs=userPassword by anonymous auth by * none
access to * by * read
database mdb
maxsize 10485760
suffix "dc=example,dc=org"
directory {PLACE}/data
""", 0o600)


class Server:
    """The server, with the certificate of that name."""

    def __init__(self, name):
        configure(name)
        self.process = subprocess.Popen(
            ["slapd", "-d", "0", "-f", PLACE / "slapd.conf", "-h", f"ldaps://127.0.0.1:{PORT}/"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        eventually(lambda: run("openssl", "s_client", "-connect", f"127.0.0.1:{PORT}",
                               check=False).status == 0, "the directory server")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(20)
