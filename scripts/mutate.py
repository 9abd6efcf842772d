#!/usr/bin/env python3
"""Changes operators, constants and statements of the plug-in one at a time and runs the tests on each change.

A change that no test notices (a survivor) is listed: a missing test, or code that does not matter.

    scripts/mutate.py [--jobs N] [--every N] [--from N] [--only TEXT] [--accepted FILE] [PATH...]
    scripts/mutate.py --check-accepted [--accepted FILE]

PATH: source files, by default all of indexer/ and reader/. --every N takes each N-th change only, --from N begins with
the N-th (from 0), --only TEXT takes those that hold TEXT. Survivors listed in FILE (default:
scripts/mutants_accepted.txt) are known, each with its reason, and are counted apart. Ends with 1 when another survivor
is found. Works on copies under build/mutants.

--check-accepted runs no tests: it lists the entries of FILE that are not changes of the code as it is now, and ends
with 1 when there are any.
"""

import argparse
import concurrent.futures
import os
import pathlib
import queue
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
TIME_LIMIT_SECONDS = 30

SWAPS = {
    " < ": " <= ",
    " <= ": " < ",
    " > ": " >= ",
    " >= ": " > ",
    " == ": " != ",
    " != ": " == ",
    " && ": " || ",
    " || ": " && ",
    " + ": " - ",
    " - ": " + ",
    " * ": " + ",
    " / ": " * ",
    " << ": " >> ",
    " >> ": " << ",
    " & ": " | ",
    " | ": " & ",
    " += ": " -= ",
    " -= ": " += ",
    "++": "--",
    "true": "false",
    "false": "true",
    "std::min": "std::max",
    "std::max": "std::min",
    "continue;": "break;",
    "break;": "continue;",
}
SWAP = re.compile("|".join(rf"\b{re.escape(text)}\b" if text.isalpha() else re.escape(text)
                           for text in sorted(SWAPS, key=len, reverse=True)))
NUMBER = re.compile(r"(?<![\w.:])(0x[0-9A-Fa-f]+|\d+)(?![\w.]|::)")
NEGATION = re.compile(r"(?<=\()!(?=\w)|(?<= )!(?=\w)")
CONDITION = re.compile(r"\bif \(")
# A statement on a line of its own that calls or assigns something.
STATEMENT = re.compile(r"^ +(?!return|const|auto|using|case|else|throw|if|for|while)[\w:.\->*\[\]&]+(\(| [-+|&]?= |\+\+;).*;$")


class Mutant:
    def __init__(self, path, line, before, after, text):
        self.path, self.line, self.text = path, line, text
        self.key = f"{path}: {before.strip()} => {after.strip()}".strip()


def blanked(text):
    """The text with comments, literals and preprocessor lines replaced by blanks, at the same places."""
    pattern = r"//[^\n]*|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])+'|^#[^\n]*|^template [^\n]*|static_assert[^;]*;"
    return re.sub(pattern, lambda match: " " * len(match.group()), text, flags=re.MULTILINE)


def value_of(number):
    """What a number in C++ means: 0x1F, 0644 or 31."""
    is_octal = number.startswith("0") and number.isdigit()
    return int(number, 8 if is_octal else 0)


def mutants_of(path):
    text = (ROOT / path).read_text()
    code = blanked(text)
    found = []

    def add(start, end, replacement):
        first = text.rfind("\n", 0, start) + 1
        last = text.find("\n", end)
        found.append(Mutant(path, text.count("\n", 0, start) + 1, text[first:last],
                            text[first:start] + replacement + text[end:last],
                            text[:start] + replacement + text[end:]))

    for match in SWAP.finditer(code):
        add(match.start(), match.end(), SWAPS[match.group()])
    for match in NUMBER.finditer(code):
        add(match.start(), match.end(), str(value_of(match.group()) + 1))
    for match in NEGATION.finditer(code):
        add(match.start(), match.end(), "")
    for match in CONDITION.finditer(code):
        depth, end = 1, match.end()
        while depth:
            depth += {"(": 1, ")": -1}.get(code[end], 0)
            end += 1
        add(match.end(), end - 1, "true")
        add(match.end(), end - 1, "false")
    for match in re.finditer(r"^[^\n]*$", code, flags=re.MULTILINE):
        if STATEMENT.match(match.group()):
            add(match.start(), match.end(), "")
    return sorted(found, key=lambda mutant: (mutant.line, mutant.key))


class Copy:
    """A copy of the sources with a build of its own, changed by one mutant at a time."""

    def __init__(self, number):
        self.source = WORK / f"source{number}"
        self.build = WORK / f"build{number}"
        shutil.rmtree(self.source, ignore_errors=True)
        # With new times: what an earlier run has built of its last mutant must not stay.
        shutil.copytree(ROOT, self.source, ignore=shutil.ignore_patterns("build", ".git"), copy_function=shutil.copy)
        environment = {name: value for name, value in os.environ.items() if not name.startswith("CMAKE_")}
        subprocess.run(["cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS=-w -O0 -g0"], check=True, stdout=subprocess.DEVNULL, env=environment)

    def make(self, *targets):
        return subprocess.run(["cmake", "--build", self.build, "--target", *targets], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0

    def passes(self, program):
        place = self.build / "run"
        shutil.rmtree(place, ignore_errors=True)
        place.mkdir()
        # A mutant may fill memory or remove whatever it comes across: it sees the system read-only but for its folder.
        guard = 'cd "$0"; ulimit -v 8000000; exec "$@"'
        command = ["bash", "-c", guard]
        if os.geteuid() == 0:
            # GoogleTest keeps what it captures in /tmp.
            read_only = ('mount --bind "$0" "$0" && mount -o remount,bind,ro / && mount -o remount,bind,ro /dev && '
                         'mount --bind "$0" /tmp && ')
            command = ["unshare", "--mount", "bash", "-c", read_only + guard]
        command += [place, self.build / "bin" / program, "--gtest_fail_fast", "--gtest_brief=1"]
        environment = dict(os.environ, TMPDIR=str(place))
        try:
            return subprocess.run(list(map(str, command)), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  env=environment, timeout=TIME_LIMIT_SECONDS).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def verdict(self, mutant):
        path = self.source / mutant.path
        original = path.read_text()
        path.write_text(mutant.text)
        try:
            in_indexer = mutant.path.startswith("indexer/")
            if not self.make("zel3reader", *(["indexer_tests"] if in_indexer else [])):
                return "does not compile"
            programs = (["indexer_tests"] if in_indexer else []) + ["reader_tests"]
            return "survived" if all(self.passes(program) for program in programs) else "killed"
        finally:
            path.write_text(original)


def accepted_entries(path):
    """The keys of the accepted mutants, each with the number of its line."""
    lines = enumerate(path.read_text().splitlines(), 1)
    return {line: number for number, line in lines if line and not line.startswith("#")}


def all_sources():
    return [str(path.relative_to(ROOT)) for folder in ("indexer", "reader")
            for path in sorted((ROOT / folder).glob("*.cpp"))]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--from", type=int, default=0, dest="first")
    parser.add_argument("--only", default="")
    parser.add_argument("--accepted", type=pathlib.Path, default=ROOT / "scripts" / "mutants_accepted.txt")
    parser.add_argument("--check-accepted", action="store_true")
    parser.add_argument("paths", nargs="*")
    options = parser.parse_args()
    mutants = [mutant for path in options.paths or all_sources() for mutant in mutants_of(path)]
    accepted = accepted_entries(options.accepted)
    if options.check_accepted:
        keys = {mutant.key for mutant in mutants}
        stale = [f"{options.accepted}:{line}: {key}" for key, line in accepted.items() if key not in keys]
        print(f"{len(mutants)} mutants, {len(stale)} accepted ones that the code no longer has", *stale, sep="\n")
        sys.exit(1 if stale else 0)
    mutants = [mutant for mutant in mutants if options.only in mutant.key][options.first::options.every]
    print(f"{len(mutants)} mutants", flush=True)

    copies = queue.Queue()
    for number in range(options.jobs):
        copy = Copy(number)
        if not copy.make("zel3reader", "zel3parser", "indexer_tests", "reader_tests"):
            sys.exit("mutate: the unchanged sources do not build")
        if not (copy.passes("indexer_tests") and copy.passes("reader_tests")):
            sys.exit(f"mutate: the unchanged sources do not pass; see {copy.build}/bin")
        copies.put(copy)

    def judge(mutant):
        copy = copies.get()
        try:
            return copy.verdict(mutant)
        finally:
            copies.put(copy)

    counts = {}
    start = time.time()
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for mutant, verdict in zip(mutants, pool.map(judge, mutants)):
            if verdict == "survived" and mutant.key in accepted:
                verdict = "accepted"
            counts[verdict] = counts.get(verdict, 0) + 1
            if verdict == "survived":
                print(f"{mutant.path}:{mutant.line}\n{mutant.key}", flush=True)
    judged = sum(counts.values()) - counts.get("does not compile", 0)
    killed = counts.get("killed", 0)
    print(f"{counts} in {time.time() - start:.0f} s: {killed} of {judged} killed ({100 * killed / max(judged, 1):.1f} %)")
    sys.exit(1 if counts.get("survived") else 0)


if __name__ == "__main__":
    main()
