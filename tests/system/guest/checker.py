"""The credential checker behind its socket, as the prompt asks it."""

import contextlib
import os
import pathlib
import signal
import socket

from checks import eventually, expect
from machine import PASSWORDS, SERVICE_UNIT, SOCKET_UNIT, doing_as, run, write

SOCKET = "/run/velunor/osupdate-checkpass.socket"
STACK = pathlib.Path("/etc/pam.d/velunor-osupdate")
ACCEPTED = "accepted"


def connect():
    """A connection to the service."""
    connection = socket.socket(socket.AF_UNIX)
    connection.settimeout(50)
    connection.connect(SOCKET)
    return connection


def ask(name, password):
    """Asks as whoever this process is; the line of the answer, empty where there is none."""
    with connect() as connection:
        # Who is turned away is told so before the question has arrived.
        with contextlib.suppress(BrokenPipeError):
            connection.sendall(f"{name}\0{password}\0".encode())
            connection.shutdown(socket.SHUT_WR)
        answer = b""
        with contextlib.suppress(ConnectionResetError):
            while piece := connection.recv(4096):
                answer += piece
        return answer.decode().strip()


def asked_by(caller, name, password=None):
    """What `caller` is answered about the account's password, or about another one."""
    password = PASSWORDS[name] if password is None else password
    return ask(name, password) if caller == "root" else doing_as(
        caller, lambda: ask(name, password))


def code(answer):
    """The number of PAM in a refusal."""
    words = answer.split()
    expect(words[:1] == ["refused"], f"no refusal: {answer!r}")
    return int(words[1])


def main_process():
    """Number of the service's process, 0 while it does not run."""
    return int(run("systemctl", "show", "--value", "-p", "MainPID", SERVICE_UNIT).output)


def running():
    """Has the service run; the number of its process."""
    ask("nobody", "nothing")
    return eventually(main_process, "the service runs")


def end_service():
    """Has the service end, as after a minute without a question."""
    process = main_process()
    if process:
        os.kill(process, signal.SIGTERM)
        eventually(lambda: not os.path.exists(f"/proc/{process}"), "the service has ended")


def restart_socket():
    """Starts the socket anew, and the service at the next question."""
    run("systemctl", "stop", SERVICE_UNIT, SOCKET_UNIT, check=False)
    run("systemctl", "reset-failed", SERVICE_UNIT, SOCKET_UNIT, check=False)
    run("systemctl", "start", SOCKET_UNIT)


class Stack:
    """Another PAM stack of the checker's for a while."""

    def __init__(self, text):
        self.text = text
        self.before = None

    def __enter__(self):
        self.before = STACK.read_text(encoding="utf-8")
        write(STACK, self.text)

    def __exit__(self, *_):
        write(STACK, self.before)
