#!/usr/bin/env python3
"""coverage_report.py LCOV JSON: prints how much of src/ has run. Lines come from the first of llvm-cov's two exports,
branches from the second.

A branch of a template counts as taken if any of its instances took it. A condition that the compiler knows beforehand
has no branches.
"""
import collections
import json
import pathlib
import sys

CODE = 0  # the kind of a region that holds code: not a skipped one, and not a gap between two regions


def source(name):
    """The path of a file of src/ within the project, whatever path the compiler got; None for other files."""
    at = name.rfind("src/")
    return name[at:] if at >= 0 and pathlib.Path(name[at:]).is_file() else None


def read_lines(lcov):
    lines = collections.defaultdict(dict)
    path = None
    for record in open(lcov):
        key, _, value = record.strip().partition(":")
        if key == "SF":
            path = source(value)
        elif key == "DA" and path:
            line, count = map(int, value.split(",")[:2])
            lines[path][line] = max(count, lines[path].get(line, 0))
    return lines


def runs_at(function, file_id, place):
    """How often the smallest region about a place has run."""
    about = [r for r in function["regions"]
             if r[5] == file_id and r[7] == CODE and tuple(r[0:2]) <= place < tuple(r[2:4])]
    return max(about, key=lambda r: (r[0], r[1], -r[2], -r[3]))[4] if about else 0


def read_branches(exported):
    branches = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, 0]))
    for function in json.load(open(exported))["data"][0]["functions"]:
        for *place, taken, passed, file_id, _, _ in function["branches"]:
            path = source(function["filenames"][file_id])
            known = taken == passed == 0 and runs_at(function, file_id, tuple(place[:2]))
            if path and not known:
                branches[path][tuple(place)][0] += taken
                branches[path][tuple(place)][1] += passed
    return branches


def text(path, place):
    """The condition itself, on one line."""
    first, column, last, end = place
    rows = pathlib.Path(path).read_text().split("\n")[first - 1:last]
    rows[-1] = rows[-1][:end - 1]
    rows[0] = rows[0][column - 1:]
    return " ".join(row.strip() for row in rows)


def share(reached, all_of_them):
    return f"{reached:5d} of {all_of_them:5d} {100 * reached / all_of_them if all_of_them else 100:6.1f} %"


def main(lcov, exported):
    lines, branches = read_lines(lcov), read_branches(exported)
    if not lines or not branches:
        sys.exit("coverage_report: nothing of src/ in " + lcov + " or " + exported)
    total = [0, 0, 0, 0]
    print(f"{'':42} {'lines':>12} {'':11} {'branches':>12}")
    for path in sorted(lines):
        figures = (sum(count > 0 for count in lines[path].values()), len(lines[path]),
                   sum(count > 0 for pair in branches[path].values() for count in pair), 2 * len(branches[path]))
        total = [sum(pair) for pair in zip(total, figures)]
        print(f"{path:42} {share(*figures[:2])}  {share(*figures[2:])}")
    print(f"{'total':42} {share(*total[:2])}  {share(*total[2:])}")

    print("\nnot reached:")
    for path in sorted(lines):
        for line in sorted(line for line, count in lines[path].items() if count == 0):
            print(f"{path}:{line}: never run: {text(path, (line, 1, line, 1000)).strip()}")
        for place, pair in sorted(branches[path].items()):
            for outcome, count in zip(("true", "false"), pair):
                if count == 0:
                    print(f"{path}:{place[0]}:{place[1]}: never {outcome}: {text(path, place)}")


if len(sys.argv) != 3:
    print("usage: script/coverage_report.py LCOV JSON", file=sys.stderr)
    sys.exit(2)
main(*sys.argv[1:])
