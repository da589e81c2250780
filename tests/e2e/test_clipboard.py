#!/usr/bin/python3
"""The clipboard history of the built program: what other programs copy is found, shown and copied back.

VELMORA_SELECTION_OWNER names the program that owns a clipboard as it is told.
"""

import os
import pathlib
import sqlite3
import subprocess
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import TITLE, PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

OWNER = os.environ.get("VELMORA_SELECTION_OWNER", "build/dev/tests/platform/selection_owner")


class Clipboard(PaletteTest):
    # What other programs do

    def copy(self, text):
        """A copy in another program, which serves it until the next one."""
        xclip = self.desktop.start(["xclip", "-selection", "clipboard", "-quiet"], stdin=subprocess.PIPE)
        xclip.stdin.write(text.encode())
        xclip.stdin.close()

    def own(self, *arguments):
        """A program that has just what it is told on the clipboard, once it has."""
        owner = self.desktop.start([OWNER, *arguments], stdout=subprocess.PIPE)
        self.assertEqual(owner.stdout.readline(), b"ready\n")

    def clipboard(self):
        return self.desktop.run_for_bytes(["xclip", "-selection", "clipboard", "-o"]).decode()

    # What the program does

    def stored(self):
        """Every entry's content and kind, newest first."""
        file = self.desktop.data / "Velmora/velmora.sqlite"
        connection = sqlite3.connect(f"file:{file}?mode=ro", uri=True)
        try:
            return connection.execute(
                "SELECT content, kind FROM clipboard_history ORDER BY created_at DESC"
            ).fetchall()
        finally:
            connection.close()

    def wait_until_stored(self, content, seconds=10):
        wait_until(
            lambda: any(row[0] == content for row in self.stored()), f'"{content[:40]}" to be stored', seconds
        )

    def enter_clipboard(self):
        self.query("clipboard history")
        self.wait_for_row("Clipboard History", 0)
        self.desktop.press("Return")
        self.wait_for_text("esc Back")

    def test_finds_shows_and_copies_back(self):
        self.copy("there before the start")
        self.open()
        self.copy("A note about quarterly figures\nwith a second line")
        self.wait_until_stored("A note about quarterly figures\nwith a second line")
        self.copy("HTTPS://example.org/quarterly?page=2")
        self.wait_until_stored("HTTPS://example.org/quarterly?page=2")
        self.assertEqual([row[1] for row in self.stored()], ["url", "text"])

        self.enter_clipboard()
        self.wait_for_row("HTTPS://example.org/quarterly?page=2", 0)
        self.wait_for_row("A note about quarterly figures with a second line", 1)
        self.assertEqual(len(self.rows()), 2)
        self.picture("clipboard")

        self.query("QUARTERLY FIG")
        wait_until(lambda: len(self.rows()) == 1, "one row to be left")
        self.wait_for_row("A note about", 0)
        self.desktop.press("ctrl+y")
        self.wait_for_text("49 characters · Return copies · ↑ ↓ Browse")
        self.wait_for_text("A note about quarterly figures\nwith a second line")
        self.picture("clipboard-preview")
        self.desktop.press("Escape")
        self.wait_for_row("A note about", 0)

        self.desktop.press("Return")
        self.desktop.wait_until_hidden(TITLE)
        self.assertEqual(self.clipboard(), "A note about quarterly figures\nwith a second line")
        # Our own copy counts as one, too.
        wait_until(lambda: self.stored()[0][0].startswith("A note"), "the entry to become the newest")
        self.assertEqual(len(self.stored()), 2)

    def test_keeps_large_texts_and_no_secrets(self):
        self.open()
        large = "".join(f"line {number:06}: été\n" for number in range(60_000)).encode()[:1_000_000].decode()
        self.assertEqual(len(large.encode()), 1_000_000)
        self.copy(large)
        self.wait_until_stored(large)
        self.copy(large + "x")
        self.own("UTF8_STRING=correct horse", "STRING=correct horse", "x-kde-passwordManagerHint=secret")
        time.sleep(1.5)
        self.own("UTF8_STRING=from a program that hangs", "--silent")
        time.sleep(1)
        self.copy("the last one")
        self.wait_until_stored("the last one", 4)  # before the program that hangs would be given up
        self.assertEqual([row[0] for row in self.stored()], ["the last one", large])

        self.enter_clipboard()
        self.wait_for_row("the last one", 0)
        self.wait_for_row("line 000000: été line 000001", 1)
        self.assertEqual(len(self.rows()), 2)
        self.desktop.press("Down", "ctrl+y")
        self.wait_for_text("Showing the first 50,000 characters. Return copies the complete item.")
        self.picture("clipboard-large")
        self.desktop.press("Return")
        self.desktop.wait_until_hidden(TITLE)
        self.assertEqual(self.clipboard(), large)

        self.own("UTF8_STRING=from a program that hangs", "--silent")
        time.sleep(1)
        self.program.terminate()
        self.assertEqual(self.program.wait(timeout=3), 0, "a program that hangs holds nothing up")

if __name__ == "__main__":
    unittest.main(verbosity=2)
