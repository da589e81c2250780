#!/usr/bin/python3
"""Ask AI in the built program: a scripted model on this machine, a real credential store, real keys."""

import json
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from desktop import read_line, wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

SERVER = pathlib.Path(__file__).resolve().parent / "responses_server.py"
KEY = "sk-test-ключ"
SEARCH, LAUNCH, READ_CLIPBOARD = "~Search installed", "~Launch an installed", "~Read current text"


@unittest.skipUnless(shutil.which("gnome-keyring-daemon"), "no credential store here")
class Assistant(PaletteTest):
    def setUp(self):
        super().setUp()
        self.entry = str(self.desktop.data / "applications/org.example.ArgumentWriter.desktop")
        self.database = self.desktop.data / "Velmora/velmora.sqlite"
        self.seen_file = self.desktop.root / "seen"
        store = self.desktop.start(["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"],
                                   stdin=subprocess.PIPE)
        store.stdin.write(b"password")
        store.stdin.close()
        self.desktop.run(["gdbus", "wait", "--session", "--timeout", "10", "org.freedesktop.secrets"])
        self.store_key(KEY)

    def store_key(self, key):
        # As the desktop's own tools store one, so that what they show and change is what the program reads.
        subprocess.run(["secret-tool", "store", "--label=Velmora", "service", "dev.velmora.brisklane",
                        "account", "ai.openai"], input=key.encode(), env=self.desktop.environment, check=True, timeout=20)

    def ask(self, steps, request="go", confirm=True):
        """A palette that has asked `request` of a model that will answer with `steps`."""
        script = self.desktop.root / "steps"
        script.write_text(json.dumps(steps))
        server = self.desktop.start([sys.executable, str(SERVER), str(script), str(self.seen_file)],
                                    stdout=subprocess.PIPE)
        self.desktop.environment["VELMORA_RESPONSES_URL"] = read_line(os.dup(server.stdout.fileno()), "the model")
        self.enable(confirm)
        self.open()
        self.query("ask ai")
        self.wait_for_row("Ask AI", 0)
        self.desktop.press("Return")
        self.wait_for_text("esc Back")
        self.desktop.type(request)
        self.desktop.press("Return")

    def enable(self, confirm):
        """Lets the program make its database, ends it and writes the preference that nothing in it sets yet."""
        first = self.start()
        wait_until(lambda: "ready" in self.desktop.log_of("velmora"), "the first start")
        self.end(first)
        preferences = {"clipboardEnabled": True, "clipboardLimit": 500, "hotkey": {"keyCode": 49, "modifiers": 2048},
                       "model": "gpt-4.1-mini", "aiEnabled": True, "confirmToolWrites": confirm}
        with sqlite3.connect(self.database) as database:
            database.execute("INSERT OR REPLACE INTO settings(key,value) VALUES('preferences',?)",
                             (json.dumps(preferences),))

    def events(self, kind):
        lines = self.seen_file.read_text().splitlines() if self.seen_file.exists() else []
        return [event for event in map(json.loads, lines) if event["event"] == kind]

    def wait_for_question(self, tool):
        self.wait_for_text(f"AI wants to run {tool}")
        # Not before a moment has passed, so that no key meant for something else allows it.
        wait_until(lambda: any(node["name"] == "Allow" and "enabled" in node["states"] for node in self.seen()),
                   "the question to be answerable")

    def conversations(self):
        with sqlite3.connect(self.database) as database:
            return [json.loads(row[0]) for row in database.execute("SELECT messages FROM conversations")]

    def test_opens_an_application_once_that_is_allowed(self):
        self.ask([{"calls": [[SEARCH, {"query": "writer"}]]}, {"calls": [[LAUNCH, {"path": self.entry}]]},
                  {"text": "The writer is open."}], "open the writer")
        self.wait_for_question("application.open")
        self.assertIn(self.entry, " ".join(self.texts()))
        self.assertFalse(self.written.exists())
        self.picture("approval")
        self.desktop.press("Tab", "space")
        self.assertEqual(self.arguments(), ["--fixed"])
        self.wait_for_text("The writer is open.")
        self.picture("answered")
        requests = self.events("request")
        self.assertEqual([request["problems"] for request in requests], [[], [], []])
        self.assertIn('"name":"Argument Writer"', requests[1]["body"]["input"][-1]["output"])
        wait_until(self.conversations, "the conversation to be stored")
        self.assertEqual(self.conversations(), [[{"role": "user", "content": "open the writer"},
                                                 {"role": "assistant", "content": "The writer is open."}]])
        self.assertNotIn(KEY.encode(), b"".join(path.read_bytes() for path in self.database.parent.iterdir()))

    def test_runs_nothing_that_is_refused(self):
        self.ask([{"calls": [[READ_CLIPBOARD, {}]]}, {"text": "unreachable"}], confirm=False)
        self.wait_for_question("clipboard.read")  # also while writes need no approval
        self.desktop.press("Return")
        self.wait_for_text("The operation was cancelled.")
        self.assertEqual(len(self.events("request")), 1)
        self.assertEqual(self.conversations(), [])

    def test_escape_ends_a_request(self):
        self.ask([{"how": "stall"}])
        wait_until(lambda: self.events("request"), "the request")
        self.wait_for_text("Thinking…")
        self.picture("thinking")
        self.desktop.press("Escape")
        wait_until(lambda: self.events("gone"), "the request to leave the wire")
        wait_until(lambda: "Thinking…" not in self.texts(), "the status to go")
        self.wait_for_text("esc Back")  # it is still there

    def test_shows_what_the_provider_refuses(self):
        self.ask([{"status": 401}])
        self.wait_for_text("The provider rejected your API key or model access.")
        self.picture("ai-error")


if __name__ == "__main__":
    unittest.main()
