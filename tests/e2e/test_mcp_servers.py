#!/usr/bin/python3
"""Tries the client on real MCP servers, which are npm's packages and run by Node.

usage: test_mcp_servers.py TESTS FOLDER     FOLDER keeps the packages from one run to the next
"""

import os
import pathlib
import shutil
import subprocess
import sys

SKIPPED = 77
PACKAGES = ("@modelcontextprotocol/server-filesystem@2026.8.31", "@modelcontextprotocol/server-memory@2026.8.31")


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def main():
    tests, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    node, npm = shutil.which("node"), shutil.which("npm")
    if not node or not npm:
        skip("there is no Node with its npm")
    modules = folder / "node_modules"
    if not all((modules / package.rpartition("@")[0]).is_dir() for package in PACKAGES):
        folder.mkdir(parents=True, exist_ok=True)
        # No script of a package runs while it is installed.
        command = [npm, "install", "--prefix", str(folder), "--ignore-scripts", "--no-audit", "--no-fund", *PACKAGES]
        if subprocess.run(command, check=False, timeout=200).returncode != 0:
            skip("the packages could not be installed")
    environment = {**os.environ, "VELMORA_NODE": node, "VELMORA_NODE_MODULES": str(modules)}
    found = subprocess.run(
        [tests, "--gtest_filter=*ServesTheToolsOfRealServers"], env=environment, check=False, stdout=subprocess.PIPE, text=True
    )
    print(found.stdout)
    sys.exit(found.returncode or "[  PASSED  ] 1 test" not in found.stdout)


if __name__ == "__main__":
    main()
