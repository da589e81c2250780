#!/usr/bin/python3
"""Quicklinks, shortcuts and the commands of the session in the built program: they reach a browser, scripts, logind and
the Trash of a private desktop."""

import os
import pathlib
import signal
import sqlite3
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import PROGRAM, TITLE, PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

QUESTION = "This operation cannot be undone."

LOGIND = """<node><interface name="org.freedesktop.login1.Manager">
<method name="Suspend"><arg type="b" direction="in"/></method>
<method name="GetSessionByPID"><arg type="u" direction="in"/><arg type="o" direction="out"/></method>
</interface><interface name="org.freedesktop.login1.Session"><method name="Lock"/></interface></node>"""


def logind():
    """A logind with one session, which prints what it is asked to do. It can be told to refuse."""
    from gi.repository import Gio, GLib  # pylint: disable=import-outside-toplevel

    manager, session = Gio.DBusNodeInfo.new_for_xml(LOGIND).interfaces
    refuses = "refuse" in sys.argv

    def answer(_bus, _sender, path, _interface, method, parameters, invocation):
        if method == "GetSessionByPID":
            return invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/login1/session/c1",)))
        print(path.rsplit("/", 1)[1], method, *parameters.unpack(), flush=True)
        if refuses:
            return invocation.return_dbus_error("org.freedesktop.DBus.Error.AccessDenied", "not allowed")
        return invocation.return_value(None)

    def offer(bus, _name):
        bus.register_object("/org/freedesktop/login1", manager, answer, None, None)
        bus.register_object("/org/freedesktop/login1/session/c1", session, answer, None, None)

    def ready(_bus, _name):
        print("ready", flush=True)

    Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.login1", Gio.BusNameOwnerFlags.NONE, offer, ready, None)
    GLib.MainLoop().run()


class Quick(PaletteTest):
    def setUp(self):
        super().setUp()
        # The session's bus stands in for the system's too.
        self.desktop.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"]

    def find(self, text, row):
        self.query(text)
        self.wait_for_row(row, 0)


class Quicklinks(Quick):
    def test_opens_in_the_users_browser(self):
        (self.desktop.data / "applications/org.example.Browser.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Browser\nExec={self.desktop.home}/argument-writer %u\n"
            "MimeType=x-scheme-handler/https;\n"
        )
        (self.desktop.data / "applications/mimeapps.list").write_text(
            "[Default Applications]\nx-scheme-handler/https=org.example.Browser.desktop\n"
        )
        self.open()
        self.desktop.press("Escape")
        self.desktop.wait_until_hidden(TITLE)
        address = "https://wiki.example.com/start%20here?q='$(x)"
        with sqlite3.connect(self.desktop.data / "Velmora/velmora.sqlite") as database:
            insert = "INSERT INTO quicklinks(id,title,url_template) VALUES(?,?,?)"
            database.execute(insert, ("1", "Team Handbook", address))
            database.execute(insert, ("2", "Broken Link", "ftp://example.com/"))
        self.show_again()
        self.find("handb", "Team Handbook, wiki.example.com")
        self.picture("quicklink")
        self.desktop.press("Return")
        self.assertEqual(self.arguments(), ["--fixed", address])
        self.desktop.wait_until_hidden(TITLE)

        self.show_again()
        self.find("broken link", "Broken Link")
        self.desktop.press("Return")
        self.wait_for_text("Quicklinks must use http, https or file addresses.")


class Shortcuts(Quick):
    def test_runs_the_users_scripts(self):
        folder = self.desktop.home / ".config/velmora/shortcuts"
        folder.mkdir(parents=True)
        mark = self.desktop.home / "tea"
        for name, body in (("Make Tea.sh", f"#!/bin/sh\nprintf made >'{mark}'\n"),
                           ("Make Coffee", "#!/bin/sh\necho 'There are no beans.' >&2\nexit 1\n")):
            (folder / name).write_text(body)
            (folder / name).chmod(0o755)
        self.open()
        self.query("shortcut")
        self.wait_for_row("Make Tea, Run Shortcut")
        self.wait_for_row("Make Coffee, Run Shortcut")
        self.picture("shortcuts")
        self.desktop.press("ctrl+a")
        self.find("make tea", "Make Tea")
        self.desktop.press("Return")
        wait_until(lambda: mark.exists() and mark.read_text() == "made", "the shortcut to run")
        self.desktop.wait_until_hidden(TITLE)
        self.show_again()
        self.find("coffee", "Make Coffee")
        self.desktop.press("Return")
        self.wait_for_text("There are no beans.")
        self.picture("shortcut-error")


    def test_a_running_one_neither_holds_the_end_up_nor_ends_with_it(self):
        folder = self.desktop.home / ".config/velmora/shortcuts"
        folder.mkdir(parents=True)
        started = self.desktop.home / "started"
        script = folder / "Take Long.sh"
        script.write_text(f"#!/bin/sh\necho $$ >'{started}.part'\nmv '{started}.part' '{started}'\nexec sleep 60\n")
        script.chmod(0o755)
        self.open()
        self.find("take long", "Take Long")
        self.desktop.press("Return")
        wait_until(started.exists, "the shortcut to start")
        process = int(started.read_text())
        self.addCleanup(os.kill, process, signal.SIGKILL)
        self.end(self.program)
        self.assertIn("sleep", pathlib.Path(f"/proc/{process}/comm").read_text())


class Session(Quick):
    def logind(self, *options):
        """Starts a logind and returns it, ready."""
        command = [sys.executable, str(pathlib.Path(__file__).resolve()), "--logind", *options]
        service = self.desktop.start(command, stdout=subprocess.PIPE, text=True)
        self.assertEqual(service.stdout.readline(), "ready\n", self.desktop.log_of(sys.executable))
        return service

    def test_locks_and_sleeps_without_asking(self):
        service = self.logind()
        self.open()
        self.find("lock scr", "Lock Screen, System Command")
        self.picture("lock")
        self.desktop.press("Return")
        self.assertEqual(service.stdout.readline(), "c1 Lock\n")
        self.desktop.wait_until_hidden(TITLE)
        self.show_again()
        self.find("sleep", "Sleep, System Command")
        self.desktop.press("Return")
        self.assertEqual(service.stdout.readline(), "login1 Suspend False\n")
        self.desktop.wait_until_hidden(TITLE)

    def test_says_why_it_does_neither(self):
        service = self.logind("refuse")
        self.open()
        self.find("sleep", "Sleep")
        self.desktop.press("Return")
        self.wait_for_text("macOS did not allow this sleep request.")
        self.desktop.press("ctrl+a")
        self.find("lock screen", "Lock Screen")
        self.desktop.press("Return")
        self.wait_for_text(
            "Enable Velmora in System Settings → Privacy & Security → Accessibility to lock the screen.")
        service.terminate()
        service.wait(timeout=10)
        self.desktop.press("ctrl+a")
        self.find("sleep", "Sleep")
        self.desktop.press("Return")
        self.wait_for_text("Power management is unavailable.")


class Trash(Quick):
    def test_is_emptied_when_allowed_and_only_then(self):
        trash = self.desktop.data / "Trash"
        for folder in ("files/holiday", "info"):
            (trash / folder).mkdir(parents=True)
        (trash / "files/holiday/beach.jpg").write_text("x")
        (trash / "info/holiday.trashinfo").write_text("[Trash Info]\nPath=/x\n")
        self.open()
        self.query("trash")
        self.wait_for_row("Empty Trash, System Command", 0)
        self.picture("trash")
        self.desktop.press("Return")
        self.wait_for_text(QUESTION)
        self.picture("empty-trash-question")
        self.desktop.press("Return")  # the default is to leave things alone
        self.wait_for_text("The operation was cancelled.")
        self.assertTrue((trash / "files/holiday/beach.jpg").exists())
        self.desktop.press("Return")
        self.wait_for_text(QUESTION)
        self.desktop.press("Tab", "space")
        wait_until(lambda: not list(trash.glob("*/*")), "the Trash to be empty")
        self.desktop.wait_until_hidden(TITLE)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--logind"]:
        logind()
    else:
        unittest.main(verbosity=2)
