#!/usr/bin/python3
"""Fails when a source of one layer includes what its layer may not know.

usage: layers.py ROOT      checks the tree
       layers.py --self    checks the checker
"""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)

# From the bottom up. A layer may include itself and what it lists; everything below a layer is listed in full, because
# an arrow that skips a layer is as visible here as one that does not.
CORE = {"core"}
PLATFORM = CORE | {"platform"}
STORAGE = PLATFORM | {"app/storage", "app/AppLog"}
SERVICES = STORAGE | {"app/services"}
ASSISTANT = SERVICES | {"app/ai"}
TOOLS = SERVICES | {"app/mcp"}
COMPOSITION = ASSISTANT | TOOLS | {"app/AppServices"}
STATE = COMPOSITION | {"app/ui state"}
VIEWS = STATE | {"app/ui views"}
ENTRY = VIEWS | {"app", "platform/linux"}
ALLOWED = {
    "core": CORE,
    "platform": PLATFORM,
    "platform/linux": PLATFORM | {"platform/linux"},
    "app/AppLog": CORE | {"app/AppLog"},
    "app/storage": STORAGE,
    "app/services": SERVICES,
    "app/ai": ASSISTANT,
    "app/mcp": TOOLS,
    "app/AppServices": COMPOSITION,
    "app/ui state": STATE,
    "app/ui views": VIEWS,
    "app": ENTRY,
}

# Libraries, each with the layers that may see it. What matches no pattern (the standard library, ICU, Boost's values)
# is open to all.
GLIB = r"(gio|glib|gobject|gmodule|gdk-pixbuf)/|glib(-object|-unix)?\.h$|libsecret/|libplist/|plist/"
DESKTOP = {"platform/linux"}
LIBRARIES = (
    ("Qt", r"Q[A-Za-z0-9]+(/.*)?$|q[a-z0-9_]+\.h$|qpa/", DESKTOP | {"app/ui views", "app"}),
    ("SQLite", r"sqlite3(ext)?\.h$", {"app/storage"}),
    ("GLib and what builds on it", GLIB, DESKTOP),
    ("curl", r"curl/", DESKTOP),
    ("D-Bus", r"dbus/|systemd/sd-bus\.h$", DESKTOP),
    ("X11", r"X11/|xcb/|xkbcommon/", DESKTOP | {"app/ui views"}),
    ("spdlog", r"spdlog/|fmt/", {"app/AppLog"}),
)

# What core does without: no file, no clock of its own, no socket, no thread.
NOT_IN_CORE = re.compile(
    r"(thread|fstream|filesystem|iostream|future|condition_variable|csignal|pthread\.h|fcntl\.h|unistd\.h|dirent\.h"
    r"|netdb\.h|poll\.h|spawn\.h|signal\.h)$"
    r"|(sys|netinet|arpa|linux)/"
    r"|boost/(filesystem|process|thread|beast|interprocess)[/.]"
    r"|boost/asio/(ip|local|posix|thread_pool|io_context|steady_timer|system_timer|signal_set|readable_pipe"
    r"|writable_pipe|stream_file|random_access_file)[/.]"
)
# Assert compares thread identities; it starts none.
CORE_MAY = {("core/Assert.cpp", "thread")}

# The core's vocabulary wraps Asio; everybody else speaks the vocabulary.
ASIO = re.compile(r"boost/asio(/|\.hpp)")
ASIO_USERS = ("core/Async", "core/Stream", "core/AsioImplementation", "platform/Runtime", "platform/linux/")

# Comments explain the program by itself, not by papers that a reader does not have.
FOREIGN_WORDS = re.compile(r"\b([Tt]he|per|[Ss]ee) spec\b|\b[Ss]pecification\b|\b[Pp]arts? \d+\.\d+")


# Sources that a state is divided into.
PARTS_OF_STATES = {"PaletteActions", "PaletteCommands", "PaletteGroups", "PaletteStateChanges"}


def layer_of(path):
    """The layer of a file named relative to the root; None when it belongs to none."""
    parts = path.split("/")
    stem = parts[-1].split(".")[0]
    if parts[0] == "core":
        return "core"
    if parts[0] == "platform":
        return "platform/linux" if parts[1] == "linux" else "platform"
    if parts[0] != "app":
        return None
    if len(parts) == 2:
        return {"AppLog": "app/AppLog", "AppServices": "app/AppServices"}.get(stem, "app")
    if parts[1] == "ui":
        return "app/ui state" if stem.endswith("State") or stem in PARTS_OF_STATES else "app/ui views"
    return "app/" + parts[1]


def objection_to_own(path, included):
    layer, other = layer_of(path), layer_of(included)
    if layer not in ALLOWED:
        return f"lies in {layer}, which is no layer: add it to tests/layers/layers.py or move the file"
    if other is None:
        if "/" not in included:
            return f'includes "{included}": name headers from the root, as in "core/Async.h"'
        return f'includes "{included}", which belongs to no layer'
    if other not in ALLOWED[layer]:
        return f'includes "{included}": {layer} may not know {other}'
    return None


def objection_to_library(path, header):
    layer = layer_of(path)
    for name, pattern, users in LIBRARIES:
        if re.match(pattern, header) and layer not in users:
            return f"includes <{header}>: only {', '.join(sorted(users))} may use {name}, not {layer}"
    if ASIO.match(header) and not path.startswith(ASIO_USERS):
        return f"includes <{header}>: say it with Task, spawn, Actor, Clock and Stream of core/Async.h"
    if layer == "core" and NOT_IN_CORE.match(header):
        stem = path.rsplit(".", 1)[0]
        if (path, header) not in CORE_MAY and not (ASIO.match(header) and stem == "core/AsioImplementation"):
            return f"includes <{header}>: core knows no file, socket, thread or operating system"
    return None


def objections(path, text):
    """Every objection to one file, each with its line number."""
    for found in INCLUDE.finditer(text):
        own, library = found.groups()
        # A library's header in quotation marks is a library's all the same.
        objection = None
        if own is not None and not (own.startswith(("q", "Q")) or re.match(GLIB, own) or own == "sqlite3.h"):
            objection = objection_to_own(path, own)
        else:
            objection = objection_to_library(path, own if own is not None else library)
        if objection:
            yield text.count("\n", 0, found.start(1 if own is not None else 2)) + 1, objection
    for found in FOREIGN_WORDS.finditer(text):
        yield (
            text.count("\n", 0, found.start()) + 1,
            f'says "{found.group()}": explain it in this program\'s own terms',
        )


def sources(root):
    for top in ("core", "platform", "app"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp", ".hpp", ".cc", ".c", ".inc"):
                yield path


# Invented files, each with what it includes.
REFUSED = (
    ("core/Text.cpp", '#include "platform/Paths.h"'),
    ("core/Text.cpp", '#include "Text.h"'),
    ("core/Text.cpp", '#include "../app/AppLog.h"'),
    ("core/Text.h", "#include <QString>"),
    ("core/Text.h", "  #  include <qstring.h>"),
    ("core/Text.h", '#include "QString"'),
    ("core/Text.cpp", "#include <thread>"),
    ("core/Text.cpp", "#include <sys/socket.h>"),
    ("core/Commands.h", "#include <boost/asio/awaitable.hpp>"),
    ("core/Async.cpp", "#include <boost/asio/thread_pool.hpp>"),
    ("core/Async.cpp", "#include <thread>"),
    ("platform/Paths.h", '#include "platform/linux/LinuxPaths.h"'),
    ("platform/Paths.h", "#include <gio/gio.h>"),
    ("platform/linux/Desktop.cpp", '#include "app/services/ApplicationService.h"'),
    ("app/storage/Database.h", '#include "app/services/FileService.h"'),
    ("app/storage/Database.cpp", "#include <boost/asio/post.hpp>"),
    ("app/storage/Database.cpp", "#include <spdlog/spdlog.h>"),
    ("app/services/FileService.cpp", '#include "platform/linux/Trash.h"'),
    ("app/services/FileService.cpp", '#include "app/ai/AIRuntime.h"'),
    ("app/services/FileService.cpp", "#include <curl/curl.h>"),
    ("app/ai/AIRuntime.cpp", '#include "app/mcp/MCPManager.h"'),
    ("app/mcp/MCPManager.cpp", '#include "app/ui/SettingsState.h"'),
    ("app/AppServices.h", '#include "app/ui/SettingsState.h"'),
    ("app/ui/PaletteState.cpp", '#include "app/ui/PaletteView.h"'),
    ("app/ui/PaletteState.h", "#include <QObject>"),
    ("app/ui/PaletteView.cpp", '#include "platform/linux/Icons.h"'),
    ("app/extras/Extra.cpp", '#include "core/Text.h"'),
    ("app/VelmoraApp.cpp", '#include "tests/fakes/ManualClock.h"'),
    ("core/Text.cpp", "// As the " + "spec demands"),
    ("app/ui/PaletteView.cpp", "// see Part " + "1.5"),
)

ACCEPTED = (
    ("core/Text.cpp", '#include "core/Text.h"\n#include <unicode/unistr.h>\n#include <mutex>\n#include <stop_token>'),
    ("core/Async.cpp", "#include <boost/asio/co_spawn.hpp>\n#include <mutex>"),
    ("core/AsioImplementation.cpp", "#include <boost/asio/impl/src.hpp>"),
    ("platform/linux/Desktop.cpp", '#include "platform/Workspace.h"\n#include <gio/gio.h>\n#include <QGuiApplication>'),
    ("app/AppLog.cpp", "#include <spdlog/spdlog.h>"),
    ("app/storage/Database.cpp", '#include "app/AppLog.h"\n#include "platform/Paths.h"\n#include <sqlite3.h>'),
    ("app/services/FileService.cpp", '#include "app/storage/Repositories.h"\n#include <filesystem>\n#include <queue>'),
    ("app/AppServices.cpp", '#include "app/ai/AIRuntime.h"\n#include "app/mcp/MCPManager.h"'),
    ("app/ui/PaletteState.h", '#include "app/AppServices.h"\n#include "core/Signal.h"'),
    ("app/ui/PaletteView.cpp", '#include "app/ui/PaletteState.h"\n#include <QWidget>\n#include <QtWidgets/QLabel>'),
    ("app/VelmoraApp.cpp", '#include "platform/linux/Desktop.h"\n#include "app/ui/PaletteView.h"\n#include <QApplication>'),
    ("app/VelmoraApp.cpp", "// A part of the work; specific to it. Part 2 follows."),
)


def check_self():
    wrong = [f"accepted, though wrong: {path}: {text}" for path, text in REFUSED if not list(objections(path, text))]
    wrong += [
        f"refused, though right: {path}:{line}: {objection}"
        for path, text in ACCEPTED
        for line, objection in objections(path, text)
    ]
    return wrong


def check_tree(root):
    files = list(sources(root))
    if not files:
        return [f"no sources under {root}"]
    return [
        f"{path.relative_to(root)}:{line} {objection}"
        for path in files
        for line, objection in objections(path.relative_to(root).as_posix(), path.read_text(errors="replace"))
    ]


def main():
    wrong = check_self() if sys.argv[1:] == ["--self"] else check_tree(pathlib.Path(sys.argv[1]))
    for line in wrong:
        print(line)
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
