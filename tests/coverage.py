#!/usr/bin/env python3
"""Sums up which lines of the library the tests ran: coverage.py BUILD_FOLDER, after the preset `coverage` ran them.

Prints a table with a row for each folder, and writes the lines that no test ran to BUILD_FOLDER/uncovered.txt. Reads
what gcov, a part of the compiler, makes of the counts. A line of a header or a template counts once, wherever it runs.
"""
import collections
import json
import multiprocessing
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def lines_of(notes):
    """The counts of an object file: {path: {line: times it ran}}, of the library's files."""
    gcov = subprocess.run(["gcov", "--json-format", "--stdout", notes.name],
                          cwd=notes.parent, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    counts = {}
    for file in json.loads(gcov.stdout)["files"]:
        path = pathlib.Path(os.path.normpath(notes.parent / file["file"]))
        if path.is_relative_to(ROOT / "src") or path.is_relative_to(ROOT / "include"):
            lines = counts.setdefault(str(path.relative_to(ROOT)), collections.Counter())
            for line in file["lines"]:
                lines[line["line_number"]] += line["count"]
    return counts


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3, 7"."""
    parts = []
    for number in numbers:
        if parts and parts[-1][1] == number - 1:
            parts[-1][1] = number
        else:
            parts.append([number, number])
    return ", ".join(f"{a}-{b}" if a != b else f"{a}" for a, b in parts)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    files = collections.defaultdict(collections.Counter)
    with multiprocessing.Pool() as pool:
        for counts in pool.imap_unordered(lines_of, sorted(build.rglob("*.gcno"))):
            for path, lines in counts.items():
                files[path].update(lines)
    folders = collections.defaultdict(lambda: [0, 0])
    with open(build / "uncovered.txt", "w", encoding="utf-8") as uncovered:
        for path, lines in sorted(files.items()):
            missed = sorted(number for number, count in lines.items() if count == 0)
            folder = "include" if path.startswith("include") else "/".join(path.split("/")[:2])
            for key in (folder, "total"):
                folders[key][0] += len(lines) - len(missed)
                folders[key][1] += len(lines)
            if missed:
                uncovered.write(f"{path}: {ranges(missed)}\n")
    print(f"{'folder':<16}{'run':>8}{'lines':>8}{'':>9}")
    for folder in sorted(folders, key=lambda name: (name == "total", name)):
        run, lines = folders[folder]
        print(f"{folder:<16}{run:>8}{lines:>8}{100 * run / lines:>8.1f}%")


main()
