#!/usr/bin/python3
"""Runs clang-tidy over the sources of the layers and fails when it finds anything.

usage: tidy.py BUILD_DIRECTORY [FILE...]

A file is checked again only when it, a header it includes, its flags or the checks changed since it was last found
clean, which a cache in the user's cache folder remembers.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIDY = "clang-tidy-19"
LAYERS = ("core", "platform", "app")
INCLUDE = re.compile(rb'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def without_precompiled_header(command):
    """The flags GCC was given, less those that name its precompiled header, which Clang cannot read."""
    words = shlex.split(command)
    if "ccache" in " ".join(words[:6]):
        words = words[next(i for i, word in enumerate(words) if word.endswith(("c++", "g++", "clang++"))):]
    kept = []
    skip = False
    for index, word in enumerate(words):
        if skip:
            skip = False
        elif word == "-include" and "cmake_pch" in words[index + 1]:
            skip = True
        elif word not in ("-Winvalid-pch", "-fpch-preprocess"):
            kept.append(word)
    # The warnings are the compiler's business; what GCC alone knows by name must not stop Clang.
    return kept + ["-Wno-everything"]


def contents(path, seen):
    """The bytes of a file and of every header of the tree that it reaches."""
    if path in seen or not path.is_file():
        return
    seen.add(path)
    data = path.read_bytes()
    yield data
    for name in INCLUDE.findall(data):
        included = name.decode(errors="replace")
        yield from contents(ROOT / included, seen)


def key(entry, settings):
    digest = hashlib.sha256(settings)
    digest.update("\0".join(entry["arguments"]).replace(str(ROOT), "").encode())
    for data in contents(pathlib.Path(entry["file"]), set()):
        digest.update(hashlib.sha256(data).digest())
    return digest.hexdigest()


def check(entry, database):
    command = [TIDY, "-p", str(database), "--quiet", entry["file"]]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    noise = re.compile(r"^\d+ warnings?( and \d+ errors?)? generated\.$|^Suppressed \d+ |^Use -header-filter")
    lines = [line for line in result.stdout.splitlines() if not noise.match(line)]
    return result.returncode == 0, "\n".join(lines)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    only = {pathlib.Path(name).resolve() for name in sys.argv[2:]}
    entries = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in LAYERS and (not only or path in only):
            arguments = without_precompiled_header(entry["command"])
            entries[path] = {"directory": entry["directory"], "file": str(path), "arguments": arguments}
    if not entries:
        sys.exit("clang-tidy: no source to check")

    database = build / "tidy"
    database.mkdir(exist_ok=True)
    (database / "compile_commands.json").write_text(json.dumps(list(entries.values())))
    version = subprocess.run([TIDY, "--version"], capture_output=True, check=True).stdout
    settings = version + (ROOT / ".clang-tidy").read_bytes()
    cache = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "velmora" / "tidy"
    cache.mkdir(parents=True, exist_ok=True)

    due = {path: key(entry, settings) for path, entry in entries.items()}
    due = {path: clean for path, clean in due.items() if not (cache / clean).exists()}
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        running = {pool.submit(check, entries[path], database): path for path in due}
        for done in concurrent.futures.as_completed(running):
            path = running[done]
            passed, output = done.result()
            if passed:
                (cache / due[path]).touch()
            else:
                failures += 1
            if not passed and output:
                print(output, flush=True)
    print(f"clang-tidy: {len(entries)} files, {len(due)} of them checked now, {failures} with findings")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
