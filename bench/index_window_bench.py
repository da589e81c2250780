#!/usr/bin/python3
"""Measures what a large filename index costs the running program in memory, next to an empty one.

usage: index_window_bench.py BUILD_DIRECTORY [PREFIX OF THE METRICS' NAMES] [NUMBER OF FILES]

Prints one line a metric: name, value, unit, reference, ratio, separated by tabs.
"""

import pathlib
import subprocess
import sys
import time

from window_bench import Palette, memory, report

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop, TimedOut  # noqa: E402  # pylint: disable=wrong-import-position

SETTLING_SECONDS = 10
SCAN_SECONDS = 900


class Indexing(Palette):
    """The program with its log: with whether its scan is over."""

    def _read(self):
        for line in self.process.stderr:
            self.events.append(("scanned" if "File index scan completed" in line else "line", time.monotonic_ns()))

    def has_scanned(self):
        return any(name == "scanned" for name, _ in list(self.events))


def resident(desktop, build):
    """The most memory during the scan of the desktop's home, and what is left of it afterwards, in MiB."""
    program = Indexing(desktop, build)
    program.shown()
    most = 0
    deadline = time.monotonic() + SCAN_SECONDS
    while not program.has_scanned():
        most = max(most, memory(program)[0])
        if time.monotonic() > deadline:
            raise TimedOut("the scan takes too long")
        time.sleep(0.05)
    desktop.press("Escape")
    time.sleep(SETTLING_SECONDS)
    idle = memory(program)[0]
    program.quit()
    return most, idle


def measure(build, files):
    with Desktop() as desktop:
        _, empty = resident(desktop, build)
    with Desktop() as desktop:
        command = [str(build / "bench/index_bench"), "--tree", str(desktop.home / "tree"), str(files)]
        subprocess.run(command, check=True, timeout=600)
        most, idle = resident(desktop, build)
    yield "files.rss", idle, "MiB", empty
    yield "files.rss.scan", most, "MiB", empty


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    prefix = sys.argv[2] if len(sys.argv) > 2 else ""
    files = int(sys.argv[3]) if len(sys.argv) > 3 else 1_000_000
    if any(name.startswith(prefix) for name in ("files.rss", "files.rss.scan")):
        report(measure(build, files), prefix)


if __name__ == "__main__":
    main()
