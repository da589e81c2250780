#!/usr/bin/python3
"""Measures the palette's window from outside, next to a bare window with a line edit and a list, in the same run.

usage: window_bench.py BUILD_DIRECTORY [PREFIX OF THE METRICS' NAMES]

Prints one line a metric: name, value, unit, reference, ratio, separated by tabs. Both programs print when they are asked
to show themselves, when a key press arrives and when a paint has finished (see bare_window.cpp); they take turns, so
that whatever else the machine does meets both.
"""

import contextlib
import pathlib
import statistics
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

APPLICATIONS = 300
STARTS = 11
SHOWS = 21
TYPED = ("term", "sett", "photo", "music", "1", "zzz", "disk 2", "play")
ROUNDS = 2
# A keystroke's work is done when nothing was painted for this long. A cursor blinks, and a held key repeats, later.
QUIET_NS = 200_000_000
IDLE_SECONDS = 70  # longer than the minute after which applications are looked for again


class Program:
    """One running program that prints measuring lines."""

    measuring = "1"

    def __init__(self, desktop, title, command, **options):
        self.desktop, self.title, self.command = desktop, title, command
        self.events = []
        self.began = time.monotonic_ns()
        environment = {"VELMORA_MEASURE": self.measuring}
        self.process = desktop.start(command, environment, stderr=subprocess.PIPE, text=True, bufsize=1, **options)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stderr:
            words = line.split()
            if len(words) == 3 and words[0] == "measure":
                self.events.append((words[1], int(words[2])))

    def first(self, what, after, seconds=15.0):
        """When `what` first happened after a point in time, in nanoseconds."""

        def found():
            if self.process.poll() is not None:
                raise RuntimeError(f"{self.title} ended while it was measured")
            return next((when for name, when in list(self.events) if name == what and when > after), None)

        return wait_until(found, f'"measure {what}" of {self.title}', seconds, 0.002)

    def last_paint(self, after):
        """When the last paint before a quiet time finished."""
        self.first("paint", after)

        def quiet():
            last = max(when for name, when in list(self.events) if name == "paint")
            return last if time.monotonic_ns() - last > QUIET_NS else None

        return wait_until(quiet, f"{self.title} to stop painting", 5, 0.01)

    def shown(self):
        self.desktop.wait_for_window(self.title)

    def show(self):
        """Shows the hidden window and returns when it was asked to."""
        before = time.monotonic_ns()
        self.ask_to_show()
        return self.first("show", before)

    def hidden(self):
        self.ask_to_hide()
        self.desktop.wait_until_hidden(self.title)


class BareWindow(Program):
    def __init__(self, desktop, build):
        command = [str(build / "bench/bare_window")]
        super().__init__(desktop, "Velmora Bare Window", command, stdin=subprocess.PIPE)

    def _say(self, word):
        self.process.stdin.write(word + "\n")
        self.process.stdin.flush()

    def ask_to_show(self):
        self._say("show")

    def ask_to_hide(self):
        self._say("hide")

    def quit(self):
        self._say("quit")
        self.process.wait(timeout=15)


class Palette(Program):
    def __init__(self, desktop, build):
        super().__init__(desktop, "Velmora Brisklane", [str(build / "app/velmora"), "--show"])

    def ask_to_show(self):
        # A second start asks the first to show itself.
        self.desktop.run(self.command)

    def ask_to_hide(self):
        self.desktop.press("Escape")

    def quit(self):
        self.process.terminate()
        self.process.wait(timeout=15)


KINDS = (BareWindow, Palette)


@contextlib.contextmanager
def both(desktop, build):
    """Both programs, started one after the other and hidden."""
    running = []
    try:
        for kind in KINDS:
            program = kind(desktop, build)
            running.append(program)
            program.first("paint", program.began)
            program.shown()
            program.hidden()
        yield running
    finally:
        for program in running:
            program.quit()


def milliseconds(values):
    return [value / 1e6 for value in values]


def start_paint(desktop, build):
    taken = {kind: [] for kind in KINDS}
    for run in range(STARTS + 1):
        for kind in KINDS:
            program = kind(desktop, build)
            painted = program.first("paint", program.began)
            if run > 0:  # the first start makes the database and fills the file cache
                taken[kind].append(painted - program.began)
            program.shown()
            program.quit()
    bare, palette = (statistics.median(milliseconds(taken[kind])) for kind in KINDS)
    yield "start.paint", palette, "ms", bare


def show_paint(desktop, build):
    taken = {kind: [] for kind in KINDS}
    with both(desktop, build) as programs:
        for run in range(SHOWS + 1):
            for program in programs:
                asked = program.show()
                painted = program.first("paint", asked)
                if run > 0:
                    taken[type(program)].append(painted - asked)
                program.shown()
                program.hidden()
    bare, palette = (statistics.median(milliseconds(taken[kind])) for kind in KINDS)
    yield "show.paint", palette, "ms", bare


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


def key_paint(desktop, build):
    taken = {kind: [] for kind in KINDS}
    with both(desktop, build) as programs:
        for _ in range(ROUNDS):
            for text in TYPED:
                for program in programs:
                    program.show()
                    program.shown()
                    program.last_paint(program.began)
                    for letter in [*text, *["BackSpace"] * len(text)]:
                        key = "space" if letter == " " else letter
                        before = time.monotonic_ns()
                        desktop.run(["xdotool", "keydown", key])
                        pressed = program.first("key", before)
                        taken[type(program)].append(program.last_paint(pressed) - pressed)
                        # Released only now, because a line edit paints its cursor for that too.
                        desktop.run(["xdotool", "keyup", key])
                    program.hidden()
    for name, share in (("key.paint.p50", 0.5), ("key.paint.p95", 0.95)):
        bare, palette = (percentile(milliseconds(taken[kind]), share) for kind in KINDS)
        yield name, palette, "ms", bare


def memory(program):
    """Resident and proportional memory in MiB."""
    values = {}
    for line in pathlib.Path(f"/proc/{program.process.pid}/smaps_rollup").read_text().splitlines()[1:]:
        name, kilobytes = line.split()[:2]
        values[name.rstrip(":")] = int(kilobytes) / 1024
    return values["Rss"], values["Pss"]


def processor_seconds(program):
    """Time of all of its threads on a processor. The process's own counter moves in hundredths, too coarse for this."""
    threads = pathlib.Path(f"/proc/{program.process.pid}/task").iterdir()
    return sum(int((thread / "schedstat").read_text().split()[0]) for thread in threads) / 1e9


def processor_shares(programs, seconds):
    """How much of a processor each of two programs uses from now on, in percent."""
    before = [processor_seconds(program) for program in programs]
    began = time.monotonic()
    time.sleep(seconds)
    passed = time.monotonic() - began
    # A thread that has ended meanwhile takes its time along.
    return [100 * max(0, processor_seconds(p) - start) / passed for p, start in zip(programs, before)]


def idle(desktop, build):
    with both(desktop, build) as programs:
        time.sleep(5)
        rss, pss = zip(*(memory(program) for program in programs))
        yield "rss.idle", rss[1], "MiB", rss[0]
        yield "rss.idle.pss", pss[1], "MiB", pss[0]


def idle_processor(desktop, build):
    with both(desktop, build) as programs:
        time.sleep(5)
        bare, palette = processor_shares(programs, IDLE_SECONDS)
        yield "idle.cpu", palette, "%", bare


MEASUREMENTS = (
    (("start.paint",), start_paint),
    (("show.paint",), show_paint),
    (("key.paint.p50", "key.paint.p95"), key_paint),
    (("rss.idle", "rss.idle.pss"), idle),
    (("idle.cpu",), idle_processor),
)


def install_applications(desktop):
    """As many desktop entries as a well-used machine has, with real icons."""
    icons = sorted({path.stem for path in pathlib.Path("/usr/share/icons/Adwaita/48x48").rglob("*.png")})
    first = ("Terminal", "Settings", "Photo", "Music", "Disk", "Text", "Video", "Web", "Chat", "Map")
    second = ("Editor", "Viewer", "Player", "Monitor", "Manager", "Browser")
    for number in range(APPLICATIONS):
        name = f"{first[number % len(first)]} {second[number // len(first) % len(second)]} {number}"
        (desktop.data / f"applications/org.example.App{number}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nGenericName={second[number % len(second)]}\n"
            f"Comment=Works with {first[number % len(first)].lower()}s\nKeywords=example;number{number};\n"
            f"Icon={icons[number % len(icons)]}\nExec=/bin/true %U\n"
        )


def report(metrics, prefix):
    for name, value, unit, reference in metrics:
        if name.startswith(prefix):
            ratio = f"{value / reference:.2f}" if reference > 0 else "-"
            print(f"{name}\t{value:.3f}\t{unit}\t{reference:.3f}\t{ratio}", flush=True)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    prefix = sys.argv[2] if len(sys.argv) > 2 else ""
    wanted = [measure for names, measure in MEASUREMENTS if any(name.startswith(prefix) for name in names)]
    if not wanted:
        return
    for needed in (build / "bench/bare_window", build / "app/velmora"):
        if not needed.exists():
            sys.exit(f"{needed} is missing: build the target benchmarks")
    with Desktop() as desktop:
        install_applications(desktop)
        for measure in wanted:
            report(measure(desktop, build), prefix)


if __name__ == "__main__":
    main()
