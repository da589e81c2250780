#!/usr/bin/python3
"""An MCP server that misbehaves as told: by its first argument, a JSON object, and by the tools that are called."""

import json
import os
import signal
import sys
import time

told = json.loads(sys.argv[1])
pids = [os.getpid()]
held = []
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
    number = len(pages)
    tools = [{"name": f"{number}-{index}", "inputSchema": {}} for index in range(count)]
    return {"tools": tools, **({"nextCursor": cursor} if cursor else {})}


def call(request, name, given):
    if name == "echo":
        answer(request, given)
    elif name == "write":
        write((given["text"] * given.get("times", 1)).replace("$ID", str(request)))
    elif name == "hold":  # until so many are held, and then the last comes first
        held.append((request, given["value"]))
        for each in reversed(held if len(held) == given["until"] else []):
            answer(*each)
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
    elif method == "tools/list" and pages:
        answer(request, page())
    elif method == "tools/list":
        described = {"name": "echo", "description": "Says it again", "inputSchema": {"required": ["text"]}}
        answer(request, told.get("list", {"tools": [described, {"name": "surroundings", "inputSchema": {}}]}))
    elif method == "tools/call":
        call(request, message["params"]["name"], message["params"]["arguments"])


signal.alarm(120)
if told.get("stubborn"):
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
if told.get("leaves"):
    left = os.fork()
    if left == 0:
        sleep_until_killed()
    pids.append(left)
while True:
    received = receive()
    if received is None:
        break
    handle(received)
if told.get("stubborn"):
    sleep_until_killed()
