#!/usr/bin/python3
"""Measures what the clipboard history costs the running program, from outside.

usage: clipboard_window_bench.py BUILD_DIRECTORY [PREFIX OF THE METRICS' NAMES]

Prints one line a metric: name, value, unit, reference, ratio, separated by tabs.
"""

import pathlib
import random
import sqlite3
import statistics
import subprocess
import sys
import time

from window_bench import BareWindow, Palette, install_applications, processor_shares, report

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

COPIES = 15
LARGE = 1_000_000
IDLE_SECONDS = 50  # less than the minute after which applications are looked for again
WATCHED_SECONDS = 1.5


def large_text(number):
    """A million bytes, different each time."""
    line = f"copy {number} of a long text, with some letters beyond ASCII: äöü €\n"
    return (line * (LARGE // len(line.encode()) + 1)).encode()[:LARGE].decode(errors="ignore")


# No line breaks, hardly anything else, and letters of several fonts.
HARD_TO_LAY_OUT = (
    "all in one line " * (LARGE // 16),
    "x" * LARGE,
    "\n" * (LARGE - 1) + "x",
    "word 帮我打开 слово 🙂 " * (LARGE // 40),
)


class History:
    """The program's clipboard history, seen in its database."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.connection = sqlite3.connect(f"file:{desktop.data}/Velmora/velmora.sqlite?mode=ro", uri=True)

    def copy(self, text):
        """A copy in another program; returns when it was made."""
        xclip = self.desktop.start(["xclip", "-selection", "clipboard", "-quiet"], stdin=subprocess.PIPE)
        xclip.stdin.write(text.encode())
        began = time.monotonic()
        xclip.stdin.close()
        return began

    def wait_for(self, text):
        """Waits until it is stored; returns when it was."""
        sql = "SELECT 1 FROM clipboard_history WHERE content=?"
        wait_until(lambda: self.connection.execute(sql, (text,)).fetchone(), "the copy to be stored", 10, 0.005)
        return time.monotonic()


class Watched(Palette):
    """The palette with a heartbeat, which tells for how long the main loop did nothing else than what kept it."""

    measuring = "loop"

    def longest_gap(self, began):
        """In milliseconds, over the time since a point in time."""
        time.sleep(max(0, began / 1e9 + WATCHED_SECONDS - time.monotonic()))
        gaps = [gap for name, gap in list(self.events) if name == "gap"]
        self.events.clear()
        return max(gaps, default=0) / 1e6


def capture(desktop, build):
    palette = Palette(desktop, build)
    palette.first("paint", palette.began)
    palette.shown()
    history = History(desktop)
    taken = []
    for number in range(COPIES):
        time.sleep(random.uniform(0.7, 1.4))
        text = f"copied text number {number}"
        began = history.copy(text)
        taken.append(1000 * (history.wait_for(text) - began))
    palette.quit()
    yield "clip.capture", statistics.median(taken), "ms", max(taken)


def stall(desktop, build):
    palette = Watched(desktop, build)
    palette.shown()
    history = History(desktop)
    time.sleep(3)
    quiet, copying, showing = [], [], []
    for number in range(COPIES):
        quiet.append(palette.longest_gap(time.monotonic_ns()))
        text = large_text(number)
        began = time.monotonic_ns()
        history.copy(text)
        history.wait_for(text)
        copying.append(palette.longest_gap(began))
    for text in HARD_TO_LAY_OUT:
        history.copy(text)
        history.wait_for(text)
    desktop.type("clipboard history")
    desktop.press("Return")
    time.sleep(1)
    desktop.press("ctrl+y", *["Down"] * len(HARD_TO_LAY_OUT))  # fonts are looked for once
    for key in (["Up"] * len(HARD_TO_LAY_OUT) + ["Down"] * len(HARD_TO_LAY_OUT)) * 2:
        palette.longest_gap(time.monotonic_ns())
        began = time.monotonic_ns()
        desktop.press(key)
        showing.append(palette.longest_gap(began))
    palette.quit()
    for name, values in (("clip.stall", copying), ("clip.preview", showing)):
        yield name, statistics.median(values), "ms", statistics.median(quiet)
        yield name + ".max", max(values), "ms", max(quiet)


def idle(desktop, build):
    programs = [BareWindow(desktop, build), Palette(desktop, build)]
    for program in programs:
        program.first("paint", program.began)
    time.sleep(1)
    desktop.press("Escape")
    time.sleep(4)
    History(desktop).copy("something to look at")
    time.sleep(2)
    bare, palette = processor_shares(programs, IDLE_SECONDS)
    for program in programs:
        program.quit()
    yield "clip.idle", palette, "%", bare


MEASUREMENTS = (
    (("clip.capture",), capture),
    (("clip.stall", "clip.stall.max", "clip.preview", "clip.preview.max"), stall),
    (("clip.idle",), idle),
)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    prefix = sys.argv[2] if len(sys.argv) > 2 else ""
    for names, measure in MEASUREMENTS:
        if not any(name.startswith(prefix) for name in names):
            continue
        with Desktop() as desktop:
            install_applications(desktop)
            report(measure(desktop, build), prefix)


if __name__ == "__main__":
    main()
