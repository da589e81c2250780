#!/usr/bin/python3
"""A private desktop: display, session bus, window manager, accessibility bus, and a home of its own.

    with Desktop() as desktop:
        program = desktop.start(["build/dev/app/velmora", "--show"])
        window = desktop.wait_for_window("Velmora Brisklane")
        desktop.type("calc")
        desktop.press("Return")

Whatever is started inside carries a mark in its environment. A guard process ends everything that carries it and
removes the folder when the desktop is closed, and just the same when the test is killed.
"""

import contextlib
import json
import os
import pathlib
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import uuid
import xml.etree.ElementTree

MARK = "VELMORA_TEST_DESKTOP"
SIZE = "1280x800"
SHARED_DATA = ("dbus-1", "fonts", "glib-2.0", "icons", "mime", "themes")
FONTS = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig><alias><family>sans-serif</family><prefer><family>Inter</family><family>DejaVu Sans</family></prefer></alias>
</fontconfig>
"""


class TimedOut(AssertionError):
    """What a test waited for did not happen in time."""


def wait_until(condition, what, seconds=10.0, interval=0.02):
    """Calls `condition` until it returns something true, and returns that. `what` is a text, or makes one in the end."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise TimedOut(f"waited {seconds:g} s in vain for {what() if callable(what) else what}")
        time.sleep(interval)


class Desktop:
    """Owns everything that runs inside it. One thread at a time.

    `environment` is added to that of every program started later. With `accessibility` programs offer their
    accessibility tree, which costs them time: leave it off to measure.
    """

    def __init__(self, accessibility=False, environment=None):
        self.accessibility = accessibility
        self.extra = dict(environment or {})
        self.mark = uuid.uuid4().hex
        self.reader = None
        self.started = []

    # Life

    def __enter__(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="velmora-desktop-"))
        command = [sys.executable, os.path.abspath(__file__), "--guard", self.mark, str(self.root)]
        self.guard = subprocess.Popen(command, stdin=subprocess.PIPE, start_new_session=True)
        try:
            self._make_folders()
            self._start_display()
            self._start_bus()
            self._start_window_manager()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Ends everything that runs here and removes the folder."""
        self.guard.stdin.close()
        self.guard.wait(timeout=120)
        for process in self.started:
            process.wait(timeout=5)
            for stream in (process.stdin, process.stdout, process.stderr):
                if stream is not None:
                    with contextlib.suppress(BrokenPipeError):
                        stream.close()

    def _make_folders(self):
        self.home = self.root / "home"
        self.data = self.home / ".local/share"
        self.runtime = self.root / "run"
        self.logs = self.root / "logs"
        system = self.root / "share"
        folders = (self.home, self.data / "applications", self.home / ".config", self.home / ".cache", system, self.logs)
        for folder in folders:
            folder.mkdir(parents=True)
        self.runtime.mkdir(mode=0o700)
        # The same letters on every machine, with the symbols that they lack from a second font.
        (self.home / ".config/fontconfig").mkdir()
        (self.home / ".config/fontconfig/fonts.conf").write_text(FONTS)
        # The machine's own applications stay out of sight, its icons and services do not.
        for name in SHARED_DATA:
            if os.path.isdir(f"/usr/share/{name}"):
                (system / name).symlink_to(f"/usr/share/{name}")
        self.environment = {
            "PATH": "/usr/local/bin:/usr/bin:/bin",
            "LANG": "C.UTF-8",
            "HOME": str(self.home),
            "TMPDIR": str(self.runtime),
            "XDG_DATA_HOME": str(self.data),
            "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_CACHE_HOME": str(self.home / ".cache"),
            "XDG_STATE_HOME": str(self.home / ".local/state"),
            "XDG_DATA_DIRS": str(system),
            "XDG_CONFIG_DIRS": "/etc/xdg",
            "XDG_RUNTIME_DIR": str(self.runtime),
            "XDG_SESSION_TYPE": "x11",
            MARK: self.mark,
        }
        if self.accessibility:
            self.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        self.environment.update(self.extra)

    def _start_display(self):
        reading, writing = os.pipe()
        # Without repeating keys: on a busy machine one that is let go late would come several times.
        command = ["Xvfb", "-r", "-displayfd", str(writing), "-screen", "0", f"{SIZE}x24"]
        command += ["-nolisten", "tcp", "-noreset"]
        self.start(command, pass_fds=(writing,))
        os.close(writing)
        self.environment["DISPLAY"] = ":" + read_line(reading, "the display")

    def _start_bus(self):
        reading, writing = os.pipe()
        command = ["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={writing}"]
        self.start(command, pass_fds=(writing,))
        os.close(writing)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = read_line(reading, "the session bus")

    def _start_window_manager(self):
        rules = self.root / "openbox.xml"
        write_openbox_rules(rules)
        self.start(["openbox", "--sm-disable", "--config-file", str(rules)])
        wait_until(lambda: self._window_manager_runs(), "the window manager")
        # Something to see rounded corners and shadows against.
        self.run(["display", "-window", "root", "-size", SIZE, "gradient:#dfe7ee-#8496a9"], check=False)

    def _window_manager_runs(self):
        found = self.run(["xdotool", "get_num_desktops"], check=False)
        return found.returncode == 0 and found.stdout.strip() not in ("", "0")

    # Programs

    def start(self, command, environment=None, **options):
        """Starts a program; its output goes to `logs` unless the caller takes it."""
        name = pathlib.Path(command[0]).name
        options.setdefault("stdin", subprocess.DEVNULL)
        with contextlib.ExitStack() as closing:
            if "stdout" not in options or "stderr" not in options:
                log = closing.enter_context(open(self.logs / f"{name}.log", "ab"))
                options.setdefault("stdout", log)
                options.setdefault("stderr", log)
            process = subprocess.Popen(command, env={**self.environment, **(environment or {})}, **options)
        self.started.append(process)
        return process

    def run(self, command, check=True, seconds=20):
        """Runs a program to its end and returns what it printed."""
        return subprocess.run(
            command, env=self.environment, check=check, capture_output=True, text=True, timeout=seconds,
            stdin=subprocess.DEVNULL,
        )

    def run_for_bytes(self, command, seconds=20):
        """As `run`, for programs that print something other than text."""
        return subprocess.run(
            command, env=self.environment, check=True, capture_output=True, timeout=seconds, stdin=subprocess.DEVNULL
        ).stdout

    def log_of(self, program):
        return (self.logs / f"{pathlib.Path(program).name}.log").read_text(errors="replace")

    def prefer_dark(self):
        """Lets the desktop say that it wants dark windows, through the settings portal. Programs started later see it."""
        name, path = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
        interface = "org.freedesktop.portal.Settings"
        read = ("Read", "ss", "v", "ret = dbus.UInt32(1, variant_level=2)")  # portals wrap this one twice
        self.start([sys.executable, "-m", "dbusmock", "--session", name, path, interface])
        self.run(["gdbus", "wait", "--session", "--timeout", "10", name])
        self.run(["gdbus", "call", "--session", "--dest", name, "--object-path", path, "--method",
                  "org.freedesktop.DBus.Mock.AddMethods", interface, repr([read])])

    # Windows and keys

    def find_window(self, title):
        """The visible window with exactly this title, as an X11 identifier; None when there is none."""
        found = self.run(["xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$"], check=False)
        return found.stdout.split()[0] if found.stdout.split() else None

    def wait_for_window(self, title, seconds=15.0):
        """Waits until the window is on screen and has the keyboard."""

        def ready():
            window = self.find_window(title)
            return window if window and self.focused_window() == window else None

        return wait_until(ready, f'the window "{title}" to have the keyboard', seconds, 0.05)

    def wait_until_hidden(self, title, seconds=10.0):
        wait_until(lambda: self.find_window(title) is None, f'the window "{title}" to hide', seconds, 0.05)

    def focused_window(self):
        return self.run(["xdotool", "getwindowfocus"], check=False).stdout.strip()

    def geometry(self, window):
        """x, y, width and height in pixels of the screen."""
        text = self.run(["xdotool", "getwindowgeometry", "--shell", window]).stdout
        values = dict(line.split("=", 1) for line in text.splitlines() if "=" in line)
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def type(self, text):
        # A character that is on no key is lent one while it is pressed; the program must look it up in that time.
        for piece in re.findall(r"[ -~]+|[^ -~]", text):
            delay = "12" if piece.isascii() else "250"
            self.run(["xdotool", "type", "--clearmodifiers", "--delay", delay, "--", piece])

    def press(self, *keys):
        """Presses keys one after the other, named as X11 does: "Return", "Down", "ctrl+k"."""
        self.run(["xdotool", "key", "--clearmodifiers", "--delay", "20", *keys])

    # Pictures

    def capture(self, window=None, margin=48):
        """The screen, or a window and what surrounds it, as PNG bytes."""
        command = ["import", "-silent", "-window", "root"]
        if window:
            x, y, width, height = self.geometry(window)
            left, top = max(0, x - margin), max(0, y - margin)
            command += ["-crop", f"{width + x - left + margin}x{height + y - top + margin}+{left}+{top}", "+repage"]
        # Without a date in it, equal pictures are equal bytes.
        command += ["-define", "png:exclude-chunks=date,time", "png:-"]
        return self.run_for_bytes(command)

    def stable_capture(self, window=None, seconds=20.0):
        """A picture taken once nothing new has appeared for a while. A blinking cursor shows nothing new."""
        deadline = time.monotonic() + seconds
        seen = set()
        new_at = time.monotonic()
        while True:
            picture = self.capture(window)
            if picture not in seen:
                seen.add(picture)
                new_at = time.monotonic()
            elif time.monotonic() - new_at > 0.4:
                return picture
            if time.monotonic() > deadline:
                raise TimedOut(f"the picture still moves after {seconds:g} s")
            time.sleep(0.05)

    def screenshot(self, path, window=None):
        pathlib.Path(path).write_bytes(self.stable_capture(window))
        return path

    # Accessibility

    def tree(self, application):
        """The accessibility tree of a program's windows: a list of nodes with role, name, text, states and children.

        `application` is the name the program goes by there. An empty list when it is not there (yet).
        """
        if not self.accessibility:
            raise ValueError("this desktop was made without accessibility")
        if self.reader is None or self.reader.poll() is not None:
            command = [sys.executable, os.path.abspath(__file__), "--read-trees"]
            self.reader = self.start(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.reader.stdin.write(application + "\n")
        self.reader.stdin.flush()
        if not select.select([self.reader.stdout], [], [], 20)[0]:
            self.reader.kill()
            raise TimedOut("the accessibility tree could not be read within 20 s")
        line = self.reader.stdout.readline()
        if not line:
            raise AssertionError("the reader of the accessibility tree ended: " + self.log_of(sys.executable))
        return json.loads(line)


def nodes(tree):
    """Every node of a tree, in the order of reading."""
    for node in tree:
        yield node
        yield from nodes(node["children"])


def read_line(descriptor, what, seconds=20):
    """The first line that a program writes to say that it is ready."""
    with open(descriptor, encoding="utf-8") as stream:
        if not select.select([stream], [], [], seconds)[0]:
            raise TimedOut(f"{what} did not start within {seconds} s")
        line = stream.readline().strip()
    if not line:
        raise AssertionError(f"{what} did not start")
    return line


def write_openbox_rules(path):
    """The window manager's own rules, less the key that the palette's shortcut needs."""
    namespace = "http://openbox.org/3.4/rc"
    xml.etree.ElementTree.register_namespace("", namespace)
    document = xml.etree.ElementTree.parse("/etc/xdg/openbox/rc.xml")
    keyboard = document.getroot().find(f"{{{namespace}}}keyboard")
    for binding in list(keyboard):
        if binding.get("key") == "A-space":
            keyboard.remove(binding)
    document.write(path, encoding="utf-8", xml_declaration=True)


# The guard


def marked(mark):
    """Handles of the running processes that carry the mark, safe against reuse of their numbers."""
    wanted = f"{MARK}={mark}".encode()
    for entry in os.listdir("/proc"):
        if not entry.isdigit() or int(entry) == os.getpid():
            continue
        try:
            handle = os.pidfd_open(int(entry))
        except OSError:
            continue
        try:
            if wanted in pathlib.Path("/proc", entry, "environ").read_bytes().split(b"\0"):
                yield handle
        except OSError:
            pass
        finally:
            os.close(handle)


def end_marked(mark):
    """Asks every process that carries the mark to end, then makes those that have not."""
    for number, seconds in ((signal.SIGTERM, 3.0), (signal.SIGKILL, 5.0)):
        deadline = time.monotonic() + seconds
        asked = False
        while True:
            alive = False
            for handle in marked(mark):
                alive = True
                # Processes may start others while they end, which a second SIGKILL reaches; one SIGTERM is enough.
                if not asked or number == signal.SIGKILL:
                    with contextlib.suppress(ProcessLookupError):
                        signal.pidfd_send_signal(handle, number)
            if not alive:
                return
            asked = True
            if time.monotonic() > deadline:
                break
            time.sleep(0.02)


def guard(mark, root):
    for ignored in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(ignored, signal.SIG_IGN)
    sys.stdin.buffer.read()  # ends when the desktop is closed or its process dies
    end_marked(mark)
    shutil.rmtree(root, ignore_errors=True)


# The reader of accessibility trees, a process of its own because the library keeps to one bus for life


def read_trees():
    import pyatspi  # pylint: disable=import-outside-toplevel

    def described(node):
        text = ""
        with contextlib.suppress(Exception):
            text = node.queryText().getText(0, -1)
        return {
            "role": node.getRoleName(),
            "name": node.name,
            "description": node.description,
            "text": text,
            "states": sorted(pyatspi.stateToString(state) for state in node.getState().getStates()),
            "children": [described(child) for child in node if child is not None],
        }

    for line in sys.stdin:
        wanted = line.strip()
        found = []
        try:
            desktop = pyatspi.Registry.getDesktop(0)
            desktop.clearCache()
            for application in desktop:
                if application is not None and application.name == wanted:
                    found += [described(window) for window in application]
        except Exception as failure:  # pylint: disable=broad-exception-caught
            # A window that closes while it is read is read again when the caller asks again.
            print(f"{wanted}: {failure!r}", file=sys.stderr, flush=True)
        print(json.dumps(found), flush=True)


if __name__ == "__main__":
    if sys.argv[1] == "--guard":
        guard(sys.argv[2], sys.argv[3])
    else:
        read_trees()
