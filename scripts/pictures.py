#!/usr/bin/python3
"""Takes the pictures of the README: the palette with commands, files, the clipboard's history, and in the dark.

usage: pictures.py PROGRAM FOLDER

Run it as root where there is no user "ada": the pictures show her home folder, which is there meanwhile.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

HOME = pathlib.Path("/home/ada")
DATA = HOME / ".local/share"
APPLICATIONS = (
    ("Calendar", "org.gnome.Calendar", "x-office-calendar"),
    ("Files", "org.gnome.Nautilus", "system-file-manager"),
    ("Maps", "org.gnome.Maps", "mark-location"),
    ("Terminal", "org.gnome.Terminal", "utilities-terminal"),
    ("Text Editor", "org.gnome.TextEditor", "accessories-text-editor"),
    ("Web Browser", "org.example.Browser", "web-browser"),
)
FILES = (
    "Documents/Invoices/invoice 2026-09.pdf",
    "Documents/Invoices/invoice 2026-10.pdf",
    "Documents/Invoices/invoice 2026-11.pdf",
    "Downloads/invoice.pdf",
    "Projects/accounting/invoices.ods",
)
COPIES = (
    "ssh ada@build.example.org",
    "https://www.debian.org/releases/bookworm/",
    "Dear all,\n\nthe meeting has moved to Thursday at ten.\n\nAda",
)


def fill_home():
    (DATA / "applications").mkdir(parents=True)
    for name, identifier, icon in APPLICATIONS:
        entry = f"[Desktop Entry]\nType=Application\nName={name}\nIcon={icon}\nExec=/bin/true\n"
        (DATA / f"applications/{identifier}.desktop").write_text(entry)
    for name in FILES:
        file = HOME / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("x" * 20_000)


class Session:
    """One running palette, shown."""

    def __init__(self, desktop, program):
        self.desktop = desktop
        desktop.start([str(program), "--show"])
        self.window = desktop.wait_for_window("Velmora Brisklane")
        desktop.stable_capture(self.window)

    def do(self, *keys, text=None):
        before = self.desktop.capture(self.window)
        if text:
            self.desktop.type(text)
        else:
            self.desktop.press(*keys)
        wait_until(lambda: self.desktop.capture(self.window) != before, "the palette to answer")
        self.desktop.stable_capture(self.window)

    def enter(self, mode):
        self.do(text=mode)
        self.do("Return")

    def picture(self, path):
        self.desktop.screenshot(path, self.window)
        print(path)


def main():
    program, folder = (pathlib.Path(argument).absolute() for argument in sys.argv[1:3])
    environment = {"HOME": str(HOME), "XDG_DATA_HOME": str(DATA)}
    HOME.mkdir(parents=True)
    try:
        fill_home()
        with Desktop(environment=environment) as desktop:
            session = Session(desktop, program)
            session.picture(folder / "commands.png")
            for text in COPIES:
                copy = ["xclip", "-selection", "clipboard", "-in"]
                subprocess.run(copy, env=desktop.environment, input=text, text=True, check=True, timeout=10)
                time.sleep(1.5)  # the clipboard is looked at every 0.65 seconds
            session.enter("search files")
            session.do(text="invoice")
            session.picture(folder / "files.png")
            session.do("Escape")
            session.enter("clipboard")
            session.picture(folder / "clipboard.png")
        with Desktop(environment=environment) as desktop:
            desktop.prefer_dark()
            session = Session(desktop, program)
            session.do(text="te")
            session.do("ctrl+k")
            session.picture(folder / "dark.png")
    finally:
        shutil.rmtree(HOME)


if __name__ == "__main__":
    os.umask(0o077)
    main()
