#!/usr/bin/env python3
"""table.py GOALS RESULT...: the results of benchmark programs (their JSON) as a table.

A line for every goal of GOALS whose work was measured, and one for every other work,
against its fastest peer. Times are the medians of the repetitions, of processor time
unless the benchmark measures another one itself. Nothing here fails because of a time.
"""

import csv
import json
import pathlib
import sys

LIMIT = "limit "


def times(path):
    """The median of each coding of each work, in nanoseconds: {work: {coding: time}}."""
    works = {}
    for result in json.loads(path.read_text())["benchmarks"]:
        if result.get("error_occurred"):
            sys.exit(f"{result['name']}: {result['error_message']}")
        if result["run_type"] == "aggregate" and result["aggregate_name"] != "median":
            continue
        work, coding, *options = result["run_name"].split("/")
        clock = "real_time" if "manual_time" in options else "cpu_time"
        scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[result["time_unit"]]
        works.setdefault(work, {})[coding] = result[clock] * scale
    return works


def time_text(nanoseconds):
    for unit, scale in (("ns", 1), ("us", 1e3), ("ms", 1e6)):
        if nanoseconds < 1000 * scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds / 1e9:.3g} s"


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio > 0.4 else f"1/{1 / ratio:.1f}"


def named(codings, names):
    """The fastest of these codings, with its name."""
    if not names:
        return ""
    best = min(names, key=codings.get)
    return f"{best.removeprefix(LIMIT)} {time_text(codings[best])}"


def nanoseconds(text):
    number, unit = text.split()
    return float(number) * {"us": 1e3, "ms": 1e6, "s": 1e9}[unit]


def verdict(codings, against, goal):
    """The ratio, or the difference or time where the goal is one; the goal; whether it is
    met. As texts."""
    ours = codings["ours"]
    if not against:
        return time_text(ours), f"<= {goal}", met(ours, nanoseconds(goal))
    other = codings[against]
    if goal is None:
        return ratio_text(ours / other), "", ""
    if goal.startswith("+"):
        return (f"+{time_text(max(ours - other, 0))}", f"<= {goal}",
                met(ours - other, nanoseconds(goal[1:])))
    most = 1 / float(goal[2:]) if goal.startswith("1/") else float(goal)
    return ratio_text(ours / other), f"<= {goal}", met(ours / other, most)


def met(value, most):
    return "met" if value <= most else "missed"


def rows(works, goals):
    """Works with goals first, in the order of the goals."""
    place = {work: -len(goals) + i for i, (work, _, _) in reversed([*enumerate(goals)])}
    for work, codings in sorted(works.items(), key=lambda w: (place.get(w[0], 0), w[0])):
        if "ours" not in codings:
            continue
        limits = [name for name in codings if name.startswith(LIMIT)]
        peers = [n for n in codings if n not in ("ours", "naive") and n not in limits]
        rivals = peers or [n for n in codings if n != "ours"]
        asked = [(a, g) for w, a, g in goals if w == work and (not a or a in codings)]
        if not asked and rivals:
            asked = [(min(rivals, key=codings.get), None)]
        if not asked:
            yield (work, time_text(codings["ours"]), *[""] * 7)
        for against, goal in asked:
            yield (
                work,
                time_text(codings["ours"]),
                time_text(codings["naive"]) if "naive" in codings else "",
                named(codings, peers),
                named(codings, limits),
                against.removeprefix(LIMIT),
                *verdict(codings, against, goal),
            )


def main():
    goals_path, *results = map(pathlib.Path, sys.argv[1:])
    with goals_path.open() as file:
        goals = [(row["work"], row["against"], row["goal"]) for row in csv.DictReader(file)]
    print("| Work | Ours | Naive | Best peer | Limit | Against | Ratio | Goal | |")
    print("|---|---|---|---|---|---|---|---|---|")
    works = {}
    for path in results:
        works.update(times(path))
    for row in rows(works, goals):
        print("| " + " | ".join(row) + " |")


if __name__ == "__main__":
    main()
