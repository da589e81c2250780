#!/usr/bin/python3
"""A Responses server on this machine that checks every request and plays the answers it is given.

usage: responses_server.py SCRIPT SEEN [--tls]

Prints its address. SCRIPT is a JSON list with a step for each request; the last one is played again and again:

    {"text": "Hello"}  {"calls": [["tool_0", {"query": "x"}]]}  {"output": [items]}  {"status": 429}
    {"state": "failed"}  {"raw": "not JSON"}
    with "how": plain, chunked, gzip, cut, reset, close, stall, endless, redirect, garbage; "delay": seconds;
    "size": bytes of the body; "unchecked": whatever the request. "~" and a part of its description name a tool as well.

SEEN gets a line of JSON for each event: "request" (its body and what is wrong with it), "connect" (to a proxy) and
"gone" (the client has left a stalled answer), each with the time of the monotonic clock.
"""

import contextlib
import gzip
import hashlib
import http.server
import json
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import time

KEY = "Bearer sk-test-ключ"
HEADERS = {"Content-Type": "application/json", "Accept-Encoding": None, "Authorization": KEY.encode().decode("latin-1")}
FIXED = {"store": False, "parallel_tool_calls": False, "max_output_tokens": 2000}
FIXED["include"] = ["reasoning.encrypted_content"]
MEMBERS = {"model", "instructions", "input", "tools", *FIXED}
INSTRUCTIONS = "f0bbebab"
TOOL = {"type", "name", "description", "parameters", "strict"}


def is_message(item):
    return set(item) == {"role", "content"} and item["role"] in ("system", "user", "assistant")


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    steps = []
    seen = None
    former = []  # what the next request of the run begins with
    pending = []  # the calls that it answers

    def note(self, event, **details):
        self.seen.write(json.dumps({"event": event, "time": time.monotonic(), **details}) + "\n")
        self.seen.flush()

    def log_message(self, *_):
        pass

    def do_CONNECT(self):
        self.note("connect", target=self.path, headers=dict(self.headers))
        self.send_error(502)

    def do_POST(self):
        body = json.loads(self.rfile.read(int(self.headers["Content-Length"])) or "{}")
        problems = [name for name, value in HEADERS.items() if self.headers[name] != value]
        problems += ["path"] * (self.path != "/v1/responses")
        problems += self.problems(body) if set(body) == MEMBERS else [f"members {sorted(body)}"]
        self.note("request", body=body, problems=problems)
        step = self.steps.pop(0) if len(self.steps) > 1 else self.steps[0]
        self.play({"status": 400} if problems and "unchecked" not in step else step, body)

    def problems(self, body):
        found = [key for key, value in FIXED.items() if body[key] != value or type(body[key]) is not type(value)]
        found += ["instructions"] * (hashlib.sha256(body["instructions"].encode()).hexdigest()[:8] != INSTRUCTIONS)
        for position, tool in enumerate(body["tools"]):
            shown = (tool.get("type"), tool.get("name"), tool.get("strict"))
            if set(tool) != TOOL or shown != ("function", f"tool_{position}", False):
                found.append(f"tool {tool}")
        continues = self.former and body["input"][: len(self.former)] == self.former
        added = body["input"][len(self.former) if continues else 0 :]
        answered = [item for item in added if item.get("type") == "function_call_output"]
        expected = self.pending if continues else []
        found += [f"item {item}" for item in added if item not in answered and not is_message(item)]
        found += [f"answer {item}" for item in answered if set(item) != {"type", "call_id", "output"}]
        return found + ["answers"] * ([item["call_id"] for item in answered] != expected)

    def play(self, step, body):
        time.sleep(step.get("delay", 0))
        output = step.get("output") or list(self.items(step, body))
        Handler.former = body.get("input", []) + output
        Handler.pending = [item["call_id"] for item in output if item.get("type") == "function_call"]
        payload = step.get("raw") or json.dumps({"status": step.get("state", "completed"), "output": output})
        send = getattr(self, "send_" + step.get("how", "plain"))
        with contextlib.suppress(ConnectionError):  # clients go as they like
            send(step.get("status", 200), payload.encode().ljust(step.get("size", 0)))

    def items(self, step, body):
        for number, (name, arguments) in enumerate(step.get("calls", ())):
            if name.startswith("~"):
                name = next(tool["name"] for tool in body["tools"] if name[1:] in tool["description"])
            call = f"call_{len(body['input'])}_{number}"
            yield {"type": "function_call", "name": name, "call_id": call, "arguments": json.dumps(arguments)}
        if "text" in step:
            yield {"type": "message", "content": [{"type": "output_text", "text": step["text"]}]}

    def send(self, status, start, **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), str(value))
        self.end_headers()
        self.wfile.write(start)

    def send_plain(self, status, payload):
        self.send(status, payload, Content_Length=len(payload))

    def send_gzip(self, status, payload):
        packed = gzip.compress(payload)
        self.send(status, packed, Content_Length=len(packed), Content_Encoding="gzip")

    def send_chunked(self, status, payload):
        self.send(status, b"", Transfer_Encoding="chunked")
        for piece in [payload[at : at + 7] for at in range(0, len(payload), 7)] + [b""]:
            self.wfile.write(f"{len(piece):x}\r\n".encode() + piece + b"\r\n")

    def send_endless(self, status, _):
        self.send(status, b"", Transfer_Encoding="chunked")
        while True:
            self.wfile.write(b"10000\r\n" + b" " * 65536 + b"\r\n")

    def send_cut(self, status, payload):
        self.send(status, payload[: len(payload) // 2], Content_Length=len(payload))
        self.close_connection = True

    def send_reset(self, status, payload):
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.send_cut(status, payload)
        self.connection.close()

    def send_close(self, _, __):
        self.close_connection = True

    def send_stall(self, status, payload):
        with contextlib.suppress(ConnectionError):
            self.send(status, b"", Content_Length=len(payload))
            self.connection.recv(1)
        self.note("gone")
        self.close_connection = True

    def send_redirect(self, _, __):
        self.send(307, b"", Location=self.path, Content_Length=0)

    def send_garbage(self, _, __):
        self.wfile.write(b"SSH-2.0-OpenSSH_9.2\r\n\r\n")
        self.close_connection = True


def secured(listening):
    with tempfile.NamedTemporaryFile() as file:
        command = "openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=localhost -batch -keyout - -out -".split()
        file.write(subprocess.run(command, capture_output=True, check=True).stdout)
        file.flush()
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(file.name)
    return context.wrap_socket(listening, server_side=True)


def main():
    with open(sys.argv[1], encoding="utf-8") as script:
        Handler.steps = json.load(script)
    Handler.seen = open(sys.argv[2], "a", encoding="utf-8")  # pylint: disable=consider-using-with
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    tls = "--tls" in sys.argv
    if tls:
        server.socket = secured(server.socket)
    print(f"{'https' if tls else 'http'}://127.0.0.1:{server.server_port}/v1/responses", flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
