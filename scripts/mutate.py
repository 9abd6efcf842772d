#!/usr/bin/env python3
"""Changes operators, constants and statements of the plug-in, one at a time, and runs the tests on each change.

Lists the changes that no test notices (survivors): each shows a missing test, or code that does not matter.

    scripts/mutate.py [--jobs N] [--every N] [--from N] [--only TEXT] [--accepted FILE] [PATH...]
    scripts/mutate.py --report [--every N] [--from N] [--only TEXT] [--accepted FILE] [PATH...]
    scripts/mutate.py --check-accepted [--accepted FILE]

PATH: source files and headers, by default all of indexer/ and reader/. --every N takes only every N-th change, --from N
begins with the N-th (counted from 0), --only TEXT takes those that contain TEXT. Survivors listed in FILE (default:
scripts/mutants_accepted.txt) are known, each with its reason, and are counted separately. Works on copies under
build/mutants.

Each verdict is written to build/mutants/judged.jsonl as it is found, so that a run resumes after any interruption. A
verdict holds while the code of the changed file stays as it is; that a change survived holds only while the tests stay
as they are, too. Comments may change. Verdicts stay when the rest of the plug-in changes: to judge everything again,
remove judged.jsonl.

--report runs no tests: it prints what is known of the changes, for each file and in total, and the survivors. The share
killed leaves out changes that are accepted, not judged, or do not compile. A run ends with the same report, and both
end with 1 when there is a survivor that is not accepted.

--check-accepted runs no tests either: it lists the entries of FILE that the code as it is now no longer has, and ends
with 1 when there are any.
"""

import argparse
import collections
import concurrent.futures
import fcntl
import hashlib
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
TESTS = ("tests/indexer", "tests/reader", "tests/support")

# Limits in seconds of processor time, which other work on the machine does not use up. Real time may be longer by the
# factor.
LIMIT_OF_ALL_TESTS = 30
LIMIT_OF_LIKELY_TESTS = 10
WAITING_FACTOR = 5
# How many tests of a program run first: those that have noticed the most changes to the same file so far.
LIKELY_TESTS = 20
# The quick tests come next. They are most of the tests and together take this part of the time of all.
QUICK_PART = 0.1

KILLED, SURVIVED, NOT_COMPILED, ACCEPTED, OPEN = "killed", "survived", "does not compile", "accepted", "not judged"

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
NUMBER = re.compile(r"(?<![\w.:])(?<!\d')(0x[0-9A-Fa-f]+|\d+(?:'\d+)*)(?![\w.]|::|'\d)")
NEGATION = re.compile(r"(?<=\()!(?=\w)|(?<= )!(?=\w)")
CONDITION = re.compile(r"\bif \(")
# A statement on a single line that calls or assigns something.
STATEMENT = re.compile(r"^ +(?!.*= delete;)(?!return|const|auto|using|case|else|throw|if|for|while)[\w:.\->*\[\]&]+(\(| [-+|&]?= |\+\+;).*;$")


def digest_of(data):
    return hashlib.sha256(data).hexdigest()[:16]


def digest_of_code(text):
    """A digest of a source file that does not change with its comments or the blanks at the ends of lines."""
    code = re.sub(r"\"(?:\\.|[^\"\\\n])*\"|//[^\n]*",
                  lambda match: "" if match.group().startswith("//") else match.group(), text)
    lines = (line.strip() for line in code.splitlines())
    return digest_of("\n".join(line for line in lines if line).encode())


class Mutant:
    def __init__(self, path, line, before, after, text, source):
        self.path, self.line, self.text = path, line, text
        self.source = source  # digest of the code of the file
        self.key = f"{path}: {before.strip()} => {after.strip()}".strip()
        self.number = 0  # among the changes of its file with this key


def blanked(text):
    """The text with comments, literals and preprocessor lines replaced by blanks, at the same places."""
    pattern = r"//[^\n]*|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])+'|^#[^\n]*|^template [^\n]*|static_assert[^;]*;"
    return re.sub(pattern, lambda match: " " * len(match.group()), text, flags=re.MULTILINE)


def value_of(number):
    """The value of a number in C++: 0x1F, 0644, 31 or 86'400."""
    number = number.replace("'", "")
    is_octal = number.startswith("0") and number.isdigit()
    return int(number, 8 if is_octal else 0)


def mutants_of(path):
    text = (ROOT / path).read_text()
    code = blanked(text)
    source = digest_of_code(text)
    found = []

    def add(start, end, replacement):
        first = text.rfind("\n", 0, start) + 1
        last = text.find("\n", end)
        found.append(Mutant(path, text.count("\n", 0, start) + 1, text[first:last],
                            text[first:start] + replacement + text[end:last],
                            text[:start] + replacement + text[end:], source))

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
    found.sort(key=lambda mutant: (mutant.line, mutant.key))
    seen = collections.Counter()
    for mutant in found:
        mutant.number = seen[mutant.key]
        seen[mutant.key] += 1
    return found


def tests_digest():
    """A digest of all files of the tests."""
    paths = sorted(path for folder in TESTS for path in (ROOT / folder).rglob("*") if path.is_file())
    digests = ((str(path.relative_to(ROOT)), digest_of_code(path.read_text(errors="replace"))) for path in paths)
    return digest_of(repr(list(digests)).encode())


class Judged:
    """The verdicts of this run and of earlier ones, kept in a file of JSON objects, one per line. The last one counts."""

    def __init__(self):
        self.path = WORK / "judged.jsonl"
        self.verdicts = {}
        self.killers = collections.defaultdict(collections.Counter)  # by file: which tests have noticed how many changes
        self.tests = tests_digest()
        self.lock = threading.Lock()
        for line in self.path.read_text().splitlines() if self.path.exists() else []:
            try:
                self.take(json.loads(line))
            except (json.JSONDecodeError, KeyError):
                pass  # Empty, cut off when a run was killed, or of an earlier form.

    def take(self, record):
        self.verdicts[record["mutant"], record["number"], record["source"]] = record
        if record["by"]:
            self.killers[record["mutant"].split(":")[0]][record["by"]] += 1

    def of(self, mutant):
        """The last verdict on this change of the code as it is, or None."""
        return self.verdicts.get((mutant.key, mutant.number, mutant.source))

    def holds(self, mutant):
        record = self.of(mutant)
        return record is not None and (record["verdict"] != SURVIVED or record["tests"] == self.tests)

    def likely_killers(self, path):
        with self.lock:
            return [test for test, _ in self.killers[path].most_common(LIKELY_TESTS)]

    def add(self, mutant, verdict, killer):
        record = {"mutant": mutant.key, "number": mutant.number, "source": mutant.source, "tests": self.tests,
                  "verdict": verdict, "by": killer}
        with self.lock:
            with self.path.open("a") as file:
                # On a new line, even after one that was cut off.
                file.write("\n" + json.dumps(record))
            self.take(record)

    def lock_for_run(self):
        """Ends the program when another run is on. Processes that a run has started hold the lock, too: when the run
        is killed they may still write into the copies."""
        WORK.mkdir(parents=True, exist_ok=True)
        self.lock_file = open(WORK / "lock", "w")
        try:
            fcntl.flock(self.lock_file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            sys.exit("mutate: another run is at work")
        os.set_inheritable(self.lock_file.fileno(), True)


def run_to_end(command, seconds=None, **options):
    """Whether the command succeeds in time. Kills whatever it leaves running. An interrupt does not reach it."""
    process = subprocess.Popen(list(map(str, command)), stderr=subprocess.DEVNULL, start_new_session=True,
                               close_fds=False, **options)
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def bring_up_to_date(copy):
    """Makes the folder a copy of the sources. Unchanged files keep their times, so that little is rebuilt."""
    wanted = set()
    for folder, folders, files in os.walk(ROOT):
        folders[:] = [name for name in folders if name not in ("build", ".git", "__pycache__")]
        for path in (pathlib.Path(folder) / name for name in files):
            there = copy / path.relative_to(ROOT)
            wanted.add(there)
            if not there.exists() or there.read_bytes() != path.read_bytes():
                there.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, there)
    for path in copy.rglob("*"):
        if path.is_file() and path not in wanted:
            path.unlink()


class Copy:
    """A copy of the sources with a build of its own, changed by one mutant at a time."""

    def __init__(self, number):
        self.source = WORK / f"source{number}"
        self.build = WORK / f"build{number}"
        bring_up_to_date(self.source)
        environment = {name: value for name, value in os.environ.items() if not name.startswith("CMAKE_")}
        # Compiling a few files together takes less time when a header is changed, and little more when one file is.
        subprocess.run(["cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=4",
                        "-DCMAKE_CXX_FLAGS=-w -O0 -g0",
                        "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST", "--no-warn-unused-cli"],
                       check=True, stdout=subprocess.DEVNULL, env=environment)
        if not self.make("zel3reader", "zel3parser", "indexer_tests", "reader_tests"):
            sys.exit("mutate: the unchanged sources do not build")
        self.quick_tests = {}  # by program
        for program in ("indexer_tests", "reader_tests"):
            failed = self.first_failure(program, "*", LIMIT_OF_ALL_TESTS)
            if failed:
                sys.exit(f"mutate: the unchanged sources do not pass {failed}; see {self.build}/bin/{program}")
            self.quick_tests[program] = self.quick_ones()

    def quick_ones(self):
        """The quick ones among the tests that were run last."""
        output = (self.build / "output").read_text(errors="replace")
        taken = re.findall(r"^\[       OK \] ([\w/.]+).*\((\d+) ms\)$", output, flags=re.MULTILINE)
        left = QUICK_PART * sum(int(milliseconds) for _, milliseconds in taken)
        quick = []
        for test, milliseconds in sorted(taken, key=lambda one: int(one[1])):
            left -= int(milliseconds)
            if left < 0:
                break
            quick.append(test)
        return quick

    def make(self, *targets):
        return run_to_end(["cmake", "--build", self.build, "--parallel", "1", "--target", *targets],
                          stdout=subprocess.DEVNULL)

    def first_failure(self, program, tests, seconds):
        """The name of the first of the tests that fails, crashes or takes too long, or None."""
        place = self.build / "run"
        shutil.rmtree(place, ignore_errors=True)
        place.mkdir()
        # A mutant may fill memory or remove any file, so it sees the whole system read-only, except its own folder.
        guard = f'cd "$0"; ulimit -v 8000000 -t {seconds}; exec "$@"'
        command = ["bash", "-c", guard, place]
        environment = dict(os.environ, TMPDIR=str(place))
        if os.geteuid() == 0:
            # In memory, because tests wait for disks; /tmp, because GoogleTest keeps what it captures there.
            read_only = ("mount -t tmpfs -o size=4g tmpfs /tmp && mount -o remount,bind,ro / && "
                         "mount -o remount,bind,ro /dev && ")
            command = ["unshare", "--mount", "bash", "-c", read_only + guard, "/tmp"]
            environment["TMPDIR"] = "/tmp"
        command += [self.build / "bin" / program, "--gtest_fail_fast", f"--gtest_filter={tests}"]
        output = self.build / "output"
        with output.open("wb") as file:
            if run_to_end(command, WAITING_FACTOR * seconds, stdout=file, env=environment):
                return None
        # The first test that failed or, when the program crashed, the last one that began.
        text = output.read_bytes()
        named = (re.findall(rb"^\[  FAILED  \] ([\w/.]+)", text, flags=re.MULTILINE)[:1] or
                 re.findall(rb"^\[ RUN      \] (\S+)", text, flags=re.MULTILINE)[-1:])
        return named[0].decode() if named else "none had begun"

    def judge(self, mutant, likely_killers):
        """The verdict, and the name of the test that notices the change, or None."""
        # Targets to build, each with the program to run then, the quicker one first: the tests of the indexer include
        # its headers and are recompiled with them.
        stages = [("zel3reader", "reader_tests")]
        if mutant.path.startswith("indexer/"):
            stages.insert(1 if mutant.path.endswith(".h") else 0, ("indexer_tests", "indexer_tests"))
        path = self.source / mutant.path
        original = path.read_text()
        path.write_text(mutant.text)
        try:
            for target, program in stages:
                if not self.make(target):
                    return NOT_COMPILED, None
                quick = [test for test in self.quick_tests[program] if test not in likely_killers]
                for tests, seconds in ((":".join(likely_killers), LIMIT_OF_LIKELY_TESTS),
                                       (":".join(quick), LIMIT_OF_LIKELY_TESTS),
                                       ("*-" + ":".join(likely_killers + quick), LIMIT_OF_ALL_TESTS)):
                    killer = tests and self.first_failure(program, tests, seconds)
                    if killer:
                        return KILLED, killer
            return SURVIVED, None
        finally:
            path.write_text(original)


def accepted_entries(path):
    """The keys of the accepted mutants, each with the number of its line."""
    lines = enumerate(path.read_text().splitlines(), 1)
    return {line: number for number, line in lines if line and not line.startswith("#")}


def all_sources():
    """Headers last: after each of them the files that include it are recompiled."""
    return [str(path.relative_to(ROOT)) for kind in ("*.cpp", "*.h") for folder in ("indexer", "reader")
            for path in sorted((ROOT / folder).glob(kind))]


def report(mutants, judged, accepted):
    """Prints what is known of the mutants. Ends the program, with 1 when there is a survivor that is not accepted."""
    counts = collections.defaultdict(collections.Counter)
    survivors = []
    for mutant in mutants:
        verdict = judged.of(mutant)["verdict"] if judged.holds(mutant) else OPEN
        if verdict == SURVIVED and mutant.key in accepted:
            verdict = ACCEPTED
        if verdict == SURVIVED:
            survivors.append(f"{mutant.path}:{mutant.line}\n{mutant.key}")
        for name in (mutant.path, "all"):
            counts[name][verdict] += 1
    columns = (KILLED, SURVIVED, ACCEPTED, NOT_COMPILED, OPEN)
    print(*survivors, sep="\n", end="\n" if survivors else "")
    print(f"{'':34}" + "".join(f"{column:>18}" for column in columns) + f"{'share killed':>18}")
    for name, verdicts in sorted(counts.items(), key=lambda item: item[0] == "all"):
        of = verdicts[KILLED] + verdicts[SURVIVED]
        share = f"{100 * verdicts[KILLED] / of:.1f} %" if of else ""
        print(f"{name:34}" + "".join(f"{verdicts[column]:18}" for column in columns) + f"{share:>18}")
    sys.exit(1 if survivors else 0)


def run(mutants, judged, jobs):
    """Judges the mutants."""
    copies = queue.Queue()
    for number in range(min(jobs, len(mutants))):
        copies.put(Copy(number))

    def judge(mutant):
        copy = copies.get()
        try:
            judged.add(mutant, *copy.judge(mutant, judged.likely_killers(mutant.path)))
        finally:
            copies.put(copy)

    start = time.time()
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for _ in pool.map(judge, mutants):
            pass
    print(f"{time.time() - start:.0f} s")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--from", type=int, default=0, dest="first")
    parser.add_argument("--only", default="")
    parser.add_argument("--accepted", type=pathlib.Path, default=ROOT / "scripts" / "mutants_accepted.txt")
    parser.add_argument("--check-accepted", action="store_true")
    parser.add_argument("--report", action="store_true")
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
    judged = Judged()
    if not options.report:
        judged.lock_for_run()
        open_mutants = [mutant for mutant in mutants if not judged.holds(mutant)]
        print(f"{len(mutants)} mutants, {len(open_mutants)} of them to judge", flush=True)
        run(open_mutants, judged, options.jobs)
    report(mutants, judged, accepted)


if __name__ == "__main__":
    main()
