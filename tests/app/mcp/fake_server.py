#!/usr/bin/python3
"""An MCP server that misbehaves as told: by its first argument, a JSON object, and by the tools that are called."""

import json
import os
import signal
import sys
import time

told = json.loads(sys.argv[1])
tools = [{"name": name, "inputSchema": {}} for name in ("ask", "deaf", "exit", "silent", "surroundings", "write")]
tools.append({"name": "echo", "description": "Says it again", "inputSchema": {"required": ["text"]}})
pids = [os.getpid()]
pages = list(told.get("pages", []))


def write(text):
    sys.stdout.write(text)
    sys.stdout.flush()


def answer(request, result):
    write(json.dumps({"jsonrpc": "2.0", "id": request, "result": result}) + "\n")


def receive():
    line = sys.stdin.readline()
    if line and "log" in told:
        with open(told["log"], "a", encoding="utf-8") as log:
            log.write(line)
    return json.loads(line) if line else None


def sleep_until_killed():
    signal.alarm(120)  # so that a failed test leaves nothing for long
    while True:
        time.sleep(60)


def page():
    """The next of the pages told, which are given as numbers of tools and cursors."""
    count, cursor = pages.pop(0)
    listed = [{"name": f"{len(pages)}-{index}", "inputSchema": {}} for index in range(count)]
    return {"tools": listed, **({"nextCursor": cursor} if cursor else {})}


def call(request, name, given):
    if name == "echo":
        answer(request, given)
    elif name == "write":
        write((given["text"] * given.get("times", 1)).replace("$ID", str(request)))
    elif name == "ask":
        write(json.dumps(given) + "\n")
        answer(request, receive())
    elif name == "surroundings":
        answer(request, {"environment": dict(os.environ), "arguments": sys.argv[2:], "pids": pids})
    elif name == "deaf":
        answer(request, {})
        sleep_until_killed()
    elif name == "exit":
        os._exit(given["status"])


def handle(message):
    method, request = message.get("method"), message.get("id")
    if method in told.get("silent", []):
        return
    if method == "initialize":
        answer(request, told.get("initialize", {"protocolVersion": message["params"]["protocolVersion"]}))
    elif method == "tools/list":
        answer(request, page() if pages else told.get("list", {"tools": tools}))
    elif method == "tools/call":
        call(request, message["params"]["name"], message["params"]["arguments"])


if told.get("stubborn"):
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
if told.get("leaves"):
    pids.append(os.fork() or sleep_until_killed())
while received := receive():
    handle(received)
if told.get("stubborn"):
    sleep_until_killed()
