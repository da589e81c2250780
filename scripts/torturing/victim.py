"""The built program as a victim: its home, its data, what is done to it and what is seen of it."""

import contextlib
import os
import pathlib
import signal
import sqlite3
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests/e2e"))

from desktop import nodes, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

PROGRAM = os.environ.get("VELMORA_PROGRAM", str(ROOT / "build/dev/app/velmora"))
TITLE = "Velmora Brisklane"
ALERT = "Velmora could not start"
# How sentences begin or end that tell the user of damage or loss.
TOLD = ("local database", "file index was damaged", "file index is damaged", "could not be stored",
        "Could not read local data.", "Could not save local data.", "could not be prepared.")


class Harm(Exception):
    """The program did what it must not."""


class Victim:
    """The program, its home and its data on a private desktop."""

    def __init__(self, desktop, rng):
        self.desktop = desktop
        self.rng = rng
        self.folder = desktop.data / "Velmora"
        self.file = self.folder / "velmora.sqlite"
        self.many = desktop.home / "many"
        self.process = None
        self.copies = []

    def fill_home(self, files):
        for number in range(files):
            folder = self.many / f"folder {number // 50}"
            folder.mkdir(parents=True, exist_ok=True)
            (folder / f"file {number}.txt").touch()

    # Its life

    def start(self):
        self.process = self.desktop.start([PROGRAM, "--show"])

    def outcome(self, seconds=20):
        """Waits for the palette or the alert: which of them came."""
        def seen():
            if self.process.poll() is not None:
                raise Harm(f"ended by itself with {self.process.returncode}")
            if self.desktop.find_window(TITLE):
                return "palette"
            return "alert" if ALERT in self.texts() else None
        return wait_until(seen, "the palette or the alert", seconds, 0.05)

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        status = self.process.wait(timeout=15)
        if status != 0:
            raise Harm(f"ended with {status}")

    def kill(self):
        self.process.kill()
        self.process.wait(timeout=10)

    def clear(self):
        if self.process and self.process.poll() is None:
            self.kill()
        for copy in self.copies:
            copy.kill()
            copy.wait()
        self.copies = []

    # What is done to it

    def copy(self, text):
        """Copies a text as another program does."""
        xclip = self.desktop.start(["xclip", "-selection", "clipboard", "-quiet"], stdin=subprocess.PIPE)
        xclip.stdin.write(text.encode())
        xclip.stdin.close()
        self.copies.append(xclip)

    @contextlib.contextmanager
    def locked(self):
        with contextlib.closing(sqlite3.connect(self.file, timeout=30, isolation_level=None)) as other:
            other.execute("BEGIN IMMEDIATE")
            yield
            other.execute("ROLLBACK")

    # What is seen of it

    def texts(self):
        shown = [node for node in nodes(self.desktop.tree("Velmora")) if "showing" in node["states"]]
        return [text for node in shown for text in (node["name"], node["text"]) if text]

    def told(self):
        return sorted({text for text in self.texts() if any(words in text for words in TOLD)})

    def query(self, sql, default=None):
        """The rows of a query, or `default` when the file cannot tell."""
        try:
            with contextlib.closing(sqlite3.connect(f"file:{self.file}?mode=ro", uri=True, timeout=10)) as database:
                database.text_factory = lambda text: text.decode(errors="replace")
                return database.execute(sql).fetchall()
        except sqlite3.Error:
            return default

    def contents(self):
        return {row[0] for row in self.query("SELECT content FROM clipboard_history", [])}

    def indexed(self):
        rows = self.query("SELECT path FROM file_index", [])
        return {path for (path,) in rows if path.startswith(f"{self.many}/")}

    def on_disk(self):
        return {str(path) for path in self.many.rglob("*")}

    def check_index(self, seconds=40):
        wait_until(lambda: self.indexed() == self.on_disk(),
                   lambda: f"the index to equal the disk: {len(self.indexed())} of {len(self.on_disk())}", seconds, 0.2)

    def check_sound(self):
        with contextlib.closing(sqlite3.connect(self.file, timeout=10)) as database:
            found = database.execute("PRAGMA integrity_check").fetchall()
            if found != [("ok",)]:
                raise Harm(f"the database is damaged: {found[0][0][:60]}")
            database.execute("INSERT INTO file_index_fts(file_index_fts,rank) VALUES('integrity-check',1)")

    def show(self, *keys):
        self.desktop.run([PROGRAM, "--show"])
        self.desktop.wait_for_window(TITLE)
        for key in keys:
            self.desktop.type(key) if key[0].islower() else self.desktop.press(key)
