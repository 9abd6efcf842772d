#!/usr/bin/env python3
"""Every part of others that is compiled in or embedded is named in the copyright file, in the version that was used.

    check_licences.py NINJA BUILD SOURCES COPYRIGHT

What is compiled in is what the compiler has read: the build keeps a record of that for every file.
"""
import json
import os
import re
import subprocess
import sys

# What compilers bring along, Qt Core, the line editor and character widths: linked at run time, and their
# headers may be used.
TOOLS = re.compile(r"^(libc6-dev.*|linux-libc-dev|lib(32|x32)?(stdc\+\+|gcc)-\d+-dev|gcc-.*|qtbase5-dev|libedit-dev|"
                   r"libutf8proc-dev)$")
# How the copyright file names a part: its name and version, and the package that it is from.
PART = re.compile(r"^Comment: (\S+) (\S+), https://\S+, from (?:the package )?(\S+)$", re.MULTILINE)
# What is not installed.
TESTS = ("tests/", "fuzz/", "bench/", "googletest/", "lib/libg")


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def foreign_headers(ninja, build, sources):
    """The headers from elsewhere that installed parts are made of."""
    ours = (os.path.realpath(build) + "/", os.path.realpath(sources) + "/")
    headers = set()
    for target in output_of(ninja, "-C", build, "-t", "deps").split("\n\n"):
        name, *files = target.strip().split("\n")
        if name.startswith((*TESTS, "ninja: ")):
            continue
        paths = (os.path.realpath(os.path.join(build, file.strip())) for file in files)
        headers.update(path for path in paths if not path.startswith(ours))
    return headers


def packages_of(headers):
    found = output_of("dpkg-query", "--search", *sorted(headers))
    return {re.match(r"[^:, ]+", line).group() for line in found.splitlines()}


def main():
    ninja, build, sources, copyright_file = sys.argv[1:]
    with open(copyright_file, encoding="utf-8") as file:
        named = PART.findall(file.read())
    with open(os.path.join(sources, "page/package-lock.json"), encoding="utf-8") as file:
        embedded = json.load(file)["packages"]

    used = {(package, output_of("dpkg-query", "--show", "--showformat=${Version}", package))
            for package in packages_of(foreign_headers(ninja, build, sources)) if not TOOLS.match(package)}
    used |= {(path.rpartition("node_modules/")[2], entry["version"]) for path, entry in embedded.items() if path}
    claimed = {(name.lower() if origin == "npm" else origin, version) for name, version, origin in named}

    for package, version in sorted(used - claimed):
        print(f"{package} {version} is used and not named")
    for package, version in sorted(claimed - used):
        print(f"{package} {version} is named and not used")
    print("used:", *sorted(package for package, _ in used))
    return 0 if used == claimed else 1


sys.exit(main())
