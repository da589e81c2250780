#!/usr/bin/python3
"""Tries the client on real MCP servers, which are npm's packages and run by Node.

usage: test_mcp_servers.py TESTS FOLDER     FOLDER keeps the packages from one run to the next
"""

import os
import pathlib
import shutil
import subprocess
import sys

PACKAGES = ("@modelcontextprotocol/server-filesystem@2026.8.31", "@modelcontextprotocol/server-memory@2026.8.31")

tests, folder = sys.argv[1], pathlib.Path(sys.argv[2])
node, npm = shutil.which("node"), shutil.which("npm")
modules = folder / "node_modules"


def installed():
    """Whether all of them are there: an installation that was cut off leaves some."""
    return all((modules / package.rpartition("@")[0] / "package.json").is_file() for package in PACKAGES)


if npm and not installed():
    folder.mkdir(parents=True, exist_ok=True)
    # No script of a package runs while it is installed.
    options = ["--prefix", str(folder), "--ignore-scripts", "--no-audit", "--no-fund"]
    subprocess.run([npm, "install", *options, *PACKAGES], check=False, timeout=200)
if not node or not installed():
    print("skipped: there is no Node, or its packages could not be installed")
    sys.exit(77)
environment = {**os.environ, "VELMORA_NODE": node, "VELMORA_NODE_MODULES": str(modules)}
command = [tests, "--gtest_filter=*ServesTheToolsOfRealServers"]
sys.exit(subprocess.run(command, env=environment, check=False).returncode)
