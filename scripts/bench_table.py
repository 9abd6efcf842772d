#!/usr/bin/env python3
"""Prints the results of the benchmarks as one table, with the goal of each row.

    scripts/bench_table.py FOLDER...

FOLDER has the name of a build and holds the JSON files of its programs. A row is a pair of benchmarks ROW/SIZE/baseline
and ROW/SIZE/ours; each time is the median of the repetitions, in processor time, so that other work on the machine
counts less. With two builds, a second table compares their times. Ends with 1 when a benchmark has failed; a goal that
is not met is only shown.
"""

import json
import math
import pathlib
import re
import statistics
import sys

MICROSECONDS = {"ns": 0.001, "us": 1.0, "ms": 1000.0, "s": 1000000.0}
LINEAR = 1 + math.log10(1.25)  # at most a quarter more than ten times the work for ten times the size

# For each row: what is compared with the limit, and the limit. Figures have a limit for each name, other rows one for
# each build where the builds differ.
GOALS = [
    ("indexing_run.parser", "throughput", 0.45),
    ("indexing_run.byte_counter", "throughput", 0.75),
    ("cache_load.1_header_per_100", "time", 1.5),
    ("cache_load.1_header_per_100_unsorted", "time", 1.5),
    ("cache_load.1_header_per_1_unsorted", None, None),
    ("cache_load.of_a_read_into_warm_memory", None, None),
    ("cache_load", "time", 1.2),
    ("lookup.one_file", "time", 1.5),
    ("lookup.1000_files", "time", 2.0),
    ("chunk_request", "figures", {"median_us": 1.5, "p99_us": 10.0}),
    ("entry_bytes.in_order", "throughput", {"native": 0.9, "i386": 0.85}),
    ("entry_bytes.at_random", "time", {"native": 1.15, "i386": 1.25}),
    ("folder_open.no_caches", "time", {"native": 1.4, "i386": 1.6}),
    ("folder_open.caches_beside", "time", {"native": 1.8, "i386": 2.0}),
    ("folder_open.cache_folder", "time", 4.0),
    ("activity.coarse", "throughput", 0.6),
    ("activity.fine", "throughput", 0.55),
    ("blocks.RDat", "time", 1.3),
    ("blocks", "figures", {"lock_pairs": 3, "allocations": 0}),
    ("housekeeping", "time", 1.3),
    ("index_memory", "figures", {"bytes_per_entry": 25.0, "peak_to_final": 1.5}),
    ("program_start", "milliseconds more", 60.0),
    ("index_files.one_process", "time", 1.3),
    ("index_files.two_processes", "time", 0.75),
    ("cut", "throughput", 0.7),
    ("peers.read_all", "throughput", 5.0),
    ("peers.later_seek", "faster", 1.3),
    ("peers.first_seek", "faster", 500.0),
    ("peers.open_and_first_seek", "faster", 25.0),
    ("peers.lookup_in_a_day", "faster", 25.0),
    ("peers.lookup", "faster", 6.0),
]
SLOWER_BUILD = 1.4  # the first build may take this many times as long as the second
# Rows whose time must grow no faster than their size.
GROWING = ("filing", "events", "cache_load", "folder_open", "index_cache_folder")
FIGURES = ("median_us", "p99_us", "bytes_per_entry", "peak_to_final", "calls", "lock_pairs",
           "allocations")


class Measurement:
    """One benchmark: its times in microseconds and its figures, one of each for each repetition."""

    def __init__(self):
        self.times = []
        self.figures = {}

    def time(self):
        return statistics.median(self.times)

    def figure(self, name):
        return statistics.median(self.figures[name])


def in_order(key):
    """Sorts rows by name, then by the number that their size begins with."""
    row, size = key[:2]
    return row, int(re.match(r"\d*", size).group() or 0)


def read_results(folder):
    """The measurements of a build by (row, size, "baseline" or "ours"), and messages about failures."""
    measurements, failures = {}, []
    for path in sorted(folder.glob("*.json")):
        for result in json.loads(path.read_text())["benchmarks"]:
            if result.get("run_type") == "aggregate":
                continue
            row, size, whose = re.match(r"(.+)/([^/]+)/(baseline|ours)", result["run_name"]).groups()
            if result.get("error_occurred"):
                failures.append(f"{folder.name} {row}/{size}/{whose}: {result['error_message']}")
                continue
            measurement = measurements.setdefault((row, size, whose), Measurement())
            measurement.times.append(result["cpu_time"] * MICROSECONDS[result["time_unit"]])
            for name in FIGURES:
                if name in result:
                    measurement.figures.setdefault(name, []).append(result[name])
    return measurements, failures


def goal_of(row, build):
    for name, kind, limit in GOALS:
        if row == name or row.startswith(name + "."):
            if kind != "figures" and isinstance(limit, dict):
                limit = limit.get(build)
            return (kind, limit) if limit is not None else (None, None)
    return None, None


def shown_time(microseconds):
    for unit, name in ((1000000, "s"), (1000, "ms"), (1, "µs")):
        if microseconds >= unit:
            return f"{microseconds / unit:.3g} {name}"
    return f"{microseconds * 1000:.3g} ns"


def judged(met):
    return "yes" if met else "**no**"


def compared(row, build, baseline, ours):
    """The ratio, the goal and whether it is met, as text for the table."""
    kind, limit = goal_of(row, build)
    if kind is None:
        return f"{ours.time() / baseline.time():.2f}", "", ""
    if kind == "throughput":
        ratio = baseline.time() / ours.time()
        return f"{ratio:.2f}", f"≥ {limit}x throughput", judged(ratio >= limit)
    if kind == "faster":
        ratio = baseline.time() / ours.time()
        return f"{ratio:.{0 if ratio >= 100 else 2}f} times faster", f"≥ {limit:g} times", judged(ratio >= limit)
    if kind == "milliseconds more":
        more = (ours.time() - baseline.time()) / 1000
        return f"+{more:.1f} ms", f"≤ {limit:g} ms more", judged(more <= limit)
    ratio = ours.time() / baseline.time()
    return f"{ratio:.2f}", f"≤ {limit}x time", judged(ratio <= limit)


def lines_of(build, measurements):
    for row, size in sorted({(row, size) for row, size, _ in measurements}, key=in_order):
        ours = measurements.get((row, size, "ours"))
        baseline = measurements.get((row, size, "baseline"))
        if ours is None:
            continue
        if baseline is not None:
            yield [row, size, shown_time(baseline.time()), shown_time(ours.time()), *compared(row, build, baseline, ours), build]
        elif ours.figures:
            limits = goal_of(row, build)[1] or {}
            for name in ours.figures:
                goal = limits.get(name)
                value = ours.figure(name)
                yield [row, size, "", f"{value:.3g} {name}", "", f"≤ {goal:g}" if goal is not None else "",
                       judged(value <= goal) if goal is not None else "", build]
        else:
            yield [row, size, "", shown_time(ours.time()), "", "", "", build]
    yield from growth_lines(build, measurements)


def growth_lines(build, measurements):
    """For rows with sizes ten times apart: the power of the size with which the time grows."""
    times = {}
    for (row, size, whose), measurement in measurements.items():
        if whose == "ours" and size.isdigit() and not measurement.figures:
            times.setdefault(row, {})[int(size)] = measurement.time()
    for row, by_size in sorted(times.items()):
        for size in sorted(by_size):
            if 10 * size not in by_size:
                continue
            power = math.log10(by_size[10 * size] / by_size[size])
            limit = LINEAR if row.startswith(GROWING) else None
            yield [row, f"{size} to {10 * size}", "", "", f"power {power:.2f}", f"≤ {limit:.2f}" if limit else "",
                   judged(power <= limit) if limit else "", build]


def comparison_lines(first, second):
    """For rows that both builds have: the time of the first as a ratio to that of the second."""
    for row, size, whose in sorted(first, key=in_order):
        if whose != "ours" or (row, size, whose) not in second:
            continue
        times = [build[row, size, whose].time() for build in (first, second)]
        if min(times) == 0:
            continue
        ratio = times[0] / times[1]
        yield [row, size, *map(shown_time, times), f"{ratio:.2f}", f"≤ {SLOWER_BUILD}", judged(ratio <= SLOWER_BUILD)]


def print_table(columns, lines):
    print("| " + " | ".join(columns) + " |")
    print("|---" * len(columns) + "|")
    for line in lines:
        print("| " + " | ".join(line) + " |")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    folders = [pathlib.Path(argument) for argument in sys.argv[1:]]
    builds, failures = {}, []
    for folder in folders:
        builds[folder.name], failed = read_results(folder)
        failures += failed
    print_table(["row", "size", "baseline", "ours", "ratio", "goal", "met", "build"],
                [line for name, measurements in builds.items() for line in lines_of(name, measurements)])
    if len(builds) == 2:
        print()
        print_table(["row", "size", *builds, "ratio", "goal", "met"], comparison_lines(*builds.values()))
    for failure in failures:
        print(failure, file=sys.stderr)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
