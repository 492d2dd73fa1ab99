#!/usr/bin/env python3
"""The example of an offline update: each of its ways, with pretended programs around it.

usage: offline_update_test.py SCRIPT
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(sys.argv.pop(1)).resolve()

# Notes what it is called with, as one line, then does what the file "<name>.does" says.
PRETENDED = """#!/bin/sh
echo "${0##*/} $*" >>"$NOTES/calls"
[ ! -e "$NOTES/${0##*/}.does" ] || . "$NOTES/${0##*/}.does"
"""
DOWNLOAD = "pkcon --plain --noninteractive --only-download update"
TRIGGER = (
    "busctl call org.freedesktop.PackageKit /org/freedesktop/PackageKit"
    " org.freedesktop.PackageKit.Offline Trigger s reboot"
)


class OfflineUpdate(unittest.TestCase):
    """One machine, with a program for each that the script runs."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.place = pathlib.Path(directory.name)
        self.state = self.place / "state/attempts-left"
        (self.place / "bin").mkdir()
        for name in ("pkcon", "busctl", "ostrel-agent", "systemctl", "sleep"):
            program = self.place / "bin" / name
            program.write_text(PRETENDED)
            program.chmod(0o755)
        self.does("busctl", 'case $1 in get-property) echo "b true" ;; esac')

    def does(self, name, what):
        """What the pretended program does from now on."""
        (self.place / f"{name}.does").write_text(what + "\n")

    def run_script(self, **variables):
        """Runs it; its status, what it says, and what it called, a line each."""
        (self.place / "calls").unlink(missing_ok=True)
        done = subprocess.run(
            ["/bin/sh", str(SCRIPT)],
            env={
                "PATH": f"{self.place}/bin:/usr/bin:/bin",
                "NOTES": str(self.place),
                "STATE_DIRECTORY": str(self.state.parent),
                "UPDATE": "Debian 12.9",
                **variables,
            },
            stdin=subprocess.DEVNULL,
            capture_output=True,
            text=True,
            check=False,
        )
        self.assertEqual(done.stderr, "")
        self.calls = (self.place / "calls").read_text().splitlines()
        return done.returncode, done.stdout

    def asked(self):
        """The six arguments of the prompt, or None."""
        found = [call for call in self.calls if call.startswith("ostrel-agent ")]
        self.assertLessEqual(len(found), 1)
        return found[0].partition(" -- ")[2] if found else None

    def assertNoRestart(self):
        self.assertNotIn(TRIGGER, self.calls)
        self.assertNotIn("systemctl reboot", self.calls)

    def test_without_updates_nobody_is_asked_and_the_count_begins_anew(self):
        self.state.parent.mkdir()
        self.state.write_text("1\n")
        self.does("pkcon", 'case $* in *only-download*) exit 5 ;; esac')
        self.assertEqual(self.run_script(), (0, "there are no updates\n"))
        self.assertIsNone(self.asked())
        self.assertFalse(self.state.exists())

    def test_a_failed_download_fails_the_run(self):
        self.does("pkcon", 'case $* in *only-download*) exit 4 ;; esac')
        status, said = self.run_script()
        self.assertEqual((status, said), (1, "the updates cannot be downloaded: pkcon ended with 4\n"))
        self.assertIsNone(self.asked())

    def test_without_a_network_the_known_lists_count(self):
        self.does("pkcon", 'case $* in *refresh*) exit 4 ;; esac')
        status, said = self.run_script()
        self.assertEqual(status, 0)
        self.assertIn("the lists of packages could not be renewed\n", said)
        self.assertIn("systemctl reboot", self.calls)

    def test_proceed_installs_at_the_restart(self):
        self.state.parent.mkdir()
        self.state.write_text("2\n")
        status, said = self.run_script()
        self.assertEqual((status, said), (0, "the update is installed now: the machine restarts\n"))
        self.assertEqual(self.calls[-2:], [TRIGGER, "systemctl reboot"])
        self.assertEqual(self.calls.count(DOWNLOAD), 1)
        # PackageKit would take back what is prepared sooner after its lists.
        renewed = "pkcon --plain --noninteractive refresh"
        self.assertEqual(self.calls[:3], [renewed, "sleep 5", DOWNLOAD])
        self.assertFalse(self.state.exists())

    def test_what_has_changed_while_the_question_stood_is_downloaded_again(self):
        self.does("busctl", 'case $1 in get-property) echo "b false" ;; esac')
        self.run_script()
        self.assertEqual(self.calls.count(DOWNLOAD), 2)
        self.assertEqual(self.calls[-2:], [TRIGGER, "systemctl reboot"])

    def test_what_was_installed_while_the_question_stood_needs_no_restart(self):
        self.does("busctl", 'case $1 in get-property) echo "b false" ;; esac')
        self.does("ostrel-agent", """echo 'exit 5' >"$NOTES/pkcon.does" """)
        self.assertEqual(self.run_script(), (0, "there are no updates\n"))
        self.assertNoRestart()

    def test_without_a_trigger_the_machine_does_not_restart(self):
        self.does("busctl", 'case $1 in call) exit 1 ;; esac; echo "b true"')
        self.assertEqual(self.run_script()[0], 1)
        self.assertNotIn("systemctl reboot", self.calls)

    def test_postponing_counts_down_until_the_button_is_gone(self):
        self.does("ostrel-agent", "exit 10")
        for left in (3, 2, 1):
            status, said = self.run_script()
            self.assertEqual(self.asked(), f"OSUpdate Debian 12.9 false 15 false {left}")
            self.assertEqual((status, said), (0, f"postponed; {left - 1} times are left\n"))
            self.assertNoRestart()
        self.run_script()
        self.assertEqual(self.asked(), "OSUpdate Debian 12.9 true 15 true 0")

    def test_what_is_set_is_used(self):
        self.run_script(ATTEMPTS="7", MINUTES="2", UPDATE="Our desktop 4")
        self.assertEqual(self.asked(), "OSUpdate Our desktop 4 false 2 false 7")
        self.assertIn("prompt --active --timeout 420 --", "\n".join(self.calls))

    def test_a_damaged_count_begins_anew(self):
        self.state.parent.mkdir()
        for text in ("", "many\n", "-1\n", "1 2\n"):
            self.state.write_text(text)
            self.run_script()
            self.assertEqual(self.asked(), "OSUpdate Debian 12.9 false 15 false 3")

    def test_without_an_answer_it_is_asked_again_later_and_nothing_is_counted(self):
        self.state.parent.mkdir()
        for status in (5, 6, 7, 8, 9):
            self.state.write_text("2\n")
            self.does("ostrel-agent", f"exit {status}")
            ended, said = self.run_script()
            self.assertEqual(ended, 0)
            self.assertTrue(said.endswith("; asked again later\n"), said)
            self.assertEqual(self.state.read_text(), "2\n")
            self.assertNoRestart()

    def test_what_somebody_has_to_mend_fails_the_run(self):
        for status in (1, 2, 3, 4, 126, 127):
            self.does("ostrel-agent", f"exit {status}")
            ended, said = self.run_script()
            self.assertEqual(ended, 1)
            self.assertNotIn("later", said)
            self.assertNoRestart()

    def test_the_answer_itself_is_written_nowhere(self):
        self.does("ostrel-agent", """echo '{"proceed":{"passwd":"geheim"}}'""")
        self.assertNotIn("geheim", self.run_script()[1])


unittest.main()
