#!/usr/bin/python3
"""The files mode of the built program: files of a private home are found, opened and shown."""

import contextlib
import pathlib
import sqlite3
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import nodes, wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import TITLE, PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

CHOOSER = "Choose a Folder to Search"


class Files(PaletteTest):
    def setUp(self):
        super().setUp()
        self.documents = self.desktop.home / "Documents"
        self.documents.mkdir()
        self.report = self.documents / "quarterly report 2026.txt"
        self.report.write_text("figures")
        entry = self.desktop.data / "applications/org.example.ArgumentWriter.desktop"
        entry.write_text(entry.read_text() + "MimeType=text/plain;\n")
        (self.desktop.home / ".config").mkdir(exist_ok=True)
        (self.desktop.data / "applications/mimeapps.list").write_text(
            "[Default Applications]\ntext/plain=org.example.ArgumentWriter.desktop\n"
        )

    def enter_files(self):
        self.query("search files")
        self.wait_for_row("Search Files", 0)
        self.desktop.press("Return")
        self.wait_for_text("All Folders")

    def find(self, text, name):
        self.query(text)
        self.wait_for_row(name, 0)

    def test_finds_opens_and_reveals(self):
        self.open()
        self.enter_files()
        self.find("quarterly ext:txt", "quarterly report 2026.txt")
        self.picture("files")
        self.desktop.press("Return")
        self.assertEqual(self.arguments(), ["--fixed", str(self.report)])
        self.desktop.wait_until_hidden(TITLE)

        self.show_again()
        self.enter_files()
        self.find("quarterly", "quarterly report 2026.txt")
        self.desktop.press("ctrl+k")
        self.wait_for_text("Show in Finder")
        self.desktop.press("Down", "Down", "Return")
        self.desktop.wait_until_hidden(TITLE)

        def selected():
            # The file manager's status line tells of what is selected.
            shown = nodes(self.desktop.tree("Thunar") + self.desktop.tree("thunar"))
            return any(node["role"] == "status bar" and self.report.name in node["name"] for node in shown)

        wait_until(selected, "the file manager to show the file selected", 30, 0.5)

    def test_the_folder_chooser_gives_the_keyboard_back(self):
        """However it closes; what is typed then must not reach the document under the palette."""
        self.desktop.start(["xev", "-name", "Document", "-event", "keyboard"])
        self.desktop.wait_for_window("Document")
        self.open()
        self.enter_files()
        left, top, width, _ = self.desktop.geometry(self.window)
        click = ["xdotool", "mousemove", str(left + width - 60), str(top + 32), "click", "1"]

        def choose_folder():
            self.desktop.run(click)
            self.desktop.wait_for_window(CHOOSER)

        def typed_after(close, text):
            close()
            self.desktop.wait_until_hidden(CHOOSER)
            self.desktop.press("ctrl+a")  # at once: nobody may get it but the palette, for which it may come too early
            self.desktop.wait_for_window(TITLE)
            self.desktop.press("ctrl+a")
            self.query(text)

        choose_folder()
        self.picture("folder-chooser")
        typed_after(lambda: self.desktop.press("Escape"), "r")
        choose_folder()
        typed_after(lambda: (self.desktop.type(str(self.documents)), self.desktop.press("Return")), "report")
        self.wait_for_text("Documents")
        self.wait_for_row("quarterly report 2026.txt", 0)
        # The control has a menu now, which is closed with Escape, and then leads to all folders.
        windows = ["xdotool", "search", "--onlyvisible", "--class", "velmora"]
        for keys, text in ((["Escape"], "quarter"), (["Down", "Return"], "quarterly")):
            self.desktop.run(click)
            wait_until(lambda: len(self.desktop.run(windows).stdout.split()) == 2, "the menu to open")
            self.desktop.press(*keys)
            self.desktop.press("ctrl+a")
            self.query(text)
        self.wait_for_text("All Folders")
        self.assertEqual(self.desktop.log_of("xev").count("KeyPress"), 0)

class Killed(PaletteTest):
    """A program that is killed at its work has a sound index when it starts again, and catches up with the disk."""

    def setUp(self):
        super().setUp()
        self.many = self.desktop.home / "many"
        for folder in range(200):
            (self.many / f"folder {folder}").mkdir(parents=True)
            for file in range(50):
                (self.many / f"folder {folder}" / f"file {file}.txt").touch()
        self.database = self.desktop.data / "Velmora/velmora.sqlite"

    def indexed(self):
        """What is indexed below the folder; nothing as long as there is no index."""
        if not self.database.exists():
            return set()
        with contextlib.closing(sqlite3.connect(f"file:{self.database}?mode=ro", uri=True, timeout=10)) as database:
            try:
                rows = database.execute("SELECT path FROM file_index WHERE path LIKE ?", (f"{self.many}/%",))
                return {path for (path,) in rows}
            except sqlite3.OperationalError:
                return set()

    def on_disk(self):
        return {str(path) for path in self.many.rglob("*")}

    def kill(self, program):
        program.kill()
        program.wait(timeout=10)

    def wait_until_equal(self):
        wait_until(lambda: self.indexed() == self.on_disk(), "the index to equal the disk", 60, 0.25)

    def assert_sound(self):
        with contextlib.closing(sqlite3.connect(self.database, timeout=10)) as database:
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])
            database.execute("INSERT INTO file_index_fts(file_index_fts,rank) VALUES('integrity-check',1)")

    def test_during_a_scan(self):
        program = self.start()
        wait_until(self.indexed, "the scan to begin", 30, 0.01)
        self.kill(program)
        self.assert_sound()
        self.assertNotEqual(self.indexed(), self.on_disk(), "the scan was over too soon to be killed")
        (self.many / "folder 7" / "made meanwhile.txt").touch()
        self.start()
        self.wait_until_equal()
        self.assert_sound()

    def test_during_a_flush(self):
        program = self.start()
        self.wait_until_equal()
        time.sleep(1)  # the bookmark is saved at the end of the scan
        before = self.indexed()
        for folder in range(200):
            for file in range(50):
                (self.many / f"folder {folder}" / f"file {file}.txt").rename(
                    self.many / f"folder {folder}" / f"renamed {file}.txt"
                )
        wait_until(lambda: self.indexed() != before, "the changes to be applied", 30, 0.01)
        self.kill(program)
        self.assert_sound()
        self.start()
        self.wait_until_equal()
        self.assert_sound()


if __name__ == "__main__":
    unittest.main(verbosity=2)
