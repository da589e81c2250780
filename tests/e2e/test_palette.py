#!/usr/bin/python3
"""The built program on a desktop of its own, used the way a person does: keys go in, what is on screen comes out.

VELMORA_PROGRAM names the program. With VELMORA_SCREENSHOTS, a folder, pictures of what the tests pass by are kept there.
"""

import contextlib
import os
import pathlib
import signal
import sqlite3
import stat
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import Desktop, nodes, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

PROGRAM = os.environ.get("VELMORA_PROGRAM", "build/dev/app/velmora")
PICTURES = os.environ.get("VELMORA_SCREENSHOTS")
TITLE = "Velmora Brisklane"
INPUT = "Search commands, apps or ask AI"
ARGUMENT_HELP = "Type arguments and press Return, or pick a previous launch below."


class PaletteTest(unittest.TestCase):
    """One desktop and one running palette for each test."""

    def setUp(self):
        self.desktop = Desktop(accessibility=True)
        self.desktop.__enter__()
        self.addCleanup(self.desktop.close)
        self.written = self.desktop.home / "arguments"
        self.install("Argument Writer", self.writer(), "%F", icon="accessories-text-editor")
        self.install("Broken Tool", "/nonexistent/tool", icon="applications-utilities")
        self.install("Terminal", "/bin/true", icon="utilities-terminal")
        self.install("Web Browser", "/bin/true", "%u", icon="web-browser")

    # What the test has

    def writer(self):
        """A program that writes its arguments to a file, all at once."""
        program = self.desktop.home / "argument-writer"
        partial = f"{self.written}.partial"
        program.write_text(f"#!/bin/sh\nprintf '%s\\0' --fixed \"$@\" >'{partial}'\nmv '{partial}' '{self.written}'\n")
        program.chmod(0o755)
        return program

    def install(self, name, program, field="", icon=""):
        (self.desktop.data / f"applications/org.example.{name.replace(' ', '')}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nIcon={icon}\nExec={program} {field}\n"
        )

    def start(self, *arguments):
        program = self.desktop.start([PROGRAM, *arguments])
        self.addCleanup(self.end, program)
        return program

    def end(self, program):
        """Whatever it was doing, it ends in order; the sanitizers' builds say so only then."""
        if program.poll() is None:
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(timeout=10), 0, self.desktop.log_of(PROGRAM))

    def open(self):
        """Starts the program and waits until the palette lists the applications."""
        self.program = self.start("--show")
        self.window = self.desktop.wait_for_window(TITLE)
        self.wait_for_row("Argument Writer")

    def show_again(self):
        self.desktop.run([PROGRAM, "--show"])
        self.window = self.desktop.wait_for_window(TITLE)

    # What the test sees

    def seen(self):
        return [node for node in nodes(self.desktop.tree("Velmora")) if "showing" in node["states"]]

    def texts(self):
        """Every text on screen."""
        return [text for node in self.seen() for text in (node["name"], node["text"]) if text]

    def typed(self):
        return next((node["text"] for node in self.seen() if node["name"] == INPUT), None)

    def rows(self):
        """Title and subtitle of each row of the list, joined as a screen reader says them."""
        lists = [node for node in self.seen() if node["role"] == "list" and node["name"] == "Results"]
        return [row["name"] for results in lists for row in results["children"]]

    def wait_for_row(self, beginning, position=None):
        def there():
            rows = self.rows()
            rows = rows if position is None else rows[position : position + 1]
            return any(row.startswith(beginning) for row in rows)

        wait_until(there, lambda: f'the row "{beginning}" among {self.rows()}')

    def wait_for_text(self, text):
        wait_until(lambda: text in self.texts(), lambda: f'the text "{text}" among {self.texts()}')

    def wait_for_button(self, name):
        """Waits until the button can be chosen."""
        def there():
            return any(node["name"] == name and "enabled" in node["states"] for node in self.seen())

        wait_until(there, f'the button "{name}"')

    def query(self, text):
        self.desktop.type(text)
        wait_until(lambda: self.typed() == text, lambda: f'the input to hold "{text}", not "{self.typed()}"')

    def picture(self, name):
        if PICTURES:
            self.desktop.screenshot(pathlib.Path(PICTURES) / f"{name}.png", self.window)

    def arguments(self):
        """What the launched program was given, once it has run."""
        wait_until(self.written.exists, "the chosen application to run")
        arguments = self.written.read_text().split("\0")[:-1]
        self.written.unlink()
        return arguments


class Journey(PaletteTest):
    def test_commands(self):
        self.open()
        for title in ("Open Finder", "Open Downloads", "Search Files", "Ask AI", "Web Browser"):
            self.wait_for_row(title)
        self.picture("commands")
        self.query("w")  # Web Browser before Argument Writer, which only contains it
        self.wait_for_row("Web Browser", 0)
        rows = self.rows()
        steps = next(index for index, row in enumerate(rows) if row.startswith("Argument Writer"))
        self.desktop.press(*["Up"] * (len(rows) - steps))  # around the end
        self.desktop.press("Return")
        self.assertEqual(self.arguments(), ["--fixed"])
        self.desktop.wait_until_hidden(TITLE)

        self.show_again()
        self.query("2*(3+4)")
        self.wait_for_row("14, 2*(3+4)", 0)
        self.picture("calculator")
        self.desktop.press("Return", "ctrl+a", "ctrl+v")
        wait_until(lambda: self.typed() == "14", "the copied value to be pasted over the query")
        self.desktop.press("ctrl+a")
        self.query("broken")
        self.wait_for_row("Broken Tool", 0)
        self.desktop.press("Return")
        self.wait_for_text("The application could not be launched.")
        self.picture("error")
        self.desktop.type("zz")  # typing on clears the line
        self.wait_for_text("No Results")
        self.assertNotIn("The application could not be launched.", self.texts())
        self.picture("no-results")

    def test_arguments_and_the_way_back(self):
        self.open()
        self.query("argument")
        self.wait_for_row("Argument Writer", 0)
        self.desktop.press("ctrl+k")
        self.wait_for_text("Open Application")
        self.picture("actions")
        self.desktop.press("Escape", "Tab")
        self.wait_for_text(ARGUMENT_HELP)
        self.query("--profile \"Work Profile\" 'it''s' naïve")
        self.picture("arguments")
        self.desktop.press("Return")
        expected = ["--fixed", "--profile", "Work Profile", "its", "naïve"]
        self.assertEqual(self.arguments(), expected)
        self.desktop.wait_until_hidden(TITLE)

        self.show_again()
        self.assertEqual(self.typed(), "")
        self.query("argument")
        self.wait_for_row("Argument Writer", 0)
        self.desktop.press("Tab")
        self.wait_for_row("--profile \"Work Profile\" 'it''s' naïve, Used 1× · ", 0)
        self.picture("recent-arguments")
        self.desktop.press("Return")  # nothing typed: the selected earlier launch runs
        self.assertEqual(self.arguments(), expected)

        self.show_again()
        self.query("argument")
        self.wait_for_row("Argument Writer", 0)
        self.desktop.press("Tab", "Escape")
        wait_until(lambda: self.typed() == "Argument Writer", "the application's title to come back as the query")
        self.desktop.press("Escape")
        self.desktop.wait_until_hidden(TITLE)


class Life(PaletteTest):
    def test_has_an_item_in_the_panel(self):
        watcher, path = "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher"
        mock = self.desktop.start([sys.executable, "-m", "dbusmock", "--session", watcher, path, watcher],
                                  stdout=subprocess.PIPE, text=True)
        self.desktop.run(["gdbus", "wait", "--session", "--timeout", "10", watcher])
        for method, *arguments in (("AddMethod", "", "RegisterStatusNotifierItem", "s", "", ""),
                                   ("AddProperty", watcher, "IsStatusNotifierHostRegistered", "<true>")):
            self.desktop.run(["gdbus", "call", "--session", "--dest", watcher, "--object-path", path, "--method",
                              f"org.freedesktop.DBus.Mock.{method}", *arguments])
        # The toolkit's bus thread leaves something behind when there is a panel.
        self.desktop.environment["ASAN_OPTIONS"] = "detect_leaks=0"
        self.start()
        called = ""
        while "RegisterStatusNotifierItem" not in called:
            called = mock.stdout.readline()
        item = called.split('"')[1]
        title = self.desktop.run(
            ["gdbus", "call", "--session", "--dest", item, "--object-path", "/StatusNotifierItem", "--method",
             "org.freedesktop.DBus.Properties.Get", "org.kde.StatusNotifierItem", "Title"])
        self.assertEqual(title.stdout.strip(), "(<'Velmora'>,)")

    def test_is_dark_where_the_desktop_is(self):
        self.desktop.prefer_dark()
        self.open()
        x, y, width, height = self.desktop.geometry(self.window)
        middle = f"{width // 2}x{height // 2}+{x + width // 4}+{y + height // 4}"
        command = ["import", "-silent", "-window", "root", "-crop", middle, "-resize", "1x1!", "-depth", "8", "gray:-"]
        self.assertLess(self.desktop.run_for_bytes(command)[0], 90)

    def test_icons_hold_nothing_up(self):
        theme = self.desktop.data / "icons/hicolor"
        (theme / "32x32/apps").mkdir(parents=True)
        for pipe in (theme / "index.theme", theme / "32x32/apps/piped.png"):
            os.mkfifo(pipe)
        drawing = self.desktop.home / "endless.svg"
        dashes = " ".join(f"L99999 {number} L0 0" for number in range(50_000))
        drawing.write_text(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 9 9"><path d="M0 0 {dashes}" '
                           'fill="none" stroke="#000" stroke-dasharray="9 9" stroke-width="30"/></svg>')
        for name, icon in (("Piped", "piped"), ("Endless", drawing)):
            (self.desktop.data / f"applications/{name}.desktop").write_text(
                f"[Desktop Entry]\nType=Application\nName={name} Picture\nExec=true\nIcon={icon}\n")
        self.open()
        self.query("picture")
        self.wait_for_row("Endless Picture", 0)
        self.wait_for_row("Piped Picture", 1)

    def test_of_two_starts_at_once_one_stays(self):
        started = [self.start("--show") for _ in range(2)]
        self.desktop.wait_for_window(TITLE)
        wait_until(lambda: any(program.poll() is not None for program in started), "one of the two to leave")
        self.assertCountEqual([program.poll() for program in started], [0, None])

    def test_ends_in_order_and_keeps_its_data_private(self):
        self.open()
        self.end(self.program)
        folder = self.desktop.data / "Velmora"
        self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o700)
        for file in folder.iterdir():
            self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600, file)
        with sqlite3.connect(folder / "velmora.sqlite") as database:
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])

    def test_says_that_it_could_not_start_and_can_still_be_ended(self):
        (self.desktop.data / "Velmora").write_text("in the way")
        program = self.start("--show")
        self.wait_for_text("Velmora could not start")
        self.assertIsNone(self.desktop.find_window(TITLE))
        self.end(program)
        self.assertEqual((self.desktop.data / "Velmora").read_text(), "in the way")

    def test_comes_up_when_what_kept_it_from_starting_has_gone(self):
        self.open()
        self.end(self.program)
        with contextlib.closing(sqlite3.connect(self.desktop.data / "Velmora/velmora.sqlite")) as other:
            other.execute("BEGIN IMMEDIATE")
            self.start("--show")
            self.wait_for_text("Velmora could not start")
            self.picture("could-not-start")
        self.window = self.desktop.wait_for_window(TITLE)
        self.wait_for_row("Argument Writer")
        self.assertNotIn("Velmora could not start", self.texts())

    def test_outlives_a_display_that_goes_away_without_hanging(self):
        self.open()
        display = self.desktop.started[0]
        display.terminate()
        display.wait(timeout=10)
        self.assertIsNotNone(self.program.wait(timeout=10))
        with sqlite3.connect(self.desktop.data / "Velmora/velmora.sqlite") as database:
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])


if __name__ == "__main__":
    unittest.main(verbosity=2)
