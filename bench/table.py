#!/usr/bin/env python3
"""Measures what goals.py asks for, and prints one table: our figures, what they are held against, which goals are met.

Our programs and their peers run in turn, for several rounds, ours before and after the peers, and the best of each counts:
what disturbs a machine makes figures worse, never better. Where the peers are not (peers.py), only what the library itself can be held against is.
"""
import argparse
import collections
import json
import os
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
import peers
from goals import GOALS, MORE_IS_BETTER

SECONDS = 0.1  # for one benchmark at a time
ONCE = {"pixels drawPair/*", "net latency/0", "net latency/1", "net latency/5", "net latency/20", "net latency/-1",
        "net clientMemory"}  # they take their best themselves, or are the same each time
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6}
LIMIT_SIGN = {True: ">=", False: "<="}


def note(text):
    print(f"== {text}", file=sys.stderr, flush=True)


class Figures:
    """What was measured, round by round, under the names of goals.py."""

    def __init__(self, build):
        self.build = build
        self.runs = collections.defaultdict(list)  # of our benchmarks: Google Benchmark's records
        self.values = collections.defaultdict(list)  # of all else

    def program(self, name):
        return os.path.join(self.build, "bench", f"bench_{name}")

    def is_ours(self, name):
        return os.path.exists(self.program(name.split()[0]))

    def run(self, program, names, **environment):
        """Runs the benchmarks of those names, where a star stands for any."""
        pattern = "|".join(re.sub(r"[^\w/:*-]", ".", re.sub("_median$", "", name)).replace("*", ".*") for name in names)
        done = subprocess.run(
            [self.program(program), f"--benchmark_filter=^({pattern})(/iterations:.*)?$",
             f"--benchmark_min_time={SECONDS}", "--benchmark_format=json"],
            env={"KXC_VECTOR_SCENES": peers.VECTOR_DATA, **os.environ, **environment}, stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, text=True)
        if not done.stdout:
            return
        result = json.loads(done.stdout[done.stdout.index("{"):])
        for record in result["benchmarks"]:
            if not record.get("error_occurred"):
                name = re.sub("/(iterations|repeats):[0-9]+", "", record["name"])
                self.runs[f"{program} {name}"].append({**record, "mhz": result["context"]["mhz_per_cpu"]})

    def best(self, name, unit):
        """None when it was not measured."""
        better, worse = (max, min) if unit in MORE_IS_BETTER else (min, max)
        program, benchmark, *counter = name.split()
        if not self.is_ours(name):
            return better(self.values[name], default=None)
        pattern = re.compile(re.escape(f"{program} {benchmark}").replace(r"\*", ".*"))
        of_each = [better(figure(record, unit, *counter) for record in records)
                   for key, records in self.runs.items() if pattern.fullmatch(key)]
        return worse(of_each, default=None)


def figure(record, unit, counter=None):
    if counter:
        value = record[counter]
        return value / 1e6 if unit in ("Mpixel/s", "Mtri/s") else record["mhz"] * 1e6 / value if unit == "cycles" else value
    if unit == "MB/s":
        return record["bytes_per_second"] / 1e6
    if unit == "Mpixel/s":
        return record["items_per_second"] / 1e6
    time, slash, _ = unit.partition("/")  # "us/datagram": each item's share
    if slash:
        return 1e9 / record["items_per_second"] / NANOSECONDS[time]
    return record["cpu_time"] * NANOSECONDS[record["time_unit"]] / NANOSECONDS[time]


def measure_pictures(figures):
    """How near our drawings come to finely sampled ones."""
    compare = peers.built("vector", "compare")
    if not os.path.exists(compare):
        return
    folder = peers.built("vector", "pictures")
    for surface_format in (2, 8):
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        figures.run("vector", [f"pictures/*/{surface_format}/*"], KXC_VECTOR_PICTURES=folder)
        icons = sorted(name for name in os.listdir(folder) if name.startswith("icon"))
        for what, command in (
                ("tiger", [os.path.join(peers.VECTOR_PICTURES, "tiger_512.png"), os.path.join(folder, "tiger_512.png")]),
                ("icons", ["--dir", peers.VECTOR_PICTURES, folder, *icons])):
            found = re.findall(r"(mae|ssim|worst) ([\d.]+)", peers.output(compare, *command))
            for name, value in found:  # of the two named worst the last is the similarity
                figures.values[f"picture {surface_format} {what} {name}"] = [float(value)]


def measure_sizes(figures):
    root = os.path.join(peers.ROOT, "tests", "size", "sizes.sh")
    text = peers.output(root, os.path.join(figures.build, "src", "libkxcoreemb.so"),
                        os.path.join(figures.build, "tests", "size", "small_game"))
    for value, what in re.findall(r"^ *(\d+) bytes .*?\)  (.+): [^:]+$", text, re.M):
        figures.values[f"size {what}"] = [float(value)]


def measure_ours(figures, programs, first):
    for program, benchmarks in programs.items():
        again = [name for name in benchmarks if first or f"{program} {name}" not in ONCE]
        if again:
            figures.run(program, again)


def measure(figures, goals, rounds):
    """Measures what one subject's goals name."""
    subject = goals[0].subject
    names = [name for goal in goals for name in (goal.ours, goal.reference) if name]
    programs = collections.defaultdict(dict)  # names without their order would do, but for the reader of the notes
    for name in filter(figures.is_ours, names):
        program, benchmark, *_ = name.split()
        programs[program][benchmark] = True
    wanted = {name.split()[0] for name in names}
    others = [peer for peer in peers.PEERS if wanted & set(peer.names.split()) and peer.build()]
    for number in range(1, rounds + 1):
        note(f"{subject}: round {number} of {rounds}")
        measure_ours(figures, programs, number == 1)
        for peer in others:
            for name, value in peer.measure() if number == 1 or not peer.once else ():
                figures.values[name].append(value)
        measure_ours(figures, programs, False)
    if "picture" in wanted:
        measure_pictures(figures)
    if "size" in wanted:
        measure_sizes(figures)


def number_text(value):
    if value is None:
        return "-"
    return f"{value:.0f}" if value >= 100 or value == int(value) else f"{value:.1f}" if value >= 10 else f"{value:.4g}"


def row(goal, figures):
    """The cells of its line."""
    ours = figures.best(goal.ours, goal.unit)
    reference = figures.best(goal.reference, goal.unit) if goal.reference else None
    ratio = ours / reference if ours is not None and reference else None
    judged = {"ratio": ratio, "value": ours,
              "beyond": ours - reference if None not in (ours, reference) else None}[goal.limits]

    def met(limit):
        return judged >= limit if goal.more_is_better else judged <= limit

    def limit_text(limit):
        return "-" if limit is None else f"{LIMIT_SIGN[goal.more_is_better]} {limit:.9g}"

    if judged is None:
        is_peer = goal.reference and not figures.is_ours(goal.reference)
        verdict = "no peer here" if ours is not None and is_peer or goal.ours.startswith("picture") else "not measured"
    elif goal.must is not None and not met(goal.must):
        verdict = "missed"
    elif goal.goal is not None and met(goal.goal):
        verdict = "goal met"
    else:
        verdict = "goal missed" if goal.must is None else "must met"
    who = goal.reference.split()[1 if goal.reference and figures.is_ours(goal.reference) else 0] if goal.reference else ""
    shown = f"{judged:.2f}" if judged is not None and goal.limits == "beyond" else f"{ratio:.2f}" if ratio is not None else "-"
    return [goal.subject, goal.scene, goal.unit, number_text(ours), number_text(reference), who,
            f"+{shown}" if goal.limits == "beyond" and judged is not None else shown,
            limit_text(goal.must), limit_text(goal.goal), verdict]


HEADER = ["subject", "scene", "unit", "ours", "reference", "of", "ratio", "must", "goal", "verdict"]
WIDTHS = [9, 31, 11, 8, 9, 28, 6, 11, 11, 12]
RIGHT = {3, 4, 6}


def print_row(cells):
    print(" ".join(cell.rjust(width) if at in RIGHT else cell.ljust(width)
                   for at, (cell, width) in enumerate(zip(cells, WIDTHS))).rstrip(), flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("filter", nargs="?", default="", help="only lines in which this is found: subject, scene, unit")
    parser.add_argument("--build", default=os.path.join(peers.ROOT, "build", "release"), help="where our programs are")
    parser.add_argument("--rounds", type=int, default=3, help="how often all is measured (default: %(default)s)")
    parser.add_argument("--quick", action="store_true", help="one round")
    options = parser.parse_args()
    chosen = [goal for goal in GOALS
              if re.search(options.filter, f"{goal.subject} {goal.scene} {goal.unit}", re.IGNORECASE)]
    if not chosen:
        print(f"table.py: no line has {options.filter}", file=sys.stderr)
        return 1
    figures = Figures(os.path.abspath(options.build))
    if not os.path.isdir(peers.SOURCES):
        note(f"no peers in {peers.SOURCES}: some goals cannot be judged")
    verdicts = collections.Counter()
    print_row(HEADER)
    for subject in dict.fromkeys(goal.subject for goal in chosen):
        goals = [goal for goal in chosen if goal.subject == subject]
        measure(figures, goals, 1 if options.quick else options.rounds)
        for goal in goals:
            cells = row(goal, figures)
            verdicts[cells[-1]] += 1
            print_row(cells)
    print(f"\n{len(chosen)} lines: " + ", ".join(f"{count} {verdict}" for verdict, count in verdicts.items()))
    return 0


if __name__ == "__main__":
    sys.exit(main())
