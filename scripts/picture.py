#!/usr/bin/python3
"""Opens the palette on a virtual display, types a query and saves a picture of it.

usage: picture.py PROGRAM PICTURE [QUERY]

Prints the picture's path.
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

APPLICATIONS = (
    ("Open Maps", "Maps and directions", "mark-location"),
    ("Text Editor", "Open and write text files", "accessories-text-editor"),
    ("Terminal", "Use the command line", "utilities-terminal"),
    ("Calculator", "Sums and conversions", "accessories-calculator"),
)


def main():
    program, picture = (pathlib.Path(argument).absolute() for argument in sys.argv[1:3])
    query = sys.argv[3] if len(sys.argv) > 3 else "open"
    with Desktop() as desktop:
        for name, comment, icon in APPLICATIONS:
            entry = f"[Desktop Entry]\nType=Application\nName={name}\nComment={comment}\nIcon={icon}\nExec=/bin/true\n"
            (desktop.data / f"applications/org.example.{name.replace(' ', '')}.desktop").write_text(entry)
        desktop.start([str(program), "--show"])
        window = desktop.wait_for_window("Velmora Brisklane")
        before = desktop.stable_capture(window)
        desktop.type(query)
        wait_until(lambda: desktop.capture(window) != before, "the palette to show what was typed")
        desktop.screenshot(picture, window)
    print(picture)


if __name__ == "__main__":
    main()
