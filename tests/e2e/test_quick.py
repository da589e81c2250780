#!/usr/bin/python3
"""Quicklinks, shortcuts and the Trash in the built program, on a private desktop."""

import os
import pathlib
import signal
import sqlite3
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import TITLE, PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

QUESTION = "This operation cannot be undone."


class Quick(PaletteTest):
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
            database.execute("INSERT INTO quicklinks(id,title,url_template) VALUES('1','Team Handbook',?)", (address,))
        self.show_again()
        self.find("handb", "Team Handbook, wiki.example.com")
        self.picture("quicklink")
        self.desktop.press("Return")
        self.assertEqual(self.arguments(), ["--fixed", address])


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
        self.desktop.press("Escape")
        self.desktop.wait_until_hidden(TITLE)
        self.show_again()
        self.find("2+2", "4")  # everything else goes on
        footer = "Running Take Long…"
        wait_until(lambda: any(footer in node["description"] for node in self.seen()), "the name of what runs")
        process = int(started.read_text())
        self.addCleanup(os.kill, process, signal.SIGKILL)
        self.end(self.program)
        self.assertIn("sleep", pathlib.Path(f"/proc/{process}/comm").read_text())


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
        self.wait_for_button("Allow")
        self.desktop.press("Tab", "space")
        wait_until(lambda: not list(trash.glob("*/*")), "the Trash to be empty")
        self.desktop.wait_until_hidden(TITLE)


if __name__ == "__main__":
    unittest.main(verbosity=2)
