#!/usr/bin/python3
"""Uses the running program for a while, as people do but without a pause, and prints its memory every minute.

usage: memory_window.py BUILD_DIRECTORY [MINUTES]

Each round shows the palette, types, runs through the list, copies a text in another program, looks at the history and
its previews, large ones among them, and hides the palette. Every minute's line: minutes, rounds, resident memory in
MiB and the same with shared pages counted by share, both with the palette hidden. The last line says how much the second half has added.
"""

import pathlib
import subprocess
import sys
import time

from window_bench import TYPED, Palette, install_applications, memory

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from desktop import Desktop  # noqa: E402  # pylint: disable=wrong-import-position

# Bytes: what is copied again and again, so that the history fills and its entries grow old.
SIZES = (20, 300, 5_000, 40, 200_000, 1_000, 60, 1_000_000)


def copy(desktop, text):
    xclip = desktop.start(["xclip", "-selection", "clipboard", "-quiet"], stdin=subprocess.PIPE)
    xclip.stdin.write(text.encode())
    xclip.stdin.close()
    time.sleep(1)  # longer than the program takes to look


def use(desktop, palette, number):
    for word in (TYPED[number % len(TYPED)], "2*(3+4)"):
        desktop.type(word)
        desktop.press("Down", "Down", "ctrl+a", "BackSpace")
    size = SIZES[number % len(SIZES)]
    copy(desktop, (f"copy {number} " + "of some text äöü, " * (size // 20))[:size])
    desktop.type("clipboard history")
    desktop.press("Return")
    time.sleep(0.5)
    desktop.press("ctrl+y", *["Down"] * 8, "Escape", "Escape")
    desktop.type("search files")
    desktop.press("Return")
    desktop.type("a")
    time.sleep(0.3)
    desktop.press("Escape")
    palette.hidden()


def main():
    minutes = float(sys.argv[2]) if len(sys.argv) > 2 else 15
    with Desktop() as desktop:
        install_applications(desktop)
        palette = Palette(desktop, pathlib.Path(sys.argv[1]).resolve())
        palette.shown()
        began = time.monotonic()
        rounds, seen = 0, []
        while len(seen) <= minutes:
            use(desktop, palette, rounds)
            rounds += 1
            if time.monotonic() - began >= 60 * len(seen):
                time.sleep(1)
                seen.append(memory(palette))
                print(f"{len(seen) - 1}\t{rounds}\t{seen[-1][0]:.1f}\t{seen[-1][1]:.1f}", flush=True)
            palette.show()
            palette.shown()
        palette.quit()
    print(f"the second half added {seen[-1][0] - seen[len(seen) // 2][0]:+.1f} MiB")


if __name__ == "__main__":
    main()
