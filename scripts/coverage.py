"""Prints the coverage of each file in src/ from what `llvm-cov export` wrote, and compares the total with a file.

coverage.py COVERAGE_JSON LIMITS
"""

import json
import math
import pathlib
import re
import sys

SRC = pathlib.Path(__file__).resolve().parent.parent / "src"
# The first line of a function, or of a lambda that makes a constant, which the compiler can evaluate.
CONSTANT = re.compile(r"^\s*(template <.*> )?((inline|static|friend) )*(constexpr|consteval) ([^=]*\(|.*= (\w+\()?\[[]&=])")


def line_counts(segments, text):
    """How often each line that has code was executed. A line has the highest count of the regions on it.

    Leaves out closing braces, and functions that run only while compiling.
    """
    counts = {}
    evaluated = False
    wrapping = None  # the region that a line begins in
    starts = {}
    for segment in segments:
        starts.setdefault(segment[0], []).append(segment)
    for line in range(segments[0][0], segments[-1][0] + 1):
        here = starts.get(line, [])
        entries = [s[2] for s in here if s[3] and s[4] and not s[5]]
        if wrapping and wrapping[3]:
            entries.append(wrapping[2])
        runs = bool(entries) and max(entries) != 0
        begins = any(CONSTANT.match(before) for before in text[max(line - 3, 0) : line])
        evaluated = bool(entries) and not runs and (evaluated or begins)
        if runs or (entries and not evaluated and re.search(r"\w", text[line - 1])):
            counts[line] = max(entries)
        if here:
            wrapping = here[-1]
    return counts


def branch_counts(branches):
    """How often each condition was true and false, over all functions that were made from its source text."""
    counts = {}
    for line, column, _, _, true, false, *_ in branches:
        was = counts.get((line, column), (0, 0))
        counts[line, column] = (was[0] + true, was[1] + false)
    return counts


def main(coverage, limits):
    totals = [0, 0, 0, 0]
    missing = []
    for file in json.loads(pathlib.Path(coverage).read_text())["data"][0]["files"]:
        path = pathlib.Path(file["filename"]).resolve()
        if SRC not in path.parents or not file["segments"]:
            continue
        text = path.read_text().split("\n")
        lines = line_counts(file["segments"], text)
        sides = []
        reasons = {line for line, content in enumerate(text, 1) if "one way:" in content}
        for (line, column), (true, false) in sorted(branch_counts(file["branches"]).items()):
            # A condition that is constant in every function has no counters.
            if true == 0 and false == 0:
                continue
            if not (true and false) and line in reasons:
                reasons.remove(line)  # a reason is for one condition
                continue
            sides += [true != 0, false != 0]
            if not (true and false):
                missing.append(f"{path.relative_to(SRC)}:{line}:{column}: never {'false' if true else 'true'}")
        sides += [False] * len(reasons)
        missing += [f"{path.relative_to(SRC)}:{line}: goes both ways, so it needs no reason" for line in reasons]
        missing += [f"{path.relative_to(SRC)}:{line}: not executed" for line, count in lines.items() if count == 0]
        found = [sum(count != 0 for count in lines.values()), len(lines), sum(sides), len(sides)]
        totals = [a + b for a, b in zip(totals, found)]
        print("{:5} of {:5} lines {:5} of {:5} branches  {}".format(*found, path.relative_to(SRC)))
    print("\n".join(missing))
    # Rounded down, so that nothing may be missing at 100.0 %.
    percent = [math.floor(1000 * part / whole) / 10 for part, whole in (totals[:2], totals[2:])]
    result = "{} % of lines, {} % of branches".format(*percent)
    print("{} of {} lines, {} of {} branches: ".format(*totals) + result)
    wanted = [float(word) for word in pathlib.Path(limits).read_text().split() if word[0].isdigit()]
    reached = [float(word) for word in result.split() if word[0].isdigit()]
    if any(a < b for a, b in zip(reached, wanted)):
        sys.exit("The coverage is below that in " + limits)


main(*sys.argv[1:])
