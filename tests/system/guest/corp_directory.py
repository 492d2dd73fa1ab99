"""A company's directory server on this machine, with a certificate of the company's own authority."""

import pathlib
import secrets
import shutil
import socket
import subprocess

from checks import eventually
from machine import run

HOST = "ldap.example.org"
BASE = "dc=example,dc=org"
CONFIGURATION = """
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile {place}/pid
TLSCACertificateFile {place}/ca.pem
TLSCertificateFile {place}/server.pem
TLSCertificateKeyFile {place}/server.key
database mdb
suffix {base}
directory {place}/data
access to attrs=userPassword by anonymous auth
access to * by * read
"""
ENTRIES = """dn: {base}
objectClass: dcObject
objectClass: organization
dc: example
o: Example

dn: ou=people,{base}
objectClass: organizationalUnit
ou: people

dn: uid=dave,ou=people,{base}
objectClass: inetOrgPerson
uid: dave
cn: Dave
sn: Dave
userPassword: {password}
"""


class CorpDirectory:
    """The server, which answers as ldap.example.org until end(); dave is in it."""

    def __init__(self, place):
        self.place = pathlib.Path(place)
        self.password = secrets.token_hex(12)
        shutil.rmtree(self.place, ignore_errors=True)
        (self.place / "data").mkdir(parents=True)
        self._certificates()
        settings = self.place / "slapd.conf"
        settings.write_text(CONFIGURATION.format(place=self.place, base=BASE))
        run("slapadd", "-f", settings, stdin=ENTRIES.format(base=BASE, password=self.password))
        hosts = pathlib.Path("/etc/hosts")
        known = hosts.read_text() if hosts.exists() else ""
        if HOST not in known:
            hosts.write_text(f"{known}127.0.0.1 localhost {HOST}\n")
        self.server = subprocess.Popen(
            ["slapd", "-d", "0", "-f", str(settings), "-h", f"ldaps://{HOST}"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        eventually(self._listens, "the directory server listens")

    @property
    def authority(self):
        """The file with the certificate of the company's authority."""
        return self.place / "ca.pem"

    def _certificates(self):
        name = self.place / "server"
        run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj",
            "/CN=Example authority", "-keyout", self.place / "ca.key", "-out", self.authority)
        run("openssl", "req", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={HOST}", "-keyout",
            f"{name}.key", "-out", f"{name}.csr")
        extensions = self.place / "extensions"
        extensions.write_text(f"subjectAltName=DNS:{HOST}\n")
        run("openssl", "x509", "-req", "-in", f"{name}.csr", "-CA", self.authority, "-CAkey",
            self.place / "ca.key", "-CAcreateserial", "-days", "30", "-extfile", extensions, "-out",
            f"{name}.pem")

    def _listens(self):
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", 636)) == 0

    def end(self):
        """Takes the server down."""
        self.server.terminate()
        self.server.wait(20)
