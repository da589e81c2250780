#!/usr/bin/python3
"""Ask AI in the built program: a scripted model on this machine, a real credential store, real keys."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import model  # noqa: E402  # pylint: disable=wrong-import-position
from desktop import wait_until  # noqa: E402  # pylint: disable=wrong-import-position
from test_palette import PROGRAM, PaletteTest  # noqa: E402  # pylint: disable=wrong-import-position

SEARCH, LAUNCH, READ_CLIPBOARD = "~Search installed", "~Launch an installed", "~Read current text"


@unittest.skipUnless(model.available(), "no credential store here")
class Assistant(PaletteTest):
    def ask(self, steps, request="go", confirm=True):
        self.model = model.Model(self.desktop, PROGRAM, steps, confirm)
        self.open()
        self.query("ask ai")
        self.wait_for_row("Ask AI", 0)
        self.desktop.press("Return")
        self.wait_for_text("esc Back")
        self.desktop.type(request)
        self.desktop.press("Return")

    def wait_for_question(self, tool):
        self.wait_for_text(f"AI wants to run {tool}")
        self.wait_for_button("Allow")

    def test_opens_an_application_once_that_is_allowed(self):
        entry = str(self.desktop.data / "applications/org.example.ArgumentWriter.desktop")
        self.ask([{"calls": [[SEARCH, {"query": "writer"}]]}, {"calls": [[LAUNCH, {"path": entry}]]},
                  {"text": "The writer is open."}], "open the writer")
        self.wait_for_question("application.open")
        self.assertIn(entry, " ".join(self.texts()))
        self.assertFalse(self.written.exists())
        self.picture("approval")
        self.desktop.press("Tab", "space")
        self.assertEqual(self.arguments(), ["--fixed"])
        self.wait_for_text("The writer is open.")
        self.picture("answered")
        requests = self.model.events("request")
        self.assertEqual([request["problems"] for request in requests], [[], [], []])
        self.assertIn('"name":"Argument Writer"', requests[1]["body"]["input"][-1]["output"])
        wait_until(self.model.conversations, "the conversation to be stored")
        self.assertEqual(self.model.conversations(), [[{"role": "user", "content": "open the writer"},
                                                       {"role": "assistant", "content": "The writer is open."}]])
        files = self.model.database.parent.iterdir()
        self.assertNotIn(model.KEY.encode(), b"".join(file.read_bytes() for file in files))

    def test_runs_nothing_that_is_refused(self):
        self.ask([{"calls": [[READ_CLIPBOARD, {}]]}, {"text": "unreachable"}], confirm=False)
        self.wait_for_question("clipboard.read")  # also while writes need no approval
        self.desktop.press("Return")
        self.wait_for_text("The operation was cancelled.")
        self.assertEqual(len(self.model.events("request")), 1)
        self.assertEqual(self.model.conversations(), [])

    def test_escape_ends_a_request(self):
        self.ask([{"how": "stall"}])
        wait_until(lambda: self.model.events("request"), "the request")
        self.wait_for_text("Thinking…")
        self.picture("thinking")
        self.desktop.press("Escape")
        wait_until(lambda: self.model.events("gone"), "the request to leave the wire")
        wait_until(lambda: "Thinking…" not in self.texts(), "the status to go")
        self.wait_for_text("esc Back")  # it is still there

    def test_shows_what_the_provider_refuses(self):
        self.ask([{"status": 401}])
        self.wait_for_text("The provider rejected your API key or model access.")
        self.picture("ai-error")


if __name__ == "__main__":
    unittest.main()
