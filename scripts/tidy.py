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
LAYERS = ("core", "toolkit", "platform", "app", "tools")
INCLUDE = re.compile(rb'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
FINDING = re.compile(r"^(?P<file>/[^:]+):\d+:\d+: (error|warning): .*\[(?P<check>[^],]+)[^]]*\]$")


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


def key(entry, version):
    digest = hashlib.sha256(version)
    for folder in pathlib.Path(entry["file"]).parents:
        if folder.is_relative_to(ROOT) and (folder / ".clang-tidy").is_file():
            digest.update((folder / ".clang-tidy").read_bytes())
    digest.update("\0".join(entry["arguments"]).replace(str(ROOT), "").encode())
    for data in contents(pathlib.Path(entry["file"]), set()):
        digest.update(hashlib.sha256(data).digest())
    return digest.hexdigest()


def misread(finding):
    """The analyzer does not follow the promise of a coroutine and takes it for uninitialised inside Boost's headers."""
    return finding["check"].startswith("clang-analyzer-") and not finding["file"].startswith(f"{ROOT}/")


def check(entry, database):
    """What was found in one file, as text; empty when it is clean."""
    command = [TIDY, "-p", str(database), "--quiet", entry["file"]]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    findings = []
    for line in result.stdout.splitlines():
        if FINDING.match(line):
            findings.append([])
        if findings:
            findings[-1].append(line)
    ours = [finding for finding in findings if not misread(FINDING.match(finding[0]))]
    if not findings and result.returncode != 0:
        return result.stdout
    return "\n".join(line for finding in ours for line in finding)


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
    cache = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "velmora" / "tidy"
    cache.mkdir(parents=True, exist_ok=True)

    due = {path: key(entry, version) for path, entry in entries.items()}
    due = {path: clean for path, clean in due.items() if not (cache / clean).exists()}
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        running = {pool.submit(check, entries[path], database): path for path in due}
        for done in concurrent.futures.as_completed(running):
            path = running[done]
            findings = done.result()
            if findings:
                failures += 1
                print(findings, flush=True)
            else:
                (cache / due[path]).touch()
    print(f"clang-tidy: {len(entries)} files, {len(due)} of them checked now, {failures} with findings")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
