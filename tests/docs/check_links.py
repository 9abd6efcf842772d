#!/usr/bin/env python3
"""Follows every relative link of every page below a folder, to files and to headings in them.

    check_links.py FOLDER [FOLDER_TO_LEAVE_OUT...]
"""
import os
import re
import sys
import urllib.parse

LINK = re.compile(r"\[[^][]*\]\(([^()\s]+)\)")
FENCE = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)


def pages_below(folder, left_out):
    for path, folders, files in os.walk(folder):
        folders[:] = [name for name in folders
                      if name != ".git" and os.path.join(path, name) not in left_out]
        yield from (os.path.join(path, name) for name in files if name.endswith(".md"))


def text_of(page):
    with open(page, encoding="utf-8") as file:
        return FENCE.sub("", file.read())


def anchors_of(page):
    """What headings are called in addresses."""
    for heading in re.findall(r"^#+ +(.*)$", text_of(page), re.MULTILINE):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def fault_of(page, link):
    """What is wrong with a link, or nothing."""
    path, _, anchor = link.partition("#")
    target = os.path.join(os.path.dirname(page), urllib.parse.unquote(path)) if path else page
    if not os.path.exists(target):
        return "leads nowhere"
    if anchor and anchor not in anchors_of(target):
        return "leads to no heading"
    return None


def main():
    folder, *left_out = [os.path.abspath(argument) for argument in sys.argv[1:]]
    followed = 0
    faults = []
    for page in sorted(pages_below(folder, left_out)):
        for link in LINK.findall(text_of(page)):
            if re.match(r"[a-z]+:", link):
                continue
            followed += 1
            fault = fault_of(page, link)
            if fault:
                faults.append(f"{os.path.relpath(page, folder)}: {link} {fault}")
    print(*faults, f"{followed} links followed", sep="\n")
    return 1 if faults or not followed else 0


sys.exit(main())
