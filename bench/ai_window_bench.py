#!/usr/bin/python3
"""Measures what a large answer of the assistant costs the running program, from outside.

usage: ai_window_bench.py BUILD_DIRECTORY [PREFIX OF THE METRICS' NAMES]

Prints one line a metric: name, value, unit, reference, ratio, separated by tabs. The references: of the stall, the
longest gap of the main loop beside it; of memory, the size of the answer.
"""

import pathlib
import statistics
import sys
import time

from clipboard_window_bench import Watched
from window_bench import install_applications, memory, report

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

import model  # noqa: E402  # pylint: disable=wrong-import-position
from desktop import Desktop, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

NAMES = ("ai.stall", "ai.rss", "ai.rss.after")
ANSWER_BYTES = 7_850_000  # nearly as much as is taken, as JSON text
ROUNDS = 7
MIB = 1 << 20


def peak(program):
    """The most memory since it was last forgotten, in MiB."""
    lines = pathlib.Path(f"/proc/{program.process.pid}/status").read_text().splitlines()
    return next(int(line.split()[1]) / 1024 for line in lines if line.startswith("VmHWM"))


def ask(desktop, scripted, answers):
    """Asks, and waits until the answer is shown and stored."""
    desktop.type("ask ai")
    desktop.press("Return")
    desktop.type("go")
    desktop.press("Return")
    wait_until(lambda: len(scripted.events("request")) > answers, "the request", 10, 0.01)
    wait_until(lambda: scripted.stored() > answers, "the answer to be stored", 20, 0.02)
    time.sleep(0.5)


def leave(desktop, palette):
    if palette.desktop.find_window(palette.title):
        desktop.press("Escape")  # back from the answer
        palette.hidden()


def large_answer(desktop, build):
    line = "An answer goes on for several lines, as those of models do. " * 5 + "\n"
    text = line * (ANSWER_BYTES // len(line))
    scripted = model.Model(desktop, str(build / "app/velmora"), [{"text": "short"}, {"text": text}])
    palette = Watched(desktop, build)
    palette.shown()
    ask(desktop, scripted, 0)
    gaps, quiet, peaks, after = [], [], [], []
    for number in range(1, ROUNDS + 1):
        leave(desktop, palette)
        hidden = memory(palette)[0]
        palette.ask_to_show()
        palette.shown()
        quiet.append(palette.longest_gap(time.monotonic_ns()))
        shown = memory(palette)[0]
        pathlib.Path(f"/proc/{palette.process.pid}/clear_refs").write_text("5")
        began = time.monotonic_ns()
        ask(desktop, scripted, number)
        gaps.append(palette.longest_gap(began))
        peaks.append(peak(palette) - shown)
        leave(desktop, palette)
        time.sleep(1)
        after.append(memory(palette)[0] - hidden)
    palette.quit()
    yield "ai.stall", statistics.median(gaps), "ms", statistics.median(quiet)
    yield "ai.rss", statistics.median(peaks), "MiB", ANSWER_BYTES / MIB
    yield "ai.rss.after", statistics.median(after), "MiB", ANSWER_BYTES / MIB


def main():
    prefix = sys.argv[2] if len(sys.argv) > 2 else ""
    if not any(name.startswith(prefix) for name in NAMES):
        return
    with Desktop() as desktop:
        install_applications(desktop)
        report(large_answer(desktop, pathlib.Path(sys.argv[1]).resolve()), prefix)


if __name__ == "__main__":
    main()
