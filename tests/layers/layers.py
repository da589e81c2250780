#!/usr/bin/python3
"""Fails when a source of one layer includes what its layer may not know.

usage: layers.py ROOT      checks the tree
       layers.py --self    checks the checker
"""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)

# From the bottom up, by folder. A layer may include itself and what it lists; everything below a layer is listed in
# full, because an arrow that skips a layer is as visible here as one that does not.
CORE = {"core"}
TOOLKIT = CORE | {"toolkit"}
PLATFORM = CORE | {"platform"}
LOG = CORE | {"app/log"}
STORAGE = PLATFORM | LOG | {"app/storage", "app/storage/sqlite"}
SERVICES = STORAGE | {"app/services"}
ASSISTANT = SERVICES | {"app/ai"}
TOOLS = SERVICES | {"app/mcp"}
COMPOSITION = ASSISTANT | TOOLS | {"app/composition"}
STATE = COMPOSITION | {"app/ui/state"}
VIEWS = STATE | TOOLKIT | {"app/ui"}
# The rooms of platform/linux, each with its siblings; all of them see posix.
LINUX = {
    "posix": set(),
    "disk": set(),
    "watch": set(),
    "trash": set(),
    "process": set(),
    "session": set(),
    "secrets": set(),
    "http": set(),
    "dbus": set(),
    "clipboard": set(),
    "x11": {"clipboard"},
    "applications": {"dbus", "x11"},
}
ALL_LINUX = {"platform/linux"} | {f"platform/linux/{room}" for room in LINUX}
ENTRY = VIEWS | ALL_LINUX | {"app", "platform/qt"}
ALLOWED = {
    "core": CORE,
    "toolkit": TOOLKIT,
    "platform": PLATFORM,
    **{
        f"platform/linux/{room}": PLATFORM | {f"platform/linux/{name}" for name in {room, "posix"} | siblings}
        for room, siblings in LINUX.items()
    },
    "platform/linux": PLATFORM | ALL_LINUX,
    "platform/qt": PLATFORM | TOOLKIT | {"platform/qt"},
    "app/log": LOG,
    "app/storage/sqlite": STORAGE - {"app/storage"},
    "app/storage": STORAGE,
    "app/services": SERVICES,
    "app/ai": ASSISTANT,
    "app/mcp": TOOLS,
    "app/composition": COMPOSITION,
    "app/ui/state": STATE,
    "app/ui": VIEWS,
    "app": ENTRY,
    # Programs beside the main one, which stand on nothing of it.
    "tools": {"tools"},
}
# Tests see what they test and whatever that may see. On Linux one room's work shows in another; what only starts
# programs starts them on the real platform.
TESTS = {**ALLOWED, **{layer: PLATFORM | ALL_LINUX for layer in ALL_LINUX}, "tools": ENTRY | {"tools"}}

# Libraries, each with the folders that may see it. What matches no pattern (the standard library, ICU, Boost's values)
# is open to all.
LIBRARIES = (
    ("Qt", r"Q[A-Za-z0-9]+(/.*)?$|q[a-z0-9_]+\.h$|qpa/", {"toolkit", "platform/qt", "app/ui", "app"}),
    ("SQLite", r"sqlite3(ext)?\.h$", {"app/storage/sqlite"}),
    ("GLib", r"(gio|glib|gobject|gmodule|gdk-pixbuf)/|glib(-object|-unix)?\.h$", {"platform/linux/applications"}),
    ("libplist", r"libplist/|plist/", {"platform/linux/applications"}),
    ("libsecret", r"libsecret/", {"platform/linux/secrets"}),
    ("curl", r"curl/", {"platform/linux/http"}),
    ("D-Bus", r"dbus/|systemd/sd-bus\.h$", {"platform/linux/dbus"}),
    ("X11", r"X11/|xcb/|xkbcommon/", {"platform/linux/x11", "platform/qt"}),
    ("Wayland", r"wayland-|wlr-", {"platform/linux/clipboard"}),
    ("libmount", r"libmount/", {"platform/linux/posix"}),
    ("spdlog", r"spdlog/|fmt/", {"app/log"}),
    (
        "the system's own headers",
        r"(sys|linux|netinet|arpa)/|(fcntl|unistd|dirent|poll|spawn|pthread|netdb|pwd|mntent|signal)\.h$",
        ALL_LINUX | {"app/storage/sqlite", "tools"},
    ),
    # The vocabulary of core/async wraps Asio; everybody else speaks the vocabulary.
    ("Asio", r"boost/asio(/|\.hpp)", {"core", "platform", "platform/qt"} | ALL_LINUX),
)

# What core does without: no file, no clock of its own, no socket, no thread. Asio stays in core/async.
NOT_IN_CORE = re.compile(
    r"(sys|netinet|arpa|linux)/|(pthread|fcntl|unistd|dirent|netdb|poll|spawn|signal)\.h$"
    r"|(thread|fstream|filesystem|iostream|future|condition_variable|csignal)$"
    r"|boost/(filesystem|process|thread|beast|interprocess)[/.]"
    r"|boost/asio/(ip|local|posix|thread_pool|io_context|steady_timer|system_timer|signal_set|readable_pipe"
    r"|writable_pipe|stream_file|random_access_file)[/.]"
)
ASIO_IN_CORE = "core/async/"


def layer_of(path):
    """The layer of a file named relative to the root: the longest folder above it that is one. None without any."""
    folder = path.rpartition("/")[0]
    while folder and folder not in ALLOWED:
        folder = folder.rpartition("/")[0]
    # A new folder directly below these is a new layer, which has to be placed.
    if folder == "app" and path.count("/") > 1 or folder == "platform" and path.count("/") > 1:
        return None
    if folder == "platform/linux" and path.count("/") > 2:
        return None
    return folder or None


def objection_to_own(path, included):
    layer, other = layer_of(path), layer_of(included)
    if layer is None:
        return "lies in no layer: add its folder to tests/layers/layers.py or move the file"
    if other is None:
        if "/" not in included:
            return f'includes "{included}": name headers from the root, as in "core/async/Async.h"'
        return f'includes "{included}", which belongs to no layer'
    if other not in ALLOWED[layer]:
        return f'includes "{included}": {layer} may not know {other}'
    return None


def objection_to_library(path, header):
    layer = layer_of(path)
    for name, pattern, users in LIBRARIES:
        if re.match(pattern, header) and layer not in users:
            return f"includes <{header}>: only {', '.join(sorted(users))} may use {name}, not {layer}"
    if layer == "core" and NOT_IN_CORE.match(header):
        return f"includes <{header}>: core knows no file, socket, thread or operating system"
    if layer == "core" and header.startswith("boost/asio") and not path.startswith(ASIO_IN_CORE):
        return f"includes <{header}>: say it with Task, spawn, Actor, Clock and Stream of core/async"
    return None


def includes(text):
    """Every included header with its line number and whether it is one of ours."""
    for found in INCLUDE.finditer(text):
        own, library = found.groups()
        line = text.count("\n", 0, found.start(1 if own is not None else 2)) + 1
        # A library's header in quotation marks is a library's all the same.
        if own is not None and any(re.match(pattern, own) for _, pattern, _ in LIBRARIES):
            yield line, own, False
        else:
            yield line, own if own is not None else library, own is not None


def objections(path, text):
    """Every objection to one file, each with its line number."""
    for line, header, own in includes(text):
        objection = (objection_to_own if own else objection_to_library)(path, header)
        if objection:
            yield line, objection


def objections_to_test(path, text, read):
    """The same for a file of the tests, which may know what the layer that it tests may know, through fakes as well.

    `read` gives the text of a header.
    """
    layer = layer_of(path.removeprefix("tests/"))
    if layer is None:
        return  # fakes belong to whoever includes them; what only starts programs includes nothing of theirs
    seen = set()

    def reached(text):
        for line, header, own in includes(text):
            if not own or header in seen:
                continue
            seen.add(header)
            if header.startswith("tests/"):
                yield from ((line, deeper) for _, deeper in reached(read(header)))
            elif header.startswith(("core/", "toolkit/", "platform/", "app/", "tools/")):
                yield line, header

    for line, header in reached(text):
        if layer_of(header) not in TESTS[layer]:
            yield line, f'reaches "{header}": tests of {layer} may not know {layer_of(header)}'


def sources(root):
    for top in ("core", "toolkit", "platform", "app", "tools"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp", ".hpp", ".cc", ".c", ".inc"):
                yield path


# Invented files, each with what it includes.
REFUSED = (
    ("core/text/Text.cpp", '#include "platform/Paths.h"'),
    ("core/text/Text.cpp", '#include "Text.h"'),
    ("core/text/Text.h", "  #  include <qstring.h>"),
    ("core/text/Text.cpp", "#include <thread>"),
    ("core/commands/Commands.h", "#include <boost/asio/awaitable.hpp>"),
    ("core/async/Async.cpp", "#include <boost/asio/thread_pool.hpp>"),
    ("platform/new/Paths.h", '#include "core/Assert.h"'),
    ("platform/linux/new/Paths.h", '#include "core/Assert.h"'),
    ("platform/linux/dbus/Logind.cpp", '#include "platform/linux/x11/X11Session.h"'),
    ("platform/linux/dbus/Logind.cpp", "#include <xcb/xcb.h>"),
    ("app/storage/sqlite/Database.h", '#include "app/storage/ClipboardRepository.h"'),
    ("app/storage/ClipboardRepository.cpp", "#include <sqlite3.h>"),
    ("app/ai/AIRuntime.cpp", '#include "app/mcp/MCPManager.h"'),
    ("app/ui/state/PaletteState.cpp", '#include "app/ui/palette/PaletteView.h"'),
    ("app/extras/Extra.cpp", '#include "core/text/Text.h"'),
    ("app/VelmoraApp.cpp", '#include "tests/fakes/ManualClock.h"'),
)

ACCEPTED = (
    ("core/text/Text.cpp", '#include "core/text/Text.h"\n#include <unicode/unistr.h>\n#include <mutex>'),
    ("platform/linux/LinuxPlatform.cpp", '#include "platform/linux/dbus/Logind.h"\n#include <unistd.h>'),
    ("app/storage/ClipboardRepository.h", '#include "app/storage/sqlite/Database.h"'),
    ("app/VelmoraApp.cpp", '#include "platform/linux/LinuxPlatform.h"\n#include <QApplication>'),
)

FAKES = {"tests/fakes/High.h": '#include "app/composition/AppServices.h"', "tests/fakes/Low.h": ""}
REFUSED_TESTS = (
    ("tests/core/text/TextTest.cpp", '#include "platform/Runtime.h"'),
    ("tests/app/services/SystemServiceTest.cpp", '#include "tests/fakes/High.h"'),
    ("tests/platform/linux/dbus/LogindTest.cpp", '#include "app/services/SystemService.h"'),
)
ACCEPTED_TESTS = (
    ("tests/app/ui/state/PaletteStateTest.cpp", '#include "tests/fakes/High.h"'),
    ("tests/tools/ToolTest.cpp", '#include "platform/linux/process/LinuxChildProcesses.h"\n#include "app/services/A.h"'),
)


def check_self():
    wrong = [f"accepted, though wrong: {path}: {text}" for path, text in REFUSED if not list(objections(path, text))]
    wrong += [
        f"accepted, though wrong: {path}: {text}"
        for path, text in REFUSED_TESTS
        if not list(objections_to_test(path, text, FAKES.get))
    ]
    for path, text in ACCEPTED:
        wrong += [f"refused, though right: {path}:{line}: {objection}" for line, objection in objections(path, text)]
    for path, text in ACCEPTED_TESTS:
        found = objections_to_test(path, text, FAKES.get)
        wrong += [f"refused, though right: {path}:{line}: {objection}" for line, objection in found]
    return wrong


def check_tree(root):
    def read(name):
        return (root / name).read_text(errors="replace")

    files = [path.relative_to(root).as_posix() for path in sources(root)]
    if not files:
        return [f"no sources under {root}"]
    tests = [path.relative_to(root).as_posix() for path in (root / "tests").rglob("*") if path.suffix in (".h", ".cpp")]
    wrong = [f"{path}:{line} {objection}" for path in files for line, objection in objections(path, read(path))]
    wrong += [
        f"{path}:{line} {objection}"
        for path in tests
        for line, objection in objections_to_test(path, read(path), read)
    ]
    return wrong


def main():
    wrong = check_self() if sys.argv[1:] == ["--self"] else check_tree(pathlib.Path(sys.argv[1]))
    for line in wrong:
        print(line)
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
