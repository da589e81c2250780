#!/usr/bin/python3
"""Fails where a co_await expression makes a temporary that GCC 12 destroys twice.

usage: coroutines.py ROOT      checks the tree
       coroutines.py --self    checks the checker

Three shapes did: a lambda that captures by value, a conditional expression, and an aggregate that is made of what is
awaited. Giving what is awaited a name avoids all of them.
"""

import pathlib
import re
import sys

AWAIT = re.compile(r"\bco_await\b")
NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)
CAPTURE_BY_VALUE = re.compile(r"(?<![\w\])\[])\[(?![&\]\[])[^\]]*\]\s*[({]|(?<![\w\])\[])\[&\w*,\s*\w+\s*=[^\]]*\]\s*[({]")


def expression(text, start):
    """What is awaited: up to the end of the statement or of the brackets around it."""
    depth = 0
    for end in range(start, len(text)):
        if text[end] in "([{":
            depth += 1
        elif text[end] in ")]}":
            depth -= 1
        if depth < 0 or (depth == 0 and text[end] == ";"):
            return text[start:end]
    return text[start:]


def objections(text):
    plain = NOISE.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), text)
    for match in AWAIT.finditer(plain):
        awaited = expression(plain, match.end())
        line = plain.count("\n", 0, match.start()) + 1
        if CAPTURE_BY_VALUE.search(awaited):
            yield line, "a lambda that captures by value inside co_await: give it a name first"
        if re.search(r"[^?]\?[^?]", awaited):
            yield line, "a conditional expression inside co_await: give its value a name first"
        if plain[match.end() + len(awaited) :].startswith("}"):
            yield line, "co_await inside braces that make a value: give what is awaited a name first"


def check_self():
    accepted = (
        "co_await f(x);",
        "co_await actor.run([&] { return rows[i]; });",
        "const auto work = [text = x] { return text; };\nco_await actor.run(work);",
        "const bool done = a ? b : c; co_await f(done);",
        "co_await f(list[0], map[key](x));",
        "co_await f(); // why?",
        "if (a) { co_await f(); }",
        "const auto value = co_await f({a, b}); Result result{value};",
    )
    refused = (
        "co_await actor.run([text = x] { return text; });",
        "auto y = co_await f([self](int) {});",
        "co_await f(a ? b : c);",
        "if (co_await f(\n    [x] { return x; }\n)) {}",
        "Result result{co_await f()};",
        "co_return Result{a, co_await f(), b};",
    )
    wrong = [text for text in accepted if list(objections(text))]
    wrong += [text for text in refused if not list(objections(text))]
    for text in wrong:
        print(f"misjudged: {text}")
    return not wrong


def check_tree(root):
    found = False
    for folder in ("core", "toolkit", "platform", "app", "tests", "bench"):
        for path in sorted(pathlib.Path(root, folder).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            for line, why in objections(path.read_text(encoding="utf-8")):
                print(f"{path}:{line}: {why}")
                found = True
    return not found


if __name__ == "__main__":
    sys.exit(0 if (check_self() if sys.argv[1] == "--self" else check_tree(sys.argv[1])) else 1)
