#!/usr/bin/python3
"""The private desktop itself."""

import os
import pathlib
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from desktop import marked, wait_until  # noqa: E402  # pylint: disable=wrong-import-position

KILLED = """
import os, signal, sys
sys.path.insert(0, sys.argv[1])
from desktop import Desktop
desktop = Desktop(accessibility=True)
desktop.__enter__()
desktop.tree("nobody")
stray = desktop.start(["setsid", "--fork", "sleep", "600"])
print(desktop.root, desktop.mark, flush=True)
os.kill(os.getpid(), signal.SIGKILL)
"""


class DesktopTest(unittest.TestCase):
    def test_leaves_nothing_behind_when_the_test_is_killed(self):
        killed = subprocess.run(
            [sys.executable, "-c", KILLED, str(HERE)], stdout=subprocess.PIPE, text=True, check=False, timeout=60
        )
        root, mark = killed.stdout.split()
        wait_until(lambda: not os.path.exists(root), "the guard to remove the desktop's folder", 20)
        self.assertEqual(list(marked(mark)), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
