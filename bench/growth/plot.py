#!/usr/bin/env python3
"""plot.py RESULT FOLDER: draws what kstutl_growth_bench measured (its JSON).

FOLDER/growth-sections.svg and FOLDER/growth.svg show the time of one unit over the number
of units, FOLDER/growth.md holds the same numbers for some hundreds and for the last size.
"""

import json
import pathlib
import subprocess
import sys

SECTIONS = "section file: "


def lines(path):
    """{name: [(units, nanoseconds of one unit)]}, from the medians of the repetitions."""
    found = {}
    for result in json.loads(path.read_text())["benchmarks"]:
        if result["run_type"] == "aggregate" and result["aggregate_name"] != "median":
            continue
        name, units = result["run_name"].split("/")
        points = found.setdefault(name, {})
        points[int(units)] = result["cpu_time"] / int(units)
    return {name: sorted(points.items()) for name, points in sorted(found.items())}


def plot(found, target):
    text = [
        f"set terminal svg size 900,600; set output '{target}'",
        "set logscale xy; set grid; set key outside right",
        "set xlabel 'units'; set ylabel 'ns of one unit'; set format x '10^{%T}'",
    ]
    for number, points in enumerate(found.values()):
        text += [f"$line{number} << END", *(f"{x} {y}" for x, y in points), "END"]
    drawn = (
        f"$line{number} with linespoints title '{name}'" for number, name in enumerate(found)
    )
    text.append("plot " + ", ".join(drawn))
    subprocess.run(["gnuplot"], input="\n".join(text), text=True, check=True)


def number_text(number):
    return f"{number:.0f}" if number >= 10 else f"{number:.2g}"


def main():
    result, folder = map(pathlib.Path, sys.argv[1:])
    found = lines(result)
    plot({n: p for n, p in found.items() if n.startswith(SECTIONS)},
         folder / "growth-sections.svg")
    plot({n: p for n, p in found.items() if not n.startswith(SECTIONS)},
         folder / "growth.svg")
    with (folder / "growth.md").open("w") as file:
        print("| One unit of | Units | ns | Units | ns |\n|---|---|---|---|---|", file=file)
        for name, points in found.items():
            some = next(point for point in points if point[0] >= 100)
            ends = " | ".join(f"{units} | {number_text(time)}"
                              for units, time in (some, points[-1]))
            print(f"| {name} | {ends} |", file=file)


if __name__ == "__main__":
    main()
