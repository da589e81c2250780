"""A scripted model for the assistant of a private desktop, and what it takes to ask it: a credential store and a key."""

import json
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys

from desktop import read_line, wait_until

SERVER = pathlib.Path(__file__).resolve().parent / "responses_server.py"
KEY = "sk-test-ключ"


def available():
    return shutil.which("gnome-keyring-daemon") and shutil.which("secret-tool")


class Model:
    """Programs started on the desktop from now on ask this model. The program must not be running yet."""

    def __init__(self, desktop, program, steps, confirm=True):
        """`steps`: as in responses_server.py. `confirm`: whether tools ask before they write."""
        self.desktop = desktop
        self.database = desktop.data / "Velmora/velmora.sqlite"
        self.seen = desktop.root / "seen"
        self._keep_key()
        script = desktop.root / "steps"
        script.write_text(json.dumps(steps))
        command = [sys.executable, str(SERVER), str(script), str(self.seen)]
        server = desktop.start(command, stdout=subprocess.PIPE)
        desktop.environment["VELMORA_RESPONSES_URL"] = read_line(os.dup(server.stdout.fileno()), "the model")
        self._enable(program, confirm)

    def _keep_key(self):
        command = ["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"]
        store = self.desktop.start(command, stdin=subprocess.PIPE)
        store.stdin.write(b"password")
        store.stdin.close()
        self.desktop.run(["gdbus", "wait", "--session", "--timeout", "10", "org.freedesktop.secrets"])
        # As the desktop's own tools store one, so that what they show and change is what the program reads.
        item = ["service", "dev.velmora.brisklane", "account", "ai.openai"]
        subprocess.run(["secret-tool", "store", "--label=Velmora", *item], input=KEY.encode(),
                       env=self.desktop.environment, check=True, timeout=20)

    def _enable(self, program, confirm):
        """Lets the program make its database, ends it and writes the preference that nothing in it sets yet."""
        first = self.desktop.start([program])
        wait_until(lambda: "Velmora is ready" in self.desktop.log_of(program), "the first start")
        first.terminate()
        first.wait(timeout=10)
        preferences = {"clipboardEnabled": True, "clipboardLimit": 500, "hotkey": {"keyCode": 49, "modifiers": 2048},
                       "model": "gpt-4.1-mini", "aiEnabled": True, "confirmToolWrites": confirm}
        with sqlite3.connect(self.database) as database:
            database.execute("INSERT OR REPLACE INTO settings(key,value) VALUES('preferences',?)",
                             (json.dumps(preferences),))

    def events(self, kind):
        """What the server has noted: "request", "gone"."""
        lines = self.seen.read_text().splitlines() if self.seen.exists() else []
        return [event for event in map(json.loads, lines) if event["event"] == kind]

    def stored(self):
        """How many conversations the program has stored."""
        with sqlite3.connect(self.database) as database:
            return database.execute("SELECT count(*) FROM conversations").fetchone()[0]

    def conversations(self):
        """The messages of each conversation that the program has stored."""
        with sqlite3.connect(self.database) as database:
            return [json.loads(row[0]) for row in database.execute("SELECT messages FROM conversations")]
