#!/usr/bin/env python3
"""Holds what the program prints as JSON against the schemas: validate.py PROGRAM FOLDER_OF_SCHEMAS.

Every verb that prints JSON is run over archives that are sound, damaged, half gone or not there, with every option that
shapes its answer. Of each answer copies that lack a property, have one more, or have a value of another kind must be
refused: a schema that allows too much fails as well. Ends with 1 at the first difference.
"""

import copy
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

START = 1714521600000
FAR = "2100-01-01"


class Schemas:
    """The schemas of a folder, by the name before `.schema.json`."""

    def __init__(self, folder):
        self.validators = {}
        for path in sorted(folder.glob("*.schema.json")):
            schema = json.loads(path.read_text())
            jsonschema.Draft202012Validator.check_schema(schema)
            resolver = jsonschema.RefResolver(path.as_uri(), schema)
            name = path.name[: -len(".schema.json")]
            self.validators[name] = jsonschema.Draft202012Validator(schema, resolver=resolver)
        del self.validators["common"]
        self.used = set()

    def refusals(self, name, value):
        self.used.add(name)
        return [error.message for error in self.validators[name].iter_errors(value)]


def objects_in(value, path=()):
    """The paths of all objects within a JSON value."""
    if isinstance(value, dict):
        yield path
        for key, each in value.items():
            yield from objects_in(each, path + (key,))
    elif isinstance(value, list):
        # Those of one list are alike but for their kinds: the first few show each.
        for number, each in enumerate(value[:12]):
            yield from objects_in(each, path + (number,))


def at(value, path):
    for step in path:
        value = value[step]
    return value


def mutants_of(value, is_line):
    """Copies of a JSON value in which one thing is wrong, each with what it is."""
    for path in objects_in(value):
        for key in at(value, path):
            if (key, at(value, path).get("kind")) == ("count", "data"):
                continue  # may be absent
            if key == "source" and is_line:
                continue  # lines of one timeline have none
            lacking = copy.deepcopy(value)
            del at(lacking, path)[key]
            yield f"without {key} in {list(path)}", lacking
            other = copy.deepcopy(value)
            at(other, path)[key] = {"of": "another kind"}
            yield f"with another kind of {key} in {list(path)}", other
        more = copy.deepcopy(value)
        at(more, path)["unheardOf"] = 1
        yield f"with one more in {list(path)}", more


class Check:
    def __init__(self, program, schemas):
        self.program = program
        self.schemas = schemas
        self.answers = 0
        self.mutants = 0
        self.checked = set()

    def run(self, *arguments):
        return subprocess.run([self.program, *map(str, arguments)], capture_output=True, check=False)

    def fail(self, what):
        sys.exit(f"schema: {what}")

    def hold(self, name, value, shown):
        refusals = self.schemas.refusals(name, value)
        if refusals:
            self.fail(f"{shown}: {name} refuses {json.dumps(value)[:500]}: {refusals[0]}")
        self.answers += 1
        for what, mutant in mutants_of(value, name.endswith("-line")):
            self.mutants += 1
            if not self.schemas.refusals(name, mutant):
                self.fail(f"{shown}: {name} takes an answer {what}")

    def json(self, name, exit_code, *arguments):
        """Runs the program, whose standard output is one JSON value. Gives that."""
        result = self.run(*arguments)
        shown = " ".join(map(str, arguments))
        if result.returncode != exit_code:
            self.fail(f"{shown}: ends with {result.returncode} instead of {exit_code}: {result.stderr.decode()}")
        value = json.loads(result.stdout)
        self.hold(name, value, shown)
        return value

    def lines(self, name, exit_code, *arguments):
        """Runs the program, each of whose lines is a JSON value. Gives how many they are."""
        result = self.run(*arguments)
        shown = " ".join(map(str, arguments))
        if result.returncode != exit_code:
            self.fail(f"{shown}: ends with {result.returncode} instead of {exit_code}: {result.stderr.decode()}")
        lines = result.stdout.decode().splitlines()
        kinds = set()
        for line in lines:
            value = json.loads(line)
            # Lines of one kind with the same keys are alike.
            kind = (value.get("kind"), *value)
            if kind not in kinds:
                self.hold(name, value, shown)
            elif self.schemas.refusals(name, value):
                self.fail(f"{shown}: {name} refuses {line}")
            kinds.add(kind)
        return len(lines)


def check_folder(check, work, source, ends):
    """All verbs over one source. `ends`: with which code they end."""
    json_of = ("--format", "json")
    for times in ("int", "iso"):
        style = (*json_of, "--time-format", times)
        check.json("info", ends, "info", source, *style)
        check.json("index", ends, "index", source, *style)
        check.lines("index-line", ends, "index", source, "--format", "jsonl", "--time-format", times)
        check.json("seek", ends, "seek", source, START + 5000, *style)
        check.json("seek", ends, "seek", source, START + 5000, "--explain", *style)
        check.json("activity", ends, "activity", source, "--stream", 1, "--bins", 5, *style)
        check.json("gaps", ends, "gaps", source, START - 5000, FAR, *style)
        check.lines("gaps-line", ends, "gaps", source, "--format", "jsonl", "--time-format", times)
        for rest in ((), (START + 5000, START + 90000000)):
            check.json("calendar", ends, "calendar", source, *rest, *style)
        check.lines("calendar-line", ends, "calendar", source, "--format", "jsonl")
        check.json("preview", ends, "preview", source, START, START + 10000, "--count", 3, *style)
        check.json("doctor", check.run("doctor", source).returncode, "doctor", source, *style)
        check.json("read", check.run("read", source, 0, FAR, "-o", work / "out").returncode,
                   "read", source, 0, FAR, "-o", work / "out", *style)
        for split in ((), ("--split", "30s")):
            cut = ("cut", source, 0, FAR, "-o", work / "cut.zel3", "--force", *split)
            check.json("cut", check.run(*cut).returncode, *cut, *style)
        for file in [source] if source.is_file() else sorted(source.glob("cam*.zel3")):
            mend = ("mend", file, "-o", work / "mended.zel3", "--force")
            mended = check.run(*mend).returncode
            if mended != 1:
                check.json("mend", mended, *mend, *style)
        check.json("events", ends, "events", source, *style)
        check.lines("events-line", ends, "events", source, "--format", "jsonl", "--time-format", times)
        dumped = check.run("dump", source).returncode
        check.lines("dump-line", dumped, "dump", source, "--format", "jsonl", "--time-format", times)


def check_nothing(check, source):
    """Empty answers are whole documents."""
    style = ("--format", "json")
    check.json("seek", 4, "seek", source, 5, *style)
    check.json("seek", 4, "seek", source, 5, "--explain", *style)
    check.json("read", 4, "read", source, 5, 6, "-o", "/dev/null", *style)
    check.json("cut", 4, "cut", source, 5, 6, "-o", "none.zel3", *style)
    check.json("preview", 4, "preview", source, 5, 6, *style)
    check.json("activity", 4, "activity", source, 5, 6, "--stream", 1, *style)
    check.json("calendar", 4, "calendar", source, 5, 6, *style)
    check.json("events", 4, "events", source, 5, 6, *style)
    check.json("gaps", 0, "gaps", source, START, START + 5000, *style)
    if check.lines("events-line", 4, "events", source, 5, 6, "--format", "jsonl") != 0:
        check.fail("no events are some lines")
    for arguments in (("events", source, 5, 6), ("preview", source, 5, 6),
                      ("activity", source, 5, 6, "--stream", 1), ("calendar", source, 5, 6)):
        printed = check.run(*arguments, "--format", "csv").stdout.decode().splitlines()
        if len(printed) != 1:
            check.fail(f"{arguments[0]} prints {len(printed)} lines instead of the headings")


def check_several(check, one, other):
    """Of several timelines there is a list, or a source in each line; a bad one is not there."""
    json_of = ("--format", "json")
    several = (one, other)
    for verb, *rest in (("info",), ("index",), ("doctor",), ("seek", START + 5000),
                        ("seek", START + 5000, "--explain"), ("events",), ("calendar",),
                        ("activity", "--stream", 1, "--bins", 3), ("preview", START, START + 10000)):
        ends = check.run(verb, *several, *rest).returncode
        answer = check.json(verb, ends, verb, *several, *rest, *json_of)
        told = [each["source"] for each in answer["sources"]]
        if told != [str(one), str(other)]:
            check.fail(f"{verb} answers for {told}")
        answer = check.json(verb, 1, verb, one / "missing", one, *rest, *json_of)
        if len(answer["sources"]) != 1:
            check.fail(f"{verb} answers for what is not there")
        ends = check.run(verb, *several, *rest, "--merge").returncode
        answer = check.json(verb, ends, verb, *several, *rest, "--merge", *json_of)
        if "sources" in answer:
            check.fail(f"{verb} --merge gives a list")
    check.json("seek", 4, "seek", *several, 5, *json_of)
    check.json("events", 4, "events", *several, 5, 6, *json_of)
    check.json("activity", 4, "activity", *several, 5, 6, "--stream", 1, *json_of)
    check.json("preview", 4, "preview", *several, 5, 6, *json_of)
    check.lines("events-line", 0, "events", *several, "--format", "jsonl")
    check.lines("index-line", 0, "index", *several, "--format", "jsonl")
    check.lines("dump-line", 0, "dump", *several, "--format", "jsonl")
    check.lines("calendar-line", check.run("calendar", *several).returncode,
                "calendar", *several, "--format", "jsonl")


def check_without_index(check, source):
    """No file is known, and no index is built."""
    check.json("activity", 3, "activity", source, "--stream", 1, "--no-index", "--format", "json")
    check.json("gaps", 3, "gaps", source, "--no-index", "--format", "json")
    check.json("calendar", 3, "calendar", source, "--no-index", "--format", "json")
    check.json("events", 0, "events", source, "--no-index", "--format", "json")


def main():
    program = os.path.realpath(sys.argv[1])
    schemas = Schemas(pathlib.Path(sys.argv[2]).resolve())
    check = Check(program, schemas)
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        os.environ.update(XDG_CACHE_HOME=f"{work}/cache", XDG_CONFIG_HOME=f"{work}/config", TZ="UTC")
        make = ("--length", "2m", "--files", 3, "--gap", "0:30s", "--interval", 5, "--events", 900,
                "--payload", 200, "--format", "json")
        made = None
        for name in ("sound", "damaged", "other", "empty"):
            made = check.json("make", 0, "make", work / name, *make, "--truth", work / "truth")
        check.json("make", 0, "make", work / "iso", *make, "--time-format", "iso", "--time-zone", "+02:00")
        check.hold("truth", json.loads((work / "truth").read_text()), "make --truth")
        names = [file["file"] for file in made["files"]]

        check_without_index(check, work / "sound")
        check_folder(check, work, work / "sound", 0)
        check_nothing(check, work / "sound")
        check_several(check, work / "sound", work / "iso")

        damaged = work / "damaged"
        first = (damaged / names[0]).read_bytes()
        (damaged / names[0]).write_bytes(first[:700] + b"\x77" * 300 + first[1000:])
        (damaged / names[1]).write_bytes(b"not an archive" * 100)
        last = (damaged / names[2]).read_bytes()
        (damaged / names[2]).write_bytes(last[:-3])
        (damaged / os.fsdecode(b"bad\xff.zel3")).write_bytes(b"x" * 500)
        check_folder(check, work, damaged, 3)

        alone = work / "other" / names[0]
        check_folder(check, work, alone, 0)

        failed = work / "failed"
        failed.mkdir()
        (failed / "a.zel3").write_bytes(b"x" * 500)
        check.json("index", 1, "index", failed, "--format", "json")
        check.json("doctor", 3, "doctor", failed, "--format", "json")
        check.json("caches", 0, "caches", work / "sound", work / "damaged", "--format", "json")
        check.json("caches", 0, "caches", alone, "--remove-orphans", "--dry-run", "--format", "json")
        check.json("inspect", 0, "inspect", "--format", "json")

    unused = set(schemas.validators) - schemas.used
    if unused:
        check.fail(f"nothing is held against {', '.join(sorted(unused))}")
    print(f"{check.answers} answers fit, {check.mutants} wrong ones are refused")


main()
